/// \file TrialBlock.h
/// Records of the record kind that a file read makes one after the other,
/// kept together in blocks sized from the count that the file announces, so
/// that a list of a million entries costs a few allocations rather than a
/// million. Each record in a block is still released on its own, by the list
/// that holds it: its destructor runs at once, and the block's memory goes
/// back when its last record is released. Internal to the library.
#pragma once

#include <fluxgrid/headloc/FiducialPtrArray.h>

#include "platform/PageMemory.h"

#include <cstddef>

namespace fluxgrid::headloc {

class TrialBlock {
  public:
    TrialBlock(const TrialBlock&) = delete;
    TrialBlock& operator=(const TrialBlock&) = delete;

    /// A block with room for `capacity` records, or null when there is no
    /// memory for it.
    static TrialBlock* create(std::size_t capacity) noexcept;

    bool full() const { return m_used == m_capacity; }
    std::size_t capacity() const { return m_capacity; }

    /// Makes the next record, zero-filled with a default-constructed
    /// `trialFiducial`. The block must not be full.
    HEAD_LOCATION_TRIAL* emplace() noexcept;
    /// Destroys a record of this block. The block goes with its last record
    /// once it is closed.
    void release(HEAD_LOCATION_TRIAL* record) noexcept;
    /// No more records come: gives back the room that no record took, and
    /// goes at once when none of its records is alive.
    void close() noexcept;

    /// How many blocks exist in the process, for tests of their lifetime.
    static std::size_t living() noexcept;

  private:
    TrialBlock(platform::PageMemory memory, std::size_t capacity) noexcept;
    ~TrialBlock();

    platform::PageMemory m_memory;
    std::size_t m_capacity;
    std::size_t m_used = 0;
    std::size_t m_alive = 0;
    bool m_closed = false;
};

/// Hands out new records for one list, block after block. A block has room
/// for what the caller expects to come; when it is full, the next one is at
/// least twice its size, but never larger than what the caller says remains
/// at most. So an estimate that is low costs few blocks, and a count that
/// overstates what comes costs no more than twice the records made.
class TrialSource {
  public:
    TrialSource() = default;
    TrialSource(const TrialSource&) = delete;
    TrialSource& operator=(const TrialSource&) = delete;
    /// Closes the block in use.
    ~TrialSource();

    /// A new record, zero-filled with a default-constructed `trialFiducial`.
    /// `remaining` is how many records may still come at most and `expected`
    /// how many are likely, this one included in both. Null when there is no
    /// memory even for a block of one.
    CTrialPtr next(std::size_t remaining, std::size_t expected) noexcept;

  private:
    TrialBlock* m_block = nullptr;
};

}  // namespace fluxgrid::headloc
