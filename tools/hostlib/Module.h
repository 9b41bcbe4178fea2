#pragma once

// A loaded VST3 module: the shared object of a bundle (or a bare .so),
// entered, with its class factory. Every Instance made from it must be gone
// before the Module is destroyed, which leaves the module and unloads it.

#include <memory>
#include <string>
#include <vector>

#include "pluginterfaces/base/ipluginbase.h"

namespace hostlib {

// One class of the factory, from PClassInfo2 when the factory has it (the
// last four texts stay empty otherwise).
struct Class_Info {
    std::string name;
    std::string category;
    std::string sub_categories;
    std::string vendor;
    std::string version;
    std::string sdk_version;
    Steinberg::int32 cardinality = 0;
    Steinberg::uint32 class_flags = 0;
    Steinberg::TUID cid{};
};

struct Factory_Info {
    std::string vendor;
    std::string url;
    std::string email;
    Steinberg::int32 flags = 0;
};

class Module {
public:
    // The folder of the shared object inside a bundle, for this machine.
    static const char* const kArchitectureFolder;

    // path: a bundle folder (Name.vst3, holding Contents/<arch>/Name.so) or
    // a shared object. Null on failure, with the reason in `error`.
    // Interface thread.
    static std::unique_ptr<Module> load(const std::string& path, std::string& error);
    ~Module();

    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    // The shared object a path names: the bundle's own for a folder, the
    // path itself otherwise.
    static std::string library_of(const std::string& path);

    Steinberg::IPluginFactory* factory() const { return factoryPtr; }
    Factory_Info factory_info() const;
    std::string factory_vendor() const { return factory_info().vendor; }
    std::vector<Class_Info> classes() const;
    // The class of that name, or the first of category "Audio Module Class"
    // when the name is empty; false if there is none.
    bool find_class(const std::string& name, Class_Info& info) const;
    const std::string& library_path() const { return libraryPath; }

private:
    Module() = default;

    using ExitFunction = bool (*)();

    void* handle = nullptr;
    // The exit function matching the entry that was called, once entered.
    ExitFunction exitFunction = nullptr;
    Steinberg::IPluginFactory* factoryPtr = nullptr;
    std::string libraryPath;
};

} // namespace hostlib
