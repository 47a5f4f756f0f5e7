#include "io/naming.h"

#include "io/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>

namespace tso::io {

namespace {

constexpr std::string_view kPrefix = "_~";
constexpr char kHex[] = "0123456789abcdef";

// Bytes that may stand in a name as they are. Those above 0x7f are parts of UTF-8.
using ByteSet = std::array<bool, 256>;
constexpr ByteSet bytes_without(std::string_view excluded) {
    ByteSet set{};
    for (int c = 0x21; c < 256; ++c)
        set[c] = c != 0x7f;
    for (const char c : excluded)
        set[static_cast<unsigned char>(c)] = false;
    return set;
}
constexpr ByteSet kWordBytes = bytes_without("");
constexpr ByteSet kLpBytes = bytes_without("+-*/^<>=:[]\\|");

const ByteSet& bytes_of(Alphabet a) { return a == Alphabet::Lp ? kLpBytes : kWordBytes; }

// clang-format off
constexpr std::string_view kLpKeywords[] = {
    "bin", "binaries", "binary", "bound", "bounds", "end", "free", "gen", "general", "generals", "inf", "infinity",
    "int", "integer", "integers", "max", "maximise", "maximize", "maximum", "min", "minimise", "minimize", "minimum",
    "s.t", "s.t.", "sec", "semi", "semi-continuous", "semi-integer", "semi-integers", "semicontinuous", "semiinteger",
    "semis", "sos", "sos1", "sos2", "st", "st.", "subject", "such",
};
// clang-format on
static_assert(std::ranges::is_sorted(kLpKeywords));

int hex_digit(char c) {
    const char* at = c == '\0' ? nullptr : std::strchr(kHex, c);
    return at ? static_cast<int>(at - kHex) : -1;
}

// Takes an encoded word apart; false if it is not one, exactly as encode_name makes them.
bool decode(std::string_view word, std::string& name, int& index) {
    if (!word.starts_with(kPrefix))
        return false;
    name.clear();
    index = -1;
    for (size_t i = kPrefix.size(); i < word.size(); ++i) {
        if (word[i] != '~') {
            name += word[i];
            continue;
        }
        if (i + 1 < word.size() && word[i + 1] == '~') {
            const std::string_view digits = word.substr(i + 2);
            return !digits.empty() && digits[0] != '-' && parse_int(digits, index);
        }
        const int high = i + 1 < word.size() ? hex_digit(word[i + 1]) : -1;
        const int low = i + 2 < word.size() ? hex_digit(word[i + 2]) : -1;
        if (high < 0 || low < 0 || high + low == 0)
            return false;
        name += static_cast<char>(16 * high + low);
        i += 2;
    }
    return true;
}

} // namespace

bool is_lp_keyword(std::string_view word) {
    char lower[16];
    if (word.size() > sizeof lower)
        return false;
    for (size_t i = 0; i < word.size(); ++i)
        lower[i] = word[i] >= 'A' && word[i] <= 'Z' ? static_cast<char>(word[i] + ('a' - 'A')) : word[i];
    return std::ranges::binary_search(kLpKeywords, std::string_view(lower, word.size()));
}

bool is_plain(std::string_view name, Alphabet alphabet) {
    const ByteSet& plain = bytes_of(alphabet);
    if (name.empty() || name.starts_with(kPrefix))
        return false;
    for (const char c : name)
        if (!plain[static_cast<unsigned char>(c)])
            return false;
    if (alphabet == Alphabet::Lp)
        return name[0] != '.' && !(name[0] >= '0' && name[0] <= '9') && !is_lp_keyword(name);
    return name[0] != '#' && name[0] != '\'' && name[0] != '*' && name[0] != '$';
}

std::string encode_name(std::string_view name, int index, Alphabet alphabet) {
    const ByteSet& plain = bytes_of(alphabet);
    std::string out(kPrefix);
    for (const char c : name) {
        const unsigned char u = static_cast<unsigned char>(c);
        if (plain[u] && c != '~') {
            out += c;
        } else {
            out += '~';
            out += kHex[u >> 4];
            out += kHex[u & 15];
        }
    }
    if (index >= 0)
        out += "~~" + std::to_string(index);
    return out;
}

std::string_view decode_text(std::string_view word, std::string& scratch, int* index) {
    int repeated = -1;
    std::string_view text = word;
    if (word.starts_with(kPrefix) && decode(word, scratch, repeated)) {
        text = scratch;
    } else {
        repeated = -1;
        for (const char c : word)
            if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f)
                throw Failure(TSO_FORMAT_ERROR, "expected no control characters, found " + show(word));
    }
    if (index)
        *index = repeated;
    if (!valid_utf8(text))
        throw Failure(TSO_FORMAT_ERROR, "expected UTF-8, found " + show(text));
    return text;
}

std::string_view decode_name(std::string_view word, std::string& scratch, int* index) {
    const std::string_view name = decode_text(word, scratch, index);
    if (name.size() > TSO_MAX_NAMELEN)
        throw Failure(TSO_FORMAT_ERROR, "expected a name of at most 255 bytes, found " + show(name));
    return name;
}

NameTable::Key NameTable::key_of(std::string_view name, uint32_t& hash) {
    char bytes[sizeof(Key)] = {};
    const bool is_long = name.size() > Key::kShort;
    name.copy(bytes, Key::kShort);
    bytes[Key::kShort] = static_cast<char>(is_long ? Key::kLong : name.size());
    Key key;
    std::memcpy(&key, bytes, sizeof key);
    uint64_t h = is_long ? std::hash<std::string_view>()(name) : 0;
    for (const uint64_t w : key.word) {
        h = (h ^ w) * 0x9e3779b97f4a7c15u;
        h ^= h >> 29;
    }
    h *= 0xbf58476d1ce4e5b9u;
    hash = static_cast<uint32_t>(h >> 32);
    return key;
}

size_t NameTable::slot_of(std::string_view name, const Key& key, uint32_t hash) const {
    const size_t mask = slots_.size() - 1;
    size_t at = hash & mask;
    for (; slots_[at].index >= 0; at = (at + 1) & mask)
        if (slots_[at].key == key && (name.size() <= Key::kShort || this->name(slots_[at].index) == name))
            break;
    return at;
}

int NameTable::find(std::string_view name) const {
    if (slots_.empty())
        return -1;
    uint32_t hash;
    const Key key = key_of(name, hash);
    return slots_[slot_of(name, key, hash)].index;
}

std::pair<int, bool> NameTable::insert(std::string_view name) {
    if (2 * (used_ + 1) > slots_.size())
        grow();
    uint32_t hash;
    const Key key = key_of(name, hash);
    const size_t at = slot_of(name, key, hash);
    if (slots_[at].index >= 0)
        return {slots_[at].index, false};
    const int i = append(name);
    slots_[at] = {key, hash, i};
    ++used_;
    return {i, true};
}

int NameTable::append(std::string_view name) {
    if (offset_.size() == INT32_MAX)
        throw std::bad_alloc();
    offset_.push_back(pool_.size());
    pool_.insert(pool_.end(), name.begin(), name.end());
    pool_.push_back('\0');
    return size() - 1;
}

void NameTable::grow() {
    std::vector<Slot> wider(std::max<size_t>(64, 2 * slots_.size()), Slot{{}, 0, -1});
    const size_t mask = wider.size() - 1;
    for (const Slot& slot : slots_) {
        if (slot.index < 0)
            continue;
        size_t at = slot.hash & mask;
        while (wider[at].index >= 0)
            at = (at + 1) & mask;
        wider[at] = slot;
    }
    slots_.swap(wider);
}

void WrittenNames::add(const Names& names, const char* what) {
    words_.reserve(words_.size() + static_cast<size_t>(names.size()));
    std::string scratch;
    for (int i = 0; i < names.size(); ++i) {
        const bool given = names.is_named(i);
        const std::string_view name = given ? names.given(i) : names.text(i, scratch);
        if (given && !valid_utf8(name))
            throw Failure(TSO_FORMAT_ERROR, std::string("the name of ") + what + " " + std::to_string(i) +
                                                " is not UTF-8: " + show(name));
        const bool first = taken_.insert(name).second;
        if (first && is_plain(name, alphabet_)) {
            words_.push_back(given ? name : made_.emplace_back(name));
            continue;
        }
        if (!first)
            taken_.append(""); // its indices are those of words_
        const int index = first ? -1 : static_cast<int>(words_.size());
        words_.push_back(made_.emplace_back(encode_name(name, index, alphabet_)));
    }
}

int find_element(const Names& names, std::string_view word) {
    std::string scratch;
    int index = -1;
    const std::string_view name = decode_name(word, scratch, &index);
    std::string other;
    if (index >= 0 && index < names.size() && names.text(index, other) == name)
        return index;
    return names.find(name);
}

} // namespace tso::io
