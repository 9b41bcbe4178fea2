#pragma once

// The editor of a VST3 edit controller, built from a template of a UI
// description: the plug-in view the host embeds (platform type
// "X11EmbedWindowID"), whose controls are bound by tag to the controller's
// parameters. A control's gesture reaches the host as beginEdit,
// performEdit and endEdit through the controller; a parameter changed by
// the host or the program moves the controls of its tag.
//
// The controller may also be a VST3EditorDelegate, which is asked for
// custom views and sub-controllers and told of opening and closing.
//
// Resources are looked up in the resource directory (see
// cresourcedescription.h); unless a program has set one, the editor uses
// the Contents/Resources folder of the bundle its module was loaded from.

#include "vstgui/lib/cframe.h"
#include "vstgui/uidescription/icontroller.h"
#include "vstgui/uidescription/uidescription.h"

#include "base/source/timer.h"
#include "pluginterfaces/vst/ivstplugview.h"
#include "public.sdk/source/vst/vsteditcontroller.h"

#include <map>
#include <string>
#include <thread>

namespace VSTGUI {

class VST3Editor;
class COptionMenu;

class VST3EditorDelegate {
public:
    virtual ~VST3EditorDelegate() = default;
    virtual CView* createCustomView(UTF8StringPtr name, const UIAttributes& attributes,
                                    const IUIDescription* description, VST3Editor* editor)
    {
        return nullptr;
    }
    virtual CView* verifyView(CView* view, const UIAttributes& attributes, const IUIDescription* description,
                              VST3Editor* editor)
    {
        return view;
    }
    // The parameter under a point of the frame, for the host's finder.
    virtual bool findParameter(const CPoint& pos, Steinberg::Vst::ParamID& paramID, VST3Editor* editor)
    {
        return false;
    }
    // A parameter the host does not see: its controls change it without
    // the host's edit calls.
    virtual bool isPrivateParameter(const Steinberg::Vst::ParamID paramID) { return false; }
    virtual void didOpen(VST3Editor* editor) {}
    virtual void willClose(VST3Editor* editor) {}
    // A menu for a right click on the frame; the editor takes the reference.
    virtual COptionMenu* createContextMenu(const CPoint& pos, VST3Editor* editor) { return nullptr; }
    virtual IController* createSubController(UTF8StringPtr name, const IUIDescription* description,
                                             VST3Editor* editor)
    {
        return nullptr;
    }
};

class ParameterChangeListener;

class VST3Editor : public Steinberg::Vst::EditorView,
                   public VSTGUIEditorInterface,
                   public IController,
                   public IViewAddedRemovedObserver,
                   public IMouseObserver,
                   public Steinberg::Vst::IParameterFinder,
                   public Steinberg::ITimerCallback {
public:
    // Reads the description at once; a description that cannot be read
    // leaves an editor that refuses to open (see getLastError).
    VST3Editor(Steinberg::Vst::EditController* controller, UTF8StringPtr templateName, UTF8StringPtr xmlFile);

    // Interface thread. Builds the frame from the template; with a parent,
    // inside that X11 window, else in memory only (for tools and tests).
    bool open(void* parent, const PlatformType& type = kDefaultNative);
    void close();
    bool isOpen() const { return frame != nullptr; }

    // Replaces the frame's content by another template of the description.
    bool exchangeView(UTF8StringPtr templateName);
    // Asks the host for a new size within the template's limits.
    bool requestResize(const CPoint& newSize) override;
    int32_t getKnobMode() const override;

    UIDescription* getUIDescription() const { return description; }
    const std::string& getTemplateName() const { return templateName; }
    const std::string& getLastError() const { return lastError; }
    const CPoint& getMinSize() const { return minSize; }
    const CPoint& getMaxSize() const { return maxSize; }
    // The bindings of a tag, for tests: the number of controls bound.
    size_t getBoundControlCount(int32_t tag) const;

    //--- IPlugView
    Steinberg::tresult PLUGIN_API isPlatformTypeSupported(Steinberg::FIDString type) SMTG_OVERRIDE;
    Steinberg::tresult PLUGIN_API attached(void* parent, Steinberg::FIDString type) SMTG_OVERRIDE;
    Steinberg::tresult PLUGIN_API removed() SMTG_OVERRIDE;
    Steinberg::tresult PLUGIN_API onSize(Steinberg::ViewRect* newSize) SMTG_OVERRIDE;
    Steinberg::tresult PLUGIN_API canResize() SMTG_OVERRIDE;
    Steinberg::tresult PLUGIN_API checkSizeConstraint(Steinberg::ViewRect* rect) SMTG_OVERRIDE;
    // Keys a host hands over instead of sending them to the window: they go
    // through the frame's keyboard hooks and focus view. The SDK's virtual
    // keys and modifiers have the numbering of VstKeyCode's.
    Steinberg::tresult PLUGIN_API onKeyDown(Steinberg::char16 key, Steinberg::int16 keyMsg,
                                            Steinberg::int16 modifiers) SMTG_OVERRIDE;
    Steinberg::tresult PLUGIN_API onKeyUp(Steinberg::char16 key, Steinberg::int16 keyMsg,
                                          Steinberg::int16 modifiers) SMTG_OVERRIDE;

    //--- IParameterFinder
    Steinberg::tresult PLUGIN_API findParameter(Steinberg::int32 xPos, Steinberg::int32 yPos,
                                                Steinberg::Vst::ParamID& resultTag) SMTG_OVERRIDE;

    //--- IController
    void valueChanged(CControl* pControl) override;
    void controlBeginEdit(CControl* pControl) override;
    void controlEndEdit(CControl* pControl) override;
    CView* createView(const UIAttributes& attributes, const IUIDescription* description) override;
    CView* verifyView(CView* view, const UIAttributes& attributes, const IUIDescription* description) override;
    IController* createSubController(UTF8StringPtr name, const IUIDescription* description) override;

    //--- IViewAddedRemovedObserver
    void onViewAdded(CFrame* frame, CView* view) override;
    void onViewRemoved(CFrame* frame, CView* view) override;

    //--- IMouseObserver
    CMouseEventResult onMouseDown(CFrame* frame, const CPoint& where, const CButtonState& buttons) override;

    //--- ITimerCallback: changes of parameters made on other threads.
    void onTimer(Steinberg::Timer* timer) override;

    // A listener heard of a change; on the interface thread its controls
    // follow at once, else at the next timer tick.
    void parameterChangedBy(ParameterChangeListener* listener);

    OBJ_METHODS(VST3Editor, Steinberg::Vst::EditorView)
    DEFINE_INTERFACES
        DEF_INTERFACE(Steinberg::Vst::IParameterFinder)
    END_DEFINE_INTERFACES(Steinberg::Vst::EditorView)
    REFCOUNT_METHODS(Steinberg::Vst::EditorView)

protected:
    ~VST3Editor() override;

    // The size of the template, limited by its minSize and maxSize, both
    // times the content scale.
    void constrain(Steinberg::ViewRect& rect) const;
    // The frame's zoom for the window's size in pixels: the template's own
    // size scaled as large as the window holds it, so that the panel fills
    // the window the host gives (all but a band along one side when the
    // proportions differ).
    double zoomFor(const Steinberg::ViewRect& rect) const;
    // The frame takes the window's size: the zoom, then the size in units.
    void fitFrame();
    ParameterChangeListener* listenerOf(int32_t tag) const;
    void bindControl(CControl* control);
    void unbindControl(CControl* control);
    void unbindAll();

    VST3EditorDelegate* delegate = nullptr;
    SharedPointer<UIDescription> description;
    std::string templateName;
    std::string xmlFile;
    std::string lastError;
    CPoint minSize;
    CPoint maxSize;
    // The template's own size, in units.
    CPoint naturalSize;
    // Pixels per unit the host asks for (IPlugViewContentScaleSupport);
    // the window's limits and the size the editor asks for follow it.
    double contentScale = 1.0;
    std::map<int32_t, ParameterChangeListener*> listeners;
    Steinberg::Timer* timer = nullptr;
    COptionMenu* contextMenu = nullptr;
    std::thread::id interfaceThread;
};

} // namespace VSTGUI
