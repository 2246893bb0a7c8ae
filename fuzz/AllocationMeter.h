// Counts the bytes the allocator hands out while a window is open, so a
// fuzz target can hold a load's appetite against the size of its input.
#pragma once

#include <cstddef>

namespace fluxgrid::fuzz {

class AllocationMeter {
  public:
    /// Bytes allocated since the program started.
    static std::size_t total();

    /// The bytes requested between its construction and a call of `bytes`.
    class Window {
      public:
        Window() : m_start(total()) {}
        std::size_t bytes() const { return total() - m_start; }

      private:
        std::size_t m_start;
    };
};

}  // namespace fluxgrid::fuzz
