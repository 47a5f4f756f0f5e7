#include "arrays/wrapped.h"

#include <list>
#include <string>

namespace tsp {

void fill_in(PyMethodDef* rows, const Words& words) {
    static std::list<std::string> texts; // the tables point to them as long as the process lives
    for (; rows->ml_name; ++rows) {
        std::string& text = texts.emplace_back(rows->ml_doc);
        for (auto [mark, word] : words)
            for (std::size_t at; !mark.empty() && (at = text.find(mark)) != std::string::npos;)
                text.replace(at, mark.size(), word);
        rows->ml_doc = text.c_str();
    }
}

} // namespace tsp
