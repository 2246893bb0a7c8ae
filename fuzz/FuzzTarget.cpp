// The fuzz target of one kind, chosen when the program is built: any input
// goes through that kind's loader (see FuzzLoad.h for what is checked).
#include "FuzzLoad.h"
#include "Kinds.h"

#ifndef FLUXGRID_FUZZ_KIND
#error "FLUXGRID_FUZZ_KIND names the kind this target loads"
#endif

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return fluxgrid::fuzz::fuzzOneInput<fluxgrid::fuzz::FLUXGRID_FUZZ_KIND>(data, size);
}
