// Store: the items of one list of an expression (its coefficients, or its variables), shared between copies until one
// side changes.
//
// Two kinds of sharing lie on top of one another.
//
// What a program can see: a copy of an expression is a view of the same *vector*. Views are prefixes; an append at the
// end of the vector leaves shorter views alone, any other change first duplicates the vector, and it duplicates the
// whole of it, also what lies behind the view. So after `b = copy(a); a.append(p)` an append to `b` lands behind `p`,
// and `b` reads `p` as its new item. That is kept (test_expression_programs.py).
//
// What nobody can see: vectors may lie in the same *buffer*, as prefixes too. The sum a + b writes the terms of b
// behind those of a when these end a's buffer, so that sum(...) over n terms is linear; a vector that no longer ends
// its buffer moves out when it grows, and takes just its own items.
//
// Small vectors that nobody shares lie in the Store itself, without any allocation.
#pragma once

#include "py/ref.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <vector>

namespace tsp {

template <class T> struct Item { // plain numbers
    static constexpr bool kOwns = false;
    static void keep(T) {}
    static void drop(T) {}
};
template <> struct Item<PyObject*> {
    static constexpr bool kOwns = true;
    static void keep(PyObject* p) { Py_INCREF(p); }
    static void drop(PyObject* p) { Py_DECREF(p); }
};

template <class T, int Room = 4> class Store {
    struct Buffer {
        int32_t refs, end, capacity, pad; // vectors in it; items in it, which it owns; slots
        T items[1];
    };
    struct Vector {        // made when a view is copied; before, a Store is its own vector
        int32_t use_count; // what decides about duplication; abandoned vectors keep theirs
        int32_t refs;      // Stores that point here
        int32_t size;
        Buffer* buffer;
    };

public:
    Store() = default;
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;
    ~Store() { release(); }

    int size() const { return size_; }
    T* data() { return buffer() ? buffer()->items : room_; }
    const T* data() const { return const_cast<Store*>(this)->data(); }
    int vector_size() const { return vector_ ? vector_->size : vector_size_; }
    int use_count() const { return vector_ ? vector_->use_count : 1; }

    // ---- What a program sees of sharing ----

    // Becomes a view of the same vector as `other`.
    void share(Store& other) {
        if (this == &other)
            return;
        other.make_vector();
        Vector* v = other.vector_;
        ++v->use_count;
        ++v->refs;
        int32_t size = other.size_;
        release();
        vector_ = v;
        size_ = size;
    }

    void make_append_safe() {
        if (use_count() != 1 && size_ != vector_size())
            duplicate();
    }
    void make_update_safe() {
        if (use_count() != 1)
            duplicate();
        else
            own_buffer(vector_size());
    }

    // Appends an item, which is kept.
    void add(T item) {
        if (!vector_ && !buffer_ && vector_size_ < Room) { // small and private: the rule
            Item<T>::keep(item);
            room_[vector_size_++] = item;
            ++size_;
            return;
        }
        make_append_safe();
        Item<T>::keep(item);
        try {
            push(item);
        } catch (...) {
            Item<T>::drop(item);
            throw;
        }
        ++size_;
    }

    // Appends the first `count` items of another store, which may be this one.
    void add_all(const Store& other, int count) {
        if (count == 0)
            return;
        make_append_safe();
        int32_t at = vector_size();
        T* to = grow(count);
        const T* from = other.data();
        for (int i = 0; i < count; ++i) {
            Item<T>::keep(from[i]);
            to[i] = from[i];
        }
        set_vector_size(at + count);
        size_ += count;
    }

    // What `self += other` does with two lists: an empty one becomes a view of the other.
    void append_list(Store& other) {
        if (size_ == 0)
            share(other);
        else
            add_all(other, other.size_);
    }

    // After these, adding so many items, or another list, does not fail.
    void prepare(int count) {
        if (count == 0)
            return;
        make_append_safe();
        grow(count);
    }
    void prepare_list(Store& other) {
        if (size_ == 0)
            other.make_vector();
        else
            prepare(other.size_);
    }

    // Takes numbers back that were just added.
    void take_back(int count) {
        static_assert(!Item<T>::kOwns);
        set_vector_size(vector_size() - count);
        size_ -= count;
    }

    // Drops the items at ascending positions. The old vector is abandoned: other views of it go on as if this one were
    // still there.
    void remove(const int* positions, int count) {
        Store fresh;
        fresh.reserve(size_);
        int j = 0;
        const T* from = data();
        for (int i = 0; i < size_; ++i) {
            if (j < count && positions[j] == i)
                ++j;
            else
                fresh.add(from[i]);
        }
        abandon();
        swap(fresh);
    }

    void clear() {
        if (use_count() == 1)
            release();
        else
            abandon();
    }

    // As the end of the expression: other views are told.
    void clear_for_good() { release(); }

    // ---- What nobody sees ----

    // Becomes a private copy of the first items of another store, in the same buffer where that can be.
    void copy_items(const Store& other) {
        if (vector_size_ != 0 || vector_ || buffer_)
            release();
        int32_t n = other.size_;
        Buffer* b = const_cast<Store&>(other).buffer();
        if (b && n > Room) {
            ++b->refs;
            buffer_ = b;
        } else {
            const T* from = other.data();
            for (int i = 0; i < n; ++i) {
                Item<T>::keep(from[i]);
                room_[i] = from[i];
            }
        }
        size_ = vector_size_ = n;
    }

    void reserve(int count) {
        if (count > Room && !vector_ && !buffer_)
            move_to(new_buffer(count), vector_size_);
    }

    // The items for changing in place, after make_update_safe.
    T* writable() { return data(); }

    // Room for `count` more items behind the vector, uninitialised; set_vector_size and set_size take them in.
    T* grow(int count) {
        int32_t at = vector_size();
        if (!buffer() && at + count <= Room)
            return room_ + at;
        if (static_cast<int64_t>(at) + count > INT32_MAX / 2)
            throw std::bad_alloc();
        Buffer* b = buffer();
        if (b && b->refs == 1 && b->end > at) // a longer vector in it is gone
            truncate(b, at);
        if (!b || b->end != at || b->capacity - at < count) {
            int32_t capacity = at + count > 2 * at ? at + count : 2 * at;
            capacity = capacity < 8 ? 8 : capacity;
            if (b && b->refs == 1 && b->end == at)
                set_buffer(resized(b, capacity));
            else
                move_to(new_buffer(capacity), at);
            b = buffer();
        }
        return b->items + at;
    }
    void set_vector_size(int size) {
        if (Buffer* b = buffer())
            b->end = size;
        if (vector_)
            vector_->size = size;
        else
            vector_size_ = size;
    }
    void set_size(int size) { size_ = size; }
    // Takes in `count` items that were written where grow told.
    void take_in(int count) {
        set_vector_size(vector_size() + count);
        size_ += count;
    }

    void swap(Store& other) noexcept {
        char hold[sizeof(Store)];
        std::memcpy(hold, static_cast<void*>(this), sizeof(Store));
        std::memcpy(static_cast<void*>(this), static_cast<void*>(&other), sizeof(Store));
        std::memcpy(static_cast<void*>(&other), hold, sizeof(Store));
    }

private:
    Buffer* buffer() const { return vector_ ? vector_->buffer : buffer_; }
    void set_buffer(Buffer* b) {
        if (vector_)
            vector_->buffer = b;
        else
            buffer_ = b;
    }

    static std::size_t bytes(int32_t capacity) {
        return offsetof(Buffer, items) + sizeof(T) * static_cast<std::size_t>(capacity);
    }
    static Buffer* new_buffer(int32_t capacity) {
        auto* b = static_cast<Buffer*>(PyMem_Malloc(bytes(capacity)));
        if (!b)
            throw std::bad_alloc();
        *b = {1, 0, capacity, 0, {}};
        return b;
    }
    static Buffer* resized(Buffer* b, int32_t capacity) {
        auto* r = static_cast<Buffer*>(PyMem_Realloc(b, bytes(capacity)));
        if (!r)
            throw std::bad_alloc();
        r->capacity = capacity;
        return r;
    }
    static void drop_items(T* items, int32_t count) {
        if constexpr (Item<T>::kOwns)
            for (int32_t i = 0; i < count; ++i)
                Item<T>::drop(items[i]);
    }
    static void release_buffer(Buffer* b) {
        if (--b->refs == 0) {
            drop_items(b->items, b->end);
            PyMem_Free(b);
        }
    }

    // Dropping an item may run Python code that comes back to this store, so it is in order before.
    static void truncate(Buffer* b, int32_t size) {
        if constexpr (Item<T>::kOwns) {
            std::vector<T> gone(b->items + size, b->items + b->end);
            b->end = size;
            drop_items(gone.data(), static_cast<int32_t>(gone.size()));
        } else {
            b->end = size;
        }
    }

    // Takes the first `count` items of the vector into a buffer of its own.
    void move_to(Buffer* fresh, int32_t count) {
        const T* from = data();
        for (int32_t i = 0; i < count; ++i) {
            Item<T>::keep(from[i]);
            fresh->items[i] = from[i];
        }
        fresh->end = count;
        Buffer* old = buffer();
        set_buffer(fresh);
        if (old)
            release_buffer(old);
        else
            drop_items(room_, vector_size_); // kept by the buffer as well: nothing goes
    }

    void own_buffer(int32_t count) {
        Buffer* b = buffer();
        if (b && b->refs != 1)
            move_to(new_buffer(count < 8 ? 8 : count), count);
    }

    void push(T item) {
        int32_t at = vector_size();
        *grow(1) = item;
        set_vector_size(at + 1);
    }

    // A private vector with all items of the shared one.
    void duplicate() {
        int32_t n = vector_->size;
        Buffer* fresh = new_buffer(n < 8 ? 8 : n);
        const T* from = vector_->buffer->items;
        for (int32_t i = 0; i < n; ++i) {
            Item<T>::keep(from[i]);
            fresh->items[i] = from[i];
        }
        fresh->end = n;
        int32_t size = size_;
        release();
        buffer_ = fresh;
        size_ = size;
        vector_size_ = n;
    }

    void make_vector() {
        if (vector_)
            return;
        if (!buffer_)
            move_to(new_buffer(vector_size_ < 8 ? 8 : vector_size_), vector_size_);
        auto* v = static_cast<Vector*>(PyMem_Malloc(sizeof(Vector)));
        if (!v)
            throw std::bad_alloc();
        *v = {1, 1, vector_size_, buffer_};
        vector_ = v;
        buffer_ = nullptr;
    }

    // Leaves the vector without telling its other views.
    void abandon() {
        if (vector_)
            ++vector_->use_count; // what release takes away
        release();
    }
    void release() {
        if (!vector_ && !buffer_) { // small and private: the rule
            release_room();
            return;
        }
        Vector* v = vector_;
        Buffer* b = buffer_;
        vector_ = nullptr;
        buffer_ = nullptr;
        size_ = vector_size_ = 0;
        if (v) {
            --v->use_count;
            if (--v->refs > 0)
                return;
            b = v->buffer;
            PyMem_Free(v);
        }
        release_buffer(b);
    }
    void release_room() {
        int32_t count = vector_size_;
        size_ = vector_size_ = 0;
        if constexpr (Item<T>::kOwns) {
            T gone[Room];
            for (int32_t i = 0; i < count; ++i)
                gone[i] = room_[i];
            for (int32_t i = 0; i < count; ++i)
                Item<T>::drop(gone[i]);
        }
    }

    Vector* vector_ = nullptr; // null: this Store is the only view
    Buffer* buffer_ = nullptr; // of the private vector; null: in room_
    int32_t size_ = 0;         // of the view
    int32_t vector_size_ = 0;  // of the private vector
    T room_[Room];
};

} // namespace tsp
