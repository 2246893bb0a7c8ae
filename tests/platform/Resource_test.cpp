// Dialog templates as module resources, and the search that finds them
// through the libraries that have joined the framework.
#include <fluxgrid/platform/Module.h>
#include <fluxgrid/platform/Resource.h>

#include <gtest/gtest.h>

#include <dlfcn.h>

namespace {

// Distinct addresses standing for modules that are not loaded.
int g_moduleA = 0;
int g_moduleB = 0;
int g_moduleC = 0;

DialogTemplate dialogWith(UINT id, const char* caption) {
    DialogTemplate dialog;
    dialog.id = id;
    dialog.cx = 100;
    dialog.cy = 50;
    dialog.caption = CString(caption);
    dialog.fontFace = CString("MS Shell Dlg");
    dialog.pointSize = 8;
    DialogItemTemplate ok;
    ok.controlClass = DialogControlClass::Button;
    ok.style = BS_DEFPUSHBUTTON | WS_TABSTOP;
    ok.id = 1;
    ok.text = CString("OK");
    ok.x = 5;
    ok.y = 30;
    ok.cx = 50;
    ok.cy = 14;
    dialog.items.push_back(ok);
    return dialog;
}

// The base address of the library, found through one of its functions.
HMODULE libraryBase() {
    Dl_info info{};
    if (::dladdr(reinterpret_cast<void*>(&AfxInitExtensionModule), &info) == 0) {
        return nullptr;
    }
    return info.dli_fbase;
}

TEST(Resource, TemplateIsCarriedUnderItsHandleWithEveryField) {
    fluxgrid::addDialogResource(&g_moduleA, dialogWith(7001, "First"));
    const std::optional<DialogTemplate> found = fluxgrid::loadDialogResource(&g_moduleA, 7001);
    ASSERT_TRUE(found.has_value());
    EXPECT_EQ(found->id, 7001u);
    EXPECT_EQ(found->caption, CString("First"));
    EXPECT_EQ(found->fontFace, CString("MS Shell Dlg"));
    EXPECT_EQ(found->pointSize, 8);
    EXPECT_EQ(found->cx, 100);
    EXPECT_EQ(found->cy, 50);
    ASSERT_EQ(found->items.size(), 1u);
    EXPECT_EQ(found->items[0].controlClass, DialogControlClass::Button);
    EXPECT_EQ(found->items[0].style, BS_DEFPUSHBUTTON | WS_TABSTOP);
    EXPECT_EQ(found->items[0].id, 1);
    EXPECT_EQ(found->items[0].text, CString("OK"));
    EXPECT_EQ(found->items[0].x, 5);
    EXPECT_EQ(found->items[0].y, 30);
    EXPECT_EQ(found->items[0].cx, 50);
    EXPECT_EQ(found->items[0].cy, 14);
    EXPECT_FALSE(fluxgrid::loadDialogResource(&g_moduleA, 7002).has_value());
    EXPECT_FALSE(fluxgrid::loadDialogResource(&g_moduleB, 7001).has_value());
    fluxgrid::removeResources(&g_moduleA);
    EXPECT_FALSE(fluxgrid::loadDialogResource(&g_moduleA, 7001).has_value());
}

TEST(Resource, SameIdUnderSameHandleIsReplaced) {
    fluxgrid::addDialogResource(&g_moduleA, dialogWith(7001, "First"));
    fluxgrid::addDialogResource(&g_moduleA, dialogWith(7001, "Second"));
    const std::optional<DialogTemplate> found = fluxgrid::loadDialogResource(&g_moduleA, 7001);
    ASSERT_TRUE(found.has_value());
    EXPECT_EQ(found->caption, CString("Second"));
    fluxgrid::removeResources(&g_moduleA);
}

TEST(Resource, NullHandleCarriesNothing) {
    fluxgrid::addDialogResource(nullptr, dialogWith(7003, "Nowhere"));
    EXPECT_FALSE(fluxgrid::loadDialogResource(nullptr, 7003).has_value());
    EXPECT_EQ(fluxgrid::findDialogResourceHandle(7003), nullptr);
}

TEST(Resource, SearchReachesOnlyJoinedModules) {
    fluxgrid::addDialogResource(&g_moduleA, dialogWith(7004, "Joined later"));
    EXPECT_EQ(fluxgrid::findDialogResourceHandle(7004), nullptr);
    EXPECT_FALSE(fluxgrid::findDialogResource(7004).has_value());

    AFX_EXTENSION_MODULE module;
    ASSERT_EQ(AfxInitExtensionModule(module, &g_moduleA), TRUE);
    new CDynLinkLibrary(module, FALSE);
    const HMODULE whileJoined = fluxgrid::findDialogResourceHandle(7004);
    const std::optional<DialogTemplate> foundWhileJoined = fluxgrid::findDialogResource(7004);
    AfxTermExtensionModule(module, FALSE);

    EXPECT_EQ(whileJoined, static_cast<HMODULE>(&g_moduleA));
    ASSERT_TRUE(foundWhileJoined.has_value());
    EXPECT_EQ(foundWhileJoined->caption, CString("Joined later"));
    // Left again: not searched, though it still carries the template.
    EXPECT_EQ(fluxgrid::findDialogResourceHandle(7004), nullptr);
    EXPECT_TRUE(fluxgrid::loadDialogResource(&g_moduleA, 7004).has_value());
    fluxgrid::removeResources(&g_moduleA);
}

TEST(Resource, SearchTakesTheOldestJoinedModuleThatCarriesTheId) {
    fluxgrid::addDialogResource(&g_moduleB, dialogWith(7005, "From B"));
    fluxgrid::addDialogResource(&g_moduleC, dialogWith(7005, "From C"));
    fluxgrid::addDialogResource(&g_moduleC, dialogWith(7006, "Only C"));
    AFX_EXTENSION_MODULE b;
    AFX_EXTENSION_MODULE c;
    ASSERT_EQ(AfxInitExtensionModule(b, &g_moduleB), TRUE);
    ASSERT_EQ(AfxInitExtensionModule(c, &g_moduleC), TRUE);
    new CDynLinkLibrary(b, FALSE);
    new CDynLinkLibrary(c, FALSE);
    const std::optional<DialogTemplate> shared = fluxgrid::findDialogResource(7005);
    const HMODULE onlyC = fluxgrid::findDialogResourceHandle(7006);
    AfxTermExtensionModule(b, FALSE);
    const std::optional<DialogTemplate> sharedWithoutB = fluxgrid::findDialogResource(7005);
    AfxTermExtensionModule(c, FALSE);

    ASSERT_TRUE(shared.has_value());
    EXPECT_EQ(shared->caption, CString("From B"));
    EXPECT_EQ(onlyC, static_cast<HMODULE>(&g_moduleC));
    ASSERT_TRUE(sharedWithoutB.has_value());
    EXPECT_EQ(sharedWithoutB->caption, CString("From C"));
    fluxgrid::removeResources(&g_moduleB);
    fluxgrid::removeResources(&g_moduleC);
}

TEST(Resource, ModuleContainingAnAddressIsItsLoadBase) {
    ASSERT_NE(libraryBase(), nullptr);
    EXPECT_EQ(fluxgrid::moduleContaining(reinterpret_cast<const void*>(&AfxInitExtensionModule)),
              libraryBase());
    EXPECT_EQ(fluxgrid::moduleContaining(nullptr), nullptr);
}

TEST(Resource, LibraryCarriesTheOpmSetupTemplateUnderItsOwnModule) {
    const AFX_EXTENSION_MODULE& record = fluxgrid::moduleRecord();
    ASSERT_NE(record.hResource, nullptr);
    EXPECT_EQ(fluxgrid::findDialogResourceHandle(3000), record.hResource);
    const std::optional<DialogTemplate> found = fluxgrid::findDialogResource(3000);
    ASSERT_TRUE(found.has_value());
    EXPECT_EQ(found->id, 3000u);
    EXPECT_EQ(found->caption, CString("Setup MEG Sensor (Gradient OPM)"));
    EXPECT_EQ(found->items.size(), 22u);
}

TEST(Resource, LibraryTemplateLeavesTheSearchWithTheModuleAndComesBack) {
    AFX_EXTENSION_MODULE& record = fluxgrid::moduleRecord();
    const HMODULE module = record.hModule;
    ASSERT_NE(module, nullptr);
    // Detach, look, attach again before any assertion can end the test.
    fluxgrid::DllMain(module, DLL_PROCESS_DETACH, nullptr);
    const HMODULE whileDetached = fluxgrid::findDialogResourceHandle(3000);
    fluxgrid::DllMain(module, DLL_PROCESS_ATTACH, nullptr);
    EXPECT_EQ(whileDetached, nullptr);
    EXPECT_EQ(fluxgrid::findDialogResourceHandle(3000), record.hResource);
}

}  // namespace
