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

    void reserve_more(int count, size_t bytes = 0); // bytes: of the names' texts, their NULs included
    void append(std::string_view name);             // "" for unnamed; amortised constant time; all or nothing
    void append_unnamed(int count);
    void set(int i, std::string_view name);
    void erase(const std::vector<char>& gone); // gone[i] != 0: element i goes; linear
    void truncate(int size);                   // undoes appends
    void clear();

private:
    // One pool of NUL-terminated bytes and an offset for each element (0: unnamed; the pool's first byte is a NUL).
    // Texts of renamed and erased elements stay in the pool until half of it is garbage.
    // The table is open addressing, of element indices, the first of each name; it holds the elements below hashed_,
    // and find adds the others. Renaming a named element and erasing drop it.
    uint32_t store(std::string_view name);
    void compact() noexcept;
    void extend_table() const;
    void insert(int i) const;
    int find_given(std::string_view name) const;
    void drop_table() noexcept;

    char letter_;
    bool clashes_ = false; // some given name could be a generated one
    std::vector<uint32_t> offsets_;
    std::vector<char> pool_;
    size_t garbage_ = 0; // bytes of the pool that no element uses
    int named_ = 0;
    mutable std::vector<int> table_; // -1: free
    mutable int hashed_ = 0, in_table_ = 0;
};

} // namespace tso
