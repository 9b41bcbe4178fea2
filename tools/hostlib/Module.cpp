#include "hostlib/Module.h"

#include <dlfcn.h>
#include <sys/stat.h>

#include <cstring>

#include "pluginterfaces/vst/ivstaudioprocessor.h"

using namespace Steinberg;

namespace hostlib {

#if defined(__x86_64__)
const char* const Module::kArchitectureFolder = "x86_64-linux";
#elif defined(__aarch64__)
const char* const Module::kArchitectureFolder = "aarch64-linux";
#elif defined(__i386__)
const char* const Module::kArchitectureFolder = "i386-linux";
#else
#error "unknown architecture folder for VST3 bundles"
#endif

namespace {

bool is_directory(const std::string& path)
{
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool exists(const std::string& path)
{
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0;
}

// A fixed-size char field of the SDK's records, which need not be
// zero-terminated when full.
std::string text_of(const char8* text, size_t capacity)
{
    return std::string(text, strnlen(text, capacity));
}

template <typename Function>
Function symbol(void* handle, const char* name)
{
    return reinterpret_cast<Function>(::dlsym(handle, name));
}

} // namespace

std::string Module::library_of(const std::string& path)
{
    if (!is_directory(path)) return path;
    std::string folder = path;
    while (folder.size() > 1 && folder.back() == '/') folder.pop_back();
    std::string name = folder.substr(folder.find_last_of('/') + 1);
    const std::string suffix = ".vst3";
    if (name.size() > suffix.size() &&
        name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0)
        name.erase(name.size() - suffix.size());
    return folder + "/Contents/" + kArchitectureFolder + "/" + name + ".so";
}

std::unique_ptr<Module> Module::load(const std::string& path, std::string& error)
{
    std::unique_ptr<Module> module(new Module());
    module->libraryPath = library_of(path);
    const std::string& library = module->libraryPath;
    if (!exists(library)) {
        error = "no plug-in module at " + library;
        return nullptr;
    }
    module->handle = ::dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module->handle == nullptr) {
        const char* reason = ::dlerror();
        error = "cannot load " + library + ": " + (reason ? reason : "unknown reason");
        return nullptr;
    }

    using EntryFunction = bool (*)(void*);
    using FactoryFunction = IPluginFactory* (*)();
    auto getFactory = symbol<FactoryFunction>(module->handle, "GetPluginFactory");
    if (getFactory == nullptr) {
        error = library + " is not a VST3 module: it exports no GetPluginFactory";
        return nullptr;
    }
    // ModuleEntry/ModuleExit is the Linux pair; older modules have only
    // bundleEntry/bundleExit.
    auto entry = symbol<EntryFunction>(module->handle, "ModuleEntry");
    auto exit = symbol<ExitFunction>(module->handle, "ModuleExit");
    const char* entryName = "ModuleEntry";
    if (entry == nullptr) {
        entry = symbol<EntryFunction>(module->handle, "bundleEntry");
        exit = symbol<ExitFunction>(module->handle, "bundleExit");
        entryName = "bundleEntry";
    }
    if (entry == nullptr) {
        error = library + " is not a VST3 module: it exports no ModuleEntry";
        return nullptr;
    }
    if (!entry(module->handle)) {
        // As other hosts do, a module whose entry failed is not left again.
        error = std::string(entryName) + " of " + library + " returned false";
        return nullptr;
    }
    module->exitFunction = exit;
    module->factoryPtr = getFactory();
    if (module->factoryPtr == nullptr) {
        error = "GetPluginFactory of " + library + " returned no factory";
        return nullptr;
    }
    return module;
}

Module::~Module()
{
    if (factoryPtr) factoryPtr->release();
    if (exitFunction) exitFunction();
    if (handle) ::dlclose(handle);
}

Factory_Info Module::factory_info() const
{
    Factory_Info result;
    PFactoryInfo info;
    if (factoryPtr->getFactoryInfo(&info) != kResultOk) return result;
    result.vendor = text_of(info.vendor, PFactoryInfo::kNameSize);
    result.url = text_of(info.url, PFactoryInfo::kURLSize);
    result.email = text_of(info.email, PFactoryInfo::kEmailSize);
    result.flags = info.flags;
    return result;
}

std::vector<Class_Info> Module::classes() const
{
    std::vector<Class_Info> list;
    IPluginFactory2* factory2 = nullptr;
    if (factoryPtr->queryInterface(IPluginFactory2::iid, reinterpret_cast<void**>(&factory2)) != kResultOk)
        factory2 = nullptr;
    const int32 count = factoryPtr->countClasses();
    for (int32 i = 0; i < count; ++i) {
        Class_Info entry;
        if (factory2) {
            PClassInfo2 info;
            if (factory2->getClassInfo2(i, &info) != kResultOk) continue;
            entry.name = text_of(info.name, PClassInfo::kNameSize);
            entry.category = text_of(info.category, PClassInfo::kCategorySize);
            entry.sub_categories = text_of(info.subCategories, PClassInfo2::kSubCategoriesSize);
            entry.vendor = text_of(info.vendor, PClassInfo2::kVendorSize);
            entry.version = text_of(info.version, PClassInfo2::kVersionSize);
            entry.sdk_version = text_of(info.sdkVersion, PClassInfo2::kVersionSize);
            entry.cardinality = info.cardinality;
            entry.class_flags = info.classFlags;
            std::memcpy(entry.cid, info.cid, sizeof(TUID));
        } else {
            PClassInfo info;
            if (factoryPtr->getClassInfo(i, &info) != kResultOk) continue;
            entry.name = text_of(info.name, PClassInfo::kNameSize);
            entry.category = text_of(info.category, PClassInfo::kCategorySize);
            entry.cardinality = info.cardinality;
            std::memcpy(entry.cid, info.cid, sizeof(TUID));
        }
        list.push_back(entry);
    }
    if (factory2) factory2->release();
    return list;
}

bool Module::find_class(const std::string& name, Class_Info& info) const
{
    for (const auto& c : classes()) {
        const bool wanted = name.empty() ? c.category == kVstAudioEffectClass : c.name == name;
        if (wanted) {
            info = c;
            return true;
        }
    }
    return false;
}

} // namespace hostlib
