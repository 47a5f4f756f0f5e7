// Lookup: finds a row of a catalogue by its name, case and "/" or "_" alike, through a perfect hash made while
// compiling. A look-up reads the name twice and allocates nothing.
#pragma once

#include <array>
#include <cstdint>
#include <iterator>
#include <string_view>

namespace tso {

inline constexpr auto kFold = [] {
    std::array<unsigned char, 256> table{};
    for (int c = 0; c < 256; ++c)
        table[c] = static_cast<unsigned char>(c == '/' ? '_' : c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    return table;
}();
constexpr unsigned char fold(char c) { return kFold[static_cast<unsigned char>(c)]; }

// Rows: an array of rows with a std::string_view `name`, fewer than 255 of them.
template <const auto& Rows> class Lookup {
public:
    // The row number, or -1.
    static constexpr int find(std::string_view name) {
        if (name.size() > kLongest)
            return -1;
        uint64_t h = kTable.seed;
        for (char c : name)
            h = step(h, c);
        const int i = kTable.slot[place(h)];
        if (i == kNone || Rows[i].name.size() != name.size())
            return -1;
        for (size_t k = 0; k < name.size(); ++k)
            if (fold(name[k]) != fold(Rows[i].name[k]))
                return -1;
        return i;
    }

    // The same for a NUL-terminated name, which may be of any length. Most names have eight letters at most: these are
    // packed into one word, which is all that is hashed and compared.
    static int find_text(const char* name) {
        uint64_t word = 0;
        for (size_t n = 0; n < kWord; ++n) {
            if (!name[n])
                return find_word(word);
            word |= uint64_t{fold(name[n])} << (8 * n);
        }
        size_t n = kWord;
        while (name[n])
            if (n++ == kLongest)
                return -1;
        return n == kWord ? find_word(word) : find({name, n});
    }

private:
    static constexpr int kBits = 11;
    static constexpr uint8_t kNone = 255;
    static constexpr size_t kCount = std::size(Rows);
    static_assert(kCount < kNone);

    static constexpr size_t kLongest = [] {
        size_t longest = 0;
        for (const auto& row : Rows)
            longest = row.name.size() > longest ? row.name.size() : longest;
        return longest;
    }();

    static constexpr uint64_t step(uint64_t h, char c) { return (h ^ fold(c)) * 0x9E3779B97F4A7C15u; }
    static constexpr size_t place(uint64_t h) { return static_cast<size_t>(h >> (64 - kBits)); }

    struct Table {
        uint64_t seed;
        std::array<uint8_t, 1 << kBits> slot;
    };

    static constexpr bool fill(Table& table) {
        table.slot.fill(kNone);
        for (size_t i = 0; i < kCount; ++i) {
            uint64_t h = table.seed;
            for (char c : Rows[i].name)
                h = step(h, c);
            if (table.slot[place(h)] != kNone)
                return false;
            table.slot[place(h)] = static_cast<uint8_t>(i);
        }
        return true;
    }

    static constexpr Table make() {
        Table table{};
        for (table.seed = 1; !fill(table); ++table.seed)
            ;
        return table;
    }
    static constexpr Table kTable = make();

    // The names of one word, again by a perfect hash.
    static constexpr size_t kWord = 8;
    static constexpr int kWordBits = 9;
    struct WordTable {
        struct Slot {
            uint64_t word; // 0 where free, which no name gives
            int row;
        };
        uint64_t factor;
        std::array<Slot, 1 << kWordBits> slot;
    };
    static constexpr size_t word_place(uint64_t word, uint64_t factor) {
        return static_cast<size_t>((word * factor) >> (64 - kWordBits));
    }
    static constexpr bool fill(WordTable& table) {
        table.slot.fill({0, -1});
        for (size_t i = 0; i < kCount; ++i) {
            if (Rows[i].name.size() > kWord)
                continue;
            uint64_t word = 0;
            for (size_t n = 0; n < Rows[i].name.size(); ++n)
                word |= uint64_t{fold(Rows[i].name[n])} << (8 * n);
            auto& slot = table.slot[word_place(word, table.factor)];
            if (slot.word != 0)
                return false;
            slot = {word, static_cast<int>(i)};
        }
        return true;
    }
    static constexpr WordTable make_words() {
        WordTable table{};
        for (table.factor = 0x9E3779B97F4A7C15u; !fill(table); table.factor += 0x2545F4914F6CDD1Eu)
            ;
        return table;
    }
    static constexpr WordTable kWords = make_words();
    static int find_word(uint64_t word) {
        const auto& slot = kWords.slot[word_place(word, kWords.factor)];
        return slot.word == word ? slot.row : -1;
    }
};

} // namespace tso
