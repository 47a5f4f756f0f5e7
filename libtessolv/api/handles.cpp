#include "api/handles.h"

#include "tessolv.h"

#include <mutex>
#include <new>
#include <thread>

namespace tso::api {

namespace {

std::mutex table_lock; // of the free list, of the growth of the table, and of Slot::run and Slot::doomed
Slot* free_slots = nullptr;
size_t slot_count = 0;
constexpr int kPatience = 100'000; // yields

void recycle(Slot& slot) noexcept {
    const std::lock_guard lock(table_lock);
    slot.object = nullptr;
    slot.doomed = false;
    slot.depth = 0;
    slot.next = free_slots;
    free_slots = &slot;
    slot.owner.store(0, std::memory_order_release);
}

// The owner takes the object out of its slot.
void retire(Slot& slot, Kind kind) noexcept {
    void* const object = slot.object;
    slot.handle.store(0, std::memory_order_relaxed);
    recycle(slot);
    destroy(kind, object);
}

} // namespace

// Somebody is inside: this thread, by a callback, or another one.
void Claim::enter_slowly(Handle h, Mode mode) noexcept {
    const uintptr_t me = this_thread();
    Slot* const slot = slot_;
    slot_ = nullptr;
    for (;;) {
        uintptr_t owner = slot->owner.load(std::memory_order_acquire);
        code_ = TSO_INVALID_ARGUMENT;
        if (slot->handle.load(std::memory_order_acquire) != h)
            return;
        code_ = TSO_ERROR;
        if (owner == me) {
            if (mode == Mode::Edit && slot->run) // the engine is working on it
                return;
            ++slot->depth;
            break;
        }
        if (owner == 0) {
            if (!slot->owner.compare_exchange_strong(owner, me, std::memory_order_acquire))
                continue;
            if (slot->handle.load(std::memory_order_relaxed) == h)
                break;
            slot->owner.store(0, std::memory_order_release);
            continue;
        }
        if (mode != Mode::Wait)
            return;
        std::this_thread::yield();
    }
    slot_ = slot;
    code_ = TSO_OKAY;
}

void Claim::bury() noexcept { retire(*slot_, Kind::Model); }

RunScope::RunScope(Slot& slot, Run& run) : slot_(slot) {
    const std::lock_guard lock(table_lock);
    slot_.run = &run;
}

RunScope::~RunScope() {
    const std::lock_guard lock(table_lock);
    slot_.run = nullptr;
}

Handle open(Kind kind, void* object) {
    const std::lock_guard lock(table_lock);
    if (!free_slots) {
        if (slot_count == size_t{1} << kSlotBits)
            throw std::bad_alloc();
        Slot* const chunk = new Slot[1 << kChunkBits];
        chunks[slot_count >> kChunkBits].store(chunk, std::memory_order_release);
        for (size_t k = size_t{1} << kChunkBits; k-- > 0;) {
            chunk[k].index = static_cast<uint32_t>(slot_count + k);
            chunk[k].next = free_slots;
            free_slots = &chunk[k];
        }
        slot_count += size_t{1} << kChunkBits;
    }
    Slot* const slot = free_slots;
    free_slots = slot->next;
    slot->object = object;
    ++slot->generation;
    const Handle h = kTag << kTagShift | static_cast<uint64_t>(kind) << kKindShift |
                     static_cast<uint64_t>(slot->generation) << kSlotBits | slot->index;
    slot->handle.store(h, std::memory_order_release);
    return h;
}

int close(Handle h, Kind kind) noexcept {
    Slot* const slot = kind_of(h) == kind ? slot_of(h) : nullptr;
    if (!slot)
        return TSO_INVALID_ARGUMENT;
    const uintptr_t me = this_thread();
    for (int tries = 0;; ++tries) {
        if (slot->handle.load(std::memory_order_acquire) != h)
            return TSO_INVALID_ARGUMENT;
        uintptr_t owner = 0;
        if (slot->owner.compare_exchange_strong(owner, me, std::memory_order_acquire)) {
            if (slot->handle.load(std::memory_order_relaxed) == h) {
                retire(*slot, kind);
                return TSO_OKAY;
            }
            slot->owner.store(0, std::memory_order_release);
            return TSO_INVALID_ARGUMENT;
        }
        {
            const std::lock_guard lock(table_lock);
            if (slot->run && slot->handle.load(std::memory_order_relaxed) == h) {
                slot->handle.store(0, std::memory_order_relaxed);
                slot->doomed = true;
                slot->run->interrupt = true;
                return TSO_OKAY;
            }
        }
        // Another thread is inside for a short call, as a rule: its end is waited for, within reason.
        if (owner == me || tries == kPatience)
            return TSO_ERROR;
        std::this_thread::yield();
    }
}

} // namespace tso::api
