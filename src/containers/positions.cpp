#include "containers/positions.h"

#include "containers/base.h"
#include "py/numpy.h"

#include <algorithm>
#include <bit>

namespace tsp {

bool is_plain(Borrowed value) {
    PyTypeObject* type = Py_TYPE(value);
    return type == &PyLong_Type || type == &PyUnicode_Type || type == &PyFloat_Type || type == &PyBool_Type ||
           value == Py_None || type == &PyLongArrType_Type; // the last: what NumPy's integer arrays hold
}

namespace {

// Integers are their own hash, so the bits are mixed before the upper ones are taken.
std::size_t first_slot(Py_hash_t hash, std::size_t slots) {
    return (static_cast<uint64_t>(hash) * 0x9E3779B97F4A7C15u) >> (64 - std::countr_zero(slots));
}

constexpr std::size_t kFirstSlots = 16;

} // namespace

int32_t PositionIndex::Field::number_of(Borrowed value, Py_hash_t hash, std::size_t& slot) const {
    slot = first_slot(hash, slots.size());
    while (true) {
        int32_t number = slots[slot];
        if (number < 0)
            return -1;
        const Value& known = values[static_cast<std::size_t>(number)];
        if (known.object.get() == value ||
            (known.hash == hash && checked(PyObject_RichCompareBool(known.object.get(), value, Py_EQ))))
            return number;
        slot = (slot + 1) & (slots.size() - 1);
    }
}

void PositionIndex::Field::grow() {
    std::vector<int32_t> larger(slots.size() * 4, -1);
    for (std::size_t number = 0; number < values.size(); ++number) {
        std::size_t slot = first_slot(values[number].hash, larger.size());
        while (larger[slot] >= 0)
            slot = (slot + 1) & (larger.size() - 1);
        larger[slot] = static_cast<int32_t>(number);
    }
    slots = std::move(larger);
}

int32_t PositionIndex::Field::add(Borrowed value) {
    Py_hash_t hash = PyObject_Hash(value);
    if (hash == -1 && PyErr_Occurred())
        throw PythonError();
    std::size_t slot;
    int32_t number = number_of(value, hash, slot);
    if (number >= 0)
        return number;
    number = static_cast<int32_t>(values.size());
    values.push_back({hash, Ref::borrow(value)});
    slots[slot] = number;
    if (values.size() * 3 > slots.size() * 2)
        grow();
    return number;
}

// Sorts the rows by the numbers of their values; rows of one value stay in order.
void PositionIndex::Field::fill() {
    starts.assign(values.size() + 1, 0);
    for (int32_t number : numbers)
        ++starts[static_cast<std::size_t>(number) + 1];
    for (std::size_t number = 0; number < values.size(); ++number)
        starts[number + 1] += starts[number];
    entries.resize(numbers.size());
    std::vector<int32_t> next(starts.begin(), starts.end() - 1);
    for (std::size_t i = 0; i < numbers.size(); ++i)
        entries[static_cast<std::size_t>(next[static_cast<std::size_t>(numbers[i])]++)] = static_cast<int32_t>(i);
}

std::shared_ptr<const PositionIndex> PositionIndex::build(PyObject* const* rows, Py_ssize_t count, Py_ssize_t width) {
    if (count > INT32_MAX || (count > 0 && is_tuple_like(rows[0]) && !has_plain_fields(rows[0])))
        return nullptr; // in the second case the width is what the row says of itself
    auto made = std::make_shared<PositionIndex>();
    auto n = static_cast<std::size_t>(count), w = static_cast<std::size_t>(width);
    made->fields_.resize(w);
    for (Field& field : made->fields_) {
        field.slots.assign(kFirstSlots, -1);
        field.numbers.resize(n);
    }
    std::vector<PyObject*> last(w); // neighbours often share a value: then nothing is looked up
    for (std::size_t i = 0; i < n; ++i) {
        PyObject* const* values = &rows[i];
        bool scalar = !is_tuple_like(rows[i]);
        if (!scalar) {
            if (!has_plain_fields(rows[i]) || Py_SIZE(rows[i]) < width)
                return nullptr;
            values = PySequence_Fast_ITEMS(rows[i]);
        }
        for (std::size_t j = 0; j < w; ++j) {
            PyObject* value = scalar ? *values : values[j];
            Field& field = made->fields_[j];
            if (value == last[j]) {
                field.numbers[i] = field.numbers[i - 1];
            } else {
                if (!is_plain(value))
                    return nullptr;
                field.numbers[i] = field.add(value);
                last[j] = value;
            }
        }
    }
    for (Field& field : made->fields_)
        field.fill();
    return made;
}

int32_t PositionIndex::find(Py_ssize_t field, Borrowed value) const {
    Py_hash_t hash = PyObject_Hash(value);
    if (hash == -1 && PyErr_Occurred())
        throw PythonError();
    std::size_t slot;
    return at(field).number_of(value, hash, slot);
}

std::vector<int32_t> PositionIndex::having(Positions rows, Py_ssize_t field, int32_t number) const {
    const int32_t* numbers = at(field).numbers.data();
    std::vector<int32_t> found(rows.size());
    std::size_t count = 0;
    for (int32_t row : rows) { // without a branch on what is found, which nothing can foresee
        found[count] = row;
        count += numbers[row] == number;
    }
    found.resize(count);
    return found;
}

Ref PositionIndex::to_dicts() const {
    Ref dicts = Ref::steal(PyList_New(0));
    for (const Field& field : fields_) {
        Ref dict = Ref::steal(PyDict_New());
        for (std::size_t number = 0; number < field.values.size(); ++number) {
            Positions positions = field.positions(static_cast<int32_t>(number));
            Ref list = Ref::steal(PyList_New(static_cast<Py_ssize_t>(positions.size())));
            for (std::size_t k = 0; k < positions.size(); ++k)
                PyList_SET_ITEM(list.get(), static_cast<Py_ssize_t>(k),
                                Ref::steal(PyLong_FromLong(positions[k])).release());
            checked(PyDict_SetItem(dict.get(), field.values[number].object.get(), list.get()));
        }
        checked(PyList_Append(dicts.get(), dict.get()));
    }
    return dicts;
}

// The lists of one field have no position in common unless they are the same list.
std::vector<int32_t> unite(std::vector<Positions>& lists) {
    auto begins_before = [](Positions a, Positions b) { return a.data() < b.data(); };
    auto same = [](Positions a, Positions b) { return a.data() == b.data(); };
    std::sort(lists.begin(), lists.end(), begins_before);
    lists.erase(std::unique(lists.begin(), lists.end(), same), lists.end());
    std::size_t total = 0;
    int32_t end = 0;
    for (Positions list : lists) {
        total += list.size();
        end = std::max(end, list.back() + 1);
    }
    std::vector<int32_t> united;
    united.reserve(total);
    if (total < static_cast<std::size_t>(end) / 512) { // few: sorting them is less than going over a bit for each row
        for (Positions list : lists)
            united.insert(united.end(), list.begin(), list.end());
        std::sort(united.begin(), united.end());
        return united;
    }
    std::vector<uint64_t> marks((static_cast<std::size_t>(end) + 63) / 64);
    for (Positions list : lists)
        for (int32_t p : list)
            marks[static_cast<std::size_t>(p) / 64] |= uint64_t{1} << (p % 64);
    for (std::size_t word = 0; word < marks.size(); ++word)
        for (uint64_t left = marks[word]; left; left &= left - 1)
            united.push_back(static_cast<int32_t>(word * 64) + std::countr_zero(left));
    return united;
}

std::vector<int32_t> intersect(Positions a, Positions b) {
    std::vector<int32_t> common;
    std::set_intersection(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(common));
    return common;
}

} // namespace tsp
