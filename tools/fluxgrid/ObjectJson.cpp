// The JSON of the model objects, driven by the field table: nothing here
// names a field of any record.
#include "ObjectJson.h"

#include <fluxgrid/access/FieldTable.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace fluxgrid::tool {

namespace {

// The members of one JSON object, gathered with what writes each value and
// then written in byte order of their keys, as nlohmann-json orders them.
class Members {
  public:
    using Write = std::function<void(JsonWriter&)>;

    void add(std::string_view key, Write write) { m_members.emplace_back(key, std::move(write)); }

    void writeTo(JsonWriter& out) {
        std::stable_sort(m_members.begin(), m_members.end(),
                         [](const auto& a, const auto& b) { return a.first < b.first; });
        out.beginObject();
        for (const auto& [key, write] : m_members) {
            out.key(key);
            write(out);
        }
        out.endObject();
    }

  private:
    std::vector<std::pair<std::string_view, Write>> m_members;
};

void writeNumber(JsonWriter& out, double value) {
    if (std::isnan(value)) {
        out.string("NaN");
    } else if (std::isinf(value)) {
        out.string(value > 0 ? "Infinity" : "-Infinity");
    } else {
        out.real(value);
    }
}

void writeValue(JsonWriter& out, const CString& text) {
    out.string(text.ToUtf8());
}

template <class T>
requires std::is_arithmetic_v<T>
void writeValue(JsonWriter& out, T value) {
    if constexpr (std::is_same_v<T, bool>) {
        out.boolean(value);
    } else if constexpr (std::is_floating_point_v<T>) {
        writeNumber(out, static_cast<double>(value));
    } else if constexpr (std::is_signed_v<T>) {
        out.integer(value);
    } else {
        out.unsignedInteger(value);
    }
}

template <class T, std::size_t N>
void writeValue(JsonWriter& out, const T (&values)[N]) {
    out.beginArray();
    for (const T& value : values) {
        writeValue(out, value);
    }
    out.endArray();
}

template <class Record>
void writeRecord(JsonWriter& out, const Record& record);

void writeHardware(JsonWriter& out, const CMEGSensor& sensor);
void writeEntries(JsonWriter& out, const CFiducialPtrArray& entries);
void writeStrings(JsonWriter& out, const CStringArray& texts);

// Gathers the members of a record's object from its field table. A base
// without a name adds its fields among the record's own.
class Gather {
  public:
    explicit Gather(Members& members) : m_members(members) {}

    template <class T>
    void value(std::string_view name, const T& field, fields::Filed) {
        m_members.add(name, [&field](JsonWriter& out) { writeValue(out, field); });
    }
    template <class R>
    void nested(std::string_view name, const R& record, fields::Filed, fields::Body) {
        m_members.add(name, [&record](JsonWriter& out) { writeRecord(out, record); });
    }
    template <class B>
    void base(std::string_view name, const B& record) {
        if (name.empty()) {
            fields::visitFields(record, *this);
        } else {
            m_members.add(name, [&record](JsonWriter& out) { writeRecord(out, record); });
        }
    }
    void hardware(std::string_view name, const CMEGSensor& sensor, fields::Filed) {
        m_members.add(name, [&sensor](JsonWriter& out) { writeHardware(out, sensor); });
    }
    void entries(std::string_view name, const CFiducialPtrArray& list, fields::Filed) {
        m_members.add(name, [&list](JsonWriter& out) { writeEntries(out, list); });
    }
    void strings(std::string_view name, const CStringArray& texts, fields::Filed) {
        m_members.add(name, [&texts](JsonWriter& out) { writeStrings(out, texts); });
    }

  private:
    Members& m_members;
};

// A record's fields, with `extra` members beside them.
template <class Record, class Extra>
void writeRecordWith(JsonWriter& out, const Record& record, Extra extra) {
    Members members;
    fields::visitFields(record, Gather(members));
    extra(members);
    members.writeTo(out);
}

template <class Record>
void writeRecord(JsonWriter& out, const Record& record) {
    if constexpr (std::is_array_v<Record>) {
        out.beginArray();
        for (const auto& element : record) {
            writeRecord(out, element);
        }
        out.endArray();
    } else {
        writeRecordWith(out, record, [](Members&) {});
    }
}

template <class Record>
constexpr std::string_view recordKindOf() {
    if constexpr (std::is_same_v<Record, CMegSquid>) {
        return "squid";
    } else if constexpr (std::is_same_v<Record, CMegOpm>) {
        return "opm";
    } else {
        return "unknown";
    }
}

void writeHardware(JsonWriter& out, const CMEGSensor& sensor) {
    const bool held = fields::withHardwareRecord(sensor, [&out](const auto& record) {
        using Record = std::remove_cvref_t<decltype(record)>;
        writeRecordWith(out, record, [](Members& members) {
            members.add("recordKind", [](JsonWriter& o) { o.string(recordKindOf<Record>()); });
        });
    });
    if (!held) {
        out.null();
    }
}

void writeEntries(JsonWriter& out, const CFiducialPtrArray& entries) {
    out.beginArray();
    for (INT_PTR i = 0; i < entries.GetSize(); ++i) {
        if (const HEAD_LOCATION_TRIAL* record = entries.GetRecordAt(i)) {
            writeRecordWith(out, *record, [](Members& members) {
                members.add("kind", [](JsonWriter& o) { o.string("record"); });
            });
        } else if (const CFiducialqv* set = entries.GetFiducialAt(i)) {
            Members members;
            members.add("kind", [](JsonWriter& o) { o.string("object"); });
            members.add("fiducial", [set](JsonWriter& o) {
                writeRecord(o, static_cast<const CFiducial&>(*set));
            });
            members.writeTo(out);
        } else {
            out.null();
        }
    }
    out.endArray();
}

void writeStrings(JsonWriter& out, const CStringArray& texts) {
    out.beginArray();
    for (const CString& text : texts) {
        writeValue(out, text);
    }
    out.endArray();
}

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
void addFileName(Members& members, const std::string& name) {
    members.add("file", [&name](JsonWriter& o) { o.string(name); });
    if (!isValidUtf8(name)) {
        members.add("file_bytes", [&name](JsonWriter& o) { o.string(hexBytes(name)); });
    }
}

// "kind" and "magic" of a file kind.
void addKind(Members& members, FileKind kind) {
    const FileKindInfo& info = fileKindInfo(kind);
    members.add("kind", [&info](JsonWriter& o) { o.string(info.word); });
    members.add("magic",
                [&info](JsonWriter& o) { o.string(CString(std::u16string(info.magic)).ToUtf8()); });
}

}  // namespace

void writeObjectJson(JsonWriter& out, const FileObjectPtr& object) {
    std::visit([&out](const auto& held) { writeRecord(out, *held); }, object);
}

void writeFileJson(JsonWriter& out, const LoadedFile& loaded) {
    Members members;
    addFileName(members, loaded.file);
    addKind(members, loaded.kind);
    members.add("version", [&](JsonWriter& o) { o.integer(loaded.version); });
    members.add("size", [&](JsonWriter& o) { o.unsignedInteger(loaded.size); });
    members.add("consumed", [&](JsonWriter& o) { o.unsignedInteger(loaded.consumed); });
    members.add("object", [&](JsonWriter& o) { writeObjectJson(o, loaded.object); });
    members.writeTo(out);
}

void writeFailureJson(JsonWriter& out, const FileError& error) {
    Members members;
    addFileName(members, error.file);
    members.add("code", [&](JsonWriter& o) { o.string(failureCode(error.failure)); });
    members.add("error", [&](JsonWriter& o) { o.string(error.message); });
    members.add("boxes", [&](JsonWriter& o) {
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
        members.add("version", [&](JsonWriter& o) { o.integer(*error.version); });
    }
    members.writeTo(out);
}

std::string_view failureCode(FileFailure failure) {
    switch (failure) {
        case FileFailure::missing:
            return "missing";
        case FileFailure::notRegularFile:
            return "not-regular-file";
        case FileFailure::tooLarge:
            return "too-large";
        case FileFailure::readError:
            return "read-error";
        case FileFailure::badMagic:
            return "bad-magic";
        case FileFailure::refusedVersion:
            return "refused-version";
        case FileFailure::truncated:
            return "truncated";
        case FileFailure::refused:
            return "refused";
        case FileFailure::corrupt:
            return "corrupt";
        case FileFailure::writeError:
            return "write-error";
    }
    return "unknown";
}

}  // namespace fluxgrid::tool
