// Deallocation of objects that may hold others of their kind, and these others again, as deep as a program likes.
#pragma once

#include "py/ref.h"

#include <new>

namespace tsp {

// Py_tp_dealloc of such a type. Some levels down, an object waits until the outermost one has gone: freeing one another
// without end, they would use up the stack.
template <void (*Free)(PyObject*)> void nested_dealloc(PyObject* self);

namespace detail {

struct Waiting {
    Waiting* next;
    PyObject* object;
    void (*free)(PyObject*);
};
inline Waiting* g_waiting = nullptr;
inline int g_depth = 0; // under the interpreter lock, as everything
constexpr int kDeepest = 100;

inline void wait(PyObject* object, void (*free)(PyObject*)) {
    if (auto* w = new (std::nothrow) Waiting{g_waiting, object, free})
        g_waiting = w;
    else
        free(object);
}
inline void free_waiting() {
    ++g_depth;
    while (Waiting* w = g_waiting) {
        g_waiting = w->next;
        w->free(w->object);
        delete w;
    }
    --g_depth;
}

} // namespace detail

template <void (*Free)(PyObject*)> void nested_dealloc(PyObject* self) {
    if (++detail::g_depth <= detail::kDeepest) [[likely]]
        Free(self);
    else
        detail::wait(self, Free);
    if (--detail::g_depth == 0 && detail::g_waiting) [[unlikely]]
        detail::free_waiting();
}

} // namespace tsp
