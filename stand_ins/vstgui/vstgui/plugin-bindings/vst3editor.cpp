#include "vstgui/plugin-bindings/vst3editor.h"

#include "vstgui/lib/controls/ccontrol.h"
#include "vstgui/lib/controls/coptionmenu.h"
#include "vstgui/lib/controls/cparamdisplay.h"

#include "base/source/fstring.h"
#include "base/source/updatehandler.h"
#include "pluginterfaces/gui/iplugview.h"

#include <dlfcn.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <vector>

namespace VSTGUI {

using namespace Steinberg;

namespace {

// Milliseconds between the checks for parameter changes made on other
// threads.
constexpr uint32 kPendingUpdateInterval = 30;

// Parameters tell their dependents through the SDK's update handler; one
// is made for the process if the program has none.
void ensureUpdateHandler()
{
    if (FObject::getUpdateHandler()) return;
    static UpdateHandler handler;
    (void)handler;
}

bool isDirectory(const std::string& path)
{
    struct stat st;
    return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// The Contents/Resources folder of the bundle holding this module
// (.../Name.vst3/Contents/<arch>-linux/Name.so), or empty.
std::string bundleResourceDirectory()
{
    Dl_info info{};
    if (!dladdr(reinterpret_cast<void*>(&bundleResourceDirectory), &info) || !info.dli_fname) return {};
    std::string path = info.dli_fname;
    auto cut = [&path]() {
        const auto slash = path.find_last_of('/');
        if (slash == std::string::npos) return false;
        path.erase(slash);
        return true;
    };
    if (!cut() || !cut()) return {}; // the file, then the architecture folder
    if (path.size() < 9 || path.compare(path.size() - 9, 9, "/Contents") != 0) return {};
    path += "/Resources";
    return isDirectory(path) ? path : std::string();
}

std::string toUTF8(const Vst::String128 text)
{
    String s(text);
    s.toMultiByte(kCP_Utf8);
    return s.text8() ? s.text8() : "";
}

} // namespace

// Binds the controls of one tag to the controller's parameter of that tag.
class ParameterChangeListener : public FObject {
public:
    ParameterChangeListener(VST3Editor* editor, Vst::EditController* controller, Vst::ParamID id,
                            bool isPrivate)
        : editor(editor), controller(controller), id(id), isPrivate(isPrivate)
    {
        parameter = controller->getParameterObject(id);
        if (parameter) {
            parameter->addRef();
            parameter->addDependent(this);
        }
    }

    // Called before the last release: no more updates.
    void detach()
    {
        if (parameter) {
            parameter->removeDependent(this);
            parameter->release();
            parameter = nullptr;
        }
        for (auto* c : controls) c->forget();
        controls.clear();
        editor = nullptr;
    }

    void addControl(CControl* control)
    {
        if (std::find(controls.begin(), controls.end(), control) != controls.end()) return;
        control->remember();
        controls.push_back(control);
        if (!parameter) return;
        if (auto* menu = dynamic_cast<COptionMenu*>(control)) {
            // A menu without entries shows the parameter's steps.
            const int32 steps = parameter->getInfo().stepCount;
            if (menu->getNbEntries() == 0 && steps > 0) {
                for (int32 i = 0; i <= steps; ++i) {
                    Vst::String128 text{};
                    parameter->toString(double(i) / steps, text);
                    menu->addEntry(toUTF8(text).c_str());
                }
            }
        } else if (auto* display = dynamic_cast<CParamDisplay*>(control)) {
            if (!dynamic_cast<CTextLabel*>(control)) {
                Vst::Parameter* p = parameter;
                display->setValueToStringFunction([p](float, char utf8String[256], CParamDisplay* d) {
                    Vst::String128 text{};
                    p->toString(d->getValueNormalized(), text);
                    const std::string s = toUTF8(text);
                    std::snprintf(utf8String, 256, "%s", s.c_str());
                    return true;
                });
            }
        }
        showValue(control);
    }

    bool removeControl(CControl* control)
    {
        auto it = std::find(controls.begin(), controls.end(), control);
        if (it == controls.end()) return false;
        controls.erase(it);
        control->forget();
        return true;
    }

    size_t controlCount() const { return controls.size(); }

    void beginEdit()
    {
        if (editing++ == 0 && !isPrivate && parameter) controller->beginEdit(id);
    }

    void endEdit()
    {
        if (editing == 0) return;
        if (--editing == 0 && !isPrivate && parameter) controller->endEdit(id);
    }

    void performEdit(double normalized)
    {
        if (!parameter) return;
        performing = true;
        controller->setParamNormalized(id, normalized);
        performing = false;
        if (!isPrivate) controller->performEdit(id, controller->getParamNormalized(id));
        // Other controls of the tag follow; the one that moved keeps its value.
        updateControls();
    }

    // The controls show the parameter's value now.
    void updateControls()
    {
        pending = false;
        const std::vector<CControl*> copy = controls;
        for (CControl* c : copy) showValue(c);
    }

    void PLUGIN_API update(FUnknown*, int32 message) SMTG_OVERRIDE
    {
        if (message != IDependent::kChanged || !editor || performing) return;
        pending = true;
        editor->parameterChangedBy(this);
    }

    bool isPending() const { return pending; }

    OBJ_METHODS(ParameterChangeListener, FObject)

private:
    void showValue(CControl* control)
    {
        if (!parameter) return;
        const float normalized = float(parameter->getNormalized());
        if (std::fabs(control->getValueNormalized() - normalized) < 1e-7f && !control->isDirty()) return;
        control->setValueNormalized(normalized);
        control->invalid();
    }

    VST3Editor* editor;
    Vst::EditController* controller;
    Vst::Parameter* parameter = nullptr;
    Vst::ParamID id;
    bool isPrivate;
    std::vector<CControl*> controls;
    int32 editing = 0;
    bool performing = false;
    std::atomic<bool> pending{false};
};

VST3Editor::VST3Editor(Vst::EditController* controller, UTF8StringPtr templateName, UTF8StringPtr xmlFile)
    : EditorView(controller),
      templateName(templateName ? templateName : ""),
      xmlFile(xmlFile ? xmlFile : ""),
      interfaceThread(std::this_thread::get_id())
{
    ensureUpdateHandler();
    delegate = dynamic_cast<VST3EditorDelegate*>(controller);
    if (!isResourceDirectorySet()) {
        const std::string dir = bundleResourceDirectory();
        if (!dir.empty()) setResourceDirectory(dir.c_str());
    }
    description = owned(new UIDescription(CResourceDescription(this->xmlFile.c_str())));
    if (!description->parse()) {
        lastError = description->getLastError();
        return;
    }
    const UIAttributes* attributes = description->getViewAttributes(this->templateName.c_str());
    if (!attributes) {
        lastError = description->getFilePath() + ": no template named '" + this->templateName + "'";
        return;
    }
    CPoint size;
    attributes->getPointAttribute("size", size);
    minSize = size;
    maxSize = size;
    attributes->getPointAttribute("minSize", minSize);
    attributes->getPointAttribute("maxSize", maxSize);
    naturalSize = size;
    rect = ViewRect(0, 0, int32(size.x), int32(size.y));
}

double VST3Editor::zoomFor(const ViewRect& r) const
{
    if (naturalSize.x <= 0 || naturalSize.y <= 0 || r.getWidth() <= 0 || r.getHeight() <= 0) return 1.0;
    const double z = std::min(r.getWidth() / naturalSize.x, r.getHeight() / naturalSize.y);
    return std::min(8.0, std::max(0.25, z));
}

namespace {

// A window's length in pixels as units of the zoom, to a 1024th: sums and
// differences of such lengths are exact, so that views placed by the
// container's growth land where a panel opened at that size puts them.
CCoord unitsOf(int32 pixels, double zoom)
{
    return std::round(pixels / zoom * 1024.0) / 1024.0;
}

} // namespace

void VST3Editor::fitFrame()
{
    if (!frame) return;
    const double z = zoomFor(rect);
    frame->setZoomAndSize(z, unitsOf(rect.getWidth(), z), unitsOf(rect.getHeight(), z));
}

VST3Editor::~VST3Editor()
{
    close();
}

bool VST3Editor::open(void* parent, const PlatformType& type)
{
    if (frame || !lastError.empty()) return false;
    const double zoom = zoomFor(rect);
    frame = new CFrame(CRect(0, 0, unitsOf(rect.getWidth(), zoom), unitsOf(rect.getHeight(), zoom)), this);
    frame->setZoom(zoom);
    frame->registerViewAddedRemovedObserver(this);
    frame->registerMouseObserver(this);
    CView* view = description->createView(templateName.c_str(), this);
    if (!view) {
        lastError = description->getLastError();
        frame->unregisterViewAddedRemovedObserver(this);
        frame->forget();
        frame = nullptr;
        return false;
    }
    if (view->getWidth() != frame->getWidth() || view->getHeight() != frame->getHeight()) {
        CRect r(0, 0, frame->getWidth(), frame->getHeight());
        view->setViewSize(r, false);
        view->setMouseableArea(r);
    }
    frame->addView(view);
    if (parent && !frame->open(parent, type)) {
        lastError = "the editor's window cannot be made (no X display?)";
        unbindAll();
        frame->unregisterViewAddedRemovedObserver(this);
        frame->unregisterMouseObserver(this);
        frame->close();
        frame = nullptr;
        return false;
    }
    timer = Timer::create(this, kPendingUpdateInterval);
    if (delegate) delegate->didOpen(this);
    return true;
}

void VST3Editor::close()
{
    if (!frame) return;
    if (delegate) delegate->willClose(this);
    if (timer) {
        timer->stop();
        timer->release();
        timer = nullptr;
    }
    frame->unregisterViewAddedRemovedObserver(this);
    frame->unregisterMouseObserver(this);
    unbindAll();
    contextMenu = nullptr;
    CFrame* f = frame;
    frame = nullptr;
    f->close();
}

bool VST3Editor::exchangeView(UTF8StringPtr name)
{
    if (!frame || !name) return false;
    const UIAttributes* attributes = description->getViewAttributes(name);
    if (!attributes) return false;
    CView* view = description->createView(name, this);
    if (!view) return false;
    templateName = name;
    CPoint size;
    attributes->getPointAttribute("size", size);
    minSize = maxSize = naturalSize = size;
    attributes->getPointAttribute("minSize", minSize);
    attributes->getPointAttribute("maxSize", maxSize);
    frame->removeAll(true);
    frame->addView(view);
    if (size.x > 0 && size.y > 0 && (size.x != frame->getWidth() || size.y != frame->getHeight()))
        requestResize(size);
    frame->invalid();
    return true;
}

void VST3Editor::constrain(ViewRect& r) const
{
    int32 w = r.getWidth();
    int32 h = r.getHeight();
    const double s = contentScale;
    if (minSize.x > 0) w = std::max(w, int32(std::ceil(minSize.x * s - 1e-6)));
    if (minSize.y > 0) h = std::max(h, int32(std::ceil(minSize.y * s - 1e-6)));
    if (maxSize.x > 0) w = std::min(w, int32(maxSize.x * s));
    if (maxSize.y > 0) h = std::min(h, int32(maxSize.y * s));
    r.right = r.left + w;
    r.bottom = r.top + h;
}

bool VST3Editor::requestResize(const CPoint& newSize)
{
    ViewRect r(0, 0, int32(newSize.x), int32(newSize.y));
    constrain(r);
    if (plugFrame) return plugFrame->resizeView(this, &r) == kResultTrue;
    return onSize(&r) == kResultTrue;
}

int32_t VST3Editor::getKnobMode() const
{
    return int32_t(Vst::EditController::getHostKnobMode());
}

size_t VST3Editor::getBoundControlCount(int32_t tag) const
{
    ParameterChangeListener* l = listenerOf(tag);
    return l ? l->controlCount() : 0;
}

tresult PLUGIN_API VST3Editor::isPlatformTypeSupported(FIDString type)
{
    return (type && std::strcmp(type, kPlatformTypeX11EmbedWindowID) == 0) ? kResultTrue : kResultFalse;
}

tresult PLUGIN_API VST3Editor::attached(void* parent, FIDString type)
{
    if (isPlatformTypeSupported(type) != kResultTrue || !parent || frame) return kResultFalse;
    if (plugFrame) {
        Linux::IRunLoop* loop = nullptr;
        if (plugFrame->queryInterface(Linux::IRunLoop::iid, reinterpret_cast<void**>(&loop)) == kResultTrue &&
            loop) {
            Timer::setRunLoop(loop);
            loop->release();
        }
    }
    if (!open(parent, kX11EmbedWindowID)) return kResultFalse;
    return EditorView::attached(parent, type);
}

tresult PLUGIN_API VST3Editor::removed()
{
    close();
    // The host's loop is not held past the window: timers made later run on
    // the loop of the next window, or on the fallback.
    Timer::setRunLoop(nullptr);
    return EditorView::removed();
}

tresult PLUGIN_API VST3Editor::onSize(ViewRect* newSize)
{
    if (!newSize) return kInvalidArgument;
    rect = *newSize;
    fitFrame();
    return kResultTrue;
}

tresult PLUGIN_API VST3Editor::canResize()
{
    return (minSize != maxSize) ? kResultTrue : kResultFalse;
}

tresult PLUGIN_API VST3Editor::checkSizeConstraint(ViewRect* r)
{
    if (!r) return kInvalidArgument;
    constrain(*r);
    return kResultTrue;
}

namespace {

VstKeyCode keyCodeOf(char16 key, int16 keyMsg, int16 modifiers)
{
    VstKeyCode code;
    code.character = (keyMsg == 0) ? int32_t(key) : 0;
    code.virt = static_cast<unsigned char>(keyMsg);
    code.modifier = static_cast<unsigned char>(modifiers);
    return code;
}

} // namespace

tresult PLUGIN_API VST3Editor::onKeyDown(char16 key, int16 keyMsg, int16 modifiers)
{
    if (!frame) return kResultFalse;
    VstKeyCode code = keyCodeOf(key, keyMsg, modifiers);
    return frame->platformOnKeyDown(code) == 1 ? kResultTrue : kResultFalse;
}

tresult PLUGIN_API VST3Editor::onKeyUp(char16 key, int16 keyMsg, int16 modifiers)
{
    if (!frame) return kResultFalse;
    VstKeyCode code = keyCodeOf(key, keyMsg, modifiers);
    return frame->platformOnKeyUp(code) == 1 ? kResultTrue : kResultFalse;
}

tresult PLUGIN_API VST3Editor::findParameter(int32 xPos, int32 yPos, Vst::ParamID& resultTag)
{
    if (!frame) return kResultFalse;
    const CPoint where(xPos, yPos);
    if (auto* control = dynamic_cast<CControl*>(frame->getViewAt(where, true))) {
        if (control->getTag() != -1 && listenerOf(control->getTag())) {
            resultTag = Vst::ParamID(control->getTag());
            return kResultTrue;
        }
    }
    if (delegate && delegate->findParameter(where, resultTag, this)) return kResultTrue;
    return kResultFalse;
}

ParameterChangeListener* VST3Editor::listenerOf(int32_t tag) const
{
    auto it = listeners.find(tag);
    return it == listeners.end() ? nullptr : it->second;
}

void VST3Editor::valueChanged(CControl* pControl)
{
    if (ParameterChangeListener* l = listenerOf(pControl->getTag())) l->performEdit(pControl->getValueNormalized());
}

void VST3Editor::controlBeginEdit(CControl* pControl)
{
    if (ParameterChangeListener* l = listenerOf(pControl->getTag())) l->beginEdit();
}

void VST3Editor::controlEndEdit(CControl* pControl)
{
    if (ParameterChangeListener* l = listenerOf(pControl->getTag())) l->endEdit();
}

CView* VST3Editor::createView(const UIAttributes& attributes, const IUIDescription* desc)
{
    const std::string* name = attributes.getAttributeValue("custom-view-name");
    if (!name || !delegate) return nullptr;
    return delegate->createCustomView(name->c_str(), attributes, desc, this);
}

CView* VST3Editor::verifyView(CView* view, const UIAttributes& attributes, const IUIDescription* desc)
{
    return delegate ? delegate->verifyView(view, attributes, desc, this) : view;
}

IController* VST3Editor::createSubController(UTF8StringPtr name, const IUIDescription* desc)
{
    return delegate ? delegate->createSubController(name, desc, this) : nullptr;
}

void VST3Editor::bindControl(CControl* control)
{
    const int32_t tag = control->getTag();
    ParameterChangeListener* l = listenerOf(tag);
    if (!l) {
        const auto id = Vst::ParamID(tag);
        const bool isPrivate = delegate && delegate->isPrivateParameter(id);
        l = new ParameterChangeListener(this, getController(), id, isPrivate);
        listeners[tag] = l;
    }
    l->addControl(control);
}

void VST3Editor::unbindControl(CControl* control)
{
    for (auto& entry : listeners) {
        if (entry.second->removeControl(control)) return;
    }
}

void VST3Editor::unbindAll()
{
    for (auto& entry : listeners) {
        entry.second->detach();
        entry.second->release();
    }
    listeners.clear();
}

void VST3Editor::onViewAdded(CFrame*, CView* view)
{
    auto* control = dynamic_cast<CControl*>(view);
    if (control && control->getTag() != -1 && control->getListener() == this) bindControl(control);
}

void VST3Editor::onViewRemoved(CFrame*, CView* view)
{
    if (auto* control = dynamic_cast<CControl*>(view)) unbindControl(control);
}

CMouseEventResult VST3Editor::onMouseDown(CFrame* f, const CPoint& where, const CButtonState& buttons)
{
    if (!delegate || !buttons.isRightButton()) return kMouseEventNotHandled;
    COptionMenu* menu = delegate->createContextMenu(where, this);
    if (!menu) return kMouseEventNotHandled;
    // The menu opens at the pointer as a hidden view of its own in the
    // frame, which replaces the one of the previous right click.
    if (contextMenu && f->isChild(contextMenu)) f->removeView(contextMenu, true);
    menu->setViewSize(CRect(where.x, where.y, where.x, where.y), false);
    menu->setVisible(false);
    contextMenu = menu;
    f->addView(menu);
    menu->popup();
    return kMouseEventHandled;
}

void VST3Editor::parameterChangedBy(ParameterChangeListener* listener)
{
    if (std::this_thread::get_id() == interfaceThread) listener->updateControls();
}

void VST3Editor::onTimer(Timer*)
{
    for (auto& entry : listeners) {
        if (entry.second->isPending()) entry.second->updateControls();
    }
}

} // namespace VSTGUI
