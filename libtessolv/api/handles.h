// Handles: what callers hold instead of pointers, and who is inside of what.
//
// A handle is a number: a tag that no pointer of a process has, the kind, a generation, a slot. So a null, a stray or a
// freed handle is told from a living one without touching any memory that it might point to. Slots live in chunks that
// are never given back, so a look-up in one thread is safe while another thread frees the object.
//
// A slot has an owner, the thread that is inside of the object. Every call takes it with one compare-and-swap and gives
// it back with one store. Only with it in hand the object may be touched, and the handle is checked once more then,
// since freeing takes the owner too. The thread that is inside already may enter again: a callback may read its model.
#pragma once

#include "core/run.h"
#include "tessolv.h"

#include <atomic>
#include <cstdint>
#include <memory>

namespace tso::api {

enum class Kind : uint64_t { Env = 1, Model = 2, PrivateEnv = 3, Callback = 4 };

using Handle = uint64_t;

inline constexpr int kSlotBits = 20, kKindShift = 52, kTagShift = 56;
inline constexpr int kChunkBits = 10;
inline constexpr uint64_t kTag = 0xB7; // addresses of processes have their upper bits all 0, or all 1

constexpr Kind kind_of(Handle h) { return static_cast<Kind>(h >> kKindShift & 0xF); }
constexpr Handle with_kind(Handle h, Kind kind) {
    return (h & ~(uint64_t{0xF} << kKindShift)) | static_cast<uint64_t>(kind) << kKindShift;
}

template <class Opaque> Handle handle_of(Opaque* p) { return reinterpret_cast<uintptr_t>(p); }
template <class Opaque> Opaque opaque(Handle h) { return reinterpret_cast<Opaque>(static_cast<uintptr_t>(h)); }

struct alignas(64) Slot {
    std::atomic<Handle> handle{0};   // of the object; 0 while there is none
    std::atomic<uintptr_t> owner{0}; // the thread that is inside
    void* object = nullptr;
    int depth = 0; // how often its owner is inside
    uint32_t index = 0, generation = 0;
    Run* run = nullptr;   // the run that is under way; changed under the table's lock, by the owner
    bool doomed = false;  // freed during a run: the owner frees it when the run ends
    Slot* next = nullptr; // among the free slots
};

inline std::atomic<Slot*> chunks[1 << (kSlotBits - kChunkBits)];

// The slot that a handle names, of any kind and living or not; null if there never was such a slot.
inline Slot* slot_of(Handle h) {
    if (h >> kTagShift != kTag)
        return nullptr;
    const size_t index = h & ((1u << kSlotBits) - 1);
    Slot* chunk = chunks[index >> kChunkBits].load(std::memory_order_acquire);
    return chunk ? chunk + (index & ((1u << kChunkBits) - 1)) : nullptr;
}

inline uintptr_t this_thread() {
#if defined(__GNUC__) && (defined(__x86_64__) || defined(__aarch64__))
    return reinterpret_cast<uintptr_t>(__builtin_thread_pointer());
#else
    static thread_local char mark;
    return reinterpret_cast<uintptr_t>(&mark);
#endif
}

enum class Mode { Read, Edit, Wait }; // Wait: edit, and wait while another thread is inside

// The way into an object for the length of one call. `code` is TSO_OKAY if it is open.
class Claim {
public:
    Claim(Handle h, Kind kind, Mode mode) noexcept;
    ~Claim() {
        if (slot_)
            leave();
    }
    Claim(const Claim&) = delete;
    Claim& operator=(const Claim&) = delete;

    int code() const { return code_; }
    void* object() const { return slot_->object; }
    Slot& slot() const { return *slot_; }

private:
    void leave() noexcept {
        if (slot_->depth > 0)
            --slot_->depth;
        else if (slot_->doomed) [[unlikely]]
            bury();
        else
            slot_->owner.store(0, std::memory_order_release);
    }
    void enter_slowly(Handle h, Mode mode) noexcept;
    void bury() noexcept;

    Slot* slot_;
    int code_;
};

// Makes a run known to other threads, so that freeing the model ends it.
class RunScope {
public:
    RunScope(Slot& slot, Run& run);
    ~RunScope();
    RunScope(const RunScope&) = delete;
    RunScope& operator=(const RunScope&) = delete;

private:
    Slot& slot_;
};

// Gives an object a handle; the table owns the object then. Throws std::bad_alloc when there are too many.
Handle open(Kind kind, void* object);
// Frees the object, at once or, if a run of it is under way, when that ends.
int close(Handle h, Kind kind) noexcept;
// Whether a handle is valid and no other thread is inside. For calls that touch nothing of the object.
inline int peek(Handle h, Kind kind) noexcept {
    const Slot* const slot = kind_of(h) == kind ? slot_of(h) : nullptr;
    if (!slot || slot->handle.load(std::memory_order_relaxed) != h)
        return TSO_INVALID_ARGUMENT;
    const uintptr_t owner = slot->owner.load(std::memory_order_relaxed);
    return owner == 0 || owner == this_thread() ? TSO_OKAY : TSO_ERROR;
}

// Defined where the types of the objects are known.
void destroy(Kind kind, void* object) noexcept;

inline Claim::Claim(Handle h, Kind kind, Mode mode) noexcept
    : slot_(kind_of(h) == kind ? slot_of(h) : nullptr), code_(TSO_OKAY) {
    if (slot_ && slot_->handle.load(std::memory_order_relaxed) == h) [[likely]] {
        uintptr_t owner = 0;
        if (slot_->owner.compare_exchange_strong(owner, this_thread(), std::memory_order_acquire)) [[likely]] {
            if (slot_->handle.load(std::memory_order_relaxed) == h) [[likely]]
                return;
            slot_->owner.store(0, std::memory_order_release);
        } else {
            enter_slowly(h, mode);
            return;
        }
    }
    slot_ = nullptr;
    code_ = TSO_INVALID_ARGUMENT;
}

} // namespace tso::api
