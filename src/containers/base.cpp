#include "containers/base.h"

#include <new>
#include <unistd.h>

namespace tsp {

void require_memory(Py_ssize_t count, std::size_t bytes_each) {
    static const double bytes =
        static_cast<double>(sysconf(_SC_PHYS_PAGES)) * static_cast<double>(sysconf(_SC_PAGESIZE));
    if (static_cast<double>(count) * static_cast<double>(bytes_each) > bytes)
        throw std::bad_alloc();
}

} // namespace tsp
