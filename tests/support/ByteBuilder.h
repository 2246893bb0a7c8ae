// Builds golden records byte by byte, independently of the library's own
// encoders: every primitive is written here by shifting, never by the
// archive under test.
#pragma once

#include <fluxgrid/platform/Types.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace fluxgrid::test {

class ByteBuilder {
  public:
    ByteBuilder& u8(std::uint8_t value) {
        m_bytes.push_back(value);
        return *this;
    }
    ByteBuilder& u16(std::uint16_t value) { return u8(value & 0xFF).u8(value >> 8); }
    ByteBuilder& i32(std::int32_t value) { return u32(static_cast<std::uint32_t>(value)); }
    ByteBuilder& u32(std::uint32_t value) {
        for (int shift = 0; shift < 32; shift += 8) {
            u8(static_cast<std::uint8_t>(value >> shift));
        }
        return *this;
    }
    ByteBuilder& i64(std::int64_t value) { return u64(static_cast<std::uint64_t>(value)); }
    ByteBuilder& u64(std::uint64_t value) {
        for (int shift = 0; shift < 64; shift += 8) {
            u8(static_cast<std::uint8_t>(value >> shift));
        }
        return *this;
    }
    ByteBuilder& f64(double value) {
        std::uint64_t bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        return u64(bits);
    }
    ByteBuilder& boolean(bool value) { return u8(value ? 1 : 0); }
    /// The wide string form: FF FE FF, the length prefix, UTF-16LE units.
    ByteBuilder& wide(const std::u16string& text);
    /// The narrow string form: the length prefix, then the bytes.
    ByteBuilder& narrow(const std::string& bytes);
    ByteBuilder& raw(const std::vector<BYTE>& bytes) {
        m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
        return *this;
    }

    std::size_t size() const { return m_bytes.size(); }
    const std::vector<BYTE>& bytes() const { return m_bytes; }

  private:
    ByteBuilder& lengthPrefix(std::uint64_t length);

    std::vector<BYTE> m_bytes;
};

}  // namespace fluxgrid::test
