// The filed fields in which two objects differ, walked through the field
// table: nothing here names a field of any record.
#include <fluxgrid/fields/FieldTable.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <string>
#include <type_traits>

namespace fluxgrid::fields {

namespace {

// Collects the dotted names of the filed fields that differ, for one body.
class Differ {
  public:
    Differ(std::vector<std::string>& out, Body body, std::string prefix = {})
        : m_out(out), m_body(body), m_prefix(std::move(prefix)) {}

    // A path is built only for a value that differs: comparing a file with
    // its own stored copy, most never do, and building the name of every
    // number cost more than comparing them.
    template <class T>
    void value(std::string_view name, const T& a, const T& b, Filed filed) {
        if (filed.whole(m_body)) {
            if (!same(a, b)) {
                differing(path(name), a, b);
            }
        } else if (filed.firstRow(m_body)) {
            if constexpr (std::is_array_v<T>) {
                if (!same(a[0], b[0])) {
                    differing(path(name) + "[0]", a[0], b[0]);
                }
            }
        }
    }

    template <class R>
    void nested(std::string_view name, const R& a, const R& b, Filed filed, Body body) {
        if (!filed.any(m_body)) {
            return;
        }
        if constexpr (std::is_array_v<R>) {
            for (std::size_t i = 0; i < std::extent_v<R>; ++i) {
                nestedOne(path(name) + index(i), a[i], b[i], body);
            }
        } else {
            nestedOne(path(name), a, b, body);
        }
    }

    template <class B>
    void base(std::string_view name, const B& a, const B& b) {
        Differ inner(m_out, m_body, name.empty() ? m_prefix : path(name) + ".");
        visitFieldPairs(a, b, inner);
    }

    void hardware(std::string_view name, const CMEGSensor& a, const CMEGSensor& b, Filed filed) {
        if (!filed.any(m_body)) {
            return;
        }
        const std::string where = path(name);
        if ((a.hardware == nullptr) != (b.hardware == nullptr)) {
            m_out.push_back(where);
            return;
        }
        // A type that differs is reported by its own field; the records are
        // not held against each other then.
        if (a.hardware == nullptr || a.hardwareType != b.hardwareType) {
            return;
        }
        withHardwareRecord(a, [&](const auto& recordA) {
            using Record = std::remove_cvref_t<decltype(recordA)>;
            withHardwareRecord(b, [&](const auto& recordB) {
                if constexpr (std::is_same_v<Record, std::remove_cvref_t<decltype(recordB)>>) {
                    const Body body = hardwareBody(m_body, std::is_same_v<Record, CMegOpm>);
                    Differ inner(m_out, body, where + ".");
                    visitFieldPairs(recordA, recordB, inner);
                } else {
                    m_out.push_back(where);
                }
            });
        });
    }

    void entries(std::string_view name, const CFiducialPtrArray& a, const CFiducialPtrArray& b,
                 Filed filed) {
        if (!filed.any(m_body)) {
            return;
        }
        const std::string where = path(name);
        leaf(where + ".size", a.GetSize(), b.GetSize());
        for (INT_PTR i = 0; i < std::min(a.GetSize(), b.GetSize()); ++i) {
            const std::string entry = where + index(static_cast<std::size_t>(i));
            const CFiducialqv* x = a.GetFiducialAt(i);
            const CFiducialqv* y = b.GetFiducialAt(i);
            if ((x == nullptr) != (y == nullptr)) {
                m_out.push_back(entry + ".presence");
                continue;
            }
            if (x != nullptr) {
                nestedOne(entry, static_cast<const CFiducial&>(*x),
                          static_cast<const CFiducial&>(*y), Body::fiducialSet);
            }
            const HEAD_LOCATION_TRIAL* r = a.GetRecordAt(i);
            const HEAD_LOCATION_TRIAL* s = b.GetRecordAt(i);
            if (r != nullptr && s != nullptr) {
                // The record's own numbers; its fiducial set was compared above.
                Differ inner(m_out, m_body, entry + ".");
                visitFieldPairs(*r, *s, RecordNumbers{inner});
            }
        }
    }

    void strings(std::string_view name, const CStringArray& a, const CStringArray& b, Filed filed) {
        if (!filed.any(m_body)) {
            return;
        }
        const std::string where = path(name);
        leaf(where + ".size", a.GetSize(), b.GetSize());
        for (INT_PTR i = 0; i < std::min(a.GetSize(), b.GetSize()); ++i) {
            leaf(where + index(static_cast<std::size_t>(i)), a[i], b[i]);
        }
    }

  private:
    // The values of an entry record without its nested fiducial set.
    struct RecordNumbers {
        Differ& differ;
        template <class T>
        void value(std::string_view name, const T& a, const T& b, Filed filed) {
            differ.value(name, a, b, filed);
        }
        template <class R>
        void nested(std::string_view, const R&, const R&, Filed, Body) {}
    };

    static std::string index(std::size_t i) { return "[" + std::to_string(i) + "]"; }

    std::string path(std::string_view name) const { return m_prefix + std::string(name); }

    template <class R>
    void nestedOne(const std::string& where, const R& a, const R& b, Body body) {
        Differ inner(m_out, body, where + ".");
        visitFieldPairs(a, b, inner);
    }

    // Doubles are the same bit for bit; everything else by its ==.
    static bool same(double a, double b) {
        return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
    }
    template <class T>
    requires(!std::is_array_v<T>) static bool same(const T& a, const T& b) { return a == b; }
    template <class T, std::size_t N>
    static bool same(const T (&a)[N], const T (&b)[N]) {
        for (std::size_t i = 0; i < N; ++i) {
            if (!same(a[i], b[i])) {
                return false;
            }
        }
        return true;
    }

    // Names the value at `where` if it differs.
    template <class T>
    void leaf(const std::string& where, const T& a, const T& b) {
        if (!same(a, b)) {
            differing(where, a, b);
        }
    }

    // Names a value already found to differ; in an array, each element that
    // does.
    template <class T>
    requires(!std::is_array_v<T>) void differing(const std::string& where, const T&, const T&) {
        m_out.push_back(where);
    }
    template <class T, std::size_t N>
    void differing(const std::string& where, const T (&a)[N], const T (&b)[N]) {
        for (std::size_t i = 0; i < N; ++i) {
            leaf(where + index(i), a[i], b[i]);
        }
    }

    std::vector<std::string>& m_out;
    Body m_body;
    std::string m_prefix;
};

template <class T>
std::vector<std::string> differences(const T& a, const T& b, Body body) {
    std::vector<std::string> out;
    visitFieldPairs(a, b, Differ(out, body));
    return out;
}

}  // namespace

std::vector<std::string> filedDifferences(const CBscMagSns& a, const CBscMagSns& b, Body body) {
    return differences(a, b, body);
}
std::vector<std::string> filedDifferences(const CMagVapor& a, const CMagVapor& b, Body body) {
    return differences(a, b, body);
}
std::vector<std::string> filedDifferences(const CMegSquid& a, const CMegSquid& b, Body body) {
    return differences(a, b, body);
}
std::vector<std::string> filedDifferences(const CMegOpm& a, const CMegOpm& b, Body body) {
    return differences(a, b, body);
}
std::vector<std::string> filedDifferences(const CMEGSensor& a, const CMEGSensor& b, Body body) {
    return differences(a, b, body);
}
std::vector<std::string> filedDifferences(const CFiduciaryPt& a, const CFiduciaryPt& b, Body body) {
    return differences(a, b, body);
}
std::vector<std::string> filedDifferences(const CFiducial& a, const CFiducial& b, Body body) {
    return differences(a, b, body);
}
std::vector<std::string> filedDifferences(const CSphere& a, const CSphere& b, Body body) {
    return differences(a, b, body);
}
std::vector<std::string> filedDifferences(const CHeadLocalization& a, const CHeadLocalization& b,
                                          Body body) {
    return differences(a, b, body);
}

}  // namespace fluxgrid::fields
