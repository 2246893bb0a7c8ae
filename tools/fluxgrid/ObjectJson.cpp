// The JSON of the model objects (the library's object tree, written by the
// tool's JSON writer) and the documents of `info --json` around them.
#include "ObjectJson.h"

#include <fluxgrid/fields/ObjectTree.h>

#include <cmath>
#include <string>
#include <string_view>

namespace fluxgrid::tool {

namespace {

// The tree into the writer. Doubles that JSON cannot hold as numbers become
// the strings "NaN", "Infinity" and "-Infinity".
class JsonSink final : public TreeSink {
  public:
    explicit JsonSink(JsonWriter& out) : m_out(out) {}

    void beginObject() override { m_out.beginObject(); }
    void endObject() override { m_out.endObject(); }
    void beginArray() override { m_out.beginArray(); }
    void endArray() override { m_out.endArray(); }
    void key(std::string_view name) override { m_out.key(name); }
    void string(std::string_view text) override { m_out.string(text); }
    void integer(std::int64_t value) override { m_out.integer(value); }
    void unsignedInteger(std::uint64_t value) override { m_out.unsignedInteger(value); }
    void boolean(bool value) override { m_out.boolean(value); }
    void null() override { m_out.null(); }
    void real(double value) override {
        if (std::isnan(value)) {
            m_out.string("NaN");
        } else if (std::isinf(value)) {
            m_out.string(value > 0 ? "Infinity" : "-Infinity");
        } else {
            m_out.real(value);
        }
    }

  private:
    JsonWriter& m_out;
};

// Each byte as two lowercase hexadecimal digits.
std::string hexBytes(std::string_view bytes) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string hex;
    hex.reserve(bytes.size() * 2);
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        hex += kDigits[byte >> 4];
        hex += kDigits[byte & 0xf];
    }
    return hex;
}

// "file", and "file_bytes" in hexadecimal when the name is not valid UTF-8
// and "file" can only hold it with its bad bytes replaced.
void addFileName(SortedMembers& members, const std::string& name) {
    members.add("file", [&name](TreeSink& o) { o.string(name); });
    if (!isValidUtf8(name)) {
        members.add("file_bytes", [&name](TreeSink& o) { o.string(hexBytes(name)); });
    }
}

// "kind" and "magic" of a file kind.
void addKind(SortedMembers& members, FileKind kind) {
    const FileKindInfo& info = fileKindInfo(kind);
    members.add("kind", [&info](TreeSink& o) { o.string(info.word); });
    members.add("magic",
                [&info](TreeSink& o) { o.string(CString(std::u16string(info.magic)).ToUtf8()); });
}

}  // namespace

void writeObjectJson(JsonWriter& out, const FileObjectPtr& object) {
    JsonSink sink(out);
    writeObjectTree(sink, object);
}

void writeFileJson(JsonWriter& out, const LoadedFile& loaded) {
    SortedMembers members;
    addFileName(members, loaded.file);
    addKind(members, loaded.kind);
    members.add("version", [&](TreeSink& o) { o.integer(loaded.version); });
    members.add("size", [&](TreeSink& o) { o.unsignedInteger(loaded.size); });
    members.add("consumed", [&](TreeSink& o) { o.unsignedInteger(loaded.consumed); });
    members.add("object", [&](TreeSink& o) { writeObjectTree(o, loaded.object); });
    JsonSink sink(out);
    members.writeTo(sink);
}

void writeFailureJson(JsonWriter& out, const FileError& error) {
    SortedMembers members;
    addFileName(members, error.file);
    members.add("code", [&](TreeSink& o) { o.string(failureCode(error.failure)); });
    members.add("error", [&](TreeSink& o) { o.string(error.message); });
    members.add("boxes", [&](TreeSink& o) {
        o.beginArray();
        for (const std::string& box : error.boxes) {
            o.string(box);
        }
        o.endArray();
    });
    if (error.kind) {
        addKind(members, *error.kind);
    }
    if (error.version) {
        members.add("version", [&](TreeSink& o) { o.integer(*error.version); });
    }
    JsonSink sink(out);
    members.writeTo(sink);
}

}  // namespace fluxgrid::tool
