#pragma once

// The host side of the interfaces a plug-in calls back or reads in process:
// parameter change queues, an event list and the host application.

#include <memory>
#include <string>
#include <vector>

#include "pluginterfaces/vst/ivstevents.h"
#include "pluginterfaces/vst/ivsthostapplication.h"
#include "pluginterfaces/vst/ivstparameterchanges.h"

namespace hostlib {

// Makes the three methods of FUnknown for a class that implements exactly
// one interface; such objects live on the host's stack or in its members, so
// reference counting keeps no ownership.
#define HOSTLIB_SINGLE_INTERFACE(Interface)                                                   \
    Steinberg::tresult PLUGIN_API queryInterface(const Steinberg::TUID iid, void** obj)       \
        override                                                                              \
    {                                                                                         \
        QUERY_INTERFACE(iid, obj, Steinberg::FUnknown::iid, Interface)                        \
        QUERY_INTERFACE(iid, obj, Interface::iid, Interface)                                  \
        *obj = nullptr;                                                                       \
        return Steinberg::kNoInterface;                                                       \
    }                                                                                         \
    Steinberg::uint32 PLUGIN_API addRef() override { return 1; }                              \
    Steinberg::uint32 PLUGIN_API release() override { return 1; }

class Param_Value_Queue : public Steinberg::Vst::IParamValueQueue {
public:
    explicit Param_Value_Queue(Steinberg::Vst::ParamID id) : id(id) {}

    Steinberg::Vst::ParamID PLUGIN_API getParameterId() override { return id; }
    Steinberg::int32 PLUGIN_API getPointCount() override { return Steinberg::int32(points.size()); }
    Steinberg::tresult PLUGIN_API getPoint(Steinberg::int32 index, Steinberg::int32& sampleOffset,
                                           Steinberg::Vst::ParamValue& value) override;
    Steinberg::tresult PLUGIN_API addPoint(Steinberg::int32 sampleOffset,
                                           Steinberg::Vst::ParamValue value,
                                           Steinberg::int32& index) override;
    HOSTLIB_SINGLE_INTERFACE(Steinberg::Vst::IParamValueQueue)

private:
    struct Point {
        Steinberg::int32 offset;
        Steinberg::Vst::ParamValue value;
    };
    Steinberg::Vst::ParamID id;
    std::vector<Point> points;
};

class Parameter_Changes : public Steinberg::Vst::IParameterChanges {
public:
    Parameter_Changes() = default;
    Parameter_Changes(const Parameter_Changes&) = delete;
    Parameter_Changes& operator=(const Parameter_Changes&) = delete;

    Steinberg::int32 PLUGIN_API getParameterCount() override { return Steinberg::int32(queues.size()); }
    Steinberg::Vst::IParamValueQueue* PLUGIN_API getParameterData(Steinberg::int32 index) override;
    Steinberg::Vst::IParamValueQueue* PLUGIN_API addParameterData(const Steinberg::Vst::ParamID& id,
                                                                 Steinberg::int32& index) override;
    HOSTLIB_SINGLE_INTERFACE(Steinberg::Vst::IParameterChanges)

    // Adds one point to the queue of a parameter.
    void add(Steinberg::Vst::ParamID id, Steinberg::int32 offset, Steinberg::Vst::ParamValue value);
    void clear() { queues.clear(); }

private:
    std::vector<std::unique_ptr<Param_Value_Queue>> queues;
};

class Event_List : public Steinberg::Vst::IEventList {
public:
    Steinberg::int32 PLUGIN_API getEventCount() override { return Steinberg::int32(events.size()); }
    Steinberg::tresult PLUGIN_API getEvent(Steinberg::int32 index, Steinberg::Vst::Event& e) override;
    Steinberg::tresult PLUGIN_API addEvent(Steinberg::Vst::Event& e) override;
    HOSTLIB_SINGLE_INTERFACE(Steinberg::Vst::IEventList)

    void clear() { events.clear(); }

private:
    std::vector<Steinberg::Vst::Event> events;
};

class Host_Application : public Steinberg::Vst::IHostApplication {
public:
    Steinberg::tresult PLUGIN_API getName(Steinberg::Vst::String128 name) override;
    Steinberg::tresult PLUGIN_API createInstance(Steinberg::TUID cid, Steinberg::TUID iid,
                                                 void** obj) override;
    HOSTLIB_SINGLE_INTERFACE(Steinberg::Vst::IHostApplication)
};

// UTF-16 text of the SDK to UTF-8 and back.
std::string to_utf8(const Steinberg::Vst::TChar* text);
void from_utf8(const std::string& text, Steinberg::Vst::TChar* out, int capacity);

} // namespace hostlib
