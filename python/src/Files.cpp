// Files: loads through the library's facade, failures as the package's
// exceptions, message boxes of a load that kept its object as warnings,
// stores of the newest version written atomically.
#include "Bindings.h"

#include <fluxgrid/io/Files.h>
#include <fluxgrid/sensor/MEGSensor.h>

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace fluxgrid::python {

namespace {

py::object kindWord(const std::optional<FileKind>& kind) {
    return kind ? py::object(py::str(std::string(fileKindInfo(*kind).word))) : py::none();
}

const char* errorClassOf(FileFailure failure) {
    switch (failure) {
        case FileFailure::badMagic:
        case FileFailure::refusedVersion:
        case FileFailure::refused:
        case FileFailure::corrupt:
            return "FileFormatError";
        case FileFailure::truncated:
            return "TruncatedFileError";
        case FileFailure::missing:
            return "FileMissingError";
        case FileFailure::readError:
            return "ReadError";
        case FileFailure::writeError:
            return "WriteError";
        case FileFailure::notRegularFile:
        case FileFailure::tooLarge:
        case FileFailure::changed:
            break;
    }
    return "Error";
}

// The system's error number of a failure that has one, else None.
py::object errorNumberOf(const FileError& error) {
    if (error.failure == FileFailure::missing) {
        return py::int_(ENOENT);
    }
    return error.systemError != 0 ? py::object(py::int_(error.systemError)) : py::none();
}

// The failure as the package's exception, with all that is known of it. The
// classes of a missing file and of reading and writing are OSErrors too,
// with the system's number and the library's words.
[[noreturn]] void raise(const FileError& error) {
    py::dict details;
    details["file"] = error.file.empty() ? py::object(py::none()) : fileText(error.file);
    details["kind"] = kindWord(error.kind);
    details["version"] = error.version ? py::object(py::int_(*error.version)) : py::none();
    details["messages"] = py::tuple(py::cast(error.boxes));
    details["failure"] = py::str(std::string(failureCode(error.failure)));
    if (error.failure == FileFailure::missing || error.failure == FileFailure::readError ||
        error.failure == FileFailure::writeError) {
        details["errno"] = errorNumberOf(error);
        details["strerror"] = fileText(error.message);
    }
    raiseObject(errorClass(errorClassOf(error.failure))(fileText(error.describe()), **details));
}

py::object objectOf(LoadedFile& loaded) {
    py::object object = std::visit(
        [](auto& held) {
            using T = typename std::remove_reference_t<decltype(held)>::element_type;
            return py::cast(std::shared_ptr<T>(std::move(held)));
        },
        loaded.object);
    warnTexts(loaded.boxes, "LoadWarning");
    return object;
}

LoadOptions optionsOf(std::uintmax_t maxBytes, const std::optional<std::string>& kind) {
    LoadOptions options;
    options.maxBytes = maxBytes;
    options.keepWithBoxes = true;
    if (kind) {
        for (const FileKindInfo& info : kFileKinds) {
            if (info.word == *kind) {
                options.as = info.kind;
            }
        }
        if (!options.as) {
            raiseObject(errorClass("Error")("no kind of file is called '" + *kind + "'"));
        }
    }
    return options;
}

py::object load(const std::filesystem::path& path, std::uintmax_t maxBytes,
                const std::optional<std::string>& kind) {
    const LoadOptions options = optionsOf(maxBytes, kind);
    FileResult<LoadedFile> loaded = [&] {
        py::gil_scoped_release release;
        return loadFile(path, options);
    }();
    if (!loaded) {
        raise(loaded.error());
    }
    return objectOf(*loaded);
}

py::object loadFromBytes(const py::bytes& data, const std::string& name, std::uintmax_t maxBytes,
                         const std::optional<std::string>& kind) {
    const std::string_view view = data;
    const auto* first = reinterpret_cast<const BYTE*>(view.data());
    FileResult<LoadedFile> loaded =
        loadBytes(std::span<const BYTE>(first, view.size()), name, optionsOf(maxBytes, kind));
    if (!loaded) {
        raise(loaded.error());
    }
    return objectOf(*loaded);
}

// Calls `f` with std::integral_constant<FileKind, K>, for each kind K of the
// table in its order.
template <class F>
void forEachFileKind(F&& f) {
    [&f]<std::size_t... I>(std::index_sequence<I...>) {
        (f(std::integral_constant<FileKind, kFileKinds[I].kind>{}), ...);
    }
    (std::make_index_sequence<kFileKinds.size()>{});
}

// The class that holds a file of the kind `K` (an integral constant).
template <class K>
using FileClass = typename FileObjectOf<K::value>::type;

// The Python class of the kind `K` (an integral constant).
template <class K>
py::type pythonClassOf(K /*kind*/) {
    return py::type::of<FileClass<K>>();
}

// "a Coil, Vapor, ... or HeadLocalization": the Python names of the classes
// of the kinds.
std::string fileClassNames() {
    std::vector<std::string> names;
    forEachFileKind(
        [&names](auto kind) { names.push_back(py::str(pythonClassOf(kind).attr("__name__"))); });
    std::string words = "a " + names.front();
    for (std::size_t i = 1; i < names.size(); ++i) {
        words += (i + 1 == names.size() ? " or " : ", ") + names[i];
    }
    return words;
}

// Runs `f` on the object if it is of the class of one of the kinds.
template <class R, class F>
R withFileObject(const py::handle& object, F f) {
    std::optional<R> result;
    forEachFileKind([&](auto kind) {
        using T = FileClass<decltype(kind)>;
        if (!result && py::isinstance<T>(object)) {
            result.emplace(f(object.cast<T&>()));
        }
    });
    if (!result) {
        raiseObject(errorClass("FileObjectTypeError")(
            "only " + fileClassNames() + " is a file of its own, not a " +
            py::str(py::type::of(object).attr("__name__")).cast<std::string>()));
    }
    return std::move(*result);
}

// The bytes of a file object, made while this thread holds the GIL.
//
// Every binding that reads or changes an object runs with the GIL held, so
// the GIL is the one guard of every object: a store that made its bytes
// with the GIL released could see a record freed or half changed by another
// thread. Only the disk write, which touches nothing but the bytes, runs
// without it, so that writes and loads of other objects go on meanwhile.
template <class T>
std::vector<BYTE> bytesOf(T& held, const std::string& file) {
    FileResult<std::vector<BYTE>> bytes = storeBytes(held);
    if (!bytes) {
        FileError error = bytes.error();
        error.file = file;
        raise(error);
    }
    return std::move(*bytes);
}

// "hardwareType 1 (OPM)": a hardware type in words.
std::string hardwareTypeWords(int type) {
    const char* kind = type == 0 ? " (SQUID)" : type == 1 ? " (OPM)" : "";
    return "hardwareType " + std::to_string(type) + kind;
}

// Why a sensor would not come back from its file as it is: its hardware
// type and the record it holds disagree, so that the store leaves the
// record out or labels it as the other kind. Empty when they agree.
std::string hardwareMismatch(const CMEGSensorqv& sensor) {
    const int type = sensor.hardwareType;
    const bool known = type == 0 || type == 1;
    if (!sensor.hardware) {
        return known ? hardwareTypeWords(type) + " names a record, but the sensor holds no record"
                     : std::string();
    }
    // A record made by other means is taken for what the type says.
    const int made = fluxgrid::sensor::hardwareRecordKind(sensor.hardware);
    if (known && (made < 0 || made == type)) {
        return {};
    }
    const std::string record = made == 0   ? "the SQUID record"
                               : made == 1 ? "the OPM record"
                                           : "the hardware record";
    return known ? hardwareTypeWords(type) + " does not match " + record + " the sensor holds"
                 : hardwareTypeWords(type) + " names no kind of record, so the file would leave " +
                       "out " + record + " the sensor holds";
}

py::bytes storeToBytes(const py::object& object) {
    return withFileObject<py::bytes>(object, [](auto& held) {
        const std::vector<BYTE> bytes = bytesOf(held, {});
        return py::bytes(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    });
}

std::size_t store(const py::object& object, const std::filesystem::path& path, bool force) {
    return withFileObject<std::size_t>(object, [&path, force](auto& held) {
        using T = std::remove_reference_t<decltype(held)>;
        if constexpr (std::is_same_v<T, CMEGSensorqv>) {
            if (const std::string mismatch = hardwareMismatch(held); !mismatch.empty() && !force) {
                const std::string file = path.string();
                raiseObject(errorClass("HardwareTypeError")(
                    fileText(file + ": not written: " + mismatch +
                             " (force=True writes it anyway)"),
                    py::arg("file") = fileText(file), py::arg("failure") = "hardware-mismatch"));
            }
        }
        const std::vector<BYTE> bytes = bytesOf(held, path.string());
        FileResult<std::size_t> written = [&] {
            py::gil_scoped_release release;
            return writeFileAtomically(path, bytes);
        }();
        if (!written) {
            FileError error = written.error();
            error.kind = kFileKindOf<T>;
            error.version = fileKindInfo(kFileKindOf<T>).written;
            raise(error);
        }
        return *written;
    });
}

// An independent copy of a sensor's record, of the kind the record was made
// as (or, for one a host made, of the kind the sensor's type names, as the
// field table takes it).
fluxgrid::sensor::HardwareRecord recordCopy(const CMEGSensorqv& sensor) {
    if (!sensor.hardware) {
        return nullptr;
    }
    const int made = fluxgrid::sensor::hardwareRecordKind(sensor.hardware);
    const int kind = made >= 0 ? made : sensor.hardwareType;
    const CMegGrdBscqv& record = *sensor.hardware;
    const auto copied = [made](auto* copy) {
        return made >= 0 ? fluxgrid::sensor::HardwareRecord(
                               copy, fluxgrid::sensor::HardwareRecordDeleter{made})
                         : fluxgrid::sensor::HardwareRecord(
                               std::unique_ptr<std::remove_pointer_t<decltype(copy)>>(copy));
    };
    if (kind == 0) {
        return copied(new CMegSquidqv(static_cast<const CMegSquidqv&>(record)));
    }
    if (kind == 1) {
        return copied(new CMegOpmqv(static_cast<const CMegOpmqv&>(record)));
    }
    return copied(new CMegGrdBscqv(record));
}

// An object of the class `T` loaded from `bytes` that a store of one made.
template <class T>
std::shared_ptr<T> objectFromBytes(std::span<const BYTE> bytes) {
    FileResult<LoadedFile> loaded = loadBytes(
        bytes, {}, optionsOf(kDefaultMaxFileBytes, std::string(fileKindInfo(kFileKindOf<T>).word)));
    if (!loaded) {
        raise(loaded.error());
    }
    warnTexts(loaded->boxes, "LoadWarning");
    return std::shared_ptr<T>(std::move(std::get<std::unique_ptr<T>>(loaded->object)));
}

// A deep copy: nothing of it is shared with `object`. Member-wise, with a
// record of its own for a sensor; a head localization, whose lists own
// their entries and which has no copy of its own, through its bytes: a
// copy of what its file holds (and so refused where its store is).
template <class T>
std::shared_ptr<T> deepCopy(T& object) {
    if constexpr (std::is_same_v<T, CHeadLocalizationqv>) {
        return objectFromBytes<T>(bytesOf(object, {}));
    } else {
        auto copy = std::make_shared<T>(object);
        if constexpr (std::is_same_v<T, CMEGSensorqv>) {
            copy->hardware = recordCopy(object);
        }
        return copy;
    }
}

// Copies and pickles for the class of a file kind `K` (an integral
// constant). A pickle is the bytes of the object's file, so that an object
// passes to another process as its file would.
template <class K>
void bindCopies(K kind) {
    using T = FileClass<K>;
    auto cls = py::reinterpret_borrow<Class<T>>(pythonClassOf(kind));
    cls.def("__copy__", &deepCopy<T>, "A deep copy (as __deepcopy__).")
        .def(
            "__deepcopy__", [](T& object, const py::dict&) { return deepCopy(object); },
            py::arg("memo"), "A deep copy: nothing of it is shared with this object.")
        .def(py::pickle(
            [](const py::object& object) { return py::make_tuple(storeToBytes(object)); },
            [](const py::tuple& state) {
                const auto held = state[0].cast<py::bytes>();
                const std::string_view data = held;
                return objectFromBytes<T>(
                    std::span(reinterpret_cast<const BYTE*>(data.data()), data.size()));
            }));
    if constexpr (std::is_same_v<T, CMEGSensorqv>) {
        cls.def("copy", &deepCopy<T>,
                "A deep copy of the sensor, with a record of its own: changing one never changes "
                "the other.");
    }
}

py::tuple header(const std::filesystem::path& path) {
    const FileResult<FileHeader> read = readHeader(path);
    if (!read) {
        raise(read.error());
    }
    return py::make_tuple(fileKindInfo(read->kind).word, read->version);
}

}  // namespace

void bindFiles(py::module_& m) {
    m.attr("DEFAULT_MAX_BYTES") = py::int_(kDefaultMaxFileBytes);
    m.def("_load", &load, py::arg("path"), py::arg("max_bytes"), py::arg("kind"));
    m.def("_load_bytes", &loadFromBytes, py::arg("data"), py::arg("name"), py::arg("max_bytes"),
          py::arg("kind"));
    m.def("_store", &store, py::arg("object"), py::arg("path"), py::arg("force"));
    m.def("_store_bytes", &storeToBytes, py::arg("object"));
    m.def("_header", &header, py::arg("path"));
    py::list kinds;
    forEachFileKind([&kinds](auto kind) {
        const FileKindInfo& info = fileKindInfo(kind);
        py::dict entry;
        entry["word"] = std::string(info.word);
        entry["title"] = std::string(info.title);
        entry["magic"] = CString(std::u16string(info.magic)).ToUtf8();
        entry["accepted"] =
            py::tuple(py::cast(std::vector<int>(info.accepted.begin(), info.accepted.end())));
        entry["written"] = info.written;
        entry["type"] = pythonClassOf(kind);
        kinds.append(entry);
        bindCopies(kind);
    });
    m.attr("_FILE_KINDS") = kinds;
}

}  // namespace fluxgrid::python
