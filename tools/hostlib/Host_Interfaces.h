#pragma once

// The host's side of the interfaces a plug-in reads or calls back: parameter
// change queues, an event list, the component handler and the host
// application.
//
// The queues and the event list are filled by the host between blocks and
// read (or, for output changes, filled) by the plug-in inside process. Their
// storage is reserved at construction, so nothing the plug-in calls from
// process allocates; a full queue or list refuses further items.

#include <cstdint>
#include <vector>

#include "hostlib/utf16.h"
#include "pluginterfaces/vst/ivstevents.h"
#include "pluginterfaces/vst/ivsteditcontroller.h"
#include "pluginterfaces/vst/ivsthostapplication.h"
#include "pluginterfaces/vst/ivstparameterchanges.h"
#include "public.sdk/source/vst/hosting/hostclasses.h"

namespace hostlib {

// The three methods of FUnknown for a class implementing exactly one
// interface. These objects are members of the host's own objects, which
// outlive every plug-in object given them, so reference counting keeps no
// ownership.
#define HOSTLIB_SINGLE_INTERFACE(Interface)                                                   \
    Steinberg::tresult PLUGIN_API queryInterface(const Steinberg::TUID queried, void** obj)   \
        override                                                                              \
    {                                                                                         \
        QUERY_INTERFACE(queried, obj, Steinberg::FUnknown::iid, Interface)                    \
        QUERY_INTERFACE(queried, obj, Interface::iid, Interface)                              \
        *obj = nullptr;                                                                       \
        return Steinberg::kNoInterface;                                                       \
    }                                                                                         \
    Steinberg::uint32 PLUGIN_API addRef() override { return 1; }                              \
    Steinberg::uint32 PLUGIN_API release() override { return 1; }

// The points of one parameter within one block, kept in ascending sample
// offset; a point at an offset already present replaces its value.
class Param_Value_Queue : public Steinberg::Vst::IParamValueQueue {
public:
    Param_Value_Queue(Steinberg::Vst::ParamID parameter, Steinberg::int32 capacity);

    Steinberg::Vst::ParamID PLUGIN_API getParameterId() override { return id; }
    Steinberg::int32 PLUGIN_API getPointCount() override { return Steinberg::int32(points.size()); }
    Steinberg::tresult PLUGIN_API getPoint(Steinberg::int32 index, Steinberg::int32& sampleOffset,
                                           Steinberg::Vst::ParamValue& value) override;
    // kResultFalse when the queue is full or the offset negative.
    Steinberg::tresult PLUGIN_API addPoint(Steinberg::int32 sampleOffset,
                                           Steinberg::Vst::ParamValue value,
                                           Steinberg::int32& index) override;
    HOSTLIB_SINGLE_INTERFACE(Steinberg::Vst::IParamValueQueue)

    // Empties the queue and gives it to another parameter, keeping storage.
    void reset(Steinberg::Vst::ParamID new_id);

private:
    struct Point {
        Steinberg::int32 offset;
        Steinberg::Vst::ParamValue value;
    };
    Steinberg::Vst::ParamID id;
    std::vector<Point> points;
};

// The parameter changes of one block, one queue per parameter, in the order
// the parameters were first added.
class Parameter_Changes : public Steinberg::Vst::IParameterChanges {
public:
    static constexpr Steinberg::int32 kDefaultParameters = 128;
    static constexpr Steinberg::int32 kDefaultPointsPerParameter = 64;

    explicit Parameter_Changes(Steinberg::int32 max_parameters = kDefaultParameters,
                               Steinberg::int32 max_points = kDefaultPointsPerParameter);
    Parameter_Changes(const Parameter_Changes&) = delete;
    Parameter_Changes& operator=(const Parameter_Changes&) = delete;

    Steinberg::int32 PLUGIN_API getParameterCount() override { return used; }
    Steinberg::Vst::IParamValueQueue* PLUGIN_API getParameterData(Steinberg::int32 index) override;
    // The queue of that id, added if new; null when every queue is taken.
    Steinberg::Vst::IParamValueQueue* PLUGIN_API addParameterData(const Steinberg::Vst::ParamID& id,
                                                                 Steinberg::int32& index) override;
    HOSTLIB_SINGLE_INTERFACE(Steinberg::Vst::IParameterChanges)

    // Adds one point to the queue of a parameter; false when full.
    bool add(Steinberg::Vst::ParamID id, Steinberg::int32 offset, Steinberg::Vst::ParamValue value);
    // The queue of an id, or null if it has none.
    Steinberg::Vst::IParamValueQueue* find(Steinberg::Vst::ParamID id);
    // The value of an id's last point; false if it has none.
    bool last_value(Steinberg::Vst::ParamID id, Steinberg::Vst::ParamValue& value);
    // Forgets every queue, keeping storage.
    void clear() { used = 0; }

private:
    std::vector<Param_Value_Queue> queues;
    Steinberg::int32 used = 0;
};

// The events of one block, kept in ascending sample offset (events at the
// same offset stay in the order they were added).
class Event_List : public Steinberg::Vst::IEventList {
public:
    static constexpr Steinberg::int32 kDefaultCapacity = 512;

    explicit Event_List(Steinberg::int32 capacity = kDefaultCapacity);

    Steinberg::int32 PLUGIN_API getEventCount() override { return Steinberg::int32(events.size()); }
    Steinberg::tresult PLUGIN_API getEvent(Steinberg::int32 index, Steinberg::Vst::Event& e) override;
    // kResultFalse when the list is full.
    Steinberg::tresult PLUGIN_API addEvent(Steinberg::Vst::Event& e) override;
    HOSTLIB_SINGLE_INTERFACE(Steinberg::Vst::IEventList)

    void clear() { events.clear(); }

private:
    std::vector<Steinberg::Vst::Event> events;
};

// What a controller tells its host. An edit is passed on as a change of the
// next block, which is how a host carries an edit from a controller to its
// processor; restart requests are collected for the host to read.
// Interface thread.
class Component_Handler : public Steinberg::Vst::IComponentHandler {
public:
    // Edits go to `changes`; null drops them.
    explicit Component_Handler(Parameter_Changes* target) : changes(target) {}

    Steinberg::tresult PLUGIN_API beginEdit(Steinberg::Vst::ParamID id) override;
    Steinberg::tresult PLUGIN_API performEdit(Steinberg::Vst::ParamID id,
                                              Steinberg::Vst::ParamValue valueNormalized) override;
    Steinberg::tresult PLUGIN_API endEdit(Steinberg::Vst::ParamID id) override;
    Steinberg::tresult PLUGIN_API restartComponent(Steinberg::int32 flags) override;
    HOSTLIB_SINGLE_INTERFACE(Steinberg::Vst::IComponentHandler)

    // The RestartFlags asked for since the last call, then cleared.
    Steinberg::int32 take_restart_flags();
    // Edits between beginEdit and endEdit still open.
    int open_edits() const { return openEdits; }

private:
    Parameter_Changes* changes;
    Steinberg::int32 restartFlags = 0;
    int openEdits = 0;
};

// The host context given to initialize: names the host, makes the messages
// and attribute lists that connected components exchange, and says which
// plug-in interfaces the host uses.
class Host_Application : public Steinberg::Vst::HostApplication {
public:
    static constexpr const char* kName = "corvane host";
    Steinberg::tresult PLUGIN_API getName(Steinberg::Vst::String128 name) override;
};

} // namespace hostlib
