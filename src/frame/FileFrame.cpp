#include <fluxgrid/frame/FileFrame.h>
#include <fluxgrid/platform/MessageBox.h>

namespace fluxgrid::frame {

void storeHeader(CArchive& ar, const char16_t* magic, int version) {
    ar << CString(magic);
    ar << version;
}

bool loadMagic(CArchive& ar, const char16_t* magic, const char* badMagicText) {
    CString found;
    ar >> found;
    if (found == magic) {
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
