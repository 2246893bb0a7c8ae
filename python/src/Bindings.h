// What the parts of the extension share: the text conversion, the capture of
// message boxes, the named tuples and the entry of each part.
//
// Threads: every binding reads and changes objects with the GIL held, so the
// GIL is the one guard of every object that Python can reach. A binding
// releases it only for work that touches no such object: a load into a new
// object, and the disk write of bytes already made.
#pragma once

#include <fluxgrid/platform/CString.h>
#include <fluxgrid/platform/MessageBox.h>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include <initializer_list>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace fluxgrid::python {

/// A tuple whose type the signatures (and so the type stub) give as
/// `Name::text`: a named tuple of the extension, or a tuple of given items.
template <class Name>
class TypedTuple : public pybind11::tuple {
  public:
    PYBIND11_OBJECT_DEFAULT(TypedTuple, pybind11::tuple, PyTuple_Check)
};

}  // namespace fluxgrid::python

namespace pybind11::detail {

// The library's texts are Python str both ways, through UTF-8.
template <>
struct type_caster<CString> {
    PYBIND11_TYPE_CASTER(CString, const_name("str"));

    bool load(handle source, bool) {
        if (!PyUnicode_Check(source.ptr())) {
            return false;
        }
        value = CString(source.cast<std::string>());
        return true;
    }

    static handle cast(const CString& text, return_value_policy, handle) {
        const std::string utf8 = text.ToUtf8();
        return PyUnicode_DecodeUTF8(utf8.data(), static_cast<Py_ssize_t>(utf8.size()), "replace");
    }
};

template <class Name>
struct handle_type_name<fluxgrid::python::TypedTuple<Name>> {
    static constexpr auto name = Name::text;
};

}  // namespace pybind11::detail

namespace fluxgrid::python {

namespace py = pybind11;

/// Every record class is held by a shared pointer, so that a sensor's
/// hardware record can be handed out sharing the sensor's ownership.
template <class T, class... Bases>
using Class = py::class_<T, Bases..., std::shared_ptr<T>>;

/// An attribute of the pure-Python module `fluxgrid._errors`: the
/// exception and warning classes.
py::object errorClass(const char* name);

/// Raises the exception object `exception` in Python.
[[noreturn]] void raiseObject(const py::object& exception);

/// A text that holds a file name as the system gave it, as Python's
/// os.fsdecode makes it: bytes that are not UTF-8 become surrogates, so that
/// the name goes back to the same bytes and no name fails to show.
py::str fileText(const std::string& text);

/// The bytes of a file name given as str, bytes or path, as os.fsencode
/// makes them: the inverse of `fileText`.
std::string fileBytes(const py::handle& name);

/// Issues each text as a warning of the class `category` of
/// `fluxgrid._errors`.
void warnTexts(const std::vector<std::string>& texts, const char* category);

/// Calls `f` with the message boxes of this thread captured; each box then
/// becomes a `fluxgrid.LibraryWarning`, so that nothing waits for a click.
template <class F>
decltype(auto) withBoxesAsWarnings(F&& f) {
    MessageBoxCapture capture;
    if constexpr (std::is_void_v<std::invoke_result_t<F>>) {
        std::forward<F>(f)();
        warnTexts(capture.texts(), "LibraryWarning");
    } else {
        auto result = std::forward<F>(f)();
        warnTexts(capture.texts(), "LibraryWarning");
        return result;
    }
}

/// A field of a named tuple: its name and its type as a stub writes it.
struct TupleField {
    const char* name;
    const char* type;
};

/// Defines the `typing.NamedTuple` class `name` with `fields` in `m`, and
/// returns it.
py::object defineNamedTuple(py::module_& m, const char* name,
                            std::initializer_list<TupleField> fields, const char* doc);

void bindRecords(py::module_& m);
void bindFiles(py::module_& m);
void bindLayouts(py::module_& m);
void bindChannels(py::module_& m);
void bindCheck(py::module_& m);

}  // namespace fluxgrid::python
