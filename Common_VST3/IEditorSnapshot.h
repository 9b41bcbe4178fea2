#pragma once

#include "pluginterfaces/base/funknown.h"

// A private interface of the effect's editor view, asked for by our own
// tools through queryInterface on the IPlugView: draws the whole panel into
// a PNG file without a window or a display. Hosts never see it.
class IEditorSnapshot : public Steinberg::FUnknown {
public:
    // Interface thread, while the view is not attached to a window. Builds
    // the panel at width x height (0 for the current size, limited as the
    // host's sizes are), puts up the named dialog over it when `dialog` is
    // neither null nor empty (the editor's owner knows the names), draws it,
    // writes the PNG and takes the panel down. kResultOk; kInvalidArgument
    // for a dialog the owner does not know; kResultFalse when the panel
    // cannot be built or the file cannot be written (no file is left behind
    // then).
    virtual Steinberg::tresult PLUGIN_API writeSnapshot(const char* pngPath, Steinberg::int32 width,
                                                        Steinberg::int32 height, const char* dialog) = 0;

    static const Steinberg::FUID iid;
};

DECLARE_CLASS_IID(IEditorSnapshot, 0x6F1A3C52, 0x9D0B4E87, 0xA4C2E113, 0x5B7D90C8)
