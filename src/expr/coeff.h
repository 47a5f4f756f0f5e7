// Coeff: an item of the lists of a quadratic expression, in eight bytes. A float is kept as a number, so is an int of
// 32 bits; any other object (a Var too, in the lists of variables) is kept as itself.
//
// A double is its own bits. Everything else lies among the NaNs with the top fourteen bits set: arithmetic makes none
// of these, and those that come from elsewhere lose their payload on entry.
#pragma once

#include "expr/store.h"
#include "py/args.h"

#include <bit>

namespace tsp {

// Borrows its object; the Store that takes it in keeps it (see Item). Zero bits are the number 0.0.
class Coeff {
public:
    Coeff() = default; // any value
    static Coeff of(double value) {
        auto bits = std::bit_cast<uint64_t>(value);
        return Coeff(bits < kObject ? bits : kPlainNan);
    }
    // A float or a small int as a number, anything else as the object itself.
    static Coeff of(Borrowed object) {
        if (PyFloat_CheckExact(object))
            return of(PyFloat_AS_DOUBLE(object));
        if (double n; small_int(object, n) && n >= INT32_MIN && n <= INT32_MAX)
            return of_int(static_cast<int32_t>(n));
        return of_object(object);
    }
    static Coeff of_object(Borrowed object) {
        auto bits = reinterpret_cast<uint64_t>(object);
        if (bits & kTags) // no system gives such addresses to programs today
            throw std::bad_alloc();
        return Coeff(kObject | bits);
    }
    static Coeff of_int(int32_t value) { return Coeff(kInt | static_cast<uint32_t>(value)); }

    bool is_number() const { return bits_ < kObject; }
    bool is_int() const { return bits_ >= kInt; }
    bool is_object() const { return (bits_ & kTags) == kObject; }
    double number() const { return std::bit_cast<double>(bits_); }                  // of a number
    int32_t integer() const { return static_cast<int32_t>(bits_); }                 // of an int
    Borrowed pointer() const { return reinterpret_cast<Borrowed>(bits_ & ~kTags); } // of an object

    // What Python sees.
    Ref object() const {
        if (is_number())
            return Ref::steal(PyFloat_FromDouble(number()));
        return is_int() ? Ref::steal(PyLong_FromLong(integer())) : Ref::borrow(pointer());
    }
    // As a double, without asking Python; false for an object.
    bool to_number(double& value) const {
        if (is_object())
            return false;
        value = is_number() ? number() : integer();
        return true;
    }
    double as_double() const {
        double value;
        return to_number(value) ? value : to_double(object().get());
    }

private:
    static constexpr uint64_t kObject = 0xFFFC'0000'0000'0000, kInt = 0xFFFD'0000'0000'0000;
    static constexpr uint64_t kTags = 0xFFFF'0000'0000'0000, kPlainNan = 0xFFF8'0000'0000'0000;

    explicit Coeff(uint64_t bits) : bits_(bits) {}

    uint64_t bits_;
};
static_assert(sizeof(Coeff) == 8 && sizeof(PyObject*) == 8);

template <> struct Item<Coeff> {
    static constexpr bool kOwns = true;
    static void keep(Coeff c) {
        if (c.is_object())
            Py_INCREF(c.pointer());
    }
    static void drop(Coeff c) {
        if (c.is_object())
            Py_DECREF(c.pointer());
    }
};

// An item of one of the lists; IndexError if there is none.
inline Coeff coeff_at(const Store<Coeff>& list, int i) {
    if (i < 0 || i >= list.size())
        raise(PyExc_IndexError, "list index out of range");
    return list.data()[i];
}
inline Ref item(const Store<Coeff>& list, int i) { return coeff_at(list, i).object(); }

// Each item becomes mult * item, or item * mult with an int or any other object. Numbers are multiplied here,
// everything else by Python, whose errors end the work where they arise.
void scale_items(Store<Coeff>& coeffs, double mult);
void multiply_items(Store<Coeff>& coeffs, Borrowed mult);

} // namespace tsp
