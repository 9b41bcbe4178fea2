#include "Common_VST3/VST3_VST3Editor.h"

#include "vstgui/lib/cbitmap.h"

using namespace Steinberg;

DEF_CLASS_IID(IEditorSnapshot)

VST3_VST3Editor::VST3_VST3Editor(Vst::EditController* controller, VST3_EditorOwner* owner,
                                 VSTGUI::UTF8StringPtr templateName, VSTGUI::UTF8StringPtr descriptionFile)
    : VST3Editor(controller, templateName, descriptionFile), owner(owner)
{
}

VST3_VST3Editor::~VST3_VST3Editor() = default;

tresult PLUGIN_API VST3_VST3Editor::onSize(ViewRect* newSize)
{
    const tresult result = VST3Editor::onSize(newSize);
    if (result == kResultTrue && owner)
        owner->editorResized(int32(newSize->getWidth() / contentScale + 0.5),
                             int32(newSize->getHeight() / contentScale + 0.5));
    return result;
}

tresult PLUGIN_API VST3_VST3Editor::setContentScaleFactor(ScaleFactor factor)
{
    if (!(factor >= 0.25f && factor <= 8.f)) return kResultFalse;
    if (double(factor) == contentScale) return kResultOk;
    // The window keeps its size in units: its pixels follow the factor.
    const double change = double(factor) / contentScale;
    contentScale = double(factor);
    ViewRect size(0, 0, int32(rect.getWidth() * change + 0.5), int32(rect.getHeight() * change + 0.5));
    constrain(size);
    if (plugFrame && isOpen() && plugFrame->resizeView(this, &size) == kResultTrue) return kResultOk;
    rect = size;
    fitFrame();
    return kResultOk;
}

tresult PLUGIN_API VST3_VST3Editor::writeSnapshot(const char* pngPath, int32 width, int32 height,
                                                  const char* dialog)
{
    if (pngPath == nullptr || isOpen()) return kResultFalse;
    if (width > 0 && height > 0) {
        ViewRect size(0, 0, width, height);
        checkSizeConstraint(&size);
        onSize(&size);
    }
    if (!open(nullptr)) return kResultFalse;
    if (dialog && *dialog && !(owner && owner->showDialogForSnapshot(getFrame(), dialog))) {
        close();
        return kInvalidArgument;
    }
    bool written = false;
    if (VSTGUI::CBitmap* picture = getFrame()->createSnapshot()) {
        written = picture->writePNG(pngPath);
        picture->forget();
    }
    close();
    return written ? kResultOk : kResultFalse;
}
