// The tree of the model objects, driven by the field table: nothing here
// names a field of any record.
#include <fluxgrid/fields/FieldTable.h>
#include <fluxgrid/fields/ObjectTree.h>

#include <algorithm>
#include <functional>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace fluxgrid {

namespace {

void writeValue(TreeSink& out, const CString& text) {
    out.string(text.ToUtf8());
}

template <class T>
requires std::is_arithmetic_v<T>
void writeValue(TreeSink& out, T value) {
    if constexpr (std::is_same_v<T, bool>) {
        out.boolean(value);
    } else if constexpr (std::is_floating_point_v<T>) {
        out.real(static_cast<double>(value));
    } else if constexpr (std::is_signed_v<T>) {
        out.integer(value);
    } else {
        out.unsignedInteger(value);
    }
}

template <class T, std::size_t N>
void writeValue(TreeSink& out, const T (&values)[N]) {
    out.beginArray();
    for (const T& value : values) {
        writeValue(out, value);
    }
    out.endArray();
}

template <class Record>
void writeRecord(TreeSink& out, const Record& record);

void writeHardware(TreeSink& out, const CMEGSensor& sensor);
void writeEntries(TreeSink& out, const CFiducialPtrArray& entries);
void writeStrings(TreeSink& out, const CStringArray& texts);

// Gathers the members of a record's object from its field table. A base
// without a name adds its fields among the record's own.
class Gather {
  public:
    explicit Gather(SortedMembers& members) : m_members(members) {}

    template <class T>
    void value(std::string_view name, const T& field, fields::Filed) {
        m_members.add(name, [&field](TreeSink& out) { writeValue(out, field); });
    }
    template <class R>
    void nested(std::string_view name, const R& record, fields::Filed, fields::Body) {
        m_members.add(name, [&record](TreeSink& out) { writeRecord(out, record); });
    }
    template <class B>
    void base(std::string_view name, const B& record) {
        if (name.empty()) {
            fields::visitFields(record, *this);
        } else {
            m_members.add(name, [&record](TreeSink& out) { writeRecord(out, record); });
        }
    }
    void hardware(std::string_view name, const CMEGSensor& sensor, fields::Filed) {
        m_members.add(name, [&sensor](TreeSink& out) { writeHardware(out, sensor); });
    }
    void entries(std::string_view name, const CFiducialPtrArray& list, fields::Filed) {
        m_members.add(name, [&list](TreeSink& out) { writeEntries(out, list); });
    }
    void strings(std::string_view name, const CStringArray& texts, fields::Filed) {
        m_members.add(name, [&texts](TreeSink& out) { writeStrings(out, texts); });
    }

  private:
    SortedMembers& m_members;
};

// A record's fields, with `extra` members beside them.
template <class Record, class Extra>
void writeRecordWith(TreeSink& out, const Record& record, Extra extra) {
    SortedMembers members;
    fields::visitFields(record, Gather(members));
    extra(members);
    members.writeTo(out);
}

template <class Record>
void writeRecord(TreeSink& out, const Record& record) {
    if constexpr (std::is_array_v<Record>) {
        out.beginArray();
        for (const auto& element : record) {
            writeRecord(out, element);
        }
        out.endArray();
    } else {
        writeRecordWith(out, record, [](SortedMembers&) {});
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

void writeHardware(TreeSink& out, const CMEGSensor& sensor) {
    const bool held = fields::withHardwareRecord(sensor, [&out](const auto& record) {
        using Record = std::remove_cvref_t<decltype(record)>;
        writeRecordWith(out, record, [](SortedMembers& members) {
            members.add("recordKind", [](TreeSink& o) { o.string(recordKindOf<Record>()); });
        });
    });
    if (!held) {
        out.null();
    }
}

void writeEntries(TreeSink& out, const CFiducialPtrArray& entries) {
    out.beginArray();
    for (INT_PTR i = 0; i < entries.GetSize(); ++i) {
        if (const HEAD_LOCATION_TRIAL* record = entries.GetRecordAt(i)) {
            writeRecordWith(out, *record, [](SortedMembers& members) {
                members.add("kind", [](TreeSink& o) { o.string("record"); });
            });
        } else if (const CFiducialqv* set = entries.GetFiducialAt(i)) {
            SortedMembers members;
            members.add("kind", [](TreeSink& o) { o.string("object"); });
            members.add("fiducial", [set](TreeSink& o) {
                writeRecord(o, static_cast<const CFiducial&>(*set));
            });
            members.writeTo(out);
        } else {
            out.null();
        }
    }
    out.endArray();
}

void writeStrings(TreeSink& out, const CStringArray& texts) {
    out.beginArray();
    for (const CString& text : texts) {
        writeValue(out, text);
    }
    out.endArray();
}

}  // namespace

void SortedMembers::writeTo(TreeSink& sink) {
    std::stable_sort(m_members.begin(), m_members.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    sink.beginObject();
    for (const auto& [key, write] : m_members) {
        sink.key(key);
        write(sink);
    }
    sink.endObject();
}

void writeObjectTree(TreeSink& sink, const FileObjectPtr& object) {
    std::visit([&sink](const auto& held) { writeRecord(sink, *held); }, object);
}

void writeObjectTree(TreeSink& sink, const CMagCoilqv& record) {
    writeRecord(sink, record);
}
void writeObjectTree(TreeSink& sink, const CMagVaporqv& record) {
    writeRecord(sink, record);
}
void writeObjectTree(TreeSink& sink, const CMegGrdBscqv& record) {
    writeRecord(sink, record);
}
void writeObjectTree(TreeSink& sink, const CMegSquidqv& record) {
    writeRecord(sink, record);
}
void writeObjectTree(TreeSink& sink, const CMegOpmqv& record) {
    writeRecord(sink, record);
}
void writeObjectTree(TreeSink& sink, const CGeomqv& record) {
    writeRecord(sink, record);
}
void writeObjectTree(TreeSink& sink, const CMEGSensorqv& record) {
    writeRecord(sink, record);
}
void writeObjectTree(TreeSink& sink, const CFiduciaryPtqv& record) {
    writeRecord(sink, record);
}
void writeObjectTree(TreeSink& sink, const CFiducialqv& record) {
    writeRecord(sink, record);
}
void writeObjectTree(TreeSink& sink, const CSphereqv& record) {
    writeRecord(sink, record);
}
void writeObjectTree(TreeSink& sink, const HEAD_LOCATION_TRIAL& record) {
    writeRecord(sink, record);
}
void writeObjectTree(TreeSink& sink, const CHeadLocalizationqv& record) {
    writeRecord(sink, record);
}

}  // namespace fluxgrid
