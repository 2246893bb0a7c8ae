// Test harness: a message box recorder, archive helpers, and files that
// deliver bytes in small pieces.
#pragma once

#include <fluxgrid/platform/Archive.h>
#include <fluxgrid/platform/MessageBox.h>

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace fluxgrid::test {

/// Records every message box that its own thread shows while it lives,
/// answering each with `answer`; the boxes of other threads pass it by.
/// Restores the thread's previous handler when it goes.
class MessageBoxRecorder {
  public:
    struct Box {
        std::string text;
        UINT type;
        UINT helpId;
    };

    explicit MessageBoxRecorder(int answer = IDOK);
    MessageBoxRecorder(const MessageBoxRecorder&) = delete;
    MessageBoxRecorder& operator=(const MessageBoxRecorder&) = delete;

    const std::vector<Box>& boxes() const { return m_boxes; }
    std::vector<std::string> texts() const;
    void setAnswer(int answer) { m_answer = answer; }

  private:
    std::vector<Box> m_boxes;
    int m_answer;
    ScopedMessageBoxHandler m_scope;
};

/// A file in memory that hands out at most `piece` bytes per read, like a
/// slow pipe, so that reads cross the archive's buffer boundaries.
class TrickleFile : public CFile {
  public:
    TrickleFile(std::vector<BYTE> bytes, UINT piece) : m_bytes(std::move(bytes)), m_piece(piece) {}
    UINT Read(void* buffer, UINT count) override;
    void Write(const void* buffer, UINT count) override;
    ULONGLONG GetLength() const override { return m_bytes.size(); }
    ULONGLONG GetPosition() const override { return m_position; }
    ULONGLONG Seek(LONGLONG offset, UINT from) override;
    void Close() override {}
    const std::vector<BYTE>& bytes() const { return m_bytes; }

  private:
    std::vector<BYTE> m_bytes;
    UINT m_piece;
    std::size_t m_position = 0;
};

/// Stores through `write` into a fresh memory file and returns its bytes.
std::vector<BYTE> storeToBytes(const std::function<void(CArchive&)>& write);

/// Loads `bytes` through `read` from a memory file; returns how many bytes
/// the read took.
std::size_t loadFromBytes(const std::vector<BYTE>& bytes,
                          const std::function<void(CArchive&)>& read);

inline std::uint64_t bitsOf(double value) {
    return std::bit_cast<std::uint64_t>(value);
}

/// Exact comparison of doubles, bit for bit (sign of zero and NaN payloads).
#define EXPECT_BITS_EQ(expected, actual) \
    EXPECT_EQ(::fluxgrid::test::bitsOf(expected), ::fluxgrid::test::bitsOf(actual))

/// Hex dump of the first difference, for readable failures of golden bytes.
std::string firstDifference(const std::vector<BYTE>& expected, const std::vector<BYTE>& actual);

#define EXPECT_BYTES_EQ(expected, actual) \
    EXPECT_EQ("", ::fluxgrid::test::firstDifference((expected), (actual)))

}  // namespace fluxgrid::test
