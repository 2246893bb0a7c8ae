// Channel types: what a type code means, as the library tells it, for the
// package and its bridges to the analysis packages.
#include "Bindings.h"

#include <fluxgrid/channels/ChannelTypes.h>

#include <string>
#include <vector>

namespace fluxgrid::python {

namespace {

struct ChannelTypeName {
    static constexpr auto text = py::detail::const_name("ChannelType");
};

}  // namespace

void bindChannels(py::module_& m) {
    const py::object tupleClass = defineNamedTuple(
        m, "ChannelType", {{"code", "int"}, {"name", "str"}, {"kind", "str"}, {"known", "bool"}},
        "What a channel type code means: the code; its name, as getSensorTypeName gives it "
        "(\"Unknown\" for a code of no entry); the kind of channel, \"meg\", \"ref\", \"eeg\", "
        "\"stim\" or \"misc\"; and whether the code has a name of its own.");
    m.def(
        "channel_type",
        [tupleClass](int code, bool opm) -> TypedTuple<ChannelTypeName> {
            const ChannelType type = channelType(code, opm);
            return tupleClass(type.code, std::string(type.name),
                              std::string(channelKindWord(type.kind)), type.known);
        },
        py::arg("code"), py::kw_only(), py::arg("opm") = false,
        "The meaning of a sensor type code. With `opm`, for a sensor that holds an OPM record, "
        "the codes of the OPM setup dialog are an MEG channel (700) and a reference (800).");
    m.def(
        "channel_type_codes",
        [] {
            const auto codes = namedChannelTypeCodes();
            return std::vector<int>(codes.begin(), codes.end());
        },
        "Every type code with a name, in the order of the library's table.");
}

}  // namespace fluxgrid::python
