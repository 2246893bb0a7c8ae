#include "support/Harness.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string_view>

namespace fluxgrid::test {

namespace {

/// With FLUXGRID_TEST_INPUT_DUMP naming a folder, every input that a test
/// loads to the end without an exception is also written there, named by
/// its hash; the fuzz targets' seed corpora are gathered this way.
void dumpLoadedInput(const std::vector<BYTE>& bytes) {
    const char* folder = std::getenv("FLUXGRID_TEST_INPUT_DUMP");
    if (folder == nullptr || *folder == '\0') {
        return;
    }
    const std::string_view view(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    const std::string path =
        std::string(folder) + "/" + std::to_string(std::hash<std::string_view>{}(view));
    if (std::FILE* out = std::fopen(path.c_str(), "wb")) {
        std::fwrite(bytes.data(), 1, bytes.size(), out);
        std::fclose(out);
    }
}

}  // namespace

MessageBoxRecorder::MessageBoxRecorder(int answer)
    : m_answer(answer), m_scope([this](const CString& text, UINT type, UINT helpId) {
          m_boxes.push_back(Box{text.ToUtf8(), type, helpId});
          return m_answer;
      }) {}

std::vector<std::string> MessageBoxRecorder::texts() const {
    std::vector<std::string> out;
    for (const Box& box : m_boxes) {
        out.push_back(box.text);
    }
    return out;
}

UINT TrickleFile::Read(void* buffer, UINT count) {
    const std::size_t available = m_bytes.size() - std::min(m_position, m_bytes.size());
    const std::size_t taken = std::min<std::size_t>({count, available, m_piece});
    if (taken > 0) {
        std::memcpy(buffer, m_bytes.data() + m_position, taken);
    }
    m_position += taken;
    return static_cast<UINT>(taken);
}

void TrickleFile::Write(const void* buffer, UINT count) {
    const auto* in = static_cast<const BYTE*>(buffer);
    if (m_position + count > m_bytes.size()) {
        m_bytes.resize(m_position + count);
    }
    std::memcpy(m_bytes.data() + m_position, in, count);
    m_position += count;
}

ULONGLONG TrickleFile::Seek(LONGLONG offset, UINT from) {
    const LONGLONG base = from == begin     ? 0
                          : from == current ? static_cast<LONGLONG>(m_position)
                                            : static_cast<LONGLONG>(m_bytes.size());
    m_position = static_cast<std::size_t>(base + offset);
    return m_position;
}

std::vector<BYTE> storeToBytes(const std::function<void(CArchive&)>& write) {
    CMemFile file;
    {
        CArchive ar(&file, CArchive::store);
        write(ar);
    }
    return file.Data();
}

std::size_t loadFromBytes(const std::vector<BYTE>& bytes,
                          const std::function<void(CArchive&)>& read) {
    CMemFile file(bytes.data(), static_cast<UINT>(bytes.size()));
    {
        CArchive ar(&file, CArchive::load);
        read(ar);
    }
    dumpLoadedInput(bytes);
    return static_cast<std::size_t>(file.GetPosition());
}

std::string firstDifference(const std::vector<BYTE>& expected, const std::vector<BYTE>& actual) {
    const std::size_t common = std::min(expected.size(), actual.size());
    for (std::size_t i = 0; i < common; ++i) {
        if (expected[i] != actual[i]) {
            char text[96];
            std::snprintf(text, sizeof text, "byte %zu: expected %02X, got %02X", i, expected[i],
                          actual[i]);
            return text;
        }
    }
    if (expected.size() != actual.size()) {
        return "sizes differ: expected " + std::to_string(expected.size()) + ", got " +
               std::to_string(actual.size());
    }
    return "";
}

}  // namespace fluxgrid::test
