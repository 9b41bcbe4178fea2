#pragma once

#include "Common_VST3/IEditorSnapshot.h"
#include "pluginterfaces/gui/iplugviewcontentscalesupport.h"
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
// new sizes, takes the host's content scale, and draws itself into a
// picture for our tools. Template loading, parameter binding and mouse
// handling are the base's; the base scales the panel to fill the window.
class VST3_VST3Editor : public VSTGUI::VST3Editor,
                        public IEditorSnapshot,
                        public Steinberg::IPlugViewContentScaleSupport {
public:
    // The owner is not held and must outlive the editor.
    VST3_VST3Editor(Steinberg::Vst::EditController* controller, VST3_EditorOwner* owner,
                    VSTGUI::UTF8StringPtr templateName, VSTGUI::UTF8StringPtr descriptionFile);

    // Interface thread. A new size goes to the base and then to the owner,
    // which keeps it in units (pixels over the content scale).
    Steinberg::tresult PLUGIN_API onSize(Steinberg::ViewRect* newSize) SMTG_OVERRIDE;

    //--- IPlugViewContentScaleSupport
    // Interface thread. The host's pixels per unit (1, 1.5, 2 ...): the
    // editor asks the host for its size times the factor and draws the
    // panel, its pictures and cursors at that scale. kResultFalse for a
    // factor outside 0.25..8.
    Steinberg::tresult PLUGIN_API setContentScaleFactor(ScaleFactor factor) SMTG_OVERRIDE;
    double getContentScale() const { return contentScale; }

    //--- IEditorSnapshot
    Steinberg::tresult PLUGIN_API writeSnapshot(const char* pngPath, Steinberg::int32 width,
                                                Steinberg::int32 height, const char* dialog) SMTG_OVERRIDE;

    OBJ_METHODS(VST3_VST3Editor, VSTGUI::VST3Editor)
    DEFINE_INTERFACES
        DEF_INTERFACE(IEditorSnapshot)
        DEF_INTERFACE(Steinberg::IPlugViewContentScaleSupport)
    END_DEFINE_INTERFACES(VSTGUI::VST3Editor)
    REFCOUNT_METHODS(VSTGUI::VST3Editor)

protected:
    ~VST3_VST3Editor() override;

    VST3_EditorOwner* owner;
};
