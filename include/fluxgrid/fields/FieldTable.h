// clang-format off
/// \file FieldTable.h
/// Every field of every record class, once: in model order, under its own
/// name, with the nesting of the model and, for each field, the file bodies
/// that hold it. Whatever walks the fields of a record (JSON, comparison,
/// bindings, the tests' fill and compare helpers) is driven by this table
/// and restates no field list of its own.
///
/// A class's table is a constexpr tuple of field descriptors holding member
/// pointers, so that a walk compiles to direct member access:
///
/// ```cpp
/// struct Printer {
///     template <class T> void value(std::string_view name, const T&, fields::Filed) { ... }
///     template <class R> void nested(std::string_view name, const R&, fields::Filed, fields::Body) { ... }
///     template <class B> void base(std::string_view name, const B& base) { ... }
///     void hardware(std::string_view name, const CMEGSensor&, fields::Filed) { ... }
///     void entries(std::string_view name, const CFiducialPtrArray&, fields::Filed) { ... }
///     void strings(std::string_view name, const CStringArray&, fields::Filed) { ... }
/// };
/// fields::visitFields(sensor, printer);
/// ```
///
/// The kinds of field, and the visitor member each one calls:
/// - `value`: an `int`, `double`, `bool` or `CString`, or a fixed array of
///   numbers of one to three dimensions;
/// - `nested`: a record held by value that has a table of its own, or a
///   fixed array of them; each is filed as a record of its own, with its own
///   frame, in the body given as the last argument;
/// - `base`: the base class whose fields the class carries. An empty name
///   means its fields stand among the class's own (a vapor cell is a sensing
///   element with four more fields); the sensor names its geometry base
///   "geom";
/// - `hardware`: the sensor's hardware record, a SQUID or OPM record or
///   none (`withHardwareRecord` opens it);
/// - `entries`: a list of head localization entries;
/// - `strings`: a list of texts.
// clang-format on
#pragma once

#include <fluxgrid/element/BscMagSns.h>
#include <fluxgrid/element/MagCoil.h>
#include <fluxgrid/element/MagVapor.h>
#include <fluxgrid/headloc/FiducialPtrArray.h>
#include <fluxgrid/headloc/HeadLocalization.h>
#include <fluxgrid/headloc/HeadLocationTrial.h>
#include <fluxgrid/platform/Arrays.h>
#include <fluxgrid/platform/CString.h>
#include <fluxgrid/records/Fiducial.h>
#include <fluxgrid/records/FiduciaryPt.h>
#include <fluxgrid/records/Geom.h>
#include <fluxgrid/records/Sphere.h>
#include <fluxgrid/sensor/MEGSensor.h>
#include <fluxgrid/sensor/MegGrdBsc.h>
#include <fluxgrid/sensor/MegOpm.h>
#include <fluxgrid/sensor/MegSquid.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

namespace fluxgrid::fields {

/// The file bodies that hold the fields of records. The three versions of
/// the head localization file share one layout, and each fiducial point,
/// fiducial set and sphere record has one version.
enum class Body : unsigned {
    coil20080102,
    coil20091117,
    coil20140513,
    coil20211230,
    vapor20190121,
    vapor20211230,
    squid20190201,
    opm20190201,
    sensor20080101,
    sensor20091117,
    sensor20140513,
    sensor20200210,
    headloc,
    fiducialPoint,
    fiducialSet,
    sphere,
};

/// The bodies that hold a field: whole, or only the first row of a
/// two-dimensional array (the oldest coil bodies file row 0 of `auxRows`).
class Filed {
  public:
    constexpr Filed() = default;

    /// Holds the whole field.
    constexpr bool whole(Body body) const { return (m_whole & bit(body)) != 0; }
    /// Holds only the field's first row.
    constexpr bool firstRow(Body body) const { return (m_firstRow & bit(body)) != 0; }
    /// Holds the field or a part of it.
    constexpr bool any(Body body) const { return whole(body) || firstRow(body); }

    template <class... Bodies>
    static constexpr Filed by(Bodies... bodies) {
        Filed filed;
        filed.m_whole = (0u | ... | bit(bodies));
        return filed;
    }
    template <class... Bodies>
    static constexpr Filed firstRowBy(Bodies... bodies) {
        Filed filed;
        filed.m_firstRow = (0u | ... | bit(bodies));
        return filed;
    }
    friend constexpr Filed operator|(Filed a, Filed b) {
        Filed filed;
        filed.m_whole = a.m_whole | b.m_whole;
        filed.m_firstRow = a.m_firstRow | b.m_firstRow;
        return filed;
    }
    friend constexpr bool operator==(Filed, Filed) = default;

  private:
    static constexpr std::uint32_t bit(Body body) {
        return std::uint32_t{1} << static_cast<unsigned>(body);
    }

    std::uint32_t m_whole = 0;
    std::uint32_t m_firstRow = 0;
};

/// Held by no file.
inline constexpr Filed kNotFiled{};

// The field descriptors.

template <class Class, class T>
struct Value {
    std::string_view name;
    T Class::*member;
    Filed filed;
};

template <class Class, class Record>
struct Nested {
    std::string_view name;
    Record Class::*member;
    Filed filed;
    /// The body in which the nested record is filed when the library writes
    /// the class that holds it: the newest of the record's kind.
    Body body;
};

template <class Class, class BaseClass>
struct Base {
    std::string_view name;
};

template <class Class>
struct Hardware {
    std::string_view name;
    Filed filed;
};

template <class Class>
struct Entries {
    std::string_view name;
    CFiducialPtrArray Class::*member;
    Filed filed;
};

template <class Class>
struct Strings {
    std::string_view name;
    CStringArray Class::*member;
    Filed filed;
};

template <class Class, class T>
constexpr Value<Class, T> value(std::string_view name, T Class::*member, Filed filed) {
    return {name, member, filed};
}
template <class Class, class Record>
constexpr Nested<Class, Record> nested(std::string_view name, Record Class::*member, Filed filed,
                                       Body body) {
    return {name, member, filed, body};
}
template <class Class, class BaseClass>
constexpr Base<Class, BaseClass> base(std::string_view name = {}) {
    return {name};
}

/// The table of a class: `Table<T>::fields` is a tuple of descriptors in
/// model order. A class that adds no field to its base shares its base's
/// table.
template <class T>
struct Table;

template <class T>
concept HasFieldTable = requires {
    Table<std::remove_const_t<T>>::fields;
};

namespace detail {

inline constexpr Filed kCoils =
    Filed::by(Body::coil20080102, Body::coil20091117, Body::coil20140513, Body::coil20211230);
inline constexpr Filed kNewerCoils = Filed::by(Body::coil20140513, Body::coil20211230);
inline constexpr Filed kVapors = Filed::by(Body::vapor20190121, Body::vapor20211230);
inline constexpr Filed kNewestElements = Filed::by(Body::coil20211230, Body::vapor20211230);
/// The old sensor bodies, which hold a SQUID record's fields inline.
inline constexpr Filed kInlineSensors =
    Filed::by(Body::sensor20080101, Body::sensor20091117, Body::sensor20140513);
inline constexpr Filed kSensors = kInlineSensors | Filed::by(Body::sensor20200210);
inline constexpr Filed kRecords = Filed::by(Body::squid20190201, Body::opm20190201);

}  // namespace detail

template <>
struct Table<CBscMagSns> {
    static constexpr auto fields = std::make_tuple(
        value("vctXYRD", &CBscMagSns::vctXYRD, detail::kCoils | detail::kVapors),
        value("coilName", &CBscMagSns::coilName, detail::kCoils | detail::kVapors),
        value("posP4", &CBscMagSns::posP4, detail::kCoils | detail::kVapors),
        value("oriP4", &CBscMagSns::oriP4, detail::kCoils | detail::kVapors),
        value("nmlDirXYZW", &CBscMagSns::nmlDirXYZW, detail::kCoils | detail::kVapors),
        value("axisRotate", &CBscMagSns::axisRotate, detail::kNewestElements),
        value("rotateRad", &CBscMagSns::rotateRad, detail::kNewestElements),
        value("rotateDeg", &CBscMagSns::rotateDeg, detail::kNewestElements),
        // The narrow groups of the two oldest coil bodies carry row 0 only.
        value("auxRows", &CBscMagSns::auxRows,
              detail::kNewerCoils | detail::kVapors |
                  Filed::firstRowBy(Body::coil20080102, Body::coil20091117)),
        value("coilAuxNo", &CBscMagSns::coilAuxNo, detail::kCoils),
        value("pairTable", &CBscMagSns::pairTable, detail::kCoils),
        value("coilAuxNo2", &CBscMagSns::coilAuxNo2, detail::kNewerCoils),
        value("coilTurns", &CBscMagSns::coilTurns, detail::kCoils),
        value("coilAuxValue", &CBscMagSns::coilAuxValue, detail::kCoils),
        value("coilArea", &CBscMagSns::coilArea, detail::kCoils),
        value("magApha", &CBscMagSns::magApha, detail::kNewerCoils),
        value("unitScale", &CBscMagSns::unitScale, detail::kCoils),
        value("coilShape", &CBscMagSns::coilShape, detail::kCoils),
        value("coilAuxValue2", &CBscMagSns::coilAuxValue2, detail::kNewerCoils),
        value("coilAuxValue3", &CBscMagSns::coilAuxValue3, detail::kNewerCoils));
};

template <>
struct Table<CMagVapor> {
    static constexpr auto fields =
        std::make_tuple(base<CMagVapor, CBscMagSns>(),
                        // Carried in memory only.
                        value("vaporAuxNo", &CMagVapor::vaporAuxNo, kNotFiled),
                        value("vaporShape", &CMagVapor::vaporShape, detail::kVapors),
                        value("vaporPairTable", &CMagVapor::vaporPairTable, detail::kVapors),
                        value("vaporAuxNo2", &CMagVapor::vaporAuxNo2, detail::kVapors));
};

template <>
struct Table<CMegGrdBsc> {
  private:
    // The gain chain: in both hardware records and in every old sensor body.
    static constexpr Filed kChain = detail::kRecords | detail::kInlineSensors;

  public:
    static constexpr auto fields =
        std::make_tuple(value("hardwareName", &CMegGrdBsc::hardwareName, kNotFiled),
                        value("hardwareNo", &CMegGrdBsc::hardwareNo, kChain),
                        // The two oldest sensor bodies leave it out.
                        value("neuromagFactor", &CMegGrdBsc::neuromagFactor,
                              detail::kRecords | Filed::by(Body::sensor20140513)),
                        value("gainOffset", &CMegGrdBsc::gainOffset, kChain),
                        value("scaleConstant", &CMegGrdBsc::scaleConstant, kChain),
                        value("properGain", &CMegGrdBsc::properGain, kChain),
                        value("secondGain", &CMegGrdBsc::secondGain, kChain),
                        value("thirdGain", &CMegGrdBsc::thirdGain, kChain),
                        value("totalGain", &CMegGrdBsc::totalGain, kChain),
                        value("gradOrderNo", &CMegGrdBsc::gradOrderNo, kChain),
                        // Not carried by the OPM record.
                        value("gradAuxNo", &CMegGrdBsc::gradAuxNo,
                              Filed::by(Body::squid20190201) | detail::kInlineSensors),
                        value("realIdealCoefMode", &CMegGrdBsc::realIdealCoefMode, kChain),
                        value("adaptiveBalance", &CMegGrdBsc::adaptiveBalance, kChain),
                        value("auxValue1", &CMegGrdBsc::auxValue1, kChain),
                        value("auxValue2", &CMegGrdBsc::auxValue2, kChain),
                        value("auxVectorA", &CMegGrdBsc::auxVectorA, kChain),
                        value("auxVectorB", &CMegGrdBsc::auxVectorB, kChain),
                        value("auxFlags", &CMegGrdBsc::auxFlags, kChain));
};

template <>
struct Table<CMegSquid> {
  private:
    static constexpr Filed kSquid = Filed::by(Body::squid20190201) | detail::kInlineSensors;

  public:
    static constexpr auto fields =
        std::make_tuple(base<CMegSquid, CMegGrdBsc>(),
                        value("squidAuxNo", &CMegSquid::squidAuxNo, Filed::by(Body::squid20190201)),
                        value("totalCoils", &CMegSquid::totalCoils, kSquid),
                        value("currentCoilID", &CMegSquid::currentCoilID, kSquid),
                        nested("coilDewar", &CMegSquid::coilDewar, kSquid, Body::coil20211230),
                        nested("coilHead", &CMegSquid::coilHead, kSquid, Body::coil20211230),
                        nested("coilWork", &CMegSquid::coilWork, kSquid, Body::coil20211230));
};

template <>
struct Table<CMegOpm> {
  private:
    static constexpr Filed kOpm = Filed::by(Body::opm20190201);

  public:
    static constexpr auto fields = std::make_tuple(
        base<CMegOpm, CMegGrdBsc>(), value("totalVapors", &CMegOpm::totalVapors, kOpm),
        value("currentVaporID", &CMegOpm::currentVaporID, kOpm),
        nested("vaporDewar", &CMegOpm::vaporDewar, kOpm, Body::vapor20211230),
        nested("vaporHead", &CMegOpm::vaporHead, kOpm, Body::vapor20211230),
        nested("vaporWork", &CMegOpm::vaporWork, kOpm, Body::vapor20211230));
};

template <>
struct Table<CGeomqv> {
    static constexpr auto fields =
        std::make_tuple(value("geomWordA", &CGeomqv::geomWordA, kNotFiled),
                        value("geomWordB", &CGeomqv::geomWordB, kNotFiled),
                        value("geomWordC", &CGeomqv::geomWordC, kNotFiled),
                        value("geomFlag", &CGeomqv::geomFlag, Filed::by(Body::sensor20200210)),
                        value("geomTextA", &CGeomqv::geomTextA, kNotFiled),
                        value("geomTextB", &CGeomqv::geomTextB, kNotFiled),
                        value("geomTextC", &CGeomqv::geomTextC, kNotFiled),
                        value("geomTextD", &CGeomqv::geomTextD, kNotFiled),
                        value("geomTailA", &CGeomqv::geomTailA, kNotFiled),
                        value("geomTailB", &CGeomqv::geomTailB, kNotFiled),
                        value("geomTailC", &CGeomqv::geomTailC, kNotFiled));
};

template <>
struct Table<CMEGSensor> {
  private:
    static constexpr Filed kSince2009 =
        Filed::by(Body::sensor20091117, Body::sensor20140513, Body::sensor20200210);
    static constexpr Filed kSince2014 = Filed::by(Body::sensor20140513, Body::sensor20200210);

  public:
    static constexpr auto fields = std::make_tuple(
        base<CMEGSensor, CGeomqv>("geom"),
        value("backupNo", &CMEGSensor::backupNo, detail::kSensors),
        value("snsRawName", &CMEGSensor::snsRawName, detail::kSensors),
        value("snsShowName", &CMEGSensor::snsShowName, detail::kSensors),
        value("snsAuxName", &CMEGSensor::snsAuxName, detail::kSensors),
        value("snsAuxNo", &CMEGSensor::snsAuxNo, detail::kSensors),
        value("snsFileNo", &CMEGSensor::snsFileNo, kSince2014),
        value("sensorType", &CMEGSensor::sensorType, detail::kSensors),
        // The old bodies hold no type: loading one sets 0, a SQUID channel.
        value("hardwareType", &CMEGSensor::hardwareType, Filed::by(Body::sensor20200210)),
        // The newest body nests the record with its own frame; the old ones
        // hold a SQUID record's fields inline, in their own bodies.
        Hardware<CMEGSensor>{"hardware", detail::kSensors},
        value("snsPos4", &CMEGSensor::snsPos4, detail::kSensors),
        value("snsOri4", &CMEGSensor::snsOri4, detail::kSensors),
        value("locSph", &CMEGSensor::locSph, detail::kSensors),
        value("w12Evaluate", &CMEGSensor::w12Evaluate, kSince2014),
        value("w12AuxNo", &CMEGSensor::w12AuxNo, kSince2014),
        value("coefAuxNo", &CMEGSensor::coefAuxNo, kSince2009),
        value("w12Values", &CMEGSensor::w12Values, kSince2009));
};

template <>
struct Table<CFiduciaryPt> {
  private:
    static constexpr Filed kPoint = Filed::by(Body::fiducialPoint);

  public:
    static constexpr auto fields =
        std::make_tuple(value("ptValues", &CFiduciaryPt::ptValues, kPoint),
                        value("ptExtra1", &CFiduciaryPt::ptExtra1, kPoint),
                        value("ptExtra2", &CFiduciaryPt::ptExtra2, kPoint),
                        value("ptVector", &CFiduciaryPt::ptVector, kPoint),
                        value("ptState1", &CFiduciaryPt::ptState1, kPoint),
                        value("ptState2", &CFiduciaryPt::ptState2, kPoint),
                        value("ptState3", &CFiduciaryPt::ptState3, kPoint),
                        value("ptExtra3", &CFiduciaryPt::ptExtra3, kPoint),
                        value("ptState4", &CFiduciaryPt::ptState4, kPoint),
                        value("ptName", &CFiduciaryPt::ptName, kPoint));
};

template <>
struct Table<CFiducial> {
  private:
    static constexpr Filed kSet = Filed::by(Body::fiducialSet);

  public:
    static constexpr auto fields =
        std::make_tuple(nested("fidPts", &CFiducial::fidPts, kSet, Body::fiducialPoint),
                        value("fidState", &CFiducial::fidState, kSet),
                        value("fidExtra1", &CFiducial::fidExtra1, kSet),
                        value("fidState5", &CFiducial::fidState5, kSet),
                        value("fidExtra2", &CFiducial::fidExtra2, kSet));
};

template <>
struct Table<CSphere> {
  private:
    static constexpr Filed kSphere = Filed::by(Body::sphere);

  public:
    static constexpr auto fields =
        std::make_tuple(value("sphereValues", &CSphere::sphereValues, kSphere),
                        value("sphereState1", &CSphere::sphereState1, kSphere),
                        value("sphereState2", &CSphere::sphereState2, kSphere),
                        value("sphereName", &CSphere::sphereName, kSphere));
};

template <>
struct Table<HEAD_LOCATION_TRIAL> {
  private:
    static constexpr Filed kEntry = Filed::by(Body::headloc);

  public:
    static constexpr auto fields = std::make_tuple(
        value("trialValue1", &HEAD_LOCATION_TRIAL::trialValue1, kEntry),
        value("trialValue2", &HEAD_LOCATION_TRIAL::trialValue2, kEntry),
        value("trialValue3", &HEAD_LOCATION_TRIAL::trialValue3, kEntry),
        value("trialTag", &HEAD_LOCATION_TRIAL::trialTag, kEntry),
        nested("trialFiducial", &HEAD_LOCATION_TRIAL::trialFiducial, kEntry, Body::fiducialSet));
};

template <>
struct Table<CHeadLocalization> {
  private:
    using H = CHeadLocalization;
    static constexpr Filed kFile = Filed::by(Body::headloc);

  public:
    static constexpr auto fields =
        std::make_tuple(value("headLocalType", &H::headLocalType, kFile),
                        value("headLocalParam", &H::headLocalParam, kFile),
                        value("fidWorkMode", &H::fidWorkMode, kFile),
                        nested("fiducialFirst", &H::fiducialFirst, kFile, Body::fiducialSet),
                        nested("fiducialSecond", &H::fiducialSecond, kFile, Body::fiducialSet),
                        nested("fiducialThird", &H::fiducialThird, kFile, Body::fiducialSet),
                        // The file's first section takes its count from this list but its
                        // entries from `fiducialPA`: these elements never reach the file.
                        Entries<H>{"fiducialPtRaw", &H::fiducialPtRaw, kNotFiled},
                        Entries<H>{"fiducialPARaw", &H::fiducialPARaw, kFile},
                        Entries<H>{"fiducialPt", &H::fiducialPt, kFile},
                        Entries<H>{"fiducialPA", &H::fiducialPA, kFile},
                        value("headLocalizeTime", &H::headLocalizeTime, kFile),
                        value("fiducialAveraged", &H::fiducialAveraged, kFile),
                        nested("fiducialCurrent", &H::fiducialCurrent, kFile, Body::fiducialSet),
                        nested("sensorLocation", &H::sensorLocation, kFile, Body::sphere),
                        nested("sensorRotation", &H::sensorRotation, kFile, Body::sphere),
                        value("headLocalSlot", &H::headLocalSlot, kNotFiled),
                        nested("sphereA", &H::sphereA, kNotFiled, Body::sphere),
                        nested("spheresA", &H::spheresA, kNotFiled, Body::sphere),
                        nested("sphereB", &H::sphereB, kNotFiled, Body::sphere),
                        nested("spheresB", &H::spheresB, kNotFiled, Body::sphere),
                        value("headLocalValue", &H::headLocalValue, kFile),
                        value("headLocalText", &H::headLocalText, kFile),
                        Strings<H>{"headLocalLabels", &H::headLocalLabels, kFile});
};

// The layers and final classes that add no field share their base's table.
template <>
struct Table<CBscMagSnsqv> : Table<CBscMagSns> {};
template <>
struct Table<CMagCoil> : Table<CBscMagSns> {};
template <>
struct Table<CMagCoil09File> : Table<CBscMagSns> {};
template <>
struct Table<CMagCoilqv> : Table<CBscMagSns> {};
template <>
struct Table<CMagVapor09File> : Table<CMagVapor> {};
template <>
struct Table<CMagVaporqv> : Table<CMagVapor> {};
template <>
struct Table<CMegGrdBscqv> : Table<CMegGrdBsc> {};
template <>
struct Table<CMegSquid09File> : Table<CMegSquid> {};
template <>
struct Table<CMegSquidqv> : Table<CMegSquid> {};
template <>
struct Table<CMegOpm09File> : Table<CMegOpm> {};
template <>
struct Table<CMegOpmqv> : Table<CMegOpm> {};
template <>
struct Table<CMEGSensor09File> : Table<CMEGSensor> {};
template <>
struct Table<CMEGSensorqv> : Table<CMEGSensor> {};
template <>
struct Table<CFiduciaryPt02Prcs> : Table<CFiduciaryPt> {};
template <>
struct Table<CFiduciaryPt9File> : Table<CFiduciaryPt> {};
template <>
struct Table<CFiduciaryPtqv> : Table<CFiduciaryPt> {};
template <>
struct Table<CFiducial02Prcs> : Table<CFiducial> {};
template <>
struct Table<CFiducial03Operator> : Table<CFiducial> {};
template <>
struct Table<CFiducial9File> : Table<CFiducial> {};
template <>
struct Table<CFiducialqv> : Table<CFiducial> {};
template <>
struct Table<CSphere9File> : Table<CSphere> {};
template <>
struct Table<CSphereqv> : Table<CSphere> {};
template <>
struct Table<CHeadLocalization01Epoch> : Table<CHeadLocalization> {};
template <>
struct Table<CHeadLocalization02Continue> : Table<CHeadLocalization> {};
template <>
struct Table<CHeadLocalization09File> : Table<CHeadLocalization> {};
template <>
struct Table<CHeadLocalizationqv> : Table<CHeadLocalization> {};

namespace detail {

// `To` with the constness of `From`.
template <class From, class To>
using LikeConst = std::conditional_t<std::is_const_v<From>, const To, To>;

template <class Object, class Class, class T, class Visitor>
void visitOne(Object& object, const Value<Class, T>& field, Visitor& visitor) {
    visitor.value(field.name, object.*(field.member), field.filed);
}
template <class Object, class Class, class Record, class Visitor>
void visitOne(Object& object, const Nested<Class, Record>& field, Visitor& visitor) {
    visitor.nested(field.name, object.*(field.member), field.filed, field.body);
}
template <class Object, class Class, class BaseClass, class Visitor>
void visitOne(Object& object, const Base<Class, BaseClass>& field, Visitor& visitor) {
    visitor.base(field.name, static_cast<LikeConst<Object, BaseClass>&>(object));
}
template <class Object, class Class, class Visitor>
void visitOne(Object& object, const Hardware<Class>& field, Visitor& visitor) {
    visitor.hardware(field.name, static_cast<LikeConst<Object, CMEGSensor>&>(object), field.filed);
}
template <class Object, class Class, class Visitor>
void visitOne(Object& object, const Entries<Class>& field, Visitor& visitor) {
    visitor.entries(field.name, object.*(field.member), field.filed);
}
template <class Object, class Class, class Visitor>
void visitOne(Object& object, const Strings<Class>& field, Visitor& visitor) {
    visitor.strings(field.name, object.*(field.member), field.filed);
}

}  // namespace detail

/// Calls the visitor's member for each field of `object`, in model order.
/// `Object` may be const; the references handed out are const then too.
template <class Object, class Visitor>
requires HasFieldTable<Object>
void visitFields(Object& object, Visitor&& visitor) {
    std::apply([&](const auto&... field) { (detail::visitOne(object, field, visitor), ...); },
               Table<std::remove_const_t<Object>>::fields);
}

namespace detail {

template <class Object, class Class, class T, class Visitor>
void visitPair(Object& a, Object& b, const Value<Class, T>& field, Visitor& visitor) {
    visitor.value(field.name, a.*(field.member), b.*(field.member), field.filed);
}
template <class Object, class Class, class Record, class Visitor>
void visitPair(Object& a, Object& b, const Nested<Class, Record>& field, Visitor& visitor) {
    visitor.nested(field.name, a.*(field.member), b.*(field.member), field.filed, field.body);
}
template <class Object, class Class, class BaseClass, class Visitor>
void visitPair(Object& a, Object& b, const Base<Class, BaseClass>& field, Visitor& visitor) {
    using Target = LikeConst<Object, BaseClass>&;
    visitor.base(field.name, static_cast<Target>(a), static_cast<Target>(b));
}
template <class Object, class Class, class Visitor>
void visitPair(Object& a, Object& b, const Hardware<Class>& field, Visitor& visitor) {
    using Target = LikeConst<Object, CMEGSensor>&;
    visitor.hardware(field.name, static_cast<Target>(a), static_cast<Target>(b), field.filed);
}
template <class Object, class Class, class Visitor>
void visitPair(Object& a, Object& b, const Entries<Class>& field, Visitor& visitor) {
    visitor.entries(field.name, a.*(field.member), b.*(field.member), field.filed);
}
template <class Object, class Class, class Visitor>
void visitPair(Object& a, Object& b, const Strings<Class>& field, Visitor& visitor) {
    visitor.strings(field.name, a.*(field.member), b.*(field.member), field.filed);
}

}  // namespace detail

/// As `visitFields`, over two objects of one class at once: each member of
/// the visitor receives the field of `a`, then the same field of `b`.
template <class Object, class Visitor>
requires HasFieldTable<Object>
void visitFieldPairs(Object& a, Object& b, Visitor&& visitor) {
    std::apply([&](const auto&... field) { (detail::visitPair(a, b, field, visitor), ...); },
               Table<std::remove_const_t<Object>>::fields);
}

/// What a sensor's record was made as: `CMegSquid` for a SQUID record,
/// `CMegOpm` for an OPM record. A record that a host made by other means is
/// taken for what `hardwareType` says; one of neither kind is seen as its
/// `CMegGrdBsc` block. Calls `f` with the record (const as the sensor is)
/// and returns true, or returns false without a record.
template <class Sensor, class F>
requires std::is_base_of_v<CMEGSensor, std::remove_const_t<Sensor>>
bool withHardwareRecord(Sensor& sensor, F&& f) {
    if (!sensor.hardware) {
        return false;
    }
    const int made = fluxgrid::sensor::hardwareRecordKind(sensor.hardware);
    const int kind = made >= 0 ? made : sensor.hardwareType;
    CMegGrdBscqv* record = sensor.hardware.get();
    if (kind == 0) {
        f(static_cast<detail::LikeConst<Sensor, CMegSquid>&>(*static_cast<CMegSquidqv*>(record)));
    } else if (kind == 1) {
        f(static_cast<detail::LikeConst<Sensor, CMegOpm>&>(*static_cast<CMegOpmqv*>(record)));
    } else {
        f(static_cast<detail::LikeConst<Sensor, CMegGrdBsc>&>(*record));
    }
    return true;
}

/// The body in which a sensor's record is filed, within a sensor file of
/// body `sensorBody`: its own record body in the newest sensor file, and the
/// sensor's body itself in the old ones, which hold the fields inline.
constexpr Body hardwareBody(Body sensorBody, bool opm) {
    if (sensorBody == Body::sensor20200210) {
        return opm ? Body::opm20190201 : Body::squid20190201;
    }
    return sensorBody;
}

/// The names of the filed fields in which `a` and `b` differ, for a file of
/// body `body`: "hardware.coilDewar[3].posP4[2]", "fiducialPA.size", ...
/// Doubles are compared bit for bit. A nested record is compared in the body
/// that the library writes it in. Lists of entries are compared by size,
/// then entry by entry by the fiducial set each stands for and, where both
/// are records, their values and tag. Empty when the two agree.
std::vector<std::string> filedDifferences(const CBscMagSns& a, const CBscMagSns& b, Body body);
std::vector<std::string> filedDifferences(const CMagVapor& a, const CMagVapor& b, Body body);
std::vector<std::string> filedDifferences(const CMegSquid& a, const CMegSquid& b, Body body);
std::vector<std::string> filedDifferences(const CMegOpm& a, const CMegOpm& b, Body body);
std::vector<std::string> filedDifferences(const CMEGSensor& a, const CMEGSensor& b, Body body);
std::vector<std::string> filedDifferences(const CFiduciaryPt& a, const CFiduciaryPt& b, Body body);
std::vector<std::string> filedDifferences(const CFiducial& a, const CFiducial& b, Body body);
std::vector<std::string> filedDifferences(const CSphere& a, const CSphere& b, Body body);
std::vector<std::string> filedDifferences(const CHeadLocalization& a, const CHeadLocalization& b,
                                          Body body);

}  // namespace fluxgrid::fields
