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

/// Copies `source` into a fixed array, whose shape it must have.
template <class T>
void assignArray(T& target, const py::handle& source, std::string_view name) {
    using Element = std::remove_all_extents_t<T>;
    const auto values =
        py::array_t<Element, py::array::c_style | py::array::forcecast>::ensure(source);
    const std::vector<py::ssize_t> shape = shapeOf<T>();
    if (!values || values.ndim() != static_cast<py::ssize_t>(shape.size()) ||
        !std::equal(shape.begin(), shape.end(), values.shape())) {
        throw py::value_error(std::string(name) + " takes an array of shape " + shapeWords<T>());
    }
    std::memcpy(&target, values.data(), sizeof(T));
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
                [member](Final& object, const T& value) { object.*member = value; }, doc.c_str());
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
                [member](Final& object, const R& value) { object.*member = value; }, doc.c_str());
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
            [member](Final& object, const std::vector<CString>& texts) {
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
