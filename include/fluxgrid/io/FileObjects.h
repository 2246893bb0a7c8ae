/// \file FileObjects.h
/// The final class that each file kind of `kFileKinds` holds, as one list
/// in the table's order, and everything that goes from a kind to its class
/// or back: `FileObjectOf`, the `FileObject` concept, `kFileKindOf`, the
/// entry `serializeFile`, the variant `FileObjectPtr` and `forEachFileKind`.
/// A new kind is a row of `kFileKinds`, its class in `FileObjectTypes`, and
/// the class itself; loading, storing, the tool, the Python module and the
/// fuzz targets walk this list.
#pragma once

#include <fluxgrid/element/MagCoil.h>
#include <fluxgrid/element/MagVapor.h>
#include <fluxgrid/frame/FileKinds.h>
#include <fluxgrid/headloc/HeadLocalization.h>
#include <fluxgrid/platform/Archive.h>
#include <fluxgrid/sensor/MEGSensor.h>
#include <fluxgrid/sensor/MegOpm.h>
#include <fluxgrid/sensor/MegSquid.h>

#include <cstddef>
#include <memory>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>

namespace fluxgrid {

/// The final class of each kind, in the order of `kFileKinds`.
using FileObjectTypes =
    std::tuple<CMagCoilqv, CMagVaporqv, CMegSquidqv, CMegOpmqv, CMEGSensorqv, CHeadLocalizationqv>;

static_assert(std::tuple_size_v<FileObjectTypes> == kFileKinds.size(),
              "every kind of the table holds one class, and every class one kind");

/// The final class of a file kind.
template <FileKind Kind>
struct FileObjectOf {
    using type = std::tuple_element_t<static_cast<std::size_t>(Kind), FileObjectTypes>;
};

namespace detail {

template <class T, class Tuple>
struct IndexIn;
template <class T, class... Ts>
struct IndexIn<T, std::tuple<Ts...>> {
    static constexpr std::size_t count = (std::size_t{std::is_same_v<T, Ts>} + ... + 0);
    static constexpr std::size_t index = [] {
        std::size_t i = 0;
        ((std::is_same_v<T, Ts> ? false : (++i, true)) && ...);
        return i;
    }();
};

template <class Tuple>
struct PointersOf;
template <class... Ts>
struct PointersOf<std::tuple<Ts...>> {
    using type = std::variant<std::unique_ptr<Ts>...>;
};

}  // namespace detail

/// One of the final classes that a file holds.
template <class T>
concept FileObject = detail::IndexIn<T, FileObjectTypes>::count == 1;

/// The kind of file that holds a `T`.
template <FileObject T>
inline constexpr FileKind kFileKindOf =
    static_cast<FileKind>(detail::IndexIn<T, FileObjectTypes>::index);

/// The entry of a final class: the one function that loads or stores a
/// whole file of its kind, frame and body, as the archive's direction says.
/// It is `serializeqv` where the class has one; the SQUID and OPM records
/// name theirs `serialize`.
template <FileObject T>
int serializeFile(T& object, CArchive& ar) {
    if constexpr (requires { object.serializeqv(ar); }) {
        return object.serializeqv(ar);
    } else {
        return object.serialize(ar);
    }
}

/// The object a file was loaded into; the alternative's index is the
/// `FileKind`.
using FileObjectPtr = detail::PointersOf<FileObjectTypes>::type;

/// Calls `f.template operator()<Kind>()` for every kind, in the table's
/// order: `forEachFileKind([]<FileKind K>() { ... });`.
template <class F>
constexpr void forEachFileKind(F&& f) {
    [&f]<std::size_t... I>(std::index_sequence<I...>) {
        (f.template operator()<static_cast<FileKind>(I)>(), ...);
    }
    (std::make_index_sequence<kFileKinds.size()>());
}

static_assert(kFileKindOf<CMEGSensorqv> == FileKind::sensor);
static_assert(std::is_same_v<FileObjectOf<FileKind::headloc>::type, CHeadLocalizationqv>);

}  // namespace fluxgrid
