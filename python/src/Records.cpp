// The record classes: their fields from the field table, and the operations
// of the final classes that hosts use, under their own names. A method whose
// library form fills reference arguments gives back a tuple of its result
// and those values.
#include "Fields.h"

#include <fluxgrid/channels/ChannelTypes.h>
#include <fluxgrid/io/Files.h>
#include <fluxgrid/sensor/MEGSensor.h>

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace fluxgrid::python {

namespace {

using Triple = std::tuple<int, double, double, double>;

template <class Element, class PyClass>
void bindElementMethods(PyClass& cls) {
    cls.def("setCoilPosition", &Element::setCoilPosition, py::arg("x"), py::arg("y"), py::arg("z"),
            "Sets the position (posP4) to x, y, z. Returns the library's result.")
        .def(
            "getCoilPositionD",
            [](const Element& e) {
                double x = 0, y = 0, z = 0;
                const int result = e.getCoilPositionD(x, y, z);
                return Triple{result, x, y, z};
            },
            "(result, x, y, z): the position in double precision.")
        .def(
            "getNmlDirXYZ",
            [](const Element& e) {
                double x = 0, y = 0, z = 0;
                const int result = e.getNmlDirXYZ(x, y, z);
                return Triple{result, x, y, z};
            },
            "(result, x, y, z): the normal direction.")
        .def(
            "getCoilAxisRotateRr",
            [](const Element& e) {
                double x = 0, y = 0, z = 0, r = 0;
                const int result = e.getCoilAxisRotateRr(x, y, z, r);
                return std::tuple{result, x, y, z, r};
            },
            "(result, x, y, z, r): the rotation axis and angle.")
        .def(
            "getMagApha",
            [](Element& e) { return withBoxesAsWarnings([&] { return e.getMagApha(); }); },
            "The element's magApha, derived as the library derives it.")
        .def(
            "orient2DirXYZW_VctXYRD",
            [](Element& e) {
                return withBoxesAsWarnings([&] { return e.orient2DirXYZW_VctXYRD(); });
            },
            "Derives nmlDirXYZW and vctXYRD from the orientation. Returns the library's result.")
        .def(
            "matlab2qvCoordinate",
            [](const Element& e, double a, double b, double c) {
                const int result = e.matlab2qvCoordinate(a, b, c);
                return Triple{result, a, b, c};
            },
            py::arg("a"), py::arg("b"), py::arg("c"),
            "(result, a, b, c): a point turned from the MATLAB frame into the in-house one.");
}

void bindElements(py::module_& m) {
    Class<CMagCoilqv> coil(m, "Coil", "A SQUID pick-up coil: the record of a .coil file.");
    coil.def(py::init<>(), "A coil with the library's defaults.");
    bindFields<CMagCoilqv>(coil);
    bindElementMethods<CMagCoilqv>(coil);
    coil.def("reset", &CMagCoilqv::reset, "Back to the defaults. Returns the library's result.")
        .def("getCoilTurns", &CMagCoilqv::getCoilTurns, "The number of turns.")
        .def("getCoilArea", &CMagCoilqv::getCoilArea, "The loop's area.")
        .def("convertCTFm2qvCm", &CMagCoilqv::convertCTFm2qvCm,
             "Converts CTF metres into the in-house centimetres.")
        .def("convertNeuromagM2mm", &CMagCoilqv::convertNeuromagM2mm,
             "Converts Neuromag metres into millimetres.");

    Class<CMagVaporqv> vapor(m, "Vapor", "An OPM vapor cell: the record of a .vapor file.");
    vapor.def(py::init<>(), "A vapor cell with the library's defaults.");
    bindFields<CMagVaporqv>(vapor);
    bindElementMethods<CMagVaporqv>(vapor);
    vapor.def("reset", &CMagVaporqv::reset, "Back to the defaults. Returns the library's result.");
}

void bindHardwareRecords(py::module_& m) {
    Class<CMegGrdBscqv> record(
        m, "HardwareRecord",
        "The gain chain that every hardware record carries; alone, the record of a sensor whose "
        "hardware type the library does not know.");
    bindFields<CMegGrdBscqv>(record);

    Class<CMegSquidqv, CMegGrdBscqv> squid(
        m, "SquidRecord", "A SQUID channel's record (.squid file): gains and up to eight coils.");
    squid.def(py::init<>(), "A record with the library's defaults.");
    bindFields<CMegSquidqv>(squid);
    squid.def("resetSensors", &CMegSquidqv::resetSensors, "Back to the defaults.")
        .def("initSensorInfo", &CMegSquidqv::initSensorInfo, py::arg("hardwareNo"),
             py::arg("gradOrderNo"), py::arg("properGain"), py::arg("secondGain"),
             py::arg("thirdGain"), py::arg("gainOffset"), "Sets the gain chain.");

    Class<CMegOpmqv, CMegGrdBscqv> opm(
        m, "OpmRecord", "An OPM channel's record (.opm file): gains and up to eight vapor cells.");
    opm.def(py::init<>(), "A record with the library's defaults.");
    bindFields<CMegOpmqv>(opm);
    opm.def("resetSensors", &CMegOpmqv::resetSensors, "Back to the defaults.")
        .def("initSensorInfo", &CMegOpmqv::initSensorInfo, py::arg("hardwareNo"),
             py::arg("gradOrderNo"), py::arg("properGain"), py::arg("secondGain"),
             py::arg("thirdGain"), py::arg("gainOffset"), "Sets the gain chain.")
        .def("checkInitVapors", &CMegOpmqv::checkInitVapors, py::arg("count"),
             "Checks and sets the number of vapor cells in use.");
}

// The final class of a record part that the field table opens: a SQUID or
// OPM record, or the common part of a record of neither kind.
template <class Part>
using FinalRecord =
    std::conditional_t<std::is_same_v<Part, CMegSquid>, CMegSquidqv,
                       std::conditional_t<std::is_same_v<Part, CMegOpm>, CMegOpmqv, CMegGrdBscqv>>;

// Calls `f` with std::type_identity of the final class of the sensor's
// record, taken as the field table takes it; false without a record.
template <class F>
bool withRecordClass(const CMEGSensor& sensor, F&& f) {
    return fields::withHardwareRecord(sensor, [&f](const auto& part) {
        f(std::type_identity<FinalRecord<std::remove_cvref_t<decltype(part)>>>{});
    });
}

// "squid" or "opm": the word of the file kind of the sensor's record; none
// without a record or for one of neither kind.
std::optional<std::string> hardwareKind(const CMEGSensorqv& sensor) {
    std::optional<std::string> kind;
    withRecordClass(sensor, [&kind](auto record) {
        using Final = typename decltype(record)::type;
        if constexpr (FileObject<Final>) {
            kind = std::string(fileKindInfo(kFileKindOf<Final>).word);
        }
    });
    return kind;
}

// The frames of a record's elements: the package's words for them and the
// numbers of the library's accessors.
struct ElementFrame {
    std::string_view word;
    int number;
};

constexpr std::array<ElementFrame, 3> kElementFrames = {{{"dewar", 2}, {"head", 1}, {"work", 0}}};

int frameNumber(const std::string& word) {
    std::string words;
    for (const ElementFrame& frame : kElementFrames) {
        if (frame.word == word) {
            return frame.number;
        }
        words += (words.empty() ? "" : ", ") + std::string(frame.word);
    }
    raiseObject(errorClass("Error")("frame must be one of " + words + ", not " +
                                    py::repr(py::str(word)).cast<std::string>()));
}

// The elements in use of one frame, through the library's accessors: as
// many as the record counts, within its eight slots. None without a record
// that matches the hardware type.
std::vector<CBscMagSnsqv*> elementsInUse(const CMEGSensor& sensor, const std::string& frame) {
    const int number = frameNumber(frame);
    const int count = sensor.getTotalCoils();
    std::vector<CBscMagSnsqv*> elements;
    for (int i = 0; i < count; ++i) {
        CBscMagSnsqv* element = sensor.getCoilWkHdDw(number, i);
        if (element == nullptr) {
            break;
        }
        elements.push_back(element);
    }
    return elements;
}

struct ElementsName {
    static constexpr auto text = py::detail::const_name("Tuple[Union[Coil, Vapor], ...]");
};

// The elements as live Coil or Vapor records, which the record's object
// keeps alive. The accessors give them from the record that matches the
// hardware type, so that type tells their class: coils for 0, cells for 1.

TypedTuple<ElementsName> elementObjects(const CMEGSensorqv& sensor, const std::string& frame) {
    const std::vector<CBscMagSnsqv*> elements = elementsInUse(sensor, frame);
    py::tuple objects(elements.size());
    if (elements.empty()) {
        return objects;
    }
    const py::object record = hardwareRecordOf(sensor);
    const auto policy = py::return_value_policy::reference_internal;
    for (std::size_t i = 0; i < elements.size(); ++i) {
        objects[i] = sensor.hardwareType == 0
                         ? py::cast(static_cast<CMagCoilqv*>(elements[i]), policy, record)
                         : py::cast(static_cast<CMagVaporqv*>(elements[i]), policy, record);
    }
    return objects;
}

// x, y and z of a four-value field of each element (posP4 or oriP4), a row
// each: a new (n, 3) array.
py::array_t<double> elementRows(const std::vector<CBscMagSnsqv*>& elements,
                                double (CBscMagSns::*field)[4]) {
    py::array_t<double> rows(
        std::vector<py::ssize_t>{static_cast<py::ssize_t>(elements.size()), 3});
    auto out = rows.mutable_unchecked<2>();
    for (py::ssize_t i = 0; i < out.shape(0); ++i) {
        for (py::ssize_t k = 0; k < 3; ++k) {
            out(i, k) = (elements[i]->*field)[k];
        }
    }
    return rows;
}

// The rows of a four-value field of the elements in use of a frame.
auto frameRows(double (CBscMagSns::*field)[4]) {
    return [field](const CMEGSensorqv& s, const std::string& frame) {
        return elementRows(elementsInUse(s, frame), field);
    };
}

// A scalar field of each element: a new (n,) array.
template <class T>
py::array_t<T> elementValues(const std::vector<CBscMagSnsqv*>& elements, T CBscMagSns::*field) {
    py::array_t<T> values(static_cast<py::ssize_t>(elements.size()));
    auto out = values.template mutable_unchecked<1>();
    for (py::ssize_t i = 0; i < out.shape(0); ++i) {
        out(i) = elements[i]->*field;
    }
    return values;
}

struct ElementGeometryName {
    static constexpr auto text = py::detail::const_name("ElementGeometry");
};

// The helpers that hosts of the package use, over the library's own
// accessors and fields.
void bindSensorHelpers(py::module_& m, Class<CMEGSensorqv>& sensor) {
    m.attr("FRAMES") = [] {
        py::tuple words(kElementFrames.size());
        for (std::size_t i = 0; i < kElementFrames.size(); ++i) {
            words[i] = py::str(std::string(kElementFrames[i].word));
        }
        return words;
    }();
    const py::object geometryClass = defineNamedTuple(
        m, "ElementGeometry",
        {{"positions", "npt.NDArray[np.float64]"},
         {"orientations", "npt.NDArray[np.float64]"},
         {"turns", "npt.NDArray[np.int32]"},
         {"areas", "npt.NDArray[np.float64]"}},
        "The elements in use of one frame, read once: (n, 3) positions (posP4), (n, 3) "
        "orientations (oriP4), (n,) turns (coilTurns) and (n,) areas (coilArea), new arrays.");
    sensor
        .def_property_readonly(
            "name", [](const CMEGSensorqv& s) { return s.snsRawName; },
            "The raw name, snsRawName: the channel's name.")
        .def_property_readonly(
            "type_name", [](const CMEGSensorqv& s) { return s.getSensorTypeName(); },
            "The name of the sensor type code, as getSensorTypeName gives it.")
        .def_property_readonly("hardware_kind", &hardwareKind,
                               "\"squid\", \"opm\" or None: the kind of record the sensor holds.")
        .def_property_readonly(
            "channel_kind",
            [](const CMEGSensorqv& s) {
                return std::string(channelKindWord(channelTypeOf(s).kind));
            },
            "\"meg\", \"ref\", \"eeg\", \"stim\" or \"misc\": the kind of channel of the sensor "
            "type code, judged by the record the sensor holds (see channel_type).")
        .def("elements", &elementObjects, py::arg("frame") = "work",
             "The elements in use of `frame` (\"dewar\", \"head\" or \"work\"): live Coil or Vapor "
             "records of the record that matches the hardware type; none without one.")
        .def("positions", frameRows(&CBscMagSns::posP4), py::arg("frame") = "work",
             "(n, 3) positions (posP4) of the elements in use in `frame` (\"dewar\", \"head\" or "
             "\"work\"): a new array.")
        .def("orientations", frameRows(&CBscMagSns::oriP4), py::arg("frame") = "work",
             "(n, 3) orientations (oriP4) of the elements in use in `frame`: a new array.")
        .def(
            "element_geometry",
            [geometryClass](const CMEGSensorqv& s,
                            const std::string& frame) -> TypedTuple<ElementGeometryName> {
                const std::vector<CBscMagSnsqv*> elements = elementsInUse(s, frame);
                return geometryClass(elementRows(elements, &CBscMagSns::posP4),
                                     elementRows(elements, &CBscMagSns::oriP4),
                                     elementValues(elements, &CBscMagSns::coilTurns),
                                     elementValues(elements, &CBscMagSns::coilArea));
            },
            py::arg("frame") = "work",
            "The elements in use of `frame`, read once: an ElementGeometry of their positions, "
            "orientations, turns and areas.")
        .def("__repr__", [](const CMEGSensorqv& s) {
            const std::optional<std::string> kind = hardwareKind(s);
            return py::str("<fluxgrid.Sensor {!r} type {} ({}), {} record>")
                .format(s.snsRawName, s.sensorType, s.getSensorTypeName(),
                        kind ? *kind : std::string("no"));
        });
}

template <class F>
auto sensorVector(F getter) {
    return [getter](CMEGSensorqv& s, int hwType, int coil) {
        double x = 0, y = 0, z = 0;
        const int result = withBoxesAsWarnings([&] { return (s.*getter)(hwType, coil, x, y, z); });
        return Triple{result, x, y, z};
    };
}

// A method without arguments, its message boxes as warnings.
template <class R>
auto boxed(R (CMEGSensor::*method)()) {
    return [method](CMEGSensorqv& s) { return withBoxesAsWarnings([&] { return (s.*method)(); }); };
}

void bindSensor(py::module_& m) {
    Class<CGeomqv> geom(m, "Geom", "The geometry base of a sensor.");
    bindFields<CGeomqv>(geom);

    Class<CMEGSensorqv> sensor(
        m, "Sensor",
        "One MEG channel: names, type codes, gains and its SQUID or OPM record (.sensor file).");
    sensor.def(py::init<>(), "A sensor with the library's defaults.");
    bindFields<CMEGSensorqv>(sensor);
    sensor.def("resetSensors", boxed(&CMEGSensorqv::resetSensors), "Back to the defaults.")
        .def("cleanHardwareType", boxed(&CMEGSensorqv::cleanHardwareType),
             "Drops the hardware record and type.")
        .def(
            "initSensorInfo",
            [](CMEGSensorqv& s, int hwType, int type, int hwNo, int gradOrder, double proper,
               double second, double third, double gainOffset) {
                return withBoxesAsWarnings([&] {
                    return s.initSensorInfo(hwType, type, hwNo, gradOrder, proper, second, third,
                                            gainOffset);
                });
            },
            py::arg("hwType"), py::arg("type"), py::arg("hwNo"), py::arg("gradOrder"),
            py::arg("proper"), py::arg("second"), py::arg("third"), py::arg("gainOffset"),
            "Sets the hardware type, the sensor type and the gain chain. `hwType` -1 keeps "
            "hardwareType; any other value is stored in hardwareType first, and 0 or 1 make the "
            "record of that kind if the sensor has none.")
        .def("setBackup", boxed(&CMEGSensorqv::setBackup), "Backs the sensor up.")
        .def("getTotalCoils", &CMEGSensorqv::getTotalCoils, "Elements in use.")
        .def("getCurrentCoilID", &CMEGSensorqv::getCurrentCoilID, "The current element.")
        .def(
            "setCurrentCoilID",
            [](CMEGSensorqv& s, int id) {
                return withBoxesAsWarnings([&] { return s.setCurrentCoilID(id); });
            },
            py::arg("id"), "Makes element `id` current.")
        .def("getGradOrderNo", &CMEGSensorqv::getGradOrderNo, "The gradient order.")
        .def(
            "setGradOrderNo",
            [](CMEGSensorqv& s, int order) {
                return withBoxesAsWarnings([&] { return s.setGradOrderNo(order); });
            },
            py::arg("order"), "Sets the gradient order.")
        .def("getRealIdealCoefMode", &CMEGSensorqv::getRealIdealCoefMode, "The coefficient mode.")
        .def(
            "setRealIdealCoefMode",
            [](CMEGSensorqv& s, bool mode) {
                return withBoxesAsWarnings([&] { return s.setRealIdealCoefMode(mode); });
            },
            py::arg("mode"), "Sets the coefficient mode.")
        .def("getAdaptiveBalance", &CMEGSensorqv::getAdaptiveBalance, "Adaptive balancing on?")
        .def(
            "setAdaptiveBalance",
            [](CMEGSensorqv& s, bool on) {
                return withBoxesAsWarnings([&] { return s.setAdaptiveBalance(on); });
            },
            py::arg("on"), "Turns adaptive balancing on or off.")
        .def("getSensorName", &CMEGSensorqv::getSensorName, "The sensor's name.")
        .def(
            "setHeadLocalizationCoil2work",
            [](CMEGSensorqv& s, int coil) {
                return withBoxesAsWarnings([&] { return s.setHeadLocalizationCoil2work(coil); });
            },
            py::arg("coil"), "Copies one head-frame element into the work frame.")
        .def("setCoilsHead2work", boxed(&CMEGSensorqv::setCoilsHead2work),
             "Copies the head-frame elements into the work frame.")
        .def("setCoilsDewar2work", boxed(&CMEGSensorqv::setCoilsDewar2work),
             "Copies the dewar-frame elements into the work frame.")
        .def("getSensorTypeName", &CMEGSensorqv::getSensorTypeName,
             "The name of the sensor type code.")
        .def("getSensorCoilTypeName", &CMEGSensorqv::getSensorCoilTypeName,
             "The name of the coil type.")
        .def("sensorGain", boxed(&CMEGSensorqv::sensorGain),
             "Forms the total gain from the chain and stores it.")
        .def("getSensorGain", &CMEGSensorqv::getSensorGain, "The total gain as stored.")
        .def("sensorNeuromag2Ctf", &CMEGSensorqv::sensorNeuromag2Ctf, py::arg("scaled"),
             "The Neuromag-to-CTF gain factor.")
        .def("getSnsGainCtf", &CMEGSensorqv::getSnsGainCtf, "The CTF gain.")
        .def("isAxialGrad", &CMEGSensorqv::isAxialGrad, "1 for an axial gradiometer.")
        .def("getCoilBaseLine", &CMEGSensorqv::getCoilBaseLine, "The gradiometer's baseline.")
        .def("isW12Evaluate", &CMEGSensorqv::isW12Evaluate, "w12Evaluate.")
        .def(
            "setSnsPos",
            [](CMEGSensorqv& s, int hwType, int coil, double x, double y, double z) {
                return withBoxesAsWarnings([&] { return s.setSnsPos(hwType, coil, x, y, z); });
            },
            py::arg("hwType"), py::arg("coil"), py::arg("x"), py::arg("y"), py::arg("z"),
            "Sets a work-frame element's position. `hwType` -1 keeps hardwareType; any other "
            "value is stored in hardwareType first (0 or 1 make the record of that kind if the "
            "sensor has none), so that a later write may refuse the sensor.")
        .def(
            "setSnsOrn",
            [](CMEGSensorqv& s, int hwType, int coil, double x, double y, double z) {
                return withBoxesAsWarnings([&] { return s.setSnsOrn(hwType, coil, x, y, z); });
            },
            py::arg("hwType"), py::arg("coil"), py::arg("x"), py::arg("y"), py::arg("z"),
            "Sets a work-frame element's orientation. `hwType` as for setSnsPos: -1 keeps "
            "hardwareType, any other value is stored in it.")
        .def("getSnsPos", sensorVector(&CMEGSensorqv::getSnsPos), py::arg("hwType") = -1,
             py::arg("coil") = -1,
             "(result, x, y, z): a work-frame element's position; `coil` -1 is the current "
             "element. Leave `hwType` at -1: as in the library, any other value is stored in "
             "hardwareType, even by this getter (0 or 1 make a record of that kind if the sensor "
             "has none), and a write then refuses a sensor whose record does not match.")
        .def("getSnsOrn", sensorVector(&CMEGSensorqv::getSnsOrn), py::arg("hwType") = -1,
             py::arg("coil") = -1,
             "(result, x, y, z): a work-frame element's orientation; `coil` -1 is the current "
             "element. `hwType` as for getSnsPos: -1 keeps hardwareType, any other value is "
             "stored in it.")
        .def("getSnsNmlDir", sensorVector(&CMEGSensorqv::getSnsNmlDir), py::arg("hwType") = -1,
             py::arg("coil") = -1,
             "(result, x, y, z): a work-frame element's normal direction; `coil` -1 is element "
             "0. `hwType` as for getSnsPos: -1 keeps hardwareType, any other value is stored in "
             "it.")
        .def(
            "initSensorBasic",
            [](CMEGSensorqv& s, int hwType, const CString& rawName, const CString& showName,
               int totalCoils, std::array<int, 2> turns, std::array<double, 2> areas,
               std::array<double, 3> pos0, std::array<double, 3> pos1) {
                return withBoxesAsWarnings([&] {
                    return s.initSensorBasic(hwType, rawName, showName, totalCoils, turns.data(),
                                             areas.data(), pos0.data(), pos1.data(), nullptr);
                });
            },
            py::arg("hwType"), py::arg("rawName"), py::arg("showName"), py::arg("totalCoils"),
            py::arg("turns"), py::arg("areas"), py::arg("pos0"), py::arg("pos1"),
            "Stores both names and, for hardware type 0 or 1, the count and the positions of "
            "work elements 0 and 1 (for a SQUID their turns and areas too). `hwType` -1 keeps "
            "hardwareType; any other value is stored in hardwareType first (0 or 1 make the "
            "record of that kind if the sensor has none). The library's unread last argument is "
            "left out.")
        .def(
            "setAcqSnsParam",
            [](CMEGSensorqv& s, int hwType, int coil, const CString& name,
               std::array<double, 3> pos, std::array<double, 3> orn, int sensorType, int toDewar,
               int toHead, int toWork, int toSensor) {
                MEG_OPM_NAME_POS_TYPE row{name,   pos[0], pos[1], pos[2],
                                          orn[0], orn[1], orn[2], sensorType};
                return withBoxesAsWarnings([&] {
                    return s.setAcqSnsParam(hwType, coil, &row, toDewar, toHead, toWork, toSensor);
                });
            },
            py::arg("hwType"), py::arg("coil"), py::arg("name"), py::arg("pos"), py::arg("orn"),
            py::arg("sensorType"), py::arg("toDewar"), py::arg("toHead"), py::arg("toWork"),
            py::arg("toSensor"),
            "Sets both names to `name` and the position and orientation of element `coil` in "
            "each selected frame (and with `toSensor` the sensor's own); the row of a layout "
            "table given field by field. `hwType` -1 keeps hardwareType; any other value is "
            "stored in hardwareType first (0 or 1 make the record of that kind if the sensor has "
            "none), so that a write refuses the sensor if it no longer matches its record.")
        .def(
            "setSensorParameters",
            [](CMEGSensorqv& s, CMEGSensorqv& source) {
                return withBoxesAsWarnings([&] { return s.setSensorParameters(&source); });
            },
            py::arg("source"), "Copies the parameters of `source` into this sensor.");
    bindSensorHelpers(m, sensor);
}

void bindHeadLocalization(py::module_& m) {
    Class<CFiduciaryPtqv> point(m, "FiducialPoint", "One fiducial point.");
    point.def(py::init<>(), "A zeroed point with an empty name.");
    bindFields<CFiduciaryPtqv>(point);
    point.def("setFidPtPosition", &CFiduciaryPtqv::setFidPtPosition, py::arg("x"), py::arg("y"),
              py::arg("z"), "Stores x, y, z as elements 4, 5 and 6 of ptValues.");

    Class<CFiducialqv> set(
        m, "FiducialSet",
        "A fiducial set: six points; 0 the nasion, 1 and 2 the ear points, 3 to 5 carried along.");
    set.def(py::init<>(), "Six zeroed points.");
    bindFields<CFiducialqv>(set);
    set.def("resetAllFiducialPt", &CFiducialqv::resetAllFiducialPt,
            "Brings all six points back to their defaults.");

    Class<CSphereqv> sphere(m, "Sphere", "A sphere record: four values, two numbers, a name.");
    sphere.def(py::init<>(), "A zeroed sphere.");
    bindFields<CSphereqv>(sphere);
    sphere.def("zeroSphere", &CSphereqv::zeroSphere, "Sets the four values to 0.");

    Class<HEAD_LOCATION_TRIAL> trial(m, "HeadLocationTrial",
                                     "One entry of a head localization list.");
    trial.def(py::init<>(), "A zeroed entry.");
    bindFields<HEAD_LOCATION_TRIAL>(trial);

    using H = CHeadLocalizationqv;
    Class<H> headloc(m, "HeadLocalization",
                     "Head localization (.headloc file): fiducial sets, their lists over time, the "
                     "registration's location and rotation.");
    headloc.def(py::init<>(), "A head localization with the library's defaults.");
    bindFields<H>(headloc);
    headloc
        .def_static(
            "getStdCTFheadCnt",
            [] {
                double x = 0, y = 0, z = 0;
                const int result = H::getStdCTFheadCnt(x, y, z);
                return Triple{result, x, y, z};
            },
            "(result, x, y, z): the standard CTF head centre.")
        .def("resetSensorPosDirName", &H::resetSensorPosDirName, "Does nothing; 1.")
        .def("initDefaultHeadLocalParams", &H::initDefaultHeadLocalParams,
             "Writes the six default positions into fiducialFirst.")
        .def("initSensorFiducial2HeadCenter", &H::initSensorFiducial2HeadCenter, "Does nothing; 0.")
        .def(
            "getCurntFiducailPts",
            [](py::object self) {
                H& h = self.cast<H&>();
                return py::cast(h.getCurntFiducailPts(),
                                py::return_value_policy::reference_internal, self);
            },
            "fiducialCurrent, a live part of this object.")
        .def(
            "cleanFiducialPt",
            [](H& h) { return withBoxesAsWarnings([&] { return h.cleanFiducialPt(); }); },
            "Empties fiducialPtRaw, fiducialPARaw and fiducialPt and the labels.")
        .def("resetSensorFdcPosDir", &H::resetSensorFdcPosDir,
             "Zeroes sensorLocation and sensorRotation.")
        .def("cleanFiducialPARaw", &H::cleanFiducialPARaw, "Empties fiducialPARaw.")
        .def("cleanFiducialPA", &H::cleanFiducialPA, "Empties fiducialPA.")
        .def(
            "getAverageFiducialPts",
            [](py::object self) -> py::object {
                H& h = self.cast<H&>();
                CFiducialqv* set = withBoxesAsWarnings([&] { return h.getAverageFiducialPts(); });
                if (!set) {
                    return py::none();
                }
                return py::cast(set, py::return_value_policy::reference_internal, self);
            },
            "Forms fiducialCurrent by headLocalType and returns it (None where the library gives "
            "null).")
        .def(
            "setActiveFiducialqv",
            [](H& h, CFiducialqv& set) {
                return withBoxesAsWarnings([&] { return h.setActiveFiducialqv(&set); });
            },
            py::arg("fiducial"), "Copies `fiducial` into fiducialCurrent.")
        .def(
            "setHeadLocalizeTime",
            [](H& h, int time) {
                return withBoxesAsWarnings([&] { return h.setHeadLocalizeTime(time); });
            },
            py::arg("time"), "Steps to entry `time` of fiducialPA.")
        .def("getHeadLocalizeTime", &H::getHeadLocalizeTime, "The count of fiducialPA.")
        .def(
            "getSensorLocation",
            [](const H& h) {
                double x = 0, y = 0, z = 0;
                const int result = h.getSensorLocation(x, y, z);
                return Triple{result, x, y, z};
            },
            "(result, x, y, z): the registered location.")
        .def("setSensorLocation", &H::setSensorLocation, py::arg("x"), py::arg("y"), py::arg("z"),
             "Sets the location.")
        .def(
            "getSensorRotation",
            [](const H& h) {
                double x = 0, y = 0, z = 0;
                const int result = h.getSensorRotation(x, y, z);
                return Triple{result, x, y, z};
            },
            "(result, x, y, z): the three rotation angles, in degrees.")
        .def("setSensorRotation", &H::setSensorRotation, py::arg("x"), py::arg("y"), py::arg("z"),
             "Sets the three rotation angles, in degrees.")
        .def(
            "registerMEGFiducial2MRIFiducialPts",
            [](H& h, CFiducialqv& fiducial, bool withRotation, int sizeX, int sizeY, int sizeZ,
               double stepX, double stepY, double stepZ) {
                return withBoxesAsWarnings([&] {
                    return h.registerMEGFiducial2MRIFiducialPts(
                        &fiducial, withRotation, nullptr, sizeX, sizeY, sizeZ, stepX, stepY, stepZ);
                });
            },
            py::arg("fiducial"), py::arg("withRotation"), py::arg("sizeX"), py::arg("sizeY"),
            py::arg("sizeZ"), py::arg("stepX"), py::arg("stepY"), py::arg("stepZ"),
            "Registers `fiducial`, in the coordinates of an MRI volume of the given size and "
            "spacing, against the volume's centre (the sphere argument of the library, never "
            "looked at, is left out).")
        .def("setFidWorkMode", &H::setFidWorkMode, py::arg("mode"),
             "Stores 0, 1 or 2 in fidWorkMode.");
}

}  // namespace

py::object hardwareRecordOf(const CMEGSensor& sensor) {
    py::object record = py::none();
    withRecordClass(sensor, [&](auto recordClass) {
        using Final = typename decltype(recordClass)::type;
        // Shares the sensor's ownership of the record.
        record = py::cast(
            std::shared_ptr<Final>(sensor.hardware, static_cast<Final*>(sensor.hardware.get())));
    });
    return record;
}

void bindRecords(py::module_& m) {
    bindElements(m);
    bindHardwareRecords(m);
    bindSensor(m);
    bindHeadLocalization(m);
}

}  // namespace fluxgrid::python
