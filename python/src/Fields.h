// Attributes of the record classes made from the library's field table:
// every field under its own name, nested as in the model. Fixed arrays of
// numbers are numpy views of the object's own memory that keep the object
// alive; nested records are live references that keep their holder alive.
#pragma once

#include "Bindings.h"

#include <fluxgrid/fields/FieldTable.h>
#include <fluxgrid/fields/ObjectTree.h>

#include <array>
#include <cstring>
#include <limits>
#include <string>
#include <tuple>
#include <type_traits>

namespace fluxgrid::python {

namespace detail {

// The shape of a fixed array of one to three dimensions, row-major.
template <class T>
std::vector<py::ssize_t> shapeOf() {
    std::vector<py::ssize_t> shape;
    if constexpr (std::rank_v<T> >= 1) {
        shape.push_back(std::extent_v<T, 0>);
    }
    if constexpr (std::rank_v<T> >= 2) {
        shape.push_back(std::extent_v<T, 1>);
    }
    if constexpr (std::rank_v<T> >= 3) {
        shape.push_back(std::extent_v<T, 2>);
    }
    return shape;
}

template <class T>
std::vector<py::ssize_t> stridesOf() {
    using Element = std::remove_all_extents_t<T>;
    const std::vector<py::ssize_t> shape = shapeOf<T>();
    std::vector<py::ssize_t> strides(shape.size());
    py::ssize_t stride = sizeof(Element);
    for (std::size_t i = shape.size(); i-- > 0;) {
        strides[i] = stride;
        stride *= shape[i];
    }
    return strides;
}

/// The shape of a fixed array as Python writes it: "(4,)", "(12, 2, 3)".
template <class T>
std::string shapeWords() {
    return py::str(py::tuple(py::cast(shapeOf<T>()))).cast<std::string>();
}

/// A numpy view of a fixed array inside the object that `owner` holds.
template <class T>
py::array arrayView(T& values, py::handle owner) {
    using Element = std::remove_all_extents_t<T>;
    return py::array(py::dtype::of<Element>(), shapeOf<T>(), stridesOf<T>(),
                     reinterpret_cast<Element*>(&values), owner);
}

/// Raises the `fluxgrid` exception `cls` (FieldTypeError, FieldOverflowError
/// or FieldValueError) about the field `name`, which takes `wanted`.
[[noreturn]] void raiseFieldError(const char* cls, std::string_view name, const std::string& wanted,
                                  const std::string& what);

/// An integer for the field `name` from a Python number: whole numbers
/// within the range of `T` only, never wrapped or rounded.
template <class T>
T integerOf(py::handle value, std::string_view name) {
    static_assert(std::is_integral_v<T> && !std::is_same_v<T, bool>);
    const std::string wanted = py::str(py::dtype::of<T>()).cast<std::string>();
    if (PyFloat_Check(value.ptr())) {
        raiseFieldError("FieldTypeError", name, "int (" + wanted + ")",
                        "not a float: " + py::repr(value).cast<std::string>());
    }
    py::object index = py::reinterpret_steal<py::object>(PyNumber_Index(value.ptr()));
    if (!index) {
        PyErr_Clear();
        raiseFieldError(
            "FieldTypeError", name, "int (" + wanted + ")",
            "not a " + py::str(py::type::of(value).attr("__name__")).cast<std::string>());
    }
    int overflow = 0;
    const long long number = PyLong_AsLongLongAndOverflow(index.ptr(), &overflow);
    if (overflow != 0 || number < std::numeric_limits<T>::min() ||
        number > std::numeric_limits<T>::max()) {
        raiseFieldError("FieldOverflowError", name,
                        wanted + " (" + std::to_string(std::numeric_limits<T>::min()) + " to " +
                            std::to_string(std::numeric_limits<T>::max()) + ")",
                        py::repr(index).cast<std::string>() + " is out of range");
    }
    return static_cast<T>(number);
}

/// `source` as an array that converts to the integers of `T` without a
/// change of value: integers within range and whole finite floats.
/// Anything else raises the field's error.
template <class T>
py::array checkedIntegers(const py::handle& source, std::string_view name) {
    const py::module_ numpy = py::module_::import("numpy");
    py::array values = numpy.attr("asarray")(source);
    const char kind = values.dtype().kind();
    if (kind == 'b' || values.size() == 0) {
        return values;
    }
    if (kind != 'i' && kind != 'u' && kind != 'f') {
        // Python ints beyond 64 bits, objects, texts: one by one, as a
        // scalar assignment takes them.
        py::list checked;
        for (const py::handle item : values.attr("ravel")()) {
            checked.append(integerOf<T>(item, name));
        }
        return numpy.attr("reshape")(numpy.attr("array")(checked, py::dtype::of<T>()),
                                     values.attr("shape"));
    }
    const std::string wanted = py::str(py::dtype::of<T>()).cast<std::string>();
    if (kind == 'f') {
        if (!numpy.attr("isfinite")(values).attr("all")().cast<bool>()) {
            raiseFieldError("FieldValueError", name, "whole numbers (" + wanted + ")",
                            "a value is not finite");
        }
        if (!numpy.attr("array_equal")(values, numpy.attr("trunc")(values)).cast<bool>()) {
            raiseFieldError("FieldValueError", name, "whole numbers (" + wanted + ")",
                            "a value is not whole");
        }
    }
    // Compared as Python numbers, which neither wrap nor round.
    const py::object low = values.attr("min")().attr("item")();
    const py::object high = values.attr("max")().attr("item")();
    if (low < py::int_(std::numeric_limits<T>::min()) ||
        high > py::int_(std::numeric_limits<T>::max())) {
        raiseFieldError("FieldOverflowError", name,
                        wanted + " (" + std::to_string(std::numeric_limits<T>::min()) + " to " +
                            std::to_string(std::numeric_limits<T>::max()) + ")",
                        "values from " + py::repr(low).cast<std::string>() + " to " +
                            py::repr(high).cast<std::string>() + " are out of range");
    }
    return values;
}

/// Copies `source` into a fixed array, whose shape it must have; into an
/// array of integers only values that fit them unchanged.
template <class T>
void assignArray(T& target, const py::handle& source, std::string_view name) {
    using Element = std::remove_all_extents_t<T>;
    py::object checked = py::reinterpret_borrow<py::object>(source);
    if constexpr (std::is_integral_v<Element> && !std::is_same_v<Element, bool>) {
        checked = checkedIntegers<Element>(source, name);
    }
    const auto values =
        py::array_t<Element, py::array::c_style | py::array::forcecast>::ensure(checked);
    const std::vector<py::ssize_t> shape = shapeOf<T>();
    if (!values || values.ndim() != static_cast<py::ssize_t>(shape.size()) ||
        !std::equal(shape.begin(), shape.end(), values.shape())) {
        raiseFieldError(
            "FieldValueError", name, "an array of shape " + shapeWords<T>(),
            values ? "an array of shape " + py::str(values.attr("shape")).cast<std::string>()
                   : std::string("not an array of numbers"));
    }
    std::memcpy(&target, values.data(), sizeof(T));
}

/// `value` as the `T` of the field `name`, whose type in words is `wanted`;
/// a value of another type raises FieldTypeError.
template <class T>
T castField(py::handle value, std::string_view name, const std::string& wanted) {
    if constexpr (std::is_integral_v<T> && !std::is_same_v<T, bool>) {
        return integerOf<T>(value, name);
    } else {
        try {
            return value.cast<T>();
        } catch (const py::cast_error&) {
            raiseFieldError(
                "FieldTypeError", name, wanted,
                "not a " + py::str(py::type::of(value).attr("__name__")).cast<std::string>());
        }
    }
}

template <class T>
std::string typeWords() {
    using Element = std::remove_all_extents_t<T>;
    if constexpr (std::is_array_v<T>) {
        const std::string dtype = std::is_same_v<Element, double> ? "float64"
                                  : std::is_same_v<Element, bool> ? "bool"
                                                                  : "int32";
        return "numpy " + dtype + " array of shape " + shapeWords<T>() +
               ", a view of the object's memory";
    }
    return std::is_same_v<Element, double>    ? "float"
           : std::is_same_v<Element, bool>    ? "bool"
           : std::is_same_v<Element, CString> ? "str"
                                              : "int";
}

// The file bodies that hold a field, in words.
std::string filedWords(fields::Filed filed);

}  // namespace detail

/// Binds the fields of `Table` as attributes of `cls`, whose objects are
/// `Final`.
template <class Final, class PyClass>
class FieldBinder {
  public:
    explicit FieldBinder(PyClass& cls) : m_cls(cls) {}

    template <class Table>
    void bind() {
        std::apply([this](const auto&... field) { (add(field), ...); }, Table::fields);
    }

  private:
    template <class C, class T>
    void add(const fields::Value<C, T>& field) {
        const auto member = field.member;
        const std::string doc = detail::typeWords<T>() + "; " + detail::filedWords(field.filed);
        if constexpr (std::is_array_v<T>) {
            const std::string_view name = field.name;
            m_cls.def_property(
                field.name.data(),
                [member](py::object self) {
                    Final& object = self.cast<Final&>();
                    return detail::arrayView(object.*member, self);
                },
                [member, name](Final& object, py::object values) {
                    detail::assignArray(object.*member, values, name);
                },
                doc.c_str());
        } else {
            m_cls.def_property(
                field.name.data(), [member](const Final& object) { return object.*member; },
                [member, name = field.name](Final& object, py::handle value) {
                    object.*member = detail::castField<T>(value, name, detail::typeWords<T>());
                },
                doc.c_str());
        }
    }

    template <class C, class R>
    void add(const fields::Nested<C, R>& field) {
        const auto member = field.member;
        if constexpr (std::is_array_v<R>) {
            const std::string doc = "tuple of " + std::to_string(std::extent_v<R>) +
                                    " records, live parts of this object; " +
                                    detail::filedWords(field.filed);
            m_cls.def_property_readonly(
                field.name.data(),
                [member](py::object self) {
                    Final& object = self.cast<Final&>();
                    auto& records = object.*member;
                    py::tuple parts(std::extent_v<R>);
                    for (std::size_t i = 0; i < std::extent_v<R>; ++i) {
                        parts[i] = py::cast(&records[i],
                                            py::return_value_policy::reference_internal, self);
                    }
                    return parts;
                },
                doc.c_str());
        } else {
            const std::string doc =
                "record, a live part of this object (assigning copies into it); " +
                detail::filedWords(field.filed);
            m_cls.def_property(
                field.name.data(),
                [member](py::object self) {
                    Final& object = self.cast<Final&>();
                    return py::cast(&(object.*member), py::return_value_policy::reference_internal,
                                    self);
                },
                [member, name = field.name](Final& object, py::handle value) {
                    object.*member = detail::castField<R>(
                        value, name,
                        py::str(py::type::of<R>().attr("__name__")).cast<std::string>());
                },
                doc.c_str());
        }
    }

    template <class C, class B>
    void add(const fields::Base<C, B>& field) {
        if (field.name.empty()) {
            bind<fields::Table<B>>();
            return;
        }
        m_cls.def_property_readonly(
            field.name.data(),
            [](py::object self) {
                B& base = self.cast<Final&>();
                return py::cast(&base, py::return_value_policy::reference_internal, self);
            },
            "the base record, a live part of this object");
    }

    template <class C>
    void add(const fields::Hardware<C>& field);

    template <class C>
    void add(const fields::Entries<C>& field) {
        const auto member = field.member;
        m_cls.def_property_readonly(
            field.name.data(),
            [member](const Final& object) {
                const CFiducialPtrArray& entries = object.*member;
                py::list copies;
                for (INT_PTR i = 0; i < entries.GetSize(); ++i) {
                    if (const HEAD_LOCATION_TRIAL* record = entries.GetRecordAt(i)) {
                        copies.append(py::cast(std::make_shared<HEAD_LOCATION_TRIAL>(*record)));
                    } else if (const CFiducialqv* set = entries.GetFiducialAt(i)) {
                        copies.append(py::cast(std::make_shared<CFiducialqv>(*set)));
                    } else {
                        copies.append(py::none());
                    }
                }
                return copies;
            },
            ("list of copies of the entries (HeadLocationTrial, FiducialSet or None): the "
             "methods of the object release and replace them; " +
             detail::filedWords(field.filed))
                .c_str());
    }

    template <class C>
    void add(const fields::Strings<C>& field) {
        const auto member = field.member;
        m_cls.def_property(
            field.name.data(),
            [member](const Final& object) {
                std::vector<CString> texts(std::begin(object.*member), std::end(object.*member));
                return texts;
            },
            [member, name = field.name](Final& object, py::handle value) {
                const auto texts =
                    detail::castField<std::vector<CString>>(value, name, "list of str");
                CStringArray& target = object.*member;
                target.RemoveAll();
                for (const CString& text : texts) {
                    target.Add(text);
                }
            },
            ("list of str, a copy (assigning replaces the list); " +
             detail::filedWords(field.filed))
                .c_str());
    }

    PyClass& m_cls;
};

/// The sensor's hardware record: the SQUID or OPM record (or, for a type the
/// library does not know, the common part), sharing the sensor's ownership,
/// so that it stays valid after the sensor lets it go.
py::object hardwareRecordOf(const CMEGSensor& sensor);

template <class Final, class PyClass>
template <class C>
void FieldBinder<Final, PyClass>::add(const fields::Hardware<C>& field) {
    m_cls.def_property_readonly(
        field.name.data(), [](const Final& object) { return hardwareRecordOf(object); },
        ("SquidRecord, OpmRecord, HardwareRecord or None: the record the sensor holds; " +
         detail::filedWords(field.filed))
            .c_str());
}

/// Builds the dictionaries, lists and scalars of a record's tree.
class DictSink final : public TreeSink {
  public:
    void beginObject() override;
    void endObject() override;
    void beginArray() override;
    void endArray() override;
    void key(std::string_view name) override;
    void string(std::string_view text) override;
    void integer(std::int64_t value) override;
    void unsignedInteger(std::uint64_t value) override;
    void real(double value) override;
    void boolean(bool value) override;
    void null() override;

    /// The whole tree, once it is closed.
    py::object take() { return std::move(m_result); }

  private:
    void put(py::object value);
    void open(py::object container);

    std::vector<py::object> m_open;
    std::vector<std::string> m_keys;
    py::object m_result;
};

/// The fields of a record as the dictionaries, lists and scalars of the
/// tool's JSON.
template <class Record>
py::object toDict(const Record& record) {
    DictSink sink;
    writeObjectTree(sink, record);
    return sink.take();
}

/// Binds every field of `Final` as an attribute of `cls`, and `to_dict`.
template <class Final, class PyClass>
void bindFields(PyClass& cls) {
    FieldBinder<Final, PyClass>(cls).template bind<fields::Table<Final>>();
    cls.def(
        "to_dict", [](const Final& object) { return py::dict(toDict(object)); },
        "Every field as dictionaries, lists and scalars: the names, nesting and values of the "
        "\"object\" of `fluxgrid info --json` (NaN and infinities stay floats).");
}

}  // namespace fluxgrid::python
