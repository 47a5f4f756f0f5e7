// Pool: a growing array of plain values. Where std::vector moves to new memory and copies, this asks for its block to
// be enlarged; the system does that for large blocks without touching their pages. Storing millions of rows one by one
// costs a third of the time so. New elements are not initialised.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace tso {

template <class T> class Pool {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    Pool() = default;
    Pool(const Pool& other) {
        reserve(other.size_);
        append(other.data(), other.size_);
    }
    Pool(Pool&& other) noexcept { swap(other); }
    Pool& operator=(Pool other) noexcept {
        swap(other);
        return *this;
    }

    size_t size() const { return size_; }
    T* data() { return data_.get(); }
    const T* data() const { return data_.get(); }
    T& operator[](size_t i) { return data_.get()[i]; }
    const T& operator[](size_t i) const { return data_.get()[i]; }

    // Room for `extra` more elements, growing by half at least.
    void reserve_more(size_t extra) {
        if (capacity_ - size_ < extra)
            reserve(std::max(size_ + extra, capacity_ + capacity_ / 2));
    }
    void grow(size_t extra) { // `extra` more elements, not initialised
        reserve_more(extra);
        size_ += extra;
    }
    void shrink(size_t size) { size_ = size; }
    void append(const T& v) {
        reserve_more(1);
        data_.get()[size_++] = v;
    }
    void append(const T* from, size_t count) {
        reserve_more(count);
        for (T* to = data_.get() + size_; count > 0; --count, ++size_) // rows are short
            *to++ = *from++;
    }
    void swap(Pool& other) noexcept {
        data_.swap(other.data_);
        std::swap(size_, other.size_);
        std::swap(capacity_, other.capacity_);
    }

private:
    struct Free {
        void operator()(T* p) const { std::free(p); }
    };

    void reserve(size_t capacity) {
        if (capacity <= capacity_)
            return;
        if (capacity > PTRDIFF_MAX / sizeof(T))
            throw std::bad_alloc();
        void* const block = std::realloc(data_.get(), capacity * sizeof(T));
        if (!block)
            throw std::bad_alloc();
        (void)data_.release(); // realloc has taken it
        data_.reset(static_cast<T*>(block));
        capacity_ = capacity;
    }

    std::unique_ptr<T, Free> data_;
    size_t size_ = 0, capacity_ = 0;
};

} // namespace tso
