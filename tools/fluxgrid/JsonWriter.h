/// \file JsonWriter.h
/// JSON written to a stream as it is produced, in the form of nlohmann-json's
/// `dump(2)`: two spaces of indentation a level, every element and member
/// on a line of its own, `"key": value`, `[]` and `{}` for empty
/// containers. Numbers are laid out as `dump` lays them out, with the
/// shortest digits that read back bit for bit, which `dump` misses for a
/// few values (2.08226 where it writes 2.0822600000000002). Nothing is
/// held but the path of open containers, so that a document of any size
/// takes no more memory than its depth.
///
/// The writer keeps no order of its own: to equal what nlohmann-json makes
/// of a `json` object (a `std::map`), the caller gives an object's members
/// in byte order of their keys.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace fluxgrid::tool {

/// Whether `text` is valid UTF-8, so that a JSON string holds it unchanged.
bool isValidUtf8(std::string_view text);

class JsonWriter {
  public:
    explicit JsonWriter(std::ostream& out) : m_out(out) {}

    void beginObject();
    void endObject();
    void beginArray();
    void endArray();

    /// The key of the next member of the open object.
    void key(std::string_view name);

    /// Scalars, each written as nlohmann-json writes it (numbers as above,
    /// NaN and the infinities as null). Text that is not valid UTF-8 has
    /// its bad bytes replaced by U+FFFD.
    void string(std::string_view text);
    void integer(std::int64_t value);
    void unsignedInteger(std::uint64_t value);
    void real(double value);
    void boolean(bool value);
    void null();

    /// Open containers; 0 once a whole document has been written.
    std::size_t depth() const { return m_open.size(); }

  private:
    struct Open {
        bool object;
        std::size_t members;
    };

    // Puts down what stands before a value: in an array the separator, the
    // line break and the indentation; in an object the key did so already.
    void beforeValue();
    void scalar(const std::string& text);
    void newLine();
    void close(char bracket);

    std::ostream& m_out;
    std::vector<Open> m_open;
    std::string m_indent;
};

}  // namespace fluxgrid::tool
