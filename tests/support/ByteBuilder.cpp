#include "support/ByteBuilder.h"

namespace fluxgrid::test {

ByteBuilder& ByteBuilder::lengthPrefix(std::uint64_t length) {
    if (length < 0xFF) {
        return u8(static_cast<std::uint8_t>(length));
    }
    if (length < 0xFFFE) {
        return u8(0xFF).u16(static_cast<std::uint16_t>(length));
    }
    if (length < 0xFFFFFFFFull) {
        return u8(0xFF).u16(0xFFFF).u32(static_cast<std::uint32_t>(length));
    }
    return u8(0xFF).u16(0xFFFF).u32(0xFFFFFFFFu).u64(length);
}

ByteBuilder& ByteBuilder::wide(const std::u16string& text) {
    u8(0xFF).u16(0xFFFE);
    lengthPrefix(text.size());
    for (char16_t unit : text) {
        u16(unit);
    }
    return *this;
}

ByteBuilder& ByteBuilder::narrow(const std::string& bytes) {
    lengthPrefix(bytes.size());
    for (char c : bytes) {
        u8(static_cast<std::uint8_t>(c));
    }
    return *this;
}

}  // namespace fluxgrid::test
