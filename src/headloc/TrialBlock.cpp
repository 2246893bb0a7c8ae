#include "headloc/TrialBlock.h"

#include <algorithm>
#include <atomic>
#include <limits>
#include <new>

#if defined(__SANITIZE_ADDRESS__)
#define FLUXGRID_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define FLUXGRID_ASAN 1
#endif
#endif
#ifdef FLUXGRID_ASAN
#include <sanitizer/asan_interface.h>
#endif

namespace fluxgrid::headloc {

namespace {

// Objects on different threads may load at the same time.
std::atomic<std::size_t> g_living{0};

// A released record's room stays with its block until the block goes. Under
// the address sanitizer it is marked unusable, so that a host reading an
// entry it released is caught as it would be with one allocation each.
void markReleased([[maybe_unused]] void* place, [[maybe_unused]] std::size_t bytes) {
#ifdef FLUXGRID_ASAN
    ASAN_POISON_MEMORY_REGION(place, bytes);
#endif
}

void markUsable([[maybe_unused]] void* place, [[maybe_unused]] std::size_t bytes) {
#ifdef FLUXGRID_ASAN
    ASAN_UNPOISON_MEMORY_REGION(place, bytes);
#endif
}

}  // namespace

TrialBlock::TrialBlock(platform::PageMemory memory, std::size_t capacity) noexcept
    : m_memory(std::move(memory)), m_capacity(capacity) {
    g_living.fetch_add(1, std::memory_order_relaxed);
}

TrialBlock::~TrialBlock() {
    markUsable(m_memory.data(), m_used * sizeof(HEAD_LOCATION_TRIAL));
    g_living.fetch_sub(1, std::memory_order_relaxed);
}

TrialBlock* TrialBlock::create(std::size_t capacity) noexcept {
    if (capacity == 0 ||
        capacity > std::numeric_limits<std::size_t>::max() / sizeof(HEAD_LOCATION_TRIAL)) {
        return nullptr;
    }
    platform::PageMemory memory =
        platform::PageMemory::allocate(capacity * sizeof(HEAD_LOCATION_TRIAL));
    if (!memory) {
        return nullptr;
    }
    return new (std::nothrow) TrialBlock(std::move(memory), capacity);
}

HEAD_LOCATION_TRIAL* TrialBlock::emplace() noexcept {
    void* place = static_cast<HEAD_LOCATION_TRIAL*>(m_memory.data()) + m_used;
    ++m_used;
    ++m_alive;
    // The block's memory is zeroed already: the record's own initialisation
    // is all that is left to do, and zeroing it once more would cost a pass
    // over every byte.
    return new (place) HEAD_LOCATION_TRIAL;
}

void TrialBlock::release(HEAD_LOCATION_TRIAL* record) noexcept {
    record->~HEAD_LOCATION_TRIAL();
    markReleased(record, sizeof *record);
    if (--m_alive == 0 && m_closed) {
        delete this;
    }
}

void TrialBlock::close() noexcept {
    m_closed = true;
    if (m_alive == 0) {
        delete this;
        return;
    }
    m_memory.shrink(m_used * sizeof(HEAD_LOCATION_TRIAL));
}

std::size_t TrialBlock::living() noexcept {
    return g_living.load(std::memory_order_relaxed);
}

TrialSource::~TrialSource() {
    if (m_block != nullptr) {
        m_block->close();
    }
}

CTrialPtr TrialSource::next(std::size_t remaining, std::size_t expected) noexcept {
    if (m_block == nullptr || m_block->full()) {
        std::size_t wanted = expected;
        if (m_block != nullptr) {
            wanted = std::max(wanted, 2 * m_block->capacity());
            m_block->close();
            m_block = nullptr;
        }
        wanted = std::max<std::size_t>(std::min(wanted, remaining), 1);
        // With no room for the whole estimate, as little as one record will do.
        while (m_block == nullptr && wanted > 0) {
            m_block = TrialBlock::create(wanted);
            wanted /= 2;
        }
        if (m_block == nullptr) {
            return CTrialPtr();
        }
    }
    return CTrialPtr(m_block->emplace(), CTrialRelease{m_block});
}

}  // namespace fluxgrid::headloc
