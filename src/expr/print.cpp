#include "expr/print.h"

#include "expr/kinds.h"
#include "handles/handle.h"
#include "module/text.h"
#include "py/args.h"

#include <cmath>
#include <memory>
#include <string>

namespace tsp {
namespace {

// UTF-8 throughout; lengths are counted in characters where they show.
std::string utf8(Borrowed text) {
    Ref s = Ref::steal(PyObject_Str(text));
    Py_ssize_t size = 0;
    const char* p = PyUnicode_AsUTF8AndSize(s.get(), &size);
    if (!p)
        throw PythonError();
    return {p, static_cast<std::size_t>(size)};
}

std::string name_of(Borrowed var, const char* attribute = "VarName") {
    Ref name = Ref::steal(PyObject_GetAttrString(var, attribute));
    return utf8(name.get());
}

// The names of a term, behind its coefficient.
std::string rest_of_term(bool is_one, const std::string& name, const std::string& second, bool same) {
    std::string s;
    if (!name.empty())
        s += (is_one ? "" : " * ") + name;
    if (!second.empty())
        s += same ? " ^ 2" : " * " + second;
    return s;
}

// One term. `second` is the name of the second variable of a quadratic term, "" if there is none.
std::string term_text(Borrowed coeff, const std::string& name, const std::string& second = "", bool same = false) {
    if (!is_number(coeff)) { // a matrix, told by its shape
        Ref shape = Ref::steal(PyObject_GetAttrString(coeff, "shape"));
        Ref rows = Ref::steal(PySequence_GetItem(shape.get(), 0)),
            cols = Ref::steal(PySequence_GetItem(shape.get(), 1));
        return " + (" + utf8(rows.get()) + ", " + utf8(cols.get()) + ") * " + name;
    }
    Ref zero = Ref::steal(PyLong_FromLong(0)), one = Ref::steal(PyLong_FromLong(1));
    if (checked(PyObject_RichCompareBool(coeff, zero.get(), Py_EQ)))
        return "";
    std::string s = checked(PyObject_RichCompareBool(coeff, zero.get(), Py_GE)) ? " + " : " - ";
    Ref magnitude = Ref::steal(PyNumber_Absolute(coeff));
    bool is_one = checked(PyObject_RichCompareBool(magnitude.get(), one.get(), Py_EQ));
    if (!is_one || name.empty())
        s += utf8(magnitude.get());
    return s + rest_of_term(is_one, name, second, same);
}
std::string term_text(double coeff, const std::string& name, const std::string& second = "", bool same = false) {
    if (coeff == 0.0)
        return "";
    double magnitude = std::fabs(coeff);
    std::string s = coeff >= 0.0 ? " + " : " - ";
    bool is_one = magnitude == 1.0;
    if (!is_one || name.empty()) {
        std::unique_ptr<char, decltype(&PyMem_Free)> text(
            PyOS_double_to_string(magnitude, 'r', 0, Py_DTSF_ADD_DOT_0, nullptr), PyMem_Free);
        if (!text)
            throw PythonError();
        s += text.get();
    }
    return s + rest_of_term(is_one, name, second, same);
}

std::string linear_terms(LinExpr& e) {
    std::string s;
    for (int i = 0; i < e.size(); ++i) {
        Ref var = Ref::borrow(e.vars.data()[i]);
        double coeff = e.coeffs.data()[i];
        s += term_text(coeff, name_of(var.get()));
    }
    return s + term_text(e.constant, "");
}

// Without the sign and blanks of a first term that is not negative; of a negative one only the leading blank goes.
std::string without_first_sign(const std::string& s) { return s.substr(s[1] == '+' ? 3 : 1); }

Ref framed(const char* kind, const std::string& terms) {
    Ref text = chars2str(terms.data(), static_cast<Py_ssize_t>(terms.size()));
    return Ref::steal(PyUnicode_FromFormat("<%s: %U>", kind, shorten(std::move(text)).get()));
}

// The linear part of another expression, behind its own terms.
std::string linear_part(Borrowed linexpr) {
    Ref linear = Ref::steal(PyObject_Str(linexpr));
    std::string t = utf8(linear.get());
    constexpr std::size_t kFrame = 10; // "<LinExpr: "
    t = t.size() > kFrame ? t.substr(kFrame, t.size() - kFrame - 1) : "";
    // Kept: the text has lost the blank before its sign, so a linear part that begins with a negative term reads
    // "+ - x" (test_expressions.py: test_texts).
    return t.empty() ? t : (t.starts_with(" - ") ? " - " : " + ") + t;
}

} // namespace

Ref linexpr_text(LinExpr& e) {
    std::string s = linear_terms(e);
    return s.empty() ? chars2str("<LinExpr: >") : framed("LinExpr", without_first_sign(s));
}

Ref quadexpr_text(QuadExpr& e) {
    std::string s;
    for (int i = 0; i < e.coeffs.size(); ++i) {
        Coeff coeff = coeff_at(e.coeffs, i);
        Ref hold = coeff.is_object() ? coeff.object() : Ref(), var1 = item(e.vars1, i), var2 = item(e.vars2, i);
        std::string first = name_of(var1.get()), second = name_of(var2.get());
        Ref same = Ref::steal(PyObject_CallMethod(var1.get(), "sameAs", "(O)", var2.get()));
        bool square = checked(PyObject_IsTrue(same.get()));
        s += coeff.is_number() ? term_text(coeff.number(), first, second, square)
                               : term_text(coeff.object().get(), first, second, square);
    }
    s += linear_part(e.linexpr);
    return s.empty() ? chars2str("<QuadExpr: >") : framed("QuadExpr", without_first_sign(s));
}

Ref psdexpr_text(PsdExpr& e) {
    std::string s;
    for (int i = 0; i < e.size(); ++i) { // a matrix is told by its shape
        const PsdTerm& term = e.terms.data()[i];
        Ref var = Ref::borrow(term.var);
        std::string dim = std::to_string(term.matrix->dim());
        s += " + (" + dim + ", " + dim + ") * " + name_of(var.get(), "PsdVarName");
    }
    s += linear_part(e.linexpr);
    return s.empty() ? chars2str("<PsdExpr: >") : framed("PsdExpr", without_first_sign(s));
}

} // namespace tsp
