#include "FileKinds.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <utility>

namespace fluxgrid::tool {

const std::vector<KindInfo>& allKinds() {
    static const std::vector<KindInfo> kinds = {
        {FileKind::coil,
         u"MEGCOILQV",
         "coil",
         "coil record",
         {20080102, 20091117, 20140513, 20211230},
         20211230},
        {FileKind::vapor, u"AMOPMQV", "vapor", "vapor cell record", {20190121, 20211230}, 20211230},
        {FileKind::squid, u"MSQUIDQV", "squid", "SQUID record", {20190201}, 20190201},
        {FileKind::opm, u"MEGOPMQV", "opm", "OPM record", {20190201}, 20190201},
        {FileKind::sensor,
         u"MEGSENSORQV",
         "sensor",
         "sensor file",
         {20080101, 20091117, 20140513, 20200210},
         20200210},
        {FileKind::headloc,
         u"HEADLOCATIONTRIAL",
         "headloc",
         "head localization file",
         {20090606, 20110217, 20160320},
         20160320},
    };
    return kinds;
}

const KindInfo& kindInfo(FileKind kind) {
    for (const KindInfo& info : allKinds()) {
        if (info.kind == kind) {
            return info;
        }
    }
    throw std::logic_error("unknown file kind");
}

std::string acceptedList(const KindInfo& info) {
    std::string text;
    for (std::size_t i = 0; i < info.accepted.size(); ++i) {
        if (i > 0) {
            text += (i + 1 == info.accepted.size()) ? " and " : ", ";
        }
        text += std::to_string(info.accepted[i]);
    }
    return text;
}

std::vector<BYTE> readWholeFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        throw ToolError(std::string("cannot open: ") + std::strerror(errno));
    }
    std::vector<BYTE> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad()) {
        throw ToolError(std::string("cannot read: ") + std::strerror(errno));
    }
    return bytes;
}

namespace {

// A magic fit to be quoted in a message: short printable ASCII.
bool printable(const CString& text) {
    if (text.GetLength() == 0 || text.GetLength() > 40) {
        return false;
    }
    for (char16_t unit : text.str()) {
        if (unit < 0x20 || unit > 0x7E) {
            return false;
        }
    }
    return true;
}

std::string magicList() {
    std::string text;
    for (const KindInfo& info : allKinds()) {
        text += (text.empty() ? "" : ", ") + CString(info.magic).ToUtf8();
    }
    return text;
}

}  // namespace

Header peekHeader(const std::vector<BYTE>& bytes) {
    if (bytes.empty()) {
        throw ToolError("empty file: not a file of any kind that fluxgrid reads");
    }
    CMemFile file(bytes.data(), static_cast<UINT>(bytes.size()));
    CArchive ar(&file, CArchive::load);
    CString magic;
    try {
        ar >> magic;
    } catch (const CArchiveException&) {
        throw ToolError(
            "not a file of any kind that fluxgrid reads, or truncated inside its magic");
    }
    Header header;
    header.magic = magic.ToUtf8();
    for (const KindInfo& info : allKinds()) {
        if (magic == info.magic) {
            header.kind = info.kind;
        }
    }
    if (!header.kind) {
        const std::string what =
            printable(magic) ? "its magic \"" + header.magic + "\"" : "what it starts with";
        throw ToolError("wrong kind: " + what + " is none of " + magicList());
    }
    try {
        ar >> header.version;
    } catch (const CArchiveException&) {
        throw ToolError("truncated: the file ends before its version (end of file)");
    }
    return header;
}

BoxesToStderr::BoxesToStderr(std::string name)
    : m_texts(std::make_shared<std::vector<std::string>>()) {
    auto texts = m_texts;
    m_previous = AfxSetMessageBoxHandler([texts, name](const CString& text, UINT type, UINT) {
        texts->push_back(text.ToUtf8());
        std::cerr << name << ": " << text.ToUtf8() << '\n';
        return (type & 0x0F) == MB_YESNO ? IDNO : IDOK;
    });
}

BoxesToStderr::~BoxesToStderr() {
    AfxSetMessageBoxHandler(std::move(m_previous));
}

namespace {

// Runs one library entry over the bytes, with the boxes routed and the
// stream's failures turned into one-line errors.
template <class Entry>
void runEntry(LoadedFile& loaded, const std::vector<BYTE>& bytes, const KindInfo* expected,
              Entry entry) {
    CMemFile file(bytes.data(), static_cast<UINT>(bytes.size()));
    BoxesToStderr boxes(loaded.path);
    int result = 0;
    {
        CArchive ar(&file, CArchive::load);
        try {
            result = entry(ar);
        } catch (const CArchiveException& e) {
            if (e.m_cause == CArchiveException::endOfFile) {
                throw ToolError("truncated: the file ends inside its body (end of file after " +
                                std::to_string(bytes.size()) + " bytes)");
            }
            throw ToolError(std::string("the stream failed: ") + e.what());
        } catch (const CException& e) {
            throw ToolError(std::string("the library failed: ") + e.what());
        }
        ar.Close();
    }
    loaded.consumed = static_cast<std::size_t>(file.GetPosition());
    if (expected != nullptr) {
        const auto& accepted = expected->accepted;
        if (std::find(accepted.begin(), accepted.end(), loaded.version) == accepted.end()) {
            throw ToolError("version " + std::to_string(loaded.version) + " of a " +
                            expected->title + " is refused (accepted: " + acceptedList(*expected) +
                            ")");
        }
    }
    if (result == 0) {
        throw ToolError(boxes.texts().empty() ? "refused by the library"
                                              : "refused by the library: " + boxes.texts().front());
    }
    if (!boxes.texts().empty()) {
        throw ToolError("the library reported " + std::to_string(boxes.texts().size()) +
                        " problem(s) while loading; the content cannot be trusted");
    }
}

}  // namespace

LoadedFile loadBytes(const std::vector<BYTE>& bytes, const std::string& path) {
    const Header header = peekHeader(bytes);
    LoadedFile loaded;
    loaded.path = path;
    loaded.kind = *header.kind;
    loaded.version = header.version;
    loaded.size = bytes.size();
    const KindInfo& info = kindInfo(loaded.kind);
    switch (loaded.kind) {
        case FileKind::coil:
            loaded.coil = std::make_unique<CMagCoilqv>();
            runEntry(loaded, bytes, &info,
                     [&](CArchive& ar) { return loaded.coil->serializeqv(ar); });
            break;
        case FileKind::vapor:
            loaded.vapor = std::make_unique<CMagVaporqv>();
            runEntry(loaded, bytes, &info,
                     [&](CArchive& ar) { return loaded.vapor->serializeqv(ar); });
            break;
        case FileKind::squid:
            loaded.squid = std::make_unique<CMegSquidqv>();
            runEntry(loaded, bytes, &info,
                     [&](CArchive& ar) { return loaded.squid->serialize(ar); });
            break;
        case FileKind::opm:
            loaded.opm = std::make_unique<CMegOpmqv>();
            runEntry(loaded, bytes, &info, [&](CArchive& ar) { return loaded.opm->serialize(ar); });
            break;
        case FileKind::sensor:
            loaded.sensor = std::make_unique<CMEGSensorqv>();
            runEntry(loaded, bytes, &info,
                     [&](CArchive& ar) { return loaded.sensor->serializeqv(ar); });
            break;
        case FileKind::headloc:
            loaded.headloc = std::make_unique<CHeadLocalizationqv>();
            runEntry(loaded, bytes, &info,
                     [&](CArchive& ar) { return loaded.headloc->serializeqv(ar); });
            break;
    }
    return loaded;
}

LoadedFile loadFile(const std::string& path) {
    return loadBytes(readWholeFile(path), path);
}

LoadedFile loadSensorBytes(const std::vector<BYTE>& bytes, const std::string& path) {
    LoadedFile loaded;
    loaded.path = path;
    loaded.kind = FileKind::sensor;
    loaded.size = bytes.size();
    loaded.sensor = std::make_unique<CMEGSensorqv>();
    // The version is known only if the frame is that of a sensor file; the
    // library's entry speaks for every other case.
    const KindInfo* expected = nullptr;
    try {
        const Header header = peekHeader(bytes);
        if (header.kind == FileKind::sensor) {
            loaded.version = header.version;
            expected = &kindInfo(FileKind::sensor);
        }
    } catch (const ToolError&) {
    }
    runEntry(loaded, bytes, expected, [&](CArchive& ar) { return loaded.sensor->serializeqv(ar); });
    return loaded;
}

namespace {

template <class Store>
std::vector<BYTE> storeToMemory(Store store) {
    CMemFile file;
    int result = 0;
    {
        CArchive ar(&file, CArchive::store);
        result = store(ar);
        ar.Close();
    }
    if (result == 0) {
        throw ToolError("the library refused to store the object");
    }
    return file.Data();
}

}  // namespace

std::vector<BYTE> storeSensor(CMEGSensorqv& sensor) {
    return storeToMemory([&](CArchive& ar) { return sensor.serializeqv(ar); });
}

std::vector<BYTE> storeHeadLocalization(CHeadLocalizationqv& headloc) {
    return storeToMemory([&](CArchive& ar) { return headloc.serializeqv(ar); });
}

}  // namespace fluxgrid::tool
