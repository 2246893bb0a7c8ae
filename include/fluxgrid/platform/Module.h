/// \file Module.h
/// Module life. The shared object registers itself with the framework when
/// it is loaded into a process and deregisters when it is unloaded, so that
/// the host's resource search reaches the resources it carries.
#pragma once

#include <fluxgrid/platform/Types.h>

#include <vector>

constexpr DWORD DLL_PROCESS_DETACH = 0;
constexpr DWORD DLL_PROCESS_ATTACH = 1;
constexpr DWORD DLL_THREAD_ATTACH = 2;
constexpr DWORD DLL_THREAD_DETACH = 3;

/// The record that stands for one extension module for its whole life.
struct AFX_EXTENSION_MODULE {
    BOOL bInitialized = FALSE;
    HMODULE hModule = nullptr;
    HMODULE hResource = nullptr;
};

/// Initialises `state` for the module `hModule`. Returns FALSE, and leaves
/// the record uninitialised, for a null module.
BOOL AfxInitExtensionModule(AFX_EXTENSION_MODULE& state, HMODULE hModule);
/// Releases the `CDynLinkLibrary` objects of `state`'s module (of every
/// module with `bAll`) and marks the record uninitialised.
void AfxTermExtensionModule(AFX_EXTENSION_MODULE& state, BOOL bAll = FALSE);

/// Joins a module to the framework's resource search. Once constructed it
/// belongs to the framework, which releases it in `AfxTermExtensionModule`.
class CDynLinkLibrary {
  public:
    CDynLinkLibrary(AFX_EXTENSION_MODULE& state, BOOL bSystem = FALSE);
    CDynLinkLibrary(const CDynLinkLibrary&) = delete;
    CDynLinkLibrary& operator=(const CDynLinkLibrary&) = delete;
    virtual ~CDynLinkLibrary();

    HMODULE m_hModule;
    HMODULE m_hResource;
    BOOL m_bSystem;

    /// The libraries joined so far, oldest first.
    static std::vector<CDynLinkLibrary*> Registered();
};

namespace fluxgrid {
/// The module's entry point: reason 1 attaches, reason 0 detaches, any other
/// reason does nothing. Called by the shared object's load and unload.
BOOL DllMain(HINSTANCE hInstance, DWORD reason, LPVOID reserved);
/// The module record of this library.
AFX_EXTENSION_MODULE& moduleRecord();
}  // namespace fluxgrid
