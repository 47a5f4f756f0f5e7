#include "core/names.h"

#include "core/growth.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <functional>
#include <new>
#include <stdexcept>

namespace tso {

namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }

size_t hash_of(std::string_view name) { return std::hash<std::string_view>()(name); }

} // namespace

std::string_view Names::given(int i) const {
    return offsets_[i] == 0 ? std::string_view() : std::string_view(&pool_[offsets_[i]]);
}

std::string_view Names::text(int i, std::string& scratch) const {
    if (is_named(i))
        return given(i);
    char digits[12];
    const auto end = std::to_chars(digits, digits + sizeof digits, i).ptr;
    scratch.assign(1, letter_);
    scratch.append(digits, end);
    if (clashes_)
        while (find_given(scratch) >= 0)
            scratch += '_';
    return scratch;
}

int Names::find(std::string_view name) const {
    if (name.empty())
        return -1;
    if (named_ > 0)
        if (const int i = find_given(name); i >= 0)
            return i;
    // Perhaps a generated one: the letter, an index without leading zeros, underscores.
    if (name.size() < 2 || name[0] != letter_)
        return -1;
    const char* const begin = name.data() + 1;
    const char* const end = name.data() + name.size();
    int i = 0;
    const auto [after, error] = std::from_chars(begin, end, i);
    if (!is_digit(*begin) || error != std::errc() || i >= size() || is_named(i))
        return -1;
    std::string scratch;
    return text(i, scratch) == name ? i : -1;
}

void Names::reserve_more(int count, size_t bytes) {
    const auto grow = [](auto& v, size_t extra) {
        if (v.size() + extra > v.capacity())
            v.reserve(std::max(v.size() + extra, 2 * v.capacity()));
    };
    grow(offsets_, static_cast<size_t>(count));
    if (bytes > 0)
        grow(pool_, bytes + 1);
}

void Names::append(std::string_view name) {
    if (name.empty()) {
        offsets_.push_back(0);
        return;
    }
    offsets_.push_back(0);
    try {
        offsets_.back() = store(name);
    } catch (...) {
        offsets_.pop_back();
        throw;
    }
}

void Names::append_unnamed(int count) { offsets_.resize(offsets_.size() + static_cast<size_t>(count)); }

void Names::set(int i, std::string_view name) {
    const std::string_view old = given(i);
    if (old == name)
        return;
    const size_t freed = old.empty() ? 0 : old.size() + 1;
    const uint32_t offset = name.empty() ? 0 : store(name);
    offsets_[i] = offset;
    garbage_ += freed;
    if (freed > 0) {
        --named_;
        drop_table();
        compact();
    } else if (i < hashed_) {
        if (2 * (static_cast<size_t>(in_table_) + 1) > table_.size())
            drop_table();
        else
            insert(i);
    }
}

void Names::erase(const std::vector<char>& gone) {
    if (named_ == 0) {
        erase_marked(offsets_, gone);
        return drop_table();
    }
    size_t kept = 0;
    for (size_t i = 0; i < offsets_.size(); ++i) {
        if (!gone[i]) {
            offsets_[kept++] = offsets_[i];
        } else if (offsets_[i] != 0) {
            --named_;
            garbage_ += std::strlen(&pool_[offsets_[i]]) + 1;
        }
    }
    offsets_.resize(kept);
    drop_table();
    compact();
}

void Names::truncate(int size) {
    for (int i = size; i < this->size(); ++i)
        if (offsets_[i] != 0) {
            --named_;
            garbage_ += given(i).size() + 1;
        }
    offsets_.resize(static_cast<size_t>(size));
    drop_table();
    compact();
}

void Names::clear() { *this = Names(letter_); }

// Puts a name at the end of the pool. All or nothing.
uint32_t Names::store(std::string_view name) {
    const size_t at = pool_.empty() ? 1 : pool_.size();
    const size_t end = at + name.size() + 1;
    if (end > UINT32_MAX)
        throw std::length_error("names");
    if (end > pool_.capacity())
        pool_.reserve(std::max(end, 2 * pool_.capacity()));
    pool_.resize(end); // the last byte is the NUL
    std::memcpy(&pool_[at], name.data(), name.size());
    ++named_;
    if (name.size() > 1 && name[0] == letter_ && is_digit(name[1]))
        clashes_ = true;
    return static_cast<uint32_t>(at);
}

// Rewrites the pool without its garbage when that is most of it. Without memory for a new pool the old one stays.
void Names::compact() noexcept {
    if (garbage_ < 1024 || garbage_ < pool_.size() / 2)
        return;
    try {
        std::vector<char> pool;
        pool.reserve(pool_.size() - garbage_);
        pool.push_back('\0');
        for (uint32_t& offset : offsets_)
            if (offset != 0) {
                const char* from = &pool_[offset];
                offset = static_cast<uint32_t>(pool.size());
                pool.insert(pool.end(), from, from + std::strlen(from) + 1);
            }
        pool_.swap(pool);
        garbage_ = 0;
    } catch (const std::bad_alloc&) {
    }
}

int Names::find_given(std::string_view name) const {
    extend_table();
    if (table_.empty())
        return -1;
    const size_t mask = table_.size() - 1;
    for (size_t at = hash_of(name) & mask; table_[at] >= 0; at = (at + 1) & mask)
        if (given(table_[at]) == name)
            return table_[at];
    return -1;
}

void Names::extend_table() const {
    if (hashed_ == size())
        return;
    if (2 * (static_cast<size_t>(named_) + 1) > table_.size()) {
        size_t wanted = 16;
        while (wanted < 3 * (static_cast<size_t>(named_) + 1))
            wanted *= 2;
        std::vector<int> table(wanted, -1);
        table_.swap(table);
        hashed_ = in_table_ = 0;
    }
    for (; hashed_ < size(); ++hashed_)
        if (is_named(hashed_))
            insert(hashed_);
}

void Names::insert(int i) const {
    const std::string_view name = given(i);
    const size_t mask = table_.size() - 1;
    size_t at = hash_of(name) & mask;
    for (; table_[at] >= 0; at = (at + 1) & mask)
        if (given(table_[at]) == name) {
            table_[at] = std::min(table_[at], i);
            return;
        }
    table_[at] = i;
    ++in_table_;
}

void Names::drop_table() noexcept {
    table_.clear();
    hashed_ = in_table_ = 0;
}

} // namespace tso
