#pragma once

// The built plug-in module loaded as a host loads it, with one effect made
// from it, for the tests of its editor: the view "editor" and the editor's
// private snapshot interface, reached through the module's interfaces only.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <memory>
#include <string>

#include "Common_VST3/IEditorSnapshot.h"
#include "hostlib/Plugin_Host.h"
#include "pluginterfaces/gui/iplugview.h"

namespace test_host {

inline const std::string& bundlePath()
{
    static const std::string path = CORVANE_BUNDLE_PATH;
    return path;
}

inline std::string resourcePath(const std::string& file)
{
    return bundlePath() + "/Contents/Resources/" + file;
}

// A fresh folder of the running test's own under the build's scratch
// folder.
inline std::string scratchFolder(const std::string& group)
{
    const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
    std::string path = std::string(CORVANE_TEST_TMP) + "/" + group;
    ::mkdir(CORVANE_TEST_TMP, 0777);
    ::mkdir(path.c_str(), 0777);
    path += "/" + std::string(test->test_suite_name()) + "_" + test->name();
    ::mkdir(path.c_str(), 0777);
    return path;
}

// Releases a plug-in interface when it goes out of scope.
template <class Interface>
struct Releaser {
    void operator()(Interface* p) const
    {
        if (p) p->release();
    }
};
template <class Interface>
using Held = std::unique_ptr<Interface, Releaser<Interface>>;

// The module and one initialized effect of it.
struct PluginInstance {
    std::unique_ptr<hostlib::Module> module;
    std::unique_ptr<hostlib::Instance> instance;
    std::string error;

    PluginInstance()
    {
        module = hostlib::Module::load(bundlePath(), error);
        if (module) instance = hostlib::Instance::create(*module, "", error);
    }
    ~PluginInstance()
    {
        instance.reset();
        module.reset();
    }
    bool ok() const { return instance != nullptr; }

    Held<Steinberg::IPlugView> createView(const char* name = "editor")
    {
        return Held<Steinberg::IPlugView>(instance->controller()->createView(name));
    }

    // The value a host shows as text, set by the parameter of that title.
    bool setText(const std::string& title, const std::string& text)
    {
        hostlib::Parameter_Info info;
        return instance->find_parameter(title, info) && instance->set_text(info.id, text);
    }
    Steinberg::Vst::ParamID idOf(const std::string& title)
    {
        hostlib::Parameter_Info info;
        return instance->find_parameter(title, info) ? info.id : Steinberg::Vst::ParamID(-1);
    }

    // A new editor drawn into a PNG file through its snapshot interface.
    // A new editor drawn into a PNG file through its snapshot interface,
    // with the named dialog over it when one is given.
    Steinberg::tresult snapshot(const std::string& path, Steinberg::int32 width = 0, Steinberg::int32 height = 0,
                                const char* dialog = nullptr)
    {
        Held<Steinberg::IPlugView> view = createView();
        if (!view) return Steinberg::kNotInitialized;
        return snapshotOf(view.get(), path.empty() ? nullptr : path.c_str(), width, height, dialog);
    }

    static Steinberg::tresult snapshotOf(Steinberg::IPlugView* view, const char* path, Steinberg::int32 width,
                                         Steinberg::int32 height, const char* dialog = nullptr)
    {
        IEditorSnapshot* snapshot = nullptr;
        if (view->queryInterface(INLINE_UID_OF(IEditorSnapshot), reinterpret_cast<void**>(&snapshot)) !=
                Steinberg::kResultOk ||
            snapshot == nullptr)
            return Steinberg::kNoInterface;
        Held<IEditorSnapshot> held(snapshot);
        return snapshot->writeSnapshot(path, width, height, dialog);
    }
};

} // namespace test_host
