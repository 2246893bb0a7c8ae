// The dictionaries of the records, and the words that the attributes'
// documentation gives.
#include "Fields.h"

#include <fluxgrid/frame/FileKinds.h>

namespace fluxgrid::python {

void DictSink::open(py::object container) {
    put(container);
    m_open.push_back(std::move(container));
}

void DictSink::put(py::object value) {
    if (m_open.empty()) {
        m_result = std::move(value);
    } else if (py::isinstance<py::dict>(m_open.back())) {
        m_open.back()[py::str(m_keys.back())] = std::move(value);
        m_keys.pop_back();
    } else {
        m_open.back().cast<py::list>().append(std::move(value));
    }
}

void DictSink::beginObject() {
    open(py::dict());
}
void DictSink::endObject() {
    m_open.pop_back();
}
void DictSink::beginArray() {
    open(py::list());
}
void DictSink::endArray() {
    m_open.pop_back();
}
void DictSink::key(std::string_view name) {
    m_keys.emplace_back(name);
}
void DictSink::string(std::string_view text) {
    put(py::reinterpret_steal<py::object>(
        PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "replace")));
}
void DictSink::integer(std::int64_t value) {
    put(py::int_(value));
}
void DictSink::unsignedInteger(std::uint64_t value) {
    put(py::int_(value));
}
void DictSink::real(double value) {
    put(py::float_(value));
}
void DictSink::boolean(bool value) {
    put(py::bool_(value));
}
void DictSink::null() {
    put(py::none());
}

namespace detail {

void raiseFieldError(const char* cls, std::string_view name, const std::string& wanted,
                     const std::string& what) {
    const std::string field(name);
    raiseObject(errorClass(cls)(field + ": " + what + "; it takes " + wanted,
                                py::arg("field") = field, py::arg("wanted") = wanted));
}

std::string filedWords(fields::Filed filed) {
    using fields::Body;
    struct Named {
        Body body;
        const char* words;
    };
    static constexpr Named kBodies[] = {
        {Body::coil20080102, "coil 20080102"},     {Body::coil20091117, "coil 20091117"},
        {Body::coil20140513, "coil 20140513"},     {Body::coil20211230, "coil 20211230"},
        {Body::vapor20190121, "vapor 20190121"},   {Body::vapor20211230, "vapor 20211230"},
        {Body::squid20190201, "SQUID 20190201"},   {Body::opm20190201, "OPM 20190201"},
        {Body::sensor20080101, "sensor 20080101"}, {Body::sensor20091117, "sensor 20091117"},
        {Body::sensor20140513, "sensor 20140513"}, {Body::sensor20200210, "sensor 20200210"},
        {Body::headloc, "head localization"},      {Body::fiducialPoint, "fiducial point"},
        {Body::fiducialSet, "fiducial set"},       {Body::sphere, "sphere"},
    };
    std::string words;
    for (const Named& named : kBodies) {
        if (!filed.any(named.body)) {
            continue;
        }
        words += words.empty() ? "" : ", ";
        words += named.words;
        if (filed.firstRow(named.body)) {
            words += " (first row only)";
        }
    }
    return words.empty() ? "held in memory only, never filed" : "filed in " + words;
}

}  // namespace detail

}  // namespace fluxgrid::python
