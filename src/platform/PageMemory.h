/// \file PageMemory.h
/// Zeroed memory for a large block that is filled at once, such as the
/// entries of a long head localization or the bytes of a large file. A
/// block of a few megabytes or more comes straight from the system in whole
/// pages and asks for huge pages, so that filling it takes one page fault per
/// 2 MiB instead of one per 4 KiB; where page faults are dear, as on a
/// virtual machine, that is most of the cost of fresh memory. Smaller blocks
/// come from the ordinary heap. The advice applies to the block alone: no
/// setting of the process's allocator changes. Internal to the library.
#pragma once

#include <cstddef>

namespace fluxgrid::platform {

/// Blocks of at least this size come from the system in whole pages.
inline constexpr std::size_t kSystemPageBlock = std::size_t{4} << 20;

/// At least `bytes` zeroed bytes from the system, in huge pages where they
/// are offered; null when the system has none. For blocks of
/// `kSystemPageBlock` bytes or more.
void* mapPages(std::size_t bytes) noexcept;
/// Gives back a block of `mapPages`, with the size it was asked for (or
/// shrunk to by `unmapTail`).
void unmapPages(void* block, std::size_t bytes) noexcept;
/// Gives back the part of a block of `mapPages` beyond its first `kept`
/// bytes, in whole huge pages; returns the size that the block keeps.
std::size_t unmapTail(void* block, std::size_t bytes, std::size_t kept) noexcept;

/// A zeroed block that releases itself: from the system when it is large,
/// from the heap when not.
class PageMemory {
  public:
    PageMemory() = default;
    /// Owns its block: moved, never copied.
    PageMemory(const PageMemory&) = delete;
    PageMemory& operator=(const PageMemory&) = delete;
    PageMemory(PageMemory&& other) noexcept;
    PageMemory& operator=(PageMemory&& other) noexcept;
    ~PageMemory();

    /// `bytes` zeroed bytes, or an empty block when there is no memory for
    /// them (or `bytes` is 0).
    static PageMemory allocate(std::size_t bytes) noexcept;

    void* data() const { return m_data; }
    std::size_t size() const { return m_size; }
    explicit operator bool() const { return m_data != nullptr; }

    /// Gives back what lies beyond the first `bytes`, in whole huge pages, of
    /// a block from the system; the first `bytes` stay where they are.
    void shrink(std::size_t bytes) noexcept;

  private:
    PageMemory(void* data, std::size_t size, bool mapped) noexcept
        : m_data(data), m_size(size), m_mapped(mapped) {}
    void release() noexcept;

    void* m_data = nullptr;
    std::size_t m_size = 0;
    // Mapped from the system rather than taken from the heap.
    bool m_mapped = false;
};

}  // namespace fluxgrid::platform
