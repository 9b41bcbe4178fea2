#pragma once

// A host's component handler that writes down what a controller tells its
// host: every edit call, as text for quick comparison and as a record with
// the exact value.

#include <cstdio>
#include <string>
#include <vector>

#include "pluginterfaces/vst/ivsteditcontroller.h"

namespace test_host {

class RecordingHandler : public Steinberg::Vst::IComponentHandler {
public:
    struct Edit {
        enum Kind { kBegin, kPerform, kEnd } kind;
        Steinberg::Vst::ParamID id;
        // The normalized value of a perform, 0 otherwise.
        double value;
    };

    // "begin 12", "perform 12 1.0000", "end 12".
    std::vector<std::string> calls;
    std::vector<Edit> edits;
    Steinberg::int32 restartFlags = 0;

    void clear()
    {
        calls.clear();
        edits.clear();
    }

    Steinberg::tresult PLUGIN_API beginEdit(Steinberg::Vst::ParamID id) override
    {
        calls.push_back("begin " + std::to_string(id));
        edits.push_back({Edit::kBegin, id, 0.0});
        return Steinberg::kResultOk;
    }
    Steinberg::tresult PLUGIN_API performEdit(Steinberg::Vst::ParamID id, Steinberg::Vst::ParamValue v) override
    {
        char text[64];
        std::snprintf(text, sizeof text, "perform %u %.4f", unsigned(id), v);
        calls.push_back(text);
        edits.push_back({Edit::kPerform, id, v});
        return Steinberg::kResultOk;
    }
    Steinberg::tresult PLUGIN_API endEdit(Steinberg::Vst::ParamID id) override
    {
        calls.push_back("end " + std::to_string(id));
        edits.push_back({Edit::kEnd, id, 0.0});
        return Steinberg::kResultOk;
    }
    Steinberg::tresult PLUGIN_API restartComponent(Steinberg::int32 flags) override
    {
        restartFlags |= flags;
        return Steinberg::kResultOk;
    }
    Steinberg::tresult PLUGIN_API queryInterface(const Steinberg::TUID iid, void** obj) override
    {
        QUERY_INTERFACE(iid, obj, Steinberg::FUnknown::iid, Steinberg::Vst::IComponentHandler)
        QUERY_INTERFACE(iid, obj, Steinberg::Vst::IComponentHandler::iid, Steinberg::Vst::IComponentHandler)
        *obj = nullptr;
        return Steinberg::kNoInterface;
    }
    // A member of the test's own objects, which outlive the plug-in.
    Steinberg::uint32 PLUGIN_API addRef() override { return 1; }
    Steinberg::uint32 PLUGIN_API release() override { return 1; }
};

} // namespace test_host
