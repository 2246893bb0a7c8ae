// The field table: that it reaches every byte a constructor writes in every
// record class, that each field's marks say exactly which file bodies hold
// it (a load from bytes built by hand takes the marked fields and leaves
// every other field alone), and the comparison of filed fields.
#include <fluxgrid/fields/FieldTable.h>
#include <fluxgrid/headloc/HeadLocalization.h>

#include "support/ByteBuilder.h"
#include "support/ElementRecordBuilders.h"
#include "support/ElementRecords.h"
#include "support/FieldFill.h"
#include "support/HardwareRecords.h"
#include "support/Harness.h"
#include "support/RecordBuilders.h"
#include "support/SensorRecords.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace {

using fluxgrid::fields::Body;
using fluxgrid::fields::Filed;
using fluxgrid::fields::filedDifferences;
using fluxgrid::test::ByteBuilder;
using fluxgrid::test::expectFieldsEq;
using fluxgrid::test::FieldScope;
using fluxgrid::test::fillFields;
using fluxgrid::test::loadFromBytes;
using fluxgrid::test::storeToBytes;
using fluxgrid::test::valuesOf;
using Diffs = std::vector<std::string>;

// ---------------------------------------------------------------------------
// Every byte a constructor writes is reached by the table.

// A byte range of one object that the table reaches.
struct Covered {
    std::size_t begin;
    std::size_t end;
    std::size_t align;
    std::string name;
};

// Collects the ranges of the leaf fields of an object: numbers, texts,
// lists and the record pointer whole, nested records and bases field by
// field, and the vtable pointer at the start of each polymorphic object.
class Coverage {
  public:
    Coverage(const void* origin, std::vector<Covered>& out, std::string prefix = {})
        : m_origin(static_cast<const unsigned char*>(origin)),
          m_out(out),
          m_prefix(std::move(prefix)) {}

    template <class R>
    void object(const R& r) {
        if constexpr (std::is_polymorphic_v<R>) {
            add(&r, sizeof(void*), alignof(void*), "vptr");
        }
        fluxgrid::fields::visitFields(r, *this);
    }

    template <class T>
    void value(std::string_view name, const T& v, Filed) {
        add(&v, sizeof v, alignof(std::remove_all_extents_t<T>), path(name));
    }
    template <class R>
    void nested(std::string_view name, const R& r, Filed, Body) {
        if constexpr (std::is_array_v<R>) {
            for (std::size_t i = 0; i < std::extent_v<R>; ++i) {
                Coverage(m_origin, m_out, path(name) + "[" + std::to_string(i) + "].").object(r[i]);
            }
        } else {
            Coverage(m_origin, m_out, path(name) + ".").object(r);
        }
    }
    template <class B>
    void base(std::string_view name, const B& b) {
        Coverage(m_origin, m_out, name.empty() ? m_prefix : path(name) + ".").object(b);
    }
    void hardware(std::string_view name, const CMEGSensor& s, Filed) {
        value(name, s.hardware, Filed{});
    }
    void entries(std::string_view name, const CFiducialPtrArray& list, Filed) {
        add(&list, sizeof list, alignof(CFiducialPtrArray), path(name));
    }
    void strings(std::string_view name, const CStringArray& list, Filed) {
        add(&list, sizeof list, alignof(CStringArray), path(name));
    }

  private:
    std::string path(std::string_view name) const { return m_prefix + std::string(name); }
    void add(const void* at, std::size_t size, std::size_t align, std::string name) {
        const std::size_t begin = static_cast<const unsigned char*>(at) - m_origin;
        m_out.push_back({begin, begin + size, align, std::move(name)});
    }

    const unsigned char* m_origin;
    std::vector<Covered>& m_out;
    std::string m_prefix;
};

template <class T>
struct alignas(T) Storage {
    unsigned char bytes[sizeof(T)];
};

// Two objects made in storage filled with 0x00 and 0xFF and then filled
// through the table alike. Every run of bytes between the fields the table
// covers must be no more than the padding that aligns the next field (or
// ends the object), so a missing field leaves a gap that is seen; and the
// padding bytes must differ between the two objects (nothing wrote them) or
// be zero in both (a constructor that clears its fields in one sweep clears
// the padding too): a padding-shaped gap that the constructor fills with
// anything else is a field that the table misses. A field exactly the size
// of such padding that the constructor clears cannot be told from padding.
template <class T>
void expectTableCoversEveryField() {
    auto zeros = std::make_unique<Storage<T>>();
    auto ones = std::make_unique<Storage<T>>();
    std::memset(zeros->bytes, 0x00, sizeof(T));
    std::memset(ones->bytes, 0xFF, sizeof(T));
    T* a = new (zeros->bytes) T;
    T* b = new (ones->bytes) T;
    fillFields(*a, 7);
    fillFields(*b, 7);

    std::vector<Covered> covered;
    Coverage(a, covered).object(*a);
    a->~T();
    b->~T();
    // A base and the class that derives from it share their vtable pointer.
    std::sort(covered.begin(), covered.end(),
              [](const Covered& x, const Covered& y) { return x.begin < y.begin; });
    covered.erase(std::unique(covered.begin(), covered.end(),
                              [](const Covered& x, const Covered& y) {
                                  return x.name.ends_with("vptr") && y.name.ends_with("vptr") &&
                                         x.begin == y.begin;
                              }),
                  covered.end());
    ASSERT_FALSE(covered.empty());

    std::size_t at = 0;
    const auto gap = [&](std::size_t end, std::size_t align, const std::string& next) {
        if (end <= at) {
            return;
        }
        EXPECT_TRUE(at % align != 0 && end - at < align && end % align == 0)
            << "bytes " << at << " to " << end << " before " << next
            << " are more than padding: a field that the table misses";
        for (std::size_t i = at; i < end; ++i) {
            EXPECT_TRUE(zeros->bytes[i] != ones->bytes[i] || zeros->bytes[i] == 0)
                << "byte " << i << " before " << next << " is written but reached by no field";
        }
    };
    for (const Covered& field : covered) {
        ASSERT_GE(field.begin, at) << field.name << " overlaps the field before it";
        gap(field.begin, field.align, field.name);
        at = field.end;
    }
    ASSERT_LE(at, sizeof(T));
    gap(sizeof(T), alignof(T), "the end of the object");
}

template <class T>
class FieldTableCoverage : public ::testing::Test {};

using RecordClasses =
    ::testing::Types<CBscMagSns, CMagVapor, CMegGrdBsc, CMegSquid, CMegOpm, CGeomqv, CMEGSensor,
                     CFiduciaryPt, CFiducial, CSphere, HEAD_LOCATION_TRIAL, CHeadLocalization>;
TYPED_TEST_SUITE(FieldTableCoverage, RecordClasses);

TYPED_TEST(FieldTableCoverage, ReachesEveryByteThatTheConstructorWrites) {
    expectTableCoversEveryField<TypeParam>();
}

// The names of a class's own descriptors.
struct Names {
    std::vector<std::string>& out;
    template <class T>
    void value(std::string_view name, const T&, Filed) {
        out.emplace_back(name);
    }
    template <class R>
    void nested(std::string_view name, const R&, Filed, Body) {
        out.emplace_back(name);
    }
    template <class B>
    void base(std::string_view name, const B&) {
        out.push_back(name.empty() ? "<base>" : std::string(name));
    }
    void hardware(std::string_view name, const CMEGSensor&, Filed) { out.emplace_back(name); }
    void entries(std::string_view name, const CFiducialPtrArray&, Filed) { out.emplace_back(name); }
    void strings(std::string_view name, const CStringArray&, Filed) { out.emplace_back(name); }
};

template <class T>
std::vector<std::string> namesOf() {
    std::vector<std::string> names;
    T object;
    fluxgrid::fields::visitFields(object, Names{names});
    return names;
}

// The number of members each class declares in its header (a base counts
// as one), counted there by hand.
template <class T>
constexpr std::size_t kDeclared = 0;
template <>
constexpr std::size_t kDeclared<CBscMagSns> = 20;
template <>
constexpr std::size_t kDeclared<CMagVapor> = 1 + 4;
template <>
constexpr std::size_t kDeclared<CMegGrdBsc> = 18;
template <>
constexpr std::size_t kDeclared<CMegSquid> = 1 + 6;
template <>
constexpr std::size_t kDeclared<CMegOpm> = 1 + 5;
template <>
constexpr std::size_t kDeclared<CGeomqv> = 11;
template <>
constexpr std::size_t kDeclared<CMEGSensor> = 1 + 16;
template <>
constexpr std::size_t kDeclared<CFiduciaryPt> = 10;
template <>
constexpr std::size_t kDeclared<CFiducial> = 5;
template <>
constexpr std::size_t kDeclared<CSphere> = 4;
template <>
constexpr std::size_t kDeclared<HEAD_LOCATION_TRIAL> = 5;
template <>
constexpr std::size_t kDeclared<CHeadLocalization> = 23;

TYPED_TEST(FieldTableCoverage, ListsEachDeclaredMemberOnceUnderItsOwnName) {
    const std::vector<std::string> names = namesOf<TypeParam>();
    EXPECT_EQ(kDeclared<TypeParam>, names.size());
    EXPECT_EQ(names.size(), std::set<std::string>(names.begin(), names.end()).size());
    EXPECT_EQ(kDeclared<TypeParam>,
              std::tuple_size_v<decltype(fluxgrid::fields::Table<TypeParam>::fields)>);
}

TYPED_TEST(FieldTableCoverage, FillsEveryFieldDifferentlyForEverySeed) {
    auto a = std::make_unique<TypeParam>();
    auto b = std::make_unique<TypeParam>();
    fillFields(*a, 1);
    fillFields(*b, 2);
    int leaves = 0;
    FieldScope scope;
    scope.leaves = &leaves;
    ::testing::TestPartResultArray failures;
    {
        ::testing::ScopedFakeTestPartResultReporter reporter(
            ::testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &failures);
        expectFieldsEq(*a, *b, scope);
    }
    EXPECT_GT(leaves, 0);
    EXPECT_EQ(leaves, failures.size());
    // The same seed, the same values.
    auto c = std::make_unique<TypeParam>();
    fillFields(*c, 1);
    expectFieldsEq(*a, *c);
}

// ---------------------------------------------------------------------------
// The marks against the file bodies.

// A load of the bytes of `source` into `loaded`, which was filled as `fresh`
// is: every field that body holds is the source's, every other field is
// still the fresh object's. Both objects differ from the source in every
// field, so that a mark that is wrong either way is seen.
template <class T>
void expectLoadTakesExactlyTheBody(const T& source, const T& fresh, const T& loaded, Body body) {
    EXPECT_EQ(Diffs{}, filedDifferences(source, loaded, body));
    expectFieldsEq(source, loaded, FieldScope::filedBy(body));
    expectFieldsEq(fresh, loaded, FieldScope::notFiledBy(body));
    EXPECT_FALSE(filedDifferences(source, fresh, body).empty());
}

template <class T>
void load(T& object, const std::vector<BYTE>& bytes) {
    int result = -1;
    loadFromBytes(bytes, [&](CArchive& ar) { result = object.serializeqv(ar); });
    ASSERT_EQ(1, result);
}

template <class T>
std::vector<BYTE> store(T& object) {
    return storeToBytes([&](CArchive& ar) { object.serializeqv(ar); });
}

struct CoilBody {
    int version;
    Body body;
};

class CoilBodies : public ::testing::TestWithParam<CoilBody> {};

TEST_P(CoilBodies, LoadTakesTheMarkedFieldsAndNoOther) {
    CMagCoilqv source;
    fillFields(source, 2);
    CMagCoilqv fresh;
    fillFields(fresh, 1);
    CMagCoilqv loaded;
    fillFields(loaded, 1);
    load(loaded, fluxgrid::test::coilRecord(GetParam().version, valuesOf(source)).bytes());
    expectLoadTakesExactlyTheBody(source, fresh, loaded, GetParam().body);
}

INSTANTIATE_TEST_SUITE_P(EveryVersion, CoilBodies,
                         ::testing::Values(CoilBody{20080102, Body::coil20080102},
                                           CoilBody{20091117, Body::coil20091117},
                                           CoilBody{20140513, Body::coil20140513},
                                           CoilBody{20211230, Body::coil20211230}),
                         [](const auto& info) { return std::to_string(info.param.version); });

class VaporBodies : public ::testing::TestWithParam<CoilBody> {};

TEST_P(VaporBodies, LoadTakesTheMarkedFieldsAndNoOther) {
    CMagVaporqv source;
    fillFields(source, 2);
    CMagVaporqv fresh;
    fillFields(fresh, 1);
    CMagVaporqv loaded;
    fillFields(loaded, 1);
    load(loaded, fluxgrid::test::vaporRecord(GetParam().version, valuesOf(source)).bytes());
    expectLoadTakesExactlyTheBody(source, fresh, loaded, GetParam().body);
}

INSTANTIATE_TEST_SUITE_P(EveryVersion, VaporBodies,
                         ::testing::Values(CoilBody{20190121, Body::vapor20190121},
                                           CoilBody{20211230, Body::vapor20211230}),
                         [](const auto& info) { return std::to_string(info.param.version); });

template <class Record>
void loadRecord(Record& record, const std::vector<BYTE>& bytes) {
    int result = -1;
    loadFromBytes(bytes, [&](CArchive& ar) { result = record.serialize(ar); });
    ASSERT_EQ(1, result);
}

TEST(HardwareBodies, SquidLoadTakesTheMarkedFieldsAndNoOther) {
    CMegSquidqv source;
    fillFields(source, 2);
    CMegSquidqv fresh;
    fillFields(fresh, 1);
    CMegSquidqv loaded;
    fillFields(loaded, 1);
    loadRecord(loaded, fluxgrid::test::squidRecord20190201(source));
    expectLoadTakesExactlyTheBody<CMegSquid>(source, fresh, loaded, Body::squid20190201);
}

TEST(HardwareBodies, OpmLoadTakesTheMarkedFieldsAndNoOther) {
    CMegOpmqv source;
    fillFields(source, 2);
    CMegOpmqv fresh;
    fillFields(fresh, 1);
    CMegOpmqv loaded;
    fillFields(loaded, 1);
    loadRecord(loaded, fluxgrid::test::opmRecord20190201(source));
    expectLoadTakesExactlyTheBody<CMegOpm>(source, fresh, loaded, Body::opm20190201);
}

// A sensor file of `body` from the tests' sensor record builders, with
// coil records of the newest version. In the old bodies the first of the
// two sensor types differs from the one that counts.
std::vector<BYTE> sensorFile(Body body, const CMEGSensor& s) {
    if (body == Body::sensor20200210) {
        const std::vector<BYTE> nested =
            s.hardwareType == 0
                ? fluxgrid::test::squidRecord20190201(*static_cast<CMegSquidqv*>(s.hardware.get()))
                : fluxgrid::test::opmRecord20190201(*static_cast<CMegOpmqv*>(s.hardware.get()));
        return fluxgrid::test::sensorFile20200210(s, s.hardwareType, 1, nested);
    }
    const CMegSquid& r = *static_cast<CMegSquidqv*>(s.hardware.get());
    if (body == Body::sensor20140513) {
        return fluxgrid::test::sensorFile(20140513,
                                          fluxgrid::test::sensorBody20140513(s, r, 20211230));
    }
    const int version = body == Body::sensor20080101 ? 20080101 : 20091117;
    return fluxgrid::test::sensorFile(
        version, fluxgrid::test::sensorBody2008(version, s, r, 20211230, s.sensorType + 1, 0));
}

// A sensor with a record of `kind`, every field filled from `seed`.
std::unique_ptr<CMEGSensorqv> filledSensor(int kind, int seed) {
    auto s = std::make_unique<CMEGSensorqv>();
    s->hardware = fluxgrid::sensor::makeHardwareRecord(kind);
    fillFields(*s, seed);
    return s;
}

struct SensorBody {
    Body body;
    int kind;
    const char* name;
};

class SensorBodies : public ::testing::TestWithParam<SensorBody> {};

TEST_P(SensorBodies, LoadTakesTheMarkedFieldsAndNoOther) {
    const int kind = GetParam().kind;
    const Body body = GetParam().body;
    const auto source = filledSensor(kind, 2);
    auto fresh = filledSensor(kind, 1);
    const auto loaded = filledSensor(kind, 1);
    ASSERT_EQ(kind, source->hardwareType);
    load(*loaded, sensorFile(body, *source));
    if (body == Body::sensor20200210) {
        // The newest body releases the record held and reads into a new
        // one: the fields the record's body does not hold have a new
        // record's values.
        fresh->hardware = fluxgrid::sensor::makeHardwareRecord(kind);
    }
    // The old bodies read a SQUID record's fields into the record held
    // (with type 0, which the fresh sensor has already).
    expectLoadTakesExactlyTheBody<CMEGSensor>(*source, *fresh, *loaded, body);
}

INSTANTIATE_TEST_SUITE_P(EveryVersion, SensorBodies,
                         ::testing::Values(SensorBody{Body::sensor20080101, 0, "v20080101"},
                                           SensorBody{Body::sensor20091117, 0, "v20091117"},
                                           SensorBody{Body::sensor20140513, 0, "v20140513"},
                                           SensorBody{Body::sensor20200210, 0, "v20200210Squid"},
                                           SensorBody{Body::sensor20200210, 1, "v20200210Opm"}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(SensorBodies, AnOldBodyMakesASquidRecordForASensorWithoutOne) {
    const auto source = filledSensor(0, 2);
    CMEGSensorqv loaded;
    ASSERT_EQ(nullptr, loaded.hardware);
    load(loaded, sensorFile(Body::sensor20140513, *source));
    EXPECT_EQ(0, loaded.hardwareType);
    EXPECT_EQ(0, fluxgrid::sensor::hardwareRecordKind(loaded.hardware));
    EXPECT_EQ(Diffs{}, filedDifferences(*source, loaded, Body::sensor20140513));
}

template <class Record>
void expectRecordBody(Body body) {
    Record source;
    fillFields(source, 2);
    Record fresh;
    fillFields(fresh, 1);
    Record loaded;
    fillFields(loaded, 1);
    ByteBuilder bytes;
    if constexpr (std::is_base_of_v<CFiduciaryPt, Record>) {
        fluxgrid::test::appendPoint(bytes, valuesOf(source));
    } else if constexpr (std::is_base_of_v<CFiducial, Record>) {
        fluxgrid::test::appendSet(bytes, valuesOf(source));
    } else {
        fluxgrid::test::appendSphere(bytes, valuesOf(source));
    }
    loadRecord(loaded, bytes.bytes());
    expectLoadTakesExactlyTheBody(source, fresh, loaded, body);
}

TEST(RecordBodies, FiducialPointLoadTakesTheMarkedFields) {
    expectRecordBody<CFiduciaryPtqv>(Body::fiducialPoint);
}

TEST(RecordBodies, FiducialSetLoadTakesTheMarkedFields) {
    expectRecordBody<CFiducialqv>(Body::fiducialSet);
}

TEST(RecordBodies, SphereLoadTakesTheMarkedFields) {
    expectRecordBody<CSphereqv>(Body::sphere);
}

// The head localization file of `hl` as its layout comment describes it.
void appendEntries(ByteBuilder& out, const CFiducialPtrArray& list, INT_PTR count) {
    out.i64(count);
    for (INT_PTR i = 0; i < count; ++i) {
        const CFiducialqv* set = list.GetFiducialAt(i);
        out.i32(set != nullptr ? 1 : 0);
        if (set == nullptr) {
            continue;
        }
        const HEAD_LOCATION_TRIAL* r = list.GetRecordAt(i);
        const HEAD_LOCATION_TRIAL none;
        const HEAD_LOCATION_TRIAL& values = r != nullptr ? *r : none;
        out.f64(values.trialValue1).f64(values.trialValue2).f64(values.trialValue3);
        out.i32(values.trialTag);
        fluxgrid::test::appendSet(out, valuesOf(*set));
    }
}

std::vector<BYTE> headLocalizationFile(int version, const CHeadLocalization& hl) {
    ByteBuilder out;
    out.wide(u"HEADLOCATIONTRIAL").i32(version);
    out.i32(hl.headLocalType).i32(hl.headLocalParam).i32(hl.fidWorkMode);
    out.i32(hl.headLocalizeTime).i32(hl.fiducialAveraged).f64(hl.headLocalValue);
    out.wide(hl.headLocalText.str());
    appendEntries(out, hl.fiducialPA, hl.fiducialPtRaw.GetSize());
    appendEntries(out, hl.fiducialPARaw, hl.fiducialPARaw.GetSize());
    appendEntries(out, hl.fiducialPt, hl.fiducialPt.GetSize());
    appendEntries(out, hl.fiducialPA, hl.fiducialPA.GetSize());
    out.i64(hl.headLocalLabels.GetSize());
    for (INT_PTR i = 0; i < hl.headLocalLabels.GetSize(); ++i) {
        out.wide(hl.headLocalLabels[i].str());
    }
    fluxgrid::test::appendSphere(out, valuesOf(hl.sensorLocation));
    fluxgrid::test::appendSphere(out, valuesOf(hl.sensorRotation));
    for (const CFiducial* set :
         {&hl.fiducialFirst, &hl.fiducialSecond, &hl.fiducialThird, &hl.fiducialCurrent}) {
        fluxgrid::test::appendSet(out, valuesOf(*set));
    }
    return out.bytes();
}

// A load starts with `cleanFiducialPt`, which raises while `fiducialPA`
// holds entries: the fresh object's are released first. The three lists it
// empties and `headLocalizeTime`, which it sets, are all filed; the first
// list is not, and a load fills it with copies of the entries that the file
// took from `fiducialPA`.
void expectFirstListTakenFromFiducialPA(const CHeadLocalization& source,
                                        const CHeadLocalization& loaded) {
    ASSERT_EQ(source.fiducialPtRaw.GetSize(), loaded.fiducialPtRaw.GetSize());
    for (INT_PTR i = 0; i < loaded.fiducialPtRaw.GetSize(); ++i) {
        ASSERT_NE(nullptr, loaded.fiducialPtRaw.GetFiducialAt(i));
        EXPECT_EQ(Diffs{},
                  filedDifferences(*source.fiducialPA.GetFiducialAt(i),
                                   *loaded.fiducialPtRaw.GetFiducialAt(i), Body::fiducialSet));
    }
}

class HeadLocalizationBodies : public ::testing::TestWithParam<int> {};

TEST_P(HeadLocalizationBodies, LoadTakesTheMarkedFieldsAndNoOther) {
    CHeadLocalizationqv source;
    fillFields(source, 2);
    CHeadLocalizationqv fresh;
    fillFields(fresh, 1);
    CHeadLocalizationqv loaded;
    fillFields(loaded, 1);
    loaded.cleanFiducialPA();
    fresh.cleanFiducialPA();
    load(loaded, headLocalizationFile(GetParam(), source));
    EXPECT_EQ(Diffs{}, filedDifferences(source, loaded, Body::headloc));
    expectFieldsEq(source, loaded, FieldScope::filedBy(Body::headloc));
    expectFirstListTakenFromFiducialPA(source, loaded);
    // Every other field not filed keeps the fresh object's value.
    fresh.fiducialPtRaw.RemoveAll();
    loaded.fiducialPtRaw.RemoveAll();
    expectFieldsEq(fresh, loaded, FieldScope::notFiledBy(Body::headloc));
}

INSTANTIATE_TEST_SUITE_P(EveryVersion, HeadLocalizationBodies,
                         ::testing::Values(20090606, 20110217, 20160320));

// ---------------------------------------------------------------------------
// Round trips through the library's own store.

template <class T, class Serialize>
void expectRoundTrip(Body body, Serialize serialize) {
    T source;
    fillFields(source, 3);
    const std::vector<BYTE> bytes = storeToBytes([&](CArchive& ar) { serialize(source, ar); });
    T loaded;
    loadFromBytes(bytes, [&](CArchive& ar) { serialize(loaded, ar); });
    EXPECT_EQ(Diffs{}, filedDifferences(source, loaded, body));
    expectFieldsEq(source, loaded, FieldScope::filedBy(body));
}

const auto viaSerializeqv = [](auto& object, CArchive& ar) { object.serializeqv(ar); };
const auto viaSerialize = [](auto& object, CArchive& ar) { object.serialize(ar); };

TEST(RoundTrip, CoilKeepsEveryFiledField) {
    expectRoundTrip<CMagCoilqv>(Body::coil20211230, viaSerializeqv);
}
TEST(RoundTrip, VaporCellKeepsEveryFiledField) {
    expectRoundTrip<CMagVaporqv>(Body::vapor20211230, viaSerializeqv);
}
TEST(RoundTrip, SquidRecordKeepsEveryFiledField) {
    expectRoundTrip<CMegSquidqv>(Body::squid20190201, viaSerialize);
}
TEST(RoundTrip, OpmRecordKeepsEveryFiledField) {
    expectRoundTrip<CMegOpmqv>(Body::opm20190201, viaSerialize);
}
TEST(RoundTrip, FiducialPointKeepsEveryFiledField) {
    expectRoundTrip<CFiduciaryPtqv>(Body::fiducialPoint, viaSerialize);
}
TEST(RoundTrip, FiducialSetKeepsEveryFiledField) {
    expectRoundTrip<CFiducialqv>(Body::fiducialSet, viaSerialize);
}
TEST(RoundTrip, SphereKeepsEveryFiledField) {
    expectRoundTrip<CSphereqv>(Body::sphere, viaSerialize);
}

TEST(RoundTrip, SensorKeepsEveryFiledFieldWithEitherRecord) {
    for (int kind : {0, 1}) {
        SCOPED_TRACE("hardware type " + std::to_string(kind));
        const auto source = filledSensor(kind, 3);
        const std::vector<BYTE> bytes = store(*source);
        CMEGSensorqv loaded;
        load(loaded, bytes);
        EXPECT_EQ(Diffs{}, filedDifferences(*source, loaded, Body::sensor20200210));
        expectFieldsEq<CMEGSensor>(*source, loaded, FieldScope::filedBy(Body::sensor20200210));
    }
}

TEST(RoundTrip, HeadLocalizationKeepsEveryFiledField) {
    CHeadLocalizationqv source;
    fillFields(source, 3);
    const std::vector<BYTE> bytes = store(source);
    CHeadLocalizationqv loaded;
    load(loaded, bytes);
    EXPECT_EQ(Diffs{}, filedDifferences(source, loaded, Body::headloc));
    expectFieldsEq(source, loaded, FieldScope::filedBy(Body::headloc));
}

// ---------------------------------------------------------------------------
// filedDifferences.

TEST(FiledDifferences, NamesAChangedFieldOfANestedCoilBySensorRecordAndIndex) {
    const auto a = filledSensor(0, 1);
    const auto b = filledSensor(0, 1);
    ASSERT_EQ(Diffs{}, filedDifferences(*a, *b, Body::sensor20200210));
    static_cast<CMegSquidqv*>(b->hardware.get())->coilDewar[3].posP4[2] += 1.0;
    EXPECT_EQ(Diffs{"hardware.coilDewar[3].posP4[2]"},
              filedDifferences(*a, *b, Body::sensor20200210));
}

TEST(FiledDifferences, NamesAnEntryOfAListByIndex) {
    CHeadLocalizationqv a;
    fillFields(a, 1);
    CHeadLocalizationqv b;
    fillFields(b, 1);
    ASSERT_EQ(Diffs{}, filedDifferences(a, b, Body::headloc));
    b.fiducialPA.GetFiducialAt(1)->fidPts[0].ptValues[4] = -0.5;
    b.headLocalLabels.Add(CString("more"));
    EXPECT_EQ((Diffs{"fiducialPA[1].fidPts[0].ptValues[4]", "headLocalLabels.size"}),
              filedDifferences(a, b, Body::headloc));
}

TEST(FiledDifferences, IgnoresAFieldThatTheBodyDoesNotHold) {
    CMagCoilqv a;
    fillFields(a, 1);
    CMagCoilqv b = a;
    b.axisRotate[1] += 1.0;  // only the newest coil body holds it
    b.auxRows[2][0] += 1.0;  // the oldest bodies hold row 0 only
    EXPECT_EQ(Diffs{}, filedDifferences(a, b, Body::coil20080102));
    EXPECT_EQ((Diffs{"axisRotate[1]", "auxRows[2][0]"}),
              filedDifferences(a, b, Body::coil20211230));
    b = a;
    b.auxRows[0][3] += 1.0;
    EXPECT_EQ(Diffs{"auxRows[0][3]"}, filedDifferences(a, b, Body::coil20080102));
}

TEST(FiledDifferences, ComparesDoublesBitForBit) {
    CSphereqv a;
    CSphereqv b;
    a.sphereValues[0] = 0.0;
    b.sphereValues[0] = -0.0;
    const double nan = std::bit_cast<double>(std::uint64_t{0x7FF8000000000123});
    a.sphereValues[1] = nan;
    b.sphereValues[1] = nan;
    a.sphereValues[2] = nan;
    b.sphereValues[2] = std::bit_cast<double>(std::uint64_t{0x7FF8000000000124});
    EXPECT_EQ((Diffs{"sphereValues[0]", "sphereValues[2]"}), filedDifferences(a, b, Body::sphere));
}

TEST(FiledDifferences, NamesADifferingLabelInALabelListOfTheSameLength) {
    CHeadLocalizationqv a;
    fillFields(a, 2);
    CHeadLocalizationqv b;
    fillFields(b, 2);
    ASSERT_GE(b.headLocalLabels.GetSize(), 1);
    b.headLocalLabels[0] = CString("another label");
    EXPECT_EQ(Diffs{"headLocalLabels[0]"}, filedDifferences(a, b, Body::headloc));
}

}  // namespace
