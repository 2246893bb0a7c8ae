// The JSON of the model objects: the library's object tree, written by the
// tool's JSON writer.
#include "ObjectJson.h"

#include <fluxgrid/access/ObjectTree.h>

#include <cmath>
#include <string>

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

}  // namespace

void writeObjectJson(JsonWriter& out, const FileObjectPtr& object) {
    JsonSink sink(out);
    writeObjectTree(sink, object);
}

// The members below are given in byte order of their keys, as nlohmann-json
// orders them.

void writeFileJson(JsonWriter& out, const LoadedFile& loaded) {
    const FileKindInfo& info = fileKindInfo(loaded.kind);
    out.beginObject();
    out.key("consumed");
    out.unsignedInteger(loaded.consumed);
    out.key("file");
    out.string(loaded.file);
    out.key("kind");
    out.string(info.word);
    out.key("magic");
    out.string(CString(std::u16string(info.magic)).ToUtf8());
    out.key("object");
    writeObjectJson(out, loaded.object);
    out.key("size");
    out.unsignedInteger(loaded.size);
    out.key("version");
    out.integer(loaded.version);
    out.endObject();
}

void writeFailureJson(JsonWriter& out, const FileError& error) {
    out.beginObject();
    out.key("error");
    out.string(error.message);
    out.key("file");
    out.string(error.file);
    out.endObject();
}

}  // namespace fluxgrid::tool
