// Counts every allocation of the process (malloc and operator new alike)
// through the sanitizer allocator's hooks, which leaves its own checks of
// mismatched and double releases in place.
#include "AllocationMeter.h"

#include <sanitizer/allocator_interface.h>

#include <cstdio>
#include <cstdlib>

namespace {

std::size_t g_total = 0;

void onMalloc(const volatile void*, std::size_t size) {
    g_total += size;
}

void onFree(const volatile void*) {}

// Without the hooks the appetite check would pass unseen, so a program
// that cannot install them does not run at all.
const bool g_installed = [] {
    if (__sanitizer_install_malloc_and_free_hooks(onMalloc, onFree) == 0) {
        std::fputs("allocation hooks unavailable: build with AddressSanitizer\n", stderr);
        std::abort();
    }
    return true;
}();

}  // namespace

std::size_t fluxgrid::fuzz::AllocationMeter::total() {
    return g_total;
}
