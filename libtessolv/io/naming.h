// Naming: names as the files hold them. A name that a format cannot hold is written in an encoded form that reading
// turns back: "_~", the name with every awkward byte as "~" and two hexadecimal digits, and, for a name that an earlier
// element has as well, "~~" and the index of the element.
#pragma once

#include "core/names.h"
#include "io/reader.h"

#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace tso::io {

enum class Alphabet : unsigned char {
    Words, // no blanks, no control characters, none of # ' * $ in front: formats of lines and fields
    Lp,    // moreover none of the characters that mean something between names, no digit in front, no keyword
};

// In front of the name of a row with two sides: the statement of its upper one in LP files, right behind the row with
// its lower side. No name is written so: those that begin with "_~" are encoded.
inline constexpr std::string_view kSecondSide = "_~up~~";

bool is_plain(std::string_view name, Alphabet alphabet);
// `index` below 0 for a name that is not repeated.
std::string encode_name(std::string_view name, int index, Alphabet alphabet);

// The name that a word of a file stands for; `scratch` holds it if it was encoded. `index`: of the repeated name it
// was written for, -1 for others. Failure(TSO_FORMAT_ERROR) without file and line when it is no name: longer than
// TSO_MAX_NAMELEN bytes, not UTF-8, with control characters.
std::string_view decode_name(std::string_view word, std::string& scratch, int* index = nullptr);
// The same for a text of any length.
std::string_view decode_text(std::string_view word, std::string& scratch, int* index = nullptr);

// A word that means a section, an infinity or the like where it stands between names in LP files; lower case.
bool is_lp_keyword(std::string_view word);

// Names to indices: names in one pool, NUL-terminated, and a hash over them. Reading large models is mostly looking up
// names, and that is mostly waiting for memory: the slots of the hash hold names of up to 23 bytes themselves, so that
// finding one touches one line of the cache instead of three.
class NameTable {
public:
    int size() const { return static_cast<int>(offset_.size()); }
    std::string_view name(int i) const {
        const size_t stop = i + 1 < size() ? offset_[i + 1] : pool_.size();
        return {&pool_[offset_[i]], stop - offset_[i] - 1};
    }
    const char* c_name(int i) const { return &pool_[offset_[i]]; }
    int find(std::string_view name) const; // -1 if there is none
    // The index of the name, and whether it is new.
    std::pair<int, bool> insert(std::string_view name);
    // Adds one that is not to be found by its name.
    int append(std::string_view name);

private:
    struct Key {                          // the first bytes of a name, filled up with zeros
        static constexpr int kShort = 23; // in the last byte: the length, or kLong
        static constexpr unsigned char kLong = 255;
        uint64_t word[3];
        bool operator==(const Key&) const = default;
    };
    struct Slot {
        Key key;
        uint32_t hash;
        int index; // -1: free
    };
    static Key key_of(std::string_view name, uint32_t& hash);
    size_t slot_of(std::string_view name, const Key& key, uint32_t hash) const; // its own, or the free one for it
    void grow();

    std::vector<char> pool_;
    std::vector<size_t> offset_;
    std::vector<Slot> slots_; // a power of two
    size_t used_ = 0;
};

// What to write for each element: given or generated name, encoded where it must be. Elements of several kinds that
// share one space of names (rows and indicators in MPS files) are added one after the other.
class WrittenNames {
public:
    explicit WrittenNames(Alphabet alphabet) : alphabet_(alphabet) {}
    void add(const Names& names, const char* what); // Failure(TSO_FORMAT_ERROR) for a name that is not UTF-8
    std::string_view operator[](int i) const { return words_[i]; }
    bool has(std::string_view word) const { return taken_.find(word) >= 0; }

private:
    Alphabet alphabet_;
    NameTable taken_;
    std::deque<std::string> made_;
    std::vector<std::string_view> words_;
};

// The element that a word of a file names; -1 if there is none.
int find_element(const Names& names, std::string_view word);

} // namespace tso::io
