#include <fluxgrid/frame/FileFrame.h>
#include <fluxgrid/platform/MessageBox.h>

#include <string_view>

namespace fluxgrid::frame {

void storeHeader(CArchive& ar, std::u16string_view magic, int version) {
    ar.WriteString(magic);
    ar << version;
}

// A short wide magic is compared in a scratch area on the stack, without
// taking memory; anything else is read as a string.
bool magicMatches(CArchive& ar, std::u16string_view magic) {
    int charSize = 1;
    const UINT_PTR length = AfxReadStringLength(ar, charSize);
    constexpr std::size_t kScratchUnits = 64;
    if (charSize == 2 && length <= kScratchUnits) {
        BYTE scratch[kScratchUnits * 2];
        const auto wanted = static_cast<UINT>(length * 2);
        const BYTE* text = ar.TakeWindow(wanted);
        if (text == nullptr) {
            if (ar.Read(scratch, wanted) != wanted) {
                AfxThrowArchiveException(CArchiveException::endOfFile);
            }
            text = scratch;
        }
        if (length != magic.size()) {
            return false;
        }
        for (std::size_t i = 0; i < length; ++i) {
            if (detail::decodeLittleEndian<char16_t>(text + 2 * i) != magic[i]) {
                return false;
            }
        }
        return true;
    }
    return ar.ReadStringPayload(length, charSize).str() == magic;
}

bool loadMagic(CArchive& ar, std::u16string_view magic, const char* badMagicText) {
    if (magicMatches(ar, magic)) {
        return true;
    }
    AfxMessageBox(CString(badMagicText), MB_OK, 0);
    return false;
}

int loadVersion(CArchive& ar) {
    int version = 0;
    ar >> version;
    return version;
}

void reportBadVersion(const char* badVersionText) {
    AfxMessageBox(CString(badVersionText), MB_OK, 0);
}

}  // namespace fluxgrid::frame
