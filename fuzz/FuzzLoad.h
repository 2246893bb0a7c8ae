// What every loader's fuzz target does with one input: load it into a fresh
// object over a memory archive, accept only the outcomes the library defines
// for a load, check that a loaded object's store is a fixed point after one
// round, and keep the memory a load takes in proportion to its input.
#pragma once

#include "AllocationMeter.h"

#include <fluxgrid/platform/Archive.h>
#include <fluxgrid/platform/Exceptions.h>
#include <fluxgrid/platform/File.h>
#include <fluxgrid/platform/MessageBox.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

namespace fluxgrid::fuzz {

/// A load may allocate this much whatever its input: the fresh object's own
/// parts and the archive's buffer.
constexpr std::size_t kFixedAllowance = 1u << 20;
/// ...and this much more per byte of input: list entries and text grow only
/// as their bytes arrive. The dearest bytes are a list of labels: a one-byte
/// empty label takes a 32-byte slot, and the array's doubling makes the sum
/// of its allocations up to four times its final size, 128 bytes per byte.
constexpr std::size_t kPerInputByte = 256;

[[noreturn]] inline void finding(const char* what) {
    std::fprintf(stderr, "fuzz finding: %s\n", what);
    std::abort();
}

/// Counts the message boxes of its own thread, answering each with the
/// default choice of its kind.
class MessageBoxCounter {
  public:
    MessageBoxCounter()
        : m_scope([this](const CString&, UINT type, UINT) {
              ++m_count;
              return (type & 0x0F) == MB_YESNO ? IDNO : IDOK;
          }) {}
    MessageBoxCounter(const MessageBoxCounter&) = delete;
    MessageBoxCounter& operator=(const MessageBoxCounter&) = delete;
    int count() const { return m_count; }

  private:
    int m_count = 0;
    ScopedMessageBoxHandler m_scope;
};

/// The outcome of one load: the entry's result, or the exception the
/// archive passed on.
struct LoadOutcome {
    bool threw = false;
    int result = 0;
    int boxes = 0;
};

/// Loads `bytes` into `object` through `Kind::serialize`, catching only the
/// exceptions a load is allowed to raise.
template <class Kind>
LoadOutcome loadInto(typename Kind::Object& object, const std::uint8_t* bytes, std::size_t size) {
    MessageBoxCounter boxes;
    LoadOutcome outcome;
    CMemFile file(bytes, static_cast<UINT>(size));
    try {
        CArchive ar(&file, CArchive::load);
        outcome.result = Kind::serialize(object, ar);
    } catch (const CArchiveException&) {
        outcome.threw = true;
    } catch (const CInvalidArgException&) {
        outcome.threw = true;
    } catch (const CMemoryException&) {
        outcome.threw = true;
    }
    outcome.boxes = boxes.count();
    return outcome;
}

/// Stores `object` through `Kind::serialize` into memory.
template <class Kind>
std::vector<BYTE> storeOf(typename Kind::Object& object) {
    CMemFile file;
    {
        CArchive ar(&file, CArchive::store);
        if (Kind::serialize(object, ar) != 1) {
            finding("a store did not give 1");
        }
    }
    return file.Data();
}

/// One input, the whole check.
template <class Kind>
int fuzzOneInput(const std::uint8_t* data, std::size_t size) {
    auto first = std::make_unique<typename Kind::Object>();

    const AllocationMeter::Window window;
    const LoadOutcome outcome = loadInto<Kind>(*first, data, size);
    if (window.bytes() > kFixedAllowance + kPerInputByte * size) {
        std::fprintf(stderr, "%zu bytes allocated by a load of %zu bytes\n", window.bytes(), size);
        finding("a load allocated more than its input justifies");
    }

    if (!outcome.threw && outcome.result != 0 && outcome.result != 1) {
        finding("a load gave a result other than 0 or 1");
    }
    if (!outcome.threw && outcome.result == 1 && !Kind::storable(*first)) {
        try {
            storeOf<Kind>(*first);
        } catch (const CInvalidArgException&) {
            Kind::release(*first);
            return 0;
        }
        finding("an object that cannot be stored was stored");
    }
    if (!outcome.threw && outcome.result == 1) {
        const std::vector<BYTE> stored = storeOf<Kind>(*first);
        auto second = std::make_unique<typename Kind::Object>();
        const LoadOutcome again = loadInto<Kind>(*second, stored.data(), stored.size());
        if (again.threw || again.result != 1 || again.boxes != 0) {
            finding("a stored object does not load again cleanly");
        }
        if (storeOf<Kind>(*second) != stored) {
            finding("store is not a fixed point after one round");
        }
        Kind::release(*second);
    }
    Kind::release(*first);
    return 0;
}

}  // namespace fluxgrid::fuzz
