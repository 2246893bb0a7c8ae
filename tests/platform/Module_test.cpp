// Module life: the library registers itself when it is loaded into a process.
// These tests run inside a process that has loaded the library, so the real
// module record is live; any test that detaches it attaches it again before
// it checks anything.
#include <fluxgrid/platform/MessageBox.h>
#include <fluxgrid/platform/Module.h>

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <algorithm>
#include <vector>

namespace {

// Registrations that belong to `module`.
std::vector<CDynLinkLibrary*> registeredFor(HMODULE module) {
    std::vector<CDynLinkLibrary*> found;
    for (CDynLinkLibrary* library : CDynLinkLibrary::Registered()) {
        if (library->m_hModule == module) {
            found.push_back(library);
        }
    }
    return found;
}

// The base address at which the library was loaded, found independently of
// the module code through one of the library's own functions.
HMODULE libraryBase() {
    Dl_info info{};
    if (::dladdr(reinterpret_cast<void*>(&AfxInitExtensionModule), &info) == 0) {
        return nullptr;
    }
    return info.dli_fbase;
}

// Two distinct addresses to stand for modules that are not loaded.
int g_fakeModuleA = 0;
int g_fakeModuleB = 0;

TEST(Module, ReasonCodesHaveTheFrameworkValues) {
    EXPECT_EQ(DLL_PROCESS_DETACH, 0u);
    EXPECT_EQ(DLL_PROCESS_ATTACH, 1u);
    EXPECT_EQ(DLL_THREAD_ATTACH, 2u);
    EXPECT_EQ(DLL_THREAD_DETACH, 3u);
}

TEST(Module, LoadedLibraryHasInitialisedRecord) {
    const AFX_EXTENSION_MODULE& record = fluxgrid::moduleRecord();
    EXPECT_EQ(record.bInitialized, TRUE);
    ASSERT_NE(libraryBase(), nullptr);
    EXPECT_EQ(record.hModule, libraryBase());
    EXPECT_EQ(record.hResource, libraryBase());
}

TEST(Module, LoadedLibraryIsRegisteredExactlyOnce) {
    const HMODULE module = fluxgrid::moduleRecord().hModule;
    ASSERT_NE(module, nullptr);
    const std::vector<CDynLinkLibrary*> mine = registeredFor(module);
    ASSERT_EQ(mine.size(), 1u);
    EXPECT_EQ(mine[0]->m_hResource, module);
    EXPECT_EQ(mine[0]->m_bSystem, FALSE);
}

TEST(Module, ThreadAttachAndDetachReturnOneAndChangeNothing) {
    AFX_EXTENSION_MODULE& record = fluxgrid::moduleRecord();
    const AFX_EXTENSION_MODULE before = record;
    const std::vector<CDynLinkLibrary*> registeredBefore = CDynLinkLibrary::Registered();
    EXPECT_EQ(fluxgrid::DllMain(record.hModule, DLL_THREAD_ATTACH, nullptr), TRUE);
    EXPECT_EQ(fluxgrid::DllMain(record.hModule, DLL_THREAD_DETACH, nullptr), TRUE);
    EXPECT_EQ(fluxgrid::DllMain(nullptr, DLL_THREAD_ATTACH, nullptr), TRUE);
    EXPECT_EQ(fluxgrid::DllMain(nullptr, 99, nullptr), TRUE);
    EXPECT_EQ(record.bInitialized, before.bInitialized);
    EXPECT_EQ(record.hModule, before.hModule);
    EXPECT_EQ(record.hResource, before.hResource);
    EXPECT_EQ(CDynLinkLibrary::Registered(), registeredBefore);
}

TEST(Module, InitWithNullInstanceFailsAndLeavesRecordZeroed) {
    AFX_EXTENSION_MODULE fresh;
    EXPECT_EQ(AfxInitExtensionModule(fresh, nullptr), FALSE);
    EXPECT_EQ(fresh.bInitialized, FALSE);
    EXPECT_EQ(fresh.hModule, nullptr);
    EXPECT_EQ(fresh.hResource, nullptr);
}

TEST(Module, ProcessAttachWithNullInstanceFailsAndChangesNothing) {
    AFX_EXTENSION_MODULE& record = fluxgrid::moduleRecord();
    const AFX_EXTENSION_MODULE before = record;
    const std::vector<CDynLinkLibrary*> registeredBefore = CDynLinkLibrary::Registered();
    EXPECT_EQ(fluxgrid::DllMain(nullptr, DLL_PROCESS_ATTACH, nullptr), FALSE);
    EXPECT_EQ(record.bInitialized, before.bInitialized);
    EXPECT_EQ(record.hModule, before.hModule);
    EXPECT_EQ(CDynLinkLibrary::Registered(), registeredBefore);
}

TEST(Module, FreshRecordStartsZeroed) {
    const AFX_EXTENSION_MODULE fresh;
    EXPECT_EQ(fresh.bInitialized, FALSE);
    EXPECT_EQ(fresh.hModule, nullptr);
    EXPECT_EQ(fresh.hResource, nullptr);
}

TEST(Module, InitTermAndRegistrationOfAnotherModule) {
    AFX_EXTENSION_MODULE other;
    const HMODULE handle = &g_fakeModuleA;
    const std::size_t countBefore = CDynLinkLibrary::Registered().size();

    ASSERT_EQ(AfxInitExtensionModule(other, handle), TRUE);
    EXPECT_EQ(other.bInitialized, TRUE);
    EXPECT_EQ(other.hModule, handle);
    EXPECT_EQ(other.hResource, handle);

    // Owned by the framework from here on; the term below releases it.
    auto* library = new CDynLinkLibrary(other, FALSE);
    EXPECT_EQ(library->m_hModule, handle);
    EXPECT_EQ(library->m_hResource, handle);
    EXPECT_EQ(registeredFor(handle).size(), 1u);
    EXPECT_EQ(CDynLinkLibrary::Registered().size(), countBefore + 1);
    EXPECT_EQ(CDynLinkLibrary::Registered().back(), library);

    AfxTermExtensionModule(other, FALSE);
    EXPECT_EQ(other.bInitialized, FALSE);
    EXPECT_TRUE(registeredFor(handle).empty());
    EXPECT_EQ(CDynLinkLibrary::Registered().size(), countBefore);
    // The library's own registration is untouched.
    EXPECT_EQ(registeredFor(fluxgrid::moduleRecord().hModule).size(), 1u);
}

TEST(Module, TermReleasesOnlyItsOwnModule) {
    AFX_EXTENSION_MODULE a;
    AFX_EXTENSION_MODULE b;
    ASSERT_EQ(AfxInitExtensionModule(a, &g_fakeModuleA), TRUE);
    ASSERT_EQ(AfxInitExtensionModule(b, &g_fakeModuleB), TRUE);
    new CDynLinkLibrary(a, FALSE);
    new CDynLinkLibrary(b, FALSE);
    AfxTermExtensionModule(a, FALSE);
    EXPECT_TRUE(registeredFor(&g_fakeModuleA).empty());
    EXPECT_EQ(registeredFor(&g_fakeModuleB).size(), 1u);
    AfxTermExtensionModule(b, FALSE);
    EXPECT_TRUE(registeredFor(&g_fakeModuleB).empty());
}

TEST(Module, TermOfUninitialisedRecordDoesNothing) {
    const std::vector<CDynLinkLibrary*> before = CDynLinkLibrary::Registered();
    AFX_EXTENSION_MODULE fresh;
    AfxTermExtensionModule(fresh, FALSE);
    EXPECT_EQ(fresh.bInitialized, FALSE);
    EXPECT_EQ(CDynLinkLibrary::Registered(), before);
}

TEST(Module, SecondInitOfInitialisedRecordKeepsItsModule) {
    AFX_EXTENSION_MODULE record;
    ASSERT_EQ(AfxInitExtensionModule(record, &g_fakeModuleA), TRUE);
    EXPECT_EQ(AfxInitExtensionModule(record, &g_fakeModuleB), TRUE);
    EXPECT_EQ(record.hModule, &g_fakeModuleA);
    AfxTermExtensionModule(record, FALSE);
    EXPECT_EQ(record.bInitialized, FALSE);
}

TEST(Module, ProcessDetachDeregistersAndAttachRegistersAgain) {
    AFX_EXTENSION_MODULE& record = fluxgrid::moduleRecord();
    const HMODULE module = record.hModule;
    ASSERT_NE(module, nullptr);

    // Detach, look, and attach again before any assertion can end the test.
    const BOOL detached = fluxgrid::DllMain(module, DLL_PROCESS_DETACH, nullptr);
    const BOOL initialisedAfterDetach = record.bInitialized;
    const std::size_t registrationsAfterDetach = registeredFor(module).size();
    const BOOL attached = fluxgrid::DllMain(module, DLL_PROCESS_ATTACH, nullptr);

    EXPECT_EQ(detached, TRUE);
    EXPECT_EQ(initialisedAfterDetach, FALSE);
    EXPECT_EQ(registrationsAfterDetach, 0u);
    EXPECT_EQ(attached, TRUE);
    EXPECT_EQ(record.bInitialized, TRUE);
    EXPECT_EQ(record.hModule, module);
    EXPECT_EQ(registeredFor(module).size(), 1u);
}

}  // namespace
