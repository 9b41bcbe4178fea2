#pragma once

#include "Common_VST3/IEditorSnapshot.h"
#include "vstgui/plugin-bindings/vst3editor.h"

// What an editor's owner hears of it: the size of its window when the host
// or the user changes it, so that the owner can keep it for the next opening.
class VST3_EditorOwner {
public:
    virtual ~VST3_EditorOwner() = default;
    // Interface thread. The editor's new size in pixels.
    virtual void editorResized(Steinberg::int32 width, Steinberg::int32 height) = 0;
    // Interface thread, for pictures of the panel only: puts the dialog of
    // that name, as the user would see it, over the open frame without
    // waiting for an answer; it goes with the frame. False for a name the
    // owner does not know.
    virtual bool showDialogForSnapshot(VSTGUI::CFrame* frame, const char* dialog) = 0;
};

// The editor of the effect: the SDK's editor that also tells its owner of
// new sizes, and draws itself into a picture for our tools. Template
// loading, parameter binding and mouse handling are the base's.
class VST3_VST3Editor : public VSTGUI::VST3Editor, public IEditorSnapshot {
public:
    // The owner is not held and must outlive the editor.
    VST3_VST3Editor(Steinberg::Vst::EditController* controller, VST3_EditorOwner* owner,
                    VSTGUI::UTF8StringPtr templateName, VSTGUI::UTF8StringPtr descriptionFile);

    // Interface thread. A new size goes to the base and then to the owner.
    Steinberg::tresult PLUGIN_API onSize(Steinberg::ViewRect* newSize) SMTG_OVERRIDE;

    //--- IEditorSnapshot
    Steinberg::tresult PLUGIN_API writeSnapshot(const char* pngPath, Steinberg::int32 width,
                                                Steinberg::int32 height, const char* dialog) SMTG_OVERRIDE;

    OBJ_METHODS(VST3_VST3Editor, VSTGUI::VST3Editor)
    DEFINE_INTERFACES
        DEF_INTERFACE(IEditorSnapshot)
    END_DEFINE_INTERFACES(VSTGUI::VST3Editor)
    REFCOUNT_METHODS(VSTGUI::VST3Editor)

protected:
    ~VST3_VST3Editor() override;

    VST3_EditorOwner* owner;
};
