#include "platform/PageMemory.h"

#include <sys/mman.h>

#include <cstdint>
#include <cstdlib>
#include <utility>

namespace fluxgrid::platform {

namespace {

constexpr std::size_t kHugePage = std::size_t{2} << 20;

std::size_t roundUp(std::size_t bytes, std::size_t unit) {
    return (bytes + unit - 1) / unit * unit;
}

}  // namespace

// Maps at an address aligned to the huge page, which huge pages need: maps
// one huge page more and gives back the ends that miss the alignment.
void* mapPages(std::size_t bytes) noexcept {
    const std::size_t whole = roundUp(bytes, kHugePage);
    if (whole < bytes || whole + kHugePage < whole) {
        return nullptr;
    }
    const std::size_t mapped = whole + kHugePage;
    void* raw = ::mmap(nullptr, mapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (raw == MAP_FAILED) {
        return nullptr;
    }
    const auto first = reinterpret_cast<std::uintptr_t>(raw);
    const std::uintptr_t aligned = roundUp(first, kHugePage);
    if (aligned > first) {
        ::munmap(raw, aligned - first);
    }
    const std::uintptr_t end = first + mapped;
    if (end > aligned + whole) {
        ::munmap(reinterpret_cast<void*>(aligned + whole), end - (aligned + whole));
    }
    void* block = reinterpret_cast<void*>(aligned);
#ifdef MADV_HUGEPAGE
    // Advice only: where huge pages are not offered the block works the same.
    ::madvise(block, whole, MADV_HUGEPAGE);
#endif
    return block;
}

void unmapPages(void* block, std::size_t bytes) noexcept {
    if (block != nullptr) {
        ::munmap(block, roundUp(bytes, kHugePage));
    }
}

std::size_t unmapTail(void* block, std::size_t bytes, std::size_t kept) noexcept {
    // Whole huge pages stay whole: splitting one saves less than it costs.
    const std::size_t whole = roundUp(bytes, kHugePage);
    const std::size_t keptWhole = roundUp(kept, kHugePage);
    if (keptWhole >= whole) {
        return bytes;
    }
    ::munmap(static_cast<char*>(block) + keptWhole, whole - keptWhole);
    return keptWhole;
}

PageMemory::PageMemory(PageMemory&& other) noexcept
    : m_data(std::exchange(other.m_data, nullptr)),
      m_size(std::exchange(other.m_size, 0)),
      m_mapped(std::exchange(other.m_mapped, false)) {}

PageMemory& PageMemory::operator=(PageMemory&& other) noexcept {
    if (this != &other) {
        release();
        m_data = std::exchange(other.m_data, nullptr);
        m_size = std::exchange(other.m_size, 0);
        m_mapped = std::exchange(other.m_mapped, false);
    }
    return *this;
}

PageMemory::~PageMemory() {
    release();
}

PageMemory PageMemory::allocate(std::size_t bytes) noexcept {
    if (bytes == 0) {
        return PageMemory();
    }
    if (bytes >= kSystemPageBlock) {
        void* block = mapPages(bytes);
        return block != nullptr ? PageMemory(block, bytes, true) : PageMemory();
    }
    void* block = std::calloc(1, bytes);
    return block != nullptr ? PageMemory(block, bytes, false) : PageMemory();
}

void PageMemory::shrink(std::size_t bytes) noexcept {
    if (!m_mapped || bytes >= m_size) {
        return;
    }
    m_size = unmapTail(m_data, m_size, bytes);
    if (m_size == 0) {
        m_data = nullptr;
        m_mapped = false;
    }
}

void PageMemory::release() noexcept {
    if (m_data == nullptr) {
        return;
    }
    if (m_mapped) {
        unmapPages(m_data, m_size);
    } else {
        std::free(m_data);
    }
    m_data = nullptr;
    m_size = 0;
    m_mapped = false;
}

}  // namespace fluxgrid::platform
