// A filler and a comparer of records driven by the field table, so that no
// test restates the field list of a record: `fillFields` gives every field
// a distinct value, `expectFieldsEq` checks every field (or the fields that
// a file body holds, or those it does not hold) with the field's dotted
// name in each failure.
#pragma once

#include <fluxgrid/fields/FieldTable.h>

#include "support/Harness.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <type_traits>

namespace fluxgrid::test {

/// A double for field number `field` of sample `seed`, distinct for every
/// pair below a thousand fields and exactly representable.
double sampleDouble(int seed, int field);
/// An int32 for field number `field` of sample `seed`, distinct likewise.
int sampleInt(int seed, int field);

namespace detail {

// Fills the fields of one record; each nested record gets a sample seed of
// its own, `root * 1000 + k` for the k-th record met in the walk, so that
// values stay distinct across the whole tree.
class FieldFiller {
  public:
    FieldFiller(int root, int seed, int field, int& records)
        : m_root(root), m_seed(seed), m_field(field), m_records(records) {}

    template <class T>
    void value(std::string_view name, T& v, fields::Filed) {
        leaf(name, v);
    }

    template <class R>
    void nested(std::string_view, R& r, fields::Filed, fields::Body) {
        if constexpr (std::is_array_v<R>) {
            for (auto& element : r) {
                record(element);
            }
        } else {
            record(r);
        }
    }

    template <class B>
    void base(std::string_view, B& b) {
        fields::visitFields(b, *this);
    }

    // A record the sensor holds is filled; its type follows what the record
    // was made as. A sensor without a record keeps none.
    void hardware(std::string_view, CMEGSensor& sensor, fields::Filed) {
        fields::withHardwareRecord(sensor, [&](auto& r) { record(r); });
        const int kind = fluxgrid::sensor::hardwareRecordKind(sensor.hardware);
        if (kind >= 0) {
            sensor.hardwareType = kind;
        }
    }

    // Two entries: one of the record kind, one of the object kind.
    void entries(std::string_view, CFiducialPtrArray& list, fields::Filed) {
        auto* trial = new HEAD_LOCATION_TRIAL();
        record(*trial);
        list.Add(trial);
        auto* object = new CFiducialqv();
        record(*object);
        list.Add(object);
    }

    void strings(std::string_view name, CStringArray& list, fields::Filed) {
        for (int i = 0; i < 2; ++i) {
            list.Add(text(name));
        }
    }

  private:
    template <class R>
    void record(R& r) {
        FieldFiller inner(m_root, m_root * 1000 + ++m_records, 0, m_records);
        fields::visitFields(r, inner);
    }

    CString text(std::string_view name) {
        return CString(std::string(name) + "-" + std::to_string(m_seed) + "-" +
                       std::to_string(m_field++));
    }

    void leaf(std::string_view, double& v) { v = sampleDouble(m_seed, m_field++); }
    void leaf(std::string_view, int& v) { v = sampleInt(m_seed, m_field++); }
    void leaf(std::string_view, bool& v) { v = (m_field++ + m_root) % 2 == 0; }
    void leaf(std::string_view name, CString& v) { v = text(name); }
    template <class T, std::size_t N>
    void leaf(std::string_view name, T (&a)[N]) {
        for (T& element : a) {
            leaf(name, element);
        }
    }

    int m_root;
    int m_seed;
    int m_field;
    int& m_records;
};

}  // namespace detail

/// Gives every field of `object` that the field table reaches a distinct,
/// exactly representable value derived from `seed` (0 to 2000), the fields
/// numbered from `firstField`: numbers count up, texts are the field's name
/// with the seed and number, booleans alternate (and flip with the parity
/// of `seed`). Every nested record gets
/// values of its own; each list of entries gains a record and an object,
/// each list of texts two texts. A sensor's record, if it has one, is
/// filled and `hardwareType` set to its kind. Filling with the same seed
/// gives the same values.
template <class T>
void fillFields(T& object, int seed, int firstField = 0) {
    int records = 0;
    detail::FieldFiller filler(seed, seed, firstField, records);
    fields::visitFields(object, filler);
}

/// As `fillFields` for a sensor and its base, but `hardwareType` and the
/// record (if any) stay as they are.
void fillSensorFields(CMEGSensor& sensor, int seed);

/// Which fields a comparison covers.
struct FieldScope {
    enum class Kind { all, filed, unfiled };
    Kind kind = Kind::all;
    /// For `filed` and `unfiled`: the body that holds the fields.
    fields::Body body = fields::Body::coil20080102;
    /// Whether a sensor's hardware record is compared.
    bool hardware = true;
    /// Where given, counts the leaf values compared (sizes and presence
    /// not included).
    int* leaves = nullptr;

    static FieldScope all() { return {}; }
    /// The fields that a file of body `body` holds.
    static FieldScope filedBy(fields::Body body) { return {Kind::filed, body}; }
    /// The fields that a file of body `body` does not hold.
    static FieldScope notFiledBy(fields::Body body) { return {Kind::unfiled, body}; }
    /// Where given, the sensor's geometry base is not compared.
    bool namedBases = true;

    FieldScope withoutHardware() const {
        FieldScope scope = *this;
        scope.hardware = false;
        return scope;
    }
    FieldScope withoutNamedBases() const {
        FieldScope scope = *this;
        scope.namedBases = false;
        return scope;
    }
};

namespace detail {

// Expects each field of the scope equal in both objects, doubles bit for
// bit, and names the field in each failure.
class FieldExpecter {
  public:
    FieldExpecter(FieldScope scope, std::string prefix)
        : m_scope(scope), m_prefix(std::move(prefix)) {}

    template <class T>
    void value(std::string_view name, const T& e, const T& a, fields::Filed filed) {
        const std::string where = path(name);
        if constexpr (std::is_array_v<T>) {
            if (filed.firstRow(m_scope.body) && m_scope.kind != FieldScope::Kind::all) {
                // Row 0 is filed, the other rows are not.
                const std::size_t first = m_scope.kind == FieldScope::Kind::filed ? 0 : 1;
                const std::size_t end = m_scope.kind == FieldScope::Kind::filed ? 1 : std::size(e);
                for (std::size_t i = first; i < end; ++i) {
                    leaf(where + index(i), e[i], a[i]);
                }
                return;
            }
        }
        if (selected(filed)) {
            leaf(where, e, a);
        }
    }

    template <class R>
    void nested(std::string_view name, const R& e, const R& a, fields::Filed filed,
                fields::Body body) {
        const FieldScope inner = innerScope(filed, body);
        if (inner.kind == FieldScope::Kind::filed && !filed.any(m_scope.body)) {
            return;
        }
        if constexpr (std::is_array_v<R>) {
            for (std::size_t i = 0; i < std::extent_v<R>; ++i) {
                recordEq(inner, path(name) + index(i), e[i], a[i]);
            }
        } else {
            recordEq(inner, path(name), e, a);
        }
    }

    template <class B>
    void base(std::string_view name, const B& e, const B& a) {
        if (!name.empty() && !m_scope.namedBases) {
            return;
        }
        FieldExpecter inner(m_scope, name.empty() ? m_prefix : path(name) + ".");
        fields::visitFieldPairs(e, a, inner);
    }

    void hardware(std::string_view name, const CMEGSensor& e, const CMEGSensor& a,
                  fields::Filed filed) {
        if (!m_scope.hardware ||
            (m_scope.kind == FieldScope::Kind::filed && !filed.any(m_scope.body))) {
            return;
        }
        const std::string where = path(name);
        ASSERT_EQ(e.hardware == nullptr, a.hardware == nullptr) << where << " presence";
        if (e.hardware == nullptr) {
            return;
        }
        ASSERT_EQ(fluxgrid::sensor::hardwareRecordKind(e.hardware),
                  fluxgrid::sensor::hardwareRecordKind(a.hardware))
            << where << " kind";
        fields::withHardwareRecord(e, [&](const auto& recordE) {
            using Record = std::remove_cvref_t<decltype(recordE)>;
            fields::withHardwareRecord(a, [&](const auto& recordA) {
                if constexpr (std::is_same_v<Record, std::remove_cvref_t<decltype(recordA)>>) {
                    FieldScope inner = m_scope;
                    if (m_scope.kind != FieldScope::Kind::all) {
                        if (filed.any(m_scope.body)) {
                            inner.body =
                                fields::hardwareBody(m_scope.body, std::is_same_v<Record, CMegOpm>);
                        } else {
                            inner.kind = FieldScope::Kind::all;
                        }
                    }
                    recordEq(inner, where, recordE, recordA);
                } else {
                    ADD_FAILURE() << where << " is seen as records of two kinds";
                }
            });
        });
    }

    void entries(std::string_view name, const CFiducialPtrArray& e, const CFiducialPtrArray& a,
                 fields::Filed filed) {
        if (!selected(filed)) {
            return;
        }
        const std::string where = path(name);
        EXPECT_EQ(e.GetSize(), a.GetSize()) << where << ".size";
        for (INT_PTR i = 0; i < std::min(e.GetSize(), a.GetSize()); ++i) {
            const std::string entry = where + index(static_cast<std::size_t>(i));
            const CFiducialqv* x = e.GetFiducialAt(i);
            const CFiducialqv* y = a.GetFiducialAt(i);
            EXPECT_EQ(x == nullptr, y == nullptr) << entry << ".presence";
            if (x == nullptr || y == nullptr) {
                continue;
            }
            // A file holds every entry as a record: only where both are
            // records are their numbers held against each other, and only a
            // comparison of all fields asks for the same kind.
            const FieldScope set = innerScope(filed, fields::Body::fiducialSet);
            recordEq(set, entry, static_cast<const CFiducial&>(*x),
                     static_cast<const CFiducial&>(*y));
            const HEAD_LOCATION_TRIAL* r = e.GetRecordAt(i);
            const HEAD_LOCATION_TRIAL* s = a.GetRecordAt(i);
            if (m_scope.kind == FieldScope::Kind::all) {
                EXPECT_EQ(r == nullptr, s == nullptr) << entry << ".kind";
            }
            if (r != nullptr && s != nullptr) {
                FieldExpecter inner(set, entry + ".");
                fields::visitFieldPairs(*r, *s, RecordNumbers{inner});
            }
        }
    }

    void strings(std::string_view name, const CStringArray& e, const CStringArray& a,
                 fields::Filed filed) {
        if (!selected(filed)) {
            return;
        }
        const std::string where = path(name);
        EXPECT_EQ(e.GetSize(), a.GetSize()) << where << ".size";
        for (INT_PTR i = 0; i < std::min(e.GetSize(), a.GetSize()); ++i) {
            leaf(where + index(static_cast<std::size_t>(i)), e[i], a[i]);
        }
    }

  private:
    // The values of an entry record without its nested fiducial set.
    struct RecordNumbers {
        FieldExpecter& expecter;
        template <class T>
        void value(std::string_view name, const T& e, const T& a, fields::Filed filed) {
            expecter.value(name, e, a, filed);
        }
        template <class R>
        void nested(std::string_view, const R&, const R&, fields::Filed, fields::Body) {}
    };

    static std::string index(std::size_t i) { return "[" + std::to_string(i) + "]"; }
    std::string path(std::string_view name) const { return m_prefix + std::string(name); }

    // Whether a field filed as `filed` belongs to the scope; a part-filed
    // field (first row) is handled by `value` itself.
    bool selected(fields::Filed filed) const {
        switch (m_scope.kind) {
            case FieldScope::Kind::filed:
                return filed.whole(m_scope.body);
            case FieldScope::Kind::unfiled:
                return !filed.any(m_scope.body);
            case FieldScope::Kind::all:
                break;
        }
        return true;
    }

    // The scope within a nested record: its own body where the outer body
    // holds it; all of its fields where it is not filed and unfiled fields
    // are asked for.
    FieldScope innerScope(fields::Filed filed, fields::Body body) const {
        FieldScope inner = m_scope;
        if (m_scope.kind == FieldScope::Kind::all) {
            return inner;
        }
        if (filed.any(m_scope.body)) {
            inner.body = body;
        } else if (m_scope.kind == FieldScope::Kind::unfiled) {
            inner.kind = FieldScope::Kind::all;
        }
        return inner;
    }

    template <class R>
    static void recordEq(FieldScope scope, const std::string& where, const R& e, const R& a) {
        FieldExpecter inner(scope, where + ".");
        fields::visitFieldPairs(e, a, inner);
    }

    void count() {
        if (m_scope.leaves != nullptr) {
            ++*m_scope.leaves;
        }
    }

    void leaf(const std::string& where, double e, double a) {
        count();
        EXPECT_EQ(bitsOf(e), bitsOf(a)) << where << ": " << e << " vs " << a;
    }
    template <class T>
    requires(!std::is_array_v<T>) void leaf(const std::string& where, const T& e, const T& a) {
        count();
        EXPECT_EQ(e, a) << where;
    }
    template <class T, std::size_t N>
    void leaf(const std::string& where, const T (&e)[N], const T (&a)[N]) {
        for (std::size_t i = 0; i < N; ++i) {
            leaf(where + index(i), e[i], a[i]);
        }
    }

    FieldScope m_scope;
    std::string m_prefix;
};

}  // namespace detail

/// Expects every field of `scope` equal in `expected` and `actual`, doubles
/// bit for bit, each failure naming the field ("coilDewar[3].posP4[2]").
/// Lists of entries compare by size and entry by entry.
template <class T>
void expectFieldsEq(const T& expected, const T& actual, FieldScope scope = FieldScope::all()) {
    fields::visitFieldPairs(expected, actual, detail::FieldExpecter(scope, {}));
}

}  // namespace fluxgrid::test
