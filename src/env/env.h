// Env: one solver environment.
#pragma once

#include "py/type.h"
#include "tessolv.h"

namespace tsp {

struct Env {
    PyObject_HEAD TSOenv envptr; // 0 in a fresh object, 3 while the solver creates it; stale after dispose
    int32_t alive;               // 1 after creation, until dispose
    int32_t empty;               // the argument of that name
};

PyTypeObject* make_env_type();

void env_dispose(Env& self);

// The default environment; made if there is none and `create` is true. Null, not None, when there is none.
Env* default_env(bool create);

// Sets the default environment to none, disposing it.
void dispose_default_env();

} // namespace tsp
