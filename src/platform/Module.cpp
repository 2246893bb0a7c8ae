#include <fluxgrid/platform/Module.h>

#include <dlfcn.h>
#include <algorithm>
#include <new>

namespace {

// The framework's list of joined libraries. It owns them from the moment
// they are constructed. Never destroyed: the unload of the shared object may
// run after the static destructors.
std::vector<CDynLinkLibrary*>& libraries() {
    static auto* list = new std::vector<CDynLinkLibrary*>();
    return *list;
}

}  // namespace

BOOL AfxInitExtensionModule(AFX_EXTENSION_MODULE& state, HMODULE hModule) {
    if (hModule == nullptr) {
        return FALSE;
    }
    if (!state.bInitialized) {
        state.hModule = hModule;
        state.hResource = hModule;
        state.bInitialized = TRUE;
    }
    return TRUE;
}

void AfxTermExtensionModule(AFX_EXTENSION_MODULE& state, BOOL bAll) {
    if (!state.bInitialized) {
        return;
    }
    auto& list = libraries();
    std::vector<CDynLinkLibrary*> leaving;
    for (CDynLinkLibrary* library : list) {
        if (bAll || library->m_hModule == state.hModule) {
            leaving.push_back(library);
        }
    }
    for (CDynLinkLibrary* library : leaving) {
        delete library;
    }
    state.bInitialized = FALSE;
}

CDynLinkLibrary::CDynLinkLibrary(AFX_EXTENSION_MODULE& state, BOOL bSystem)
    : m_hModule(state.hModule), m_hResource(state.hResource), m_bSystem(bSystem) {
    libraries().push_back(this);
}

CDynLinkLibrary::~CDynLinkLibrary() {
    auto& list = libraries();
    list.erase(std::remove(list.begin(), list.end(), this), list.end());
}

std::vector<CDynLinkLibrary*> CDynLinkLibrary::Registered() {
    return libraries();
}

namespace fluxgrid {

AFX_EXTENSION_MODULE& moduleRecord() {
    // Zeroed before any code of the module runs, and alive until its end.
    static AFX_EXTENSION_MODULE record;
    return record;
}

BOOL DllMain(HINSTANCE hInstance, DWORD reason, LPVOID /*reserved*/) {
    if (reason == DLL_PROCESS_ATTACH) {
        if (!AfxInitExtensionModule(moduleRecord(), hInstance)) {
            return FALSE;
        }
        // The framework owns the object from here on; if it cannot be had,
        // the module still loads, without joining the resource search.
        new (std::nothrow) CDynLinkLibrary(moduleRecord(), FALSE);
        return TRUE;
    }
    if (reason == DLL_PROCESS_DETACH) {
        AfxTermExtensionModule(moduleRecord(), FALSE);
        return TRUE;
    }
    return TRUE;
}

}  // namespace fluxgrid

namespace {

// This shared object's own handle: the base address it was loaded at.
HINSTANCE thisModule() {
    Dl_info info{};
    if (::dladdr(reinterpret_cast<void*>(&thisModule), &info) != 0) {
        return info.dli_fbase;
    }
    return nullptr;
}

__attribute__((constructor)) void attachModule() {
    fluxgrid::DllMain(thisModule(), DLL_PROCESS_ATTACH, nullptr);
}

__attribute__((destructor)) void detachModule() {
    fluxgrid::DllMain(thisModule(), DLL_PROCESS_DETACH, nullptr);
}

}  // namespace
