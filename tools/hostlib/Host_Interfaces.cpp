#include "hostlib/Host_Interfaces.h"

#include <algorithm>

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace hostlib {

Param_Value_Queue::Param_Value_Queue(ParamID parameter, int32 capacity) : id(parameter)
{
    points.reserve(size_t(std::max<int32>(capacity, 1)));
}

tresult PLUGIN_API Param_Value_Queue::getPoint(int32 index, int32& sampleOffset, ParamValue& value)
{
    if (index < 0 || index >= int32(points.size())) return kResultFalse;
    sampleOffset = points[size_t(index)].offset;
    value = points[size_t(index)].value;
    return kResultOk;
}

tresult PLUGIN_API Param_Value_Queue::addPoint(int32 sampleOffset, ParamValue value, int32& index)
{
    if (sampleOffset < 0) return kResultFalse;
    auto at = std::lower_bound(points.begin(), points.end(), sampleOffset,
                               [](const Point& p, int32 offset) { return p.offset < offset; });
    if (at != points.end() && at->offset == sampleOffset) {
        at->value = value;
        index = int32(at - points.begin());
        return kResultOk;
    }
    if (points.size() == points.capacity()) return kResultFalse;
    index = int32(at - points.begin());
    points.insert(at, Point{sampleOffset, value});
    return kResultOk;
}

void Param_Value_Queue::reset(ParamID new_id)
{
    id = new_id;
    points.clear();
}

Parameter_Changes::Parameter_Changes(int32 max_parameters, int32 max_points)
{
    queues.reserve(size_t(std::max<int32>(max_parameters, 1)));
    for (int32 i = 0; i < max_parameters; ++i) queues.emplace_back(0, max_points);
}

IParamValueQueue* PLUGIN_API Parameter_Changes::getParameterData(int32 index)
{
    if (index < 0 || index >= used) return nullptr;
    return &queues[size_t(index)];
}

IParamValueQueue* PLUGIN_API Parameter_Changes::addParameterData(const ParamID& id, int32& index)
{
    for (int32 i = 0; i < used; ++i) {
        if (queues[size_t(i)].getParameterId() == id) {
            index = i;
            return &queues[size_t(i)];
        }
    }
    if (used == int32(queues.size())) return nullptr;
    queues[size_t(used)].reset(id);
    index = used++;
    return &queues[size_t(index)];
}

bool Parameter_Changes::add(ParamID id, int32 offset, ParamValue value)
{
    int32 index = 0;
    IParamValueQueue* queue = addParameterData(id, index);
    int32 point = 0;
    return queue != nullptr && queue->addPoint(offset, value, point) == kResultOk;
}

IParamValueQueue* Parameter_Changes::find(ParamID id)
{
    for (int32 i = 0; i < used; ++i) {
        if (queues[size_t(i)].getParameterId() == id) return &queues[size_t(i)];
    }
    return nullptr;
}

bool Parameter_Changes::last_value(ParamID id, ParamValue& value)
{
    IParamValueQueue* queue = find(id);
    if (queue == nullptr || queue->getPointCount() == 0) return false;
    int32 offset = 0;
    return queue->getPoint(queue->getPointCount() - 1, offset, value) == kResultOk;
}

Event_List::Event_List(int32 capacity)
{
    events.reserve(size_t(std::max<int32>(capacity, 1)));
}

tresult PLUGIN_API Event_List::getEvent(int32 index, Event& e)
{
    if (index < 0 || index >= int32(events.size())) return kResultFalse;
    e = events[size_t(index)];
    return kResultOk;
}

tresult PLUGIN_API Event_List::addEvent(Event& e)
{
    if (events.size() == events.capacity()) return kResultFalse;
    auto at = std::upper_bound(events.begin(), events.end(), e.sampleOffset,
                               [](int32 offset, const Event& x) { return offset < x.sampleOffset; });
    events.insert(at, e);
    return kResultOk;
}

tresult PLUGIN_API Component_Handler::beginEdit(ParamID /*id*/)
{
    ++openEdits;
    return kResultOk;
}

tresult PLUGIN_API Component_Handler::performEdit(ParamID id, ParamValue valueNormalized)
{
    if (changes == nullptr) return kResultOk;
    return changes->add(id, 0, valueNormalized) ? kResultOk : kResultFalse;
}

tresult PLUGIN_API Component_Handler::endEdit(ParamID /*id*/)
{
    if (openEdits > 0) --openEdits;
    return kResultOk;
}

tresult PLUGIN_API Component_Handler::restartComponent(int32 flags)
{
    restartFlags |= flags;
    return kResultOk;
}

int32 Component_Handler::take_restart_flags()
{
    const int32 flags = restartFlags;
    restartFlags = 0;
    return flags;
}

tresult PLUGIN_API Host_Application::getName(String128 name)
{
    from_utf8(kName, name, 128);
    return kResultOk;
}

} // namespace hostlib
