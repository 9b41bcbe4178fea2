#include "hostlib/Host_Interfaces.h"

#include <memory>

#include "pluginterfaces/base/ustring.h"

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace hostlib {

tresult PLUGIN_API Param_Value_Queue::getPoint(int32 index, int32& sampleOffset, ParamValue& value)
{
    if (index < 0 || index >= int32(points.size())) return kResultFalse;
    sampleOffset = points[size_t(index)].offset;
    value = points[size_t(index)].value;
    return kResultOk;
}

tresult PLUGIN_API Param_Value_Queue::addPoint(int32 sampleOffset, ParamValue value, int32& index)
{
    points.push_back({sampleOffset, value});
    index = int32(points.size()) - 1;
    return kResultOk;
}

IParamValueQueue* PLUGIN_API Parameter_Changes::getParameterData(int32 index)
{
    if (index < 0 || index >= int32(queues.size())) return nullptr;
    return queues[size_t(index)].get();
}

IParamValueQueue* PLUGIN_API Parameter_Changes::addParameterData(const ParamID& id, int32& index)
{
    for (size_t i = 0; i < queues.size(); ++i) {
        if (queues[i]->getParameterId() == id) {
            index = int32(i);
            return queues[i].get();
        }
    }
    queues.push_back(std::make_unique<Param_Value_Queue>(id));
    index = int32(queues.size()) - 1;
    return queues.back().get();
}

void Parameter_Changes::add(ParamID id, int32 offset, ParamValue value)
{
    int32 index = 0;
    int32 point = 0;
    addParameterData(id, index)->addPoint(offset, value, point);
}

tresult PLUGIN_API Event_List::getEvent(int32 index, Event& e)
{
    if (index < 0 || index >= int32(events.size())) return kResultFalse;
    e = events[size_t(index)];
    return kResultOk;
}

tresult PLUGIN_API Event_List::addEvent(Event& e)
{
    events.push_back(e);
    return kResultOk;
}

tresult PLUGIN_API Host_Application::getName(String128 name)
{
    from_utf8("corvane host", name, 128);
    return kResultOk;
}

tresult PLUGIN_API Host_Application::createInstance(TUID /*cid*/, TUID /*iid*/, void** obj)
{
    *obj = nullptr;
    return kResultFalse;
}

std::string to_utf8(const TChar* text)
{
    std::string out;
    if (text == nullptr) return out;
    for (size_t i = 0; text[i] != 0; ++i) {
        uint32_t c = uint16_t(text[i]);
        if (c >= 0xD800 && c < 0xDC00 && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000) {
            c = 0x10000 + ((c - 0xD800) << 10) + (uint16_t(text[i + 1]) - 0xDC00);
            ++i;
        }
        if (c < 0x80) {
            out += char(c);
        } else if (c < 0x800) {
            out += char(0xC0 | (c >> 6));
            out += char(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            out += char(0xE0 | (c >> 12));
            out += char(0x80 | ((c >> 6) & 0x3F));
            out += char(0x80 | (c & 0x3F));
        } else {
            out += char(0xF0 | (c >> 18));
            out += char(0x80 | ((c >> 12) & 0x3F));
            out += char(0x80 | ((c >> 6) & 0x3F));
            out += char(0x80 | (c & 0x3F));
        }
    }
    return out;
}

void from_utf8(const std::string& text, TChar* out, int capacity)
{
    int n = 0;
    for (size_t i = 0; i < text.size() && n < capacity - 2;) {
        const unsigned char b = static_cast<unsigned char>(text[i]);
        uint32_t c = b;
        int extra = 0;
        if (b >= 0xF0) { c = b & 0x07; extra = 3; }
        else if (b >= 0xE0) { c = b & 0x0F; extra = 2; }
        else if (b >= 0xC0) { c = b & 0x1F; extra = 1; }
        ++i;
        for (int k = 0; k < extra && i < text.size(); ++k, ++i) {
            c = (c << 6) | (static_cast<unsigned char>(text[i]) & 0x3F);
        }
        if (c >= 0x10000) {
            c -= 0x10000;
            out[n++] = TChar(0xD800 + (c >> 10));
            out[n++] = TChar(0xDC00 + (c & 0x3FF));
        } else {
            out[n++] = TChar(c);
        }
    }
    out[n] = 0;
}

} // namespace hostlib
