// The layout tables: read-only numpy views of the library's own constant
// rows, with the frame each table stands in.
#include "Bindings.h"

#include <fluxgrid/element/BscMagSns.h>
#include <fluxgrid/tables/Layouts.h>

#include <cstddef>

namespace fluxgrid::python {

namespace {

// A read-only view of `count` values of type T, one per row of `stride`
// bytes, `width` of them side by side.
template <class T>
py::array rowsView(const T* first, std::size_t count, std::size_t stride, std::size_t width,
                   py::handle owner) {
    std::vector<py::ssize_t> shape{static_cast<py::ssize_t>(count)};
    std::vector<py::ssize_t> strides{static_cast<py::ssize_t>(stride)};
    if (width > 1) {
        shape.push_back(static_cast<py::ssize_t>(width));
        strides.push_back(sizeof(T));
    }
    py::array view(py::dtype::of<T>(), shape, strides, first, owner);
    py::detail::array_proxy(view.ptr())->flags &= ~py::detail::npy_api::NPY_ARRAY_WRITEABLE_;
    return view;
}

template <class Row>
py::list namesOf(std::span<const Row> rows) {
    py::list names;
    for (const Row& row : rows) {
        names.append(py::cast(row.name));
    }
    return names;
}

// The table's fields, in a dictionary that the package's Layout takes.
py::dict layout(const std::string& name) {
    const LayoutTableInfo* table = findLayoutTable(name);
    if (table == nullptr) {
        throw py::key_error(name);
    }
    const LayoutFrameInfo& frame = layoutFrameInfo(table->frame);
    // The rows are the library's constants and live as long as the process:
    // a capsule that frees nothing stands for their owner.
    const py::capsule owner(table, [](void*) {});
    py::dict fields;
    fields["name"] = std::string(table->name);
    fields["frame"] = std::string(frame.name);
    fields["axes"] = std::string(frame.axes);
    fields["unit"] = frame.unit.empty() ? py::object(py::none()) : py::str(std::string(frame.unit));
    fields["units_per_metre"] = frame.unitsPerMetre;
    if (table->isMeg()) {
        const auto& rows = table->meg;
        constexpr std::size_t stride = sizeof(MEG_OPM_NAME_POS_TYPE);
        fields["names"] = namesOf(rows);
        fields["pos"] = rowsView(&rows[0].posX, rows.size(), stride, 3, owner);
        fields["ori"] = rowsView(&rows[0].ornX, rows.size(), stride, 3, owner);
        fields["types"] = rowsView(&rows[0].sensorType, rows.size(), stride, 1, owner);
        fields["kinds"] = py::none();
    } else {
        const auto& rows = table->eeg;
        constexpr std::size_t stride = sizeof(EEG_NAME_POS_TYPE);
        fields["names"] = namesOf(rows);
        fields["pos"] = rowsView(&rows[0].posX, rows.size(), stride, 3, owner);
        fields["ori"] = py::none();
        fields["types"] = rowsView(&rows[0].sensorType, rows.size(), stride, 1, owner);
        fields["kinds"] = rowsView(&rows[0].electrodeKind, rows.size(), stride, 1, owner);
    }
    return fields;
}

}  // namespace

void bindLayouts(py::module_& m) {
    m.def(
        "layout_names",
        [] {
            std::vector<std::string> names;
            for (const LayoutTableInfo& table : layoutTables()) {
                names.emplace_back(table.name);
            }
            return names;
        },
        "The names of the thirteen layout tables, EEG first, in the library's order.");
    m.def("_layout", &layout, py::arg("name"));
    m.def(
        "flatten",
        [](const py::array_t<double, py::array::c_style | py::array::forcecast>& points) {
            if (points.ndim() != 2 || points.shape(1) != 3) {
                throw py::value_error("points must be an (n, 3) array");
            }
            const auto in = points.unchecked<2>();
            py::array_t<double> flat({in.shape(0), py::ssize_t{2}});
            auto out = flat.mutable_unchecked<2>();
            for (py::ssize_t i = 0; i < in.shape(0); ++i) {
                CBscMagSns::flatten3Dto2D(in(i, 0), in(i, 1), in(i, 2), out(i, 0), out(i, 1));
            }
            return flat;
        },
        py::arg("points"),
        "The library's flattening of (n, 3) points seen from the origin with +z as the "
        "vertex: (n, 2) azimuthal equidistant positions, the unit circle 108 degrees from "
        "the vertex.");
    m.def(
        "axes_to_ras",
        [](const std::string& code) {
            const std::optional<AxesMap> map = axesToRas(code);
            if (!map) {
                throw py::value_error("'" + code +
                                      "' is no orientation code: three letters, one of R or L, "
                                      "one of A or P and one of S or I");
            }
            py::array_t<double> matrix({3, 3});
            auto m = matrix.mutable_unchecked<2>();
            for (int row = 0; row < 3; ++row) {
                for (int column = 0; column < 3; ++column) {
                    m(row, column) = column == map->source[row] ? map->sign[row] : 0.0;
                }
            }
            return matrix;
        },
        py::arg("code"),
        "The 3 x 3 matrix that turns coordinates of the frame with orientation code `code` "
        "(\"LSP\", \"ALS\", ...: each letter where its axis grows toward) into RAS (x right, y "
        "nose, z up). Its determinant is -1 for a left-handed frame: a reflection.");
}

}  // namespace fluxgrid::python
