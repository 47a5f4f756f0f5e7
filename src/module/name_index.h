// NameIndex: from a name as a person writes it to its row in a catalogue, by a perfect hash found at compile time.
#pragma once

#include <array>
#include <cstdint>
#include <iterator>
#include <string_view>

namespace tsp {

// Names of attributes and parameters are matched without regard to case, and "/" is as good as "_".
constexpr char fold(char c) {
    if (c >= 'A' && c <= 'Z')
        return static_cast<char>(c - 'A' + 'a');
    return c == '/' ? '_' : c;
}

constexpr bool folds_to(std::string_view name, std::string_view key) {
    if (name.size() != key.size())
        return false;
    for (std::size_t i = 0; i < key.size(); ++i)
        if (fold(name[i]) != key[i])
            return false;
    return true;
}

template <std::size_t Slots> struct NameIndex {
    static_assert((Slots & (Slots - 1)) == 0);
    uint32_t seed = 0;
    std::array<int16_t, Slots> slot{}; // row number, or -1

    constexpr uint32_t place(std::string_view name) const {
        uint32_t h = seed;
        for (char c : name)
            h = (h ^ static_cast<unsigned char>(fold(c))) * 0x01000193u;
        return (h ^ (h >> 15)) & (Slots - 1);
    }

    // The row of that name in the catalogue that the index was made from, or null.
    template <class Row> const Row* find(const Row* rows, std::string_view name) const {
        int row = slot[place(name)];
        return row >= 0 && folds_to(name, rows[row].key) ? rows + row : nullptr;
    }
};

// Tries seeds until every row has a slot of its own.
template <std::size_t Slots, class Row, std::size_t N>
consteval NameIndex<Slots> make_name_index(const Row (&rows)[N]) {
    NameIndex<Slots> index;
    for (;; ++index.seed) {
        index.slot.fill(-1);
        bool free = true;
        for (std::size_t i = 0; i < N && free; ++i) {
            if (!folds_to(rows[i].name, rows[i].key))
                throw "a key is not its folded name";
            int16_t& place = index.slot[index.place(rows[i].key)];
            free = place < 0;
            place = static_cast<int16_t>(i);
        }
        if (free)
            return index;
    }
}

} // namespace tsp
