// The extension `fluxgrid._fluxgrid`: the library's records, files, layout
// tables, channel types and geometry check. The package `fluxgrid` puts the
// Python face on it.
#include "Bindings.h"

#include <fluxgrid/platform/Exceptions.h>

namespace fluxgrid::python {

py::object errorClass(const char* name) {
    return py::module_::import("fluxgrid._errors").attr(name);
}

void raiseObject(const py::object& exception) {
    PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(exception.ptr())), exception.ptr());
    throw py::error_already_set();
}

py::str fileText(const std::string& text) {
    return py::reinterpret_steal<py::str>(
        PyUnicode_DecodeFSDefaultAndSize(text.data(), static_cast<Py_ssize_t>(text.size())));
}

std::string fileBytes(const py::handle& name) {
    return py::module_::import("os").attr("fsencode")(name).cast<std::string>();
}

void warnTexts(const std::vector<std::string>& texts, const char* category) {
    if (texts.empty()) {
        return;
    }
    const py::object warning = errorClass(category);
    for (const std::string& text : texts) {
        if (PyErr_WarnEx(warning.ptr(), text.c_str(), 2) != 0) {
            throw py::error_already_set();
        }
    }
}

py::object defineNamedTuple(py::module_& m, const char* name,
                            std::initializer_list<TupleField> fields, const char* doc) {
    py::list members;
    for (const TupleField& field : fields) {
        members.append(py::make_tuple(field.name, field.type));
    }
    py::object cls = py::module_::import("typing").attr("NamedTuple")(name, members);
    cls.attr("__module__") = m.attr("__name__");
    cls.attr("__doc__") = doc;
    m.attr(name) = cls;
    return cls;
}

}  // namespace fluxgrid::python

PYBIND11_MODULE(_fluxgrid, m) {
    using namespace fluxgrid::python;
    m.doc() =
        "The records, files, layout tables, channel types and geometry check of the fluxgrid "
        "library.";
    m.attr("__version__") = FLUXGRID_VERSION;
    // The library's own exceptions out of any call become fluxgrid.Error.
    py::register_exception_translator([](std::exception_ptr thrown) {
        try {
            if (thrown) {
                std::rethrow_exception(thrown);
            }
        } catch (const CException& e) {
            PyErr_SetString(errorClass("Error").ptr(), e.what());
        }
    });
    bindRecords(m);
    bindFiles(m);
    bindLayouts(m);
    bindChannels(m);
    bindCheck(m);
}
