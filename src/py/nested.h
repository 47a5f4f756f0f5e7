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

inline bool waits(PyObject* object, void (*free)(PyObject*)) {
    constexpr int kDeepest = 100;
    if (g_depth < kDeepest)
        return false;
    auto* w = new (std::nothrow) Waiting{g_waiting, object, free};
    if (w)
        g_waiting = w;
    return w;
}
inline void free_waiting() {
    while (Waiting* w = g_waiting) {
        g_waiting = w->next;
        w->free(w->object);
        delete w;
    }
}

} // namespace detail

template <void (*Free)(PyObject*)> void nested_dealloc(PyObject* self) {
    if (detail::waits(self, Free))
        return;
    ++detail::g_depth;
    Free(self);
    if (detail::g_depth == 1)
        detail::free_waiting();
    --detail::g_depth;
}

} // namespace tsp
