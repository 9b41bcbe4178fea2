#include "Common_VST3/VSTGUI4_Controls.h"

#include "vstgui/lib/cbitmap.h"
#include "vstgui/uidescription/iuidescription.h"
#include "vstgui/uidescription/uiattributes.h"
#include "vstgui/uidescription/uiviewcreator.h"
#include "vstgui/uidescription/uiviewfactory.h"

#include <climits>
#include <cstdlib>

using namespace VSTGUI;

namespace {

const char* const kFlashBitmap = "flashBitmap";
const char* const kMinSize = "minSize";

const UIViewCreator::AttributeEntry flashAttributes[] = {
    {kFlashBitmap, IViewCreator::kBitmapType},
};

const UIViewCreator::AttributeEntry minSizeAttributes[] = {
    {kMinSize, IViewCreator::kPointType},
};

// Controls without attributes of their own; made with an empty rectangle,
// no listener, tag -1 and no bitmap.
template <class Control>
class PlainControlCreator : public ViewCreatorAdapter {
public:
    PlainControlCreator(IdStringPtr name, IdStringPtr baseName) : name(name), baseName(baseName) {}
    IdStringPtr getViewName() const override { return name; }
    IdStringPtr getBaseViewName() const override { return baseName; }
    CView* create(const UIAttributes&, const IUIDescription*) const override
    {
        return new Control(CRect(), nullptr, -1, nullptr);
    }

private:
    IdStringPtr name;
    IdStringPtr baseName;
};

// The flashing buttons: their flash bitmap by name.
template <class Button>
class FlashingButtonCreator : public TableViewCreator {
public:
    FlashingButtonCreator(IdStringPtr name, IdStringPtr baseName)
        : TableViewCreator(flashAttributes, 1), name(name), baseName(baseName)
    {
    }
    IdStringPtr getViewName() const override { return name; }
    IdStringPtr getBaseViewName() const override { return baseName; }
    CView* create(const UIAttributes&, const IUIDescription*) const override
    {
        return new Button(CRect(), nullptr, -1, nullptr);
    }

    bool apply(CView* view, const UIAttributes& attributes, const IUIDescription* desc) const override
    {
        auto* button = dynamic_cast<Button*>(view);
        const std::string* value = attributes.getAttributeValue(kFlashBitmap);
        if (button && value && desc) {
            if (CBitmap* bitmap = desc->getBitmap(value->c_str())) button->setFlashBitmap(bitmap);
        }
        return true;
    }

    bool getAttributeValue(CView* view, const std::string& attributeName, std::string& stringValue,
                           const IUIDescription* desc) const override
    {
        auto* button = dynamic_cast<Button*>(view);
        if (!button || attributeName != kFlashBitmap) return false;
        return UIViewCreator::bitmapToString(button->getFlashBitmap(), stringValue, desc);
    }

private:
    IdStringPtr name;
    IdStringPtr baseName;
};

// A base-ten whole number at the start of text, as strtol reads it (blanks
// skipped, no digits giving 0), held to the 32-bit range.
double leadingInteger(const char* text)
{
    long v = std::strtol(text, nullptr, 10);
    if (v > INT32_MAX) v = INT32_MAX;
    if (v < INT32_MIN) v = INT32_MIN;
    return double(v);
}

// "x, y" split at its first comma; false when there is no comma.
bool readMinSize(const std::string& text, CPoint& size)
{
    const size_t comma = text.find(',');
    if (comma == std::string::npos) return false;
    const std::string before = text.substr(0, comma);
    size = CPoint(leadingInteger(before.c_str()), leadingInteger(text.c_str() + comma + 1));
    return true;
}

class ViewWithMinimumSizeCreator : public TableViewCreator {
public:
    ViewWithMinimumSizeCreator() : TableViewCreator(minSizeAttributes, 1) {}
    IdStringPtr getViewName() const override { return "VSTGUI4_ViewWithMinimumSize"; }
    IdStringPtr getBaseViewName() const override { return "CView"; }
    CView* create(const UIAttributes&, const IUIDescription*) const override
    {
        return new VSTGUI4_ViewWithMinimumSize(CRect());
    }

    bool apply(CView* view, const UIAttributes& attributes, const IUIDescription*) const override
    {
        auto* v = dynamic_cast<VSTGUI4_ViewWithMinimumSize*>(view);
        const std::string* value = attributes.getAttributeValue(kMinSize);
        CPoint size;
        if (v && value && readMinSize(*value, size)) v->setMinSize(size);
        return true;
    }

    bool getAttributeValue(CView* view, const std::string& attributeName, std::string& stringValue,
                           const IUIDescription*) const override
    {
        auto* v = dynamic_cast<VSTGUI4_ViewWithMinimumSize*>(view);
        if (!v || attributeName != kMinSize) return false;
        stringValue = UIAttributes::pointToString(v->getMinSize());
        return true;
    }
};

} // namespace

void VSTGUI4_registerControls()
{
    static bool registered = false;
    if (registered) return;
    registered = true;

    static const PlainControlCreator<VSTGUI4_PushButton> pushButton("VSTGUI4_PushButton", "CControl");
    static const FlashingButtonCreator<VSTGUI4_FlashingPushButton> flashingPushButton("VSTGUI4_FlashingPushButton",
                                                                                      "VSTGUI4_PushButton");
    static const FlashingButtonCreator<VSTGUI4_FlashingOnOffButton> flashingOnOffButton(
        "VSTGUI4_FlashingOnOffButton", "COnOffButton");
    static const PlainControlCreator<VSTGUI4_DoubleClickKnob> doubleClickKnob("VSTGUI4_DoubleClickKnob",
                                                                              "CAnimKnob");
    static const ViewWithMinimumSizeCreator viewWithMinimumSize;

    const IViewCreator* all[] = {&pushButton, &flashingPushButton, &flashingOnOffButton, &doubleClickKnob,
                                 &viewWithMinimumSize};
    for (const IViewCreator* creator : all) UIViewFactory::registerViewCreator(*creator);
}
