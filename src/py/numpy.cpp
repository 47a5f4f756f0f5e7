#define TSP_FILLS_NUMPY
#include "py/numpy.h"

namespace tsp {

void import_numpy() {
    if (_import_array() < 0) {
        if (!PyErr_Occurred())
            PyErr_SetString(PyExc_ImportError, "numpy's C interface failed to import");
        throw PythonError();
    }
}

} // namespace tsp
