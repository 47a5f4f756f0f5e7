// Names: the names of one kind of element, compact for millions, found through a hash built on first use.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tso {

class Names {
public:
    explicit Names(char letter) : letter_(letter) {} // generated names are this letter and the index

    int size() const { return static_cast<int>(offsets_.size()); }
    bool is_named(int i) const { return offsets_[i] != 0; }

    // The given name; empty for an unnamed element. NUL-terminated behind the view; holds until the next change.
    std::string_view given(int i) const;

    // The given name, or the generated one, which no element was given: "C3", or "C3_" if somebody took "C3".
    // `scratch` receives a generated name and must outlive the result.
    std::string_view text(int i, std::string& scratch) const;

    // The first element of that name, given or generated; -1 if there is none.
    int find(std::string_view name) const;

    void reserve_more(int count);
    void append(std::string_view name); // "" for unnamed; amortised constant time
    void append_unnamed(int count);
    void set(int i, std::string_view name);
    void erase(const std::vector<char>& gone); // gone[i] != 0: element i goes; linear
    void truncate(int size);                   // undoes appends
    void clear();

private:
    // implementation: one pool of NUL-terminated bytes, an offset for each element (0: unnamed), and an open
    // addressing table of element indices that is dropped by edits and built by find.
    char letter_;
    std::vector<uint32_t> offsets_;
    std::vector<char> pool_;
    mutable std::vector<int> table_;
};

} // namespace tso
