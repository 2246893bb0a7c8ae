// A private directory on disk for tests of real files, removed with all it
// holds when the test ends. Files are written and read back here with the
// standard streams, never with the library's own file classes, so that a
// test can check those classes against bytes it put down by other means.
#pragma once

#include <fluxgrid/platform/Types.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace fluxgrid::test {

class ScratchDir {
  public:
    ScratchDir() {
        std::string pattern = (std::filesystem::temp_directory_path() / "fluxgrid-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("cannot create a scratch directory");
        }
        m_path = pattern;
    }
    ~ScratchDir() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    const std::filesystem::path& path() const { return m_path; }

    /// The full path of `name` inside the directory.
    std::string file(const std::string& name) const { return (m_path / name).string(); }

    /// Puts `bytes` down as the whole content of `name`; returns its path.
    std::string write(const std::string& name, const std::vector<BYTE>& bytes) const {
        const std::string where = file(name);
        std::ofstream out(where, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(bytes.data()),
                  static_cast<std::streamsize>(bytes.size()));
        if (!out) {
            throw std::runtime_error("cannot write " + where);
        }
        return where;
    }

    /// The whole content of `name`.
    std::vector<BYTE> read(const std::string& name) const {
        std::ifstream in(file(name), std::ios::binary);
        if (!in) {
            throw std::runtime_error("cannot read " + file(name));
        }
        return std::vector<BYTE>(std::istreambuf_iterator<char>(in),
                                 std::istreambuf_iterator<char>());
    }

  private:
    std::filesystem::path m_path;
};

}  // namespace fluxgrid::test
