#include <fluxgrid/platform/Resource.h>

#include <dlfcn.h>
#include <map>
#include <utility>

namespace {

using DialogTable = std::map<UINT, DialogTemplate>;

// The dialog templates of every module, by resource handle. Never
// destroyed, like the framework's list of libraries: a module may add its
// templates from a static initialiser and be searched until the very end.
std::map<HMODULE, DialogTable>& resourceTables() {
    static auto* tables = new std::map<HMODULE, DialogTable>();
    return *tables;
}

const DialogTemplate* dialogIn(HMODULE resourceHandle, UINT id) {
    const auto& tables = resourceTables();
    const auto table = tables.find(resourceHandle);
    if (table == tables.end()) {
        return nullptr;
    }
    const auto found = table->second.find(id);
    return found == table->second.end() ? nullptr : &found->second;
}

}  // namespace

namespace fluxgrid {

HMODULE moduleContaining(const void* address) {
    Dl_info info{};
    if (address == nullptr || ::dladdr(address, &info) == 0) {
        return nullptr;
    }
    return info.dli_fbase;
}

void addDialogResource(HMODULE resourceHandle, DialogTemplate dialog) {
    if (resourceHandle == nullptr) {
        return;
    }
    const UINT id = dialog.id;
    resourceTables()[resourceHandle].insert_or_assign(id, std::move(dialog));
}

void removeResources(HMODULE resourceHandle) {
    resourceTables().erase(resourceHandle);
}

std::optional<DialogTemplate> loadDialogResource(HMODULE resourceHandle, UINT id) {
    if (const DialogTemplate* dialog = dialogIn(resourceHandle, id)) {
        return *dialog;
    }
    return std::nullopt;
}

HMODULE findDialogResourceHandle(UINT id) {
    for (const CDynLinkLibrary* library : CDynLinkLibrary::Registered()) {
        if (dialogIn(library->m_hResource, id) != nullptr) {
            return library->m_hResource;
        }
    }
    return nullptr;
}

std::optional<DialogTemplate> findDialogResource(UINT id) {
    const HMODULE handle = findDialogResourceHandle(id);
    if (handle == nullptr) {
        return std::nullopt;
    }
    return loadDialogResource(handle, id);
}

}  // namespace fluxgrid
