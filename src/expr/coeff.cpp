#include "expr/coeff.h"

namespace tsp {
namespace {

// `fast` multiplies numbers; where it gives up, `slow` does what Python does.
template <class Fast, class Slow> void map(Store<Coeff>& coeffs, Fast fast, Slow slow) {
    coeffs.make_update_safe();
    for (int i = 0; i < coeffs.size(); ++i) {
        Coeff old = coeffs.data()[i], value;
        if (fast(old, value)) {
            coeffs.writable()[i] = value; // neither of the two owns anything
            continue;
        }
        Ref hold = old.object(), product = slow(hold.get()); // may run Python code: the list is looked at anew
        if (i >= coeffs.size())
            break;
        coeffs.make_update_safe();
        value = Coeff::of(product.get());
        Item<Coeff>::keep(value);
        Item<Coeff>::drop(std::exchange(coeffs.writable()[i], value));
        hold = Ref();
        product = Ref(); // the last of the Python code of this item
        coeffs.make_update_safe();
    }
}

} // namespace

void scale_items(Store<Coeff>& coeffs, double mult) {
    auto fast = [mult](Coeff item, Coeff& product) {
        double number;
        if (!item.to_number(number))
            return false;
        product = Coeff::of(mult * number);
        return true;
    };
    auto slow = [mult](Borrowed item) {
        Ref factor = Ref::steal(PyFloat_FromDouble(mult));
        return Ref::steal(PyNumber_Multiply(factor.get(), item));
    };
    map(coeffs, fast, slow);
}

void multiply_items(Store<Coeff>& coeffs, Borrowed by) {
    Coeff mult = Coeff::of(by);
    auto fast = [mult](Coeff item, Coeff& product) {
        double a, b;
        if (!item.to_number(a) || !mult.to_number(b))
            return false;
        if (!item.is_int() || !mult.is_int()) {
            product = Coeff::of(a * b);
            return true;
        }
        int64_t whole = int64_t{item.integer()} * mult.integer();
        product = Coeff::of_int(static_cast<int32_t>(whole));
        return product.integer() == whole;
    };
    map(coeffs, fast, [by](Borrowed item) { return Ref::steal(PyNumber_Multiply(item, by)); });
}

} // namespace tsp
