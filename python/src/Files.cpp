// Files: loads through the library's facade, failures as the package's
// exceptions, message boxes of a load that kept its object as warnings,
// stores of the newest version written atomically.
#include "Bindings.h"

#include <fluxgrid/io/Files.h>

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
        case FileFailure::notRegularFile:
        case FileFailure::tooLarge:
        case FileFailure::readError:
        case FileFailure::writeError:
        case FileFailure::changed:
            break;
    }
    return "Error";
}

// The failure as the exception a Python user expects: the system's own for
// a missing file and for reading and writing, the package's for the rest.
[[noreturn]] void raise(const FileError& error) {
    py::object exception;
    if (error.failure == FileFailure::missing) {
        exception = py::reinterpret_borrow<py::object>(PyExc_FileNotFoundError)(
            ENOENT, error.message, error.file);
    } else if (error.failure == FileFailure::readError ||
               error.failure == FileFailure::writeError) {
        exception = py::reinterpret_borrow<py::object>(PyExc_OSError)(error.describe());
    } else {
        py::dict details;
        details["file"] = error.file.empty() ? py::object(py::none()) : py::str(error.file);
        details["kind"] = kindWord(error.kind);
        details["version"] = error.version ? py::object(py::int_(*error.version)) : py::none();
        details["messages"] = py::tuple(py::cast(error.boxes));
        details["failure"] = py::str(std::string(failureCode(error.failure)));
        exception = errorClass(errorClassOf(error.failure))(error.describe(), **details);
    }
    PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(exception.ptr())), exception.ptr());
    throw py::error_already_set();
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
            throw py::value_error("no kind of file is called '" + *kind + "'");
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
        throw py::type_error("only " + fileClassNames() + " is a file of its own, not a " +
                             py::str(py::type::of(object).attr("__name__")).cast<std::string>());
    }
    return std::move(*result);
}

py::bytes storeToBytes(const py::object& object) {
    return withFileObject<py::bytes>(object, [](auto& held) {
        FileResult<std::vector<BYTE>> bytes = storeBytes(held);
        if (!bytes) {
            raise(bytes.error());
        }
        return py::bytes(reinterpret_cast<const char*>(bytes->data()), bytes->size());
    });
}

std::size_t store(const py::object& object, const std::filesystem::path& path) {
    return withFileObject<std::size_t>(object, [&path](auto& held) {
        FileResult<std::size_t> written = [&] {
            py::gil_scoped_release release;
            return storeFile(path, held);
        }();
        if (!written) {
            raise(written.error());
        }
        return *written;
    });
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
    m.def("_store", &store, py::arg("object"), py::arg("path"));
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
    });
    m.attr("_FILE_KINDS") = kinds;
}

}  // namespace fluxgrid::python
