#include "vstgui/uidescription/uiviewcreator.h"

#include "vstgui/lib/cbitmap.h"
#include "vstgui/lib/controls/cbuttons.h"
#include "vstgui/lib/controls/cknob.h"
#include "vstgui/lib/controls/coptionmenu.h"
#include "vstgui/lib/controls/cparamdisplay.h"
#include "vstgui/lib/controls/cswitch.h"
#include "vstgui/lib/controls/cvumeter.h"
#include "vstgui/lib/cviewcontainer.h"
#include "vstgui/uidescription/iuidescription.h"
#include "vstgui/uidescription/uiattributes.h"
#include "vstgui/uidescription/uiviewfactory.h"

#include <cmath>
#include <sstream>

namespace VSTGUI {

using AttrType = IViewCreator::AttrType;
using UIViewCreator::AttributeEntry;

bool TableViewCreator::getAttributeNames(std::list<std::string>& attributeNames) const
{
    for (size_t i = 0; i < count; ++i) attributeNames.emplace_back(table[i].name);
    return true;
}

IViewCreator::AttrType TableViewCreator::getAttributeType(const std::string& attributeName) const
{
    for (size_t i = 0; i < count; ++i) {
        if (attributeName == table[i].name) return table[i].type;
    }
    return kUnknownType;
}

bool UIViewCreator::bitmapToString(const CBitmap* bitmap, std::string& string, const IUIDescription* desc)
{
    if (!bitmap) return false;
    if (desc) {
        if (UTF8StringPtr name = desc->lookupBitmapName(bitmap)) {
            string = name;
            return true;
        }
    }
    const CResourceDescription& r = bitmap->getResourceDescription();
    if (r.type == CResourceDescription::kStringType && r.u.name) {
        string = r.u.name;
        return true;
    }
    if (r.type == CResourceDescription::kIntegerType) {
        string = std::to_string(r.u.id);
        return true;
    }
    return false;
}

namespace {

template <size_t N>
constexpr size_t countOf(const AttributeEntry (&)[N])
{
    return N;
}

//--- Readers shared by the creators.

bool readBitmap(const UIAttributes& a, const char* name, const IUIDescription* desc, CBitmap*& out)
{
    const std::string* v = a.getAttributeValue(name);
    if (!v || !desc) return false;
    CBitmap* bitmap = desc->getBitmap(v->c_str());
    if (!bitmap) return false;
    out = bitmap;
    return true;
}

bool readColor(const UIAttributes& a, const char* name, const IUIDescription* desc, CColor& out)
{
    const std::string* v = a.getAttributeValue(name);
    if (!v || !desc) return false;
    return desc->getColor(v->c_str(), out);
}

bool readFloat(const UIAttributes& a, const char* name, float& out)
{
    double d;
    if (!a.getDoubleAttribute(name, d)) return false;
    out = float(d);
    return true;
}

std::string boolString(bool b)
{
    return b ? "true" : "false";
}

std::string colorString(const CColor& c, const IUIDescription* desc)
{
    if (desc) {
        if (UTF8StringPtr name = desc->lookupColorName(c)) return name;
    }
    return c.toString();
}

//--- CView

const AttributeEntry viewAttributes[] = {
    {"origin", IViewCreator::kPointType},
    {"size", IViewCreator::kPointType},
    {"transparent", IViewCreator::kBooleanType},
    {"mouse-enabled", IViewCreator::kBooleanType},
    {"wants-focus", IViewCreator::kBooleanType},
    {"bitmap", IViewCreator::kBitmapType},
    {"disabled-bitmap", IViewCreator::kBitmapType},
    {"autosize", IViewCreator::kStringType},
    {"opacity", IViewCreator::kFloatType},
    {"custom-view-name", IViewCreator::kStringType},
    {"sub-controller", IViewCreator::kStringType},
};

// Autosize words and their flags.
const struct {
    const char* word;
    int32_t flag;
} autosizeWords[] = {
    {"left", kAutosizeLeft},   {"top", kAutosizeTop},       {"right", kAutosizeRight},
    {"bottom", kAutosizeBottom}, {"column", kAutosizeColumn}, {"row", kAutosizeRow},
};

class CViewCreator : public TableViewCreator {
public:
    CViewCreator() : TableViewCreator(viewAttributes, countOf(viewAttributes)) {}
    IdStringPtr getViewName() const override { return "CView"; }
    IdStringPtr getBaseViewName() const override { return nullptr; }
    CView* create(const UIAttributes&, const IUIDescription*) const override { return new CView(CRect()); }

    bool apply(CView* view, const UIAttributes& a, const IUIDescription* desc) const override
    {
        CRect r(view->getViewSize());
        CPoint p;
        if (a.getPointAttribute("origin", p)) r.moveTo(p);
        if (a.getPointAttribute("size", p)) r.setSize(p);
        if (r != view->getViewSize()) {
            view->setViewSize(r, false);
            view->setMouseableArea(r);
        }
        bool b;
        if (a.getBooleanAttribute("transparent", b)) view->setTransparency(b);
        if (a.getBooleanAttribute("mouse-enabled", b)) view->setMouseEnabled(b);
        if (a.getBooleanAttribute("wants-focus", b)) view->setWantsFocus(b);
        CBitmap* bitmap = nullptr;
        if (readBitmap(a, "bitmap", desc, bitmap)) view->setBackground(bitmap);
        if (readBitmap(a, "disabled-bitmap", desc, bitmap)) view->setDisabledBackground(bitmap);
        if (const std::string* v = a.getAttributeValue("autosize")) {
            int32_t flags = 0;
            std::istringstream words(*v);
            std::string w;
            while (words >> w) {
                for (const auto& entry : autosizeWords) {
                    if (w == entry.word) flags |= entry.flag;
                }
            }
            view->setAutosizeFlags(flags);
        }
        float f;
        if (readFloat(a, "opacity", f)) view->setAlphaValue(f);
        return true;
    }

    bool getAttributeValue(CView* view, const std::string& name, std::string& out,
                           const IUIDescription* desc) const override
    {
        if (name == "origin") {
            out = UIAttributes::pointToString(view->getViewSize().getTopLeft());
        } else if (name == "size") {
            out = UIAttributes::pointToString(view->getViewSize().getSize());
        } else if (name == "transparent") {
            out = boolString(view->getTransparency());
        } else if (name == "mouse-enabled") {
            out = boolString(view->getMouseEnabled());
        } else if (name == "wants-focus") {
            out = boolString(view->wantsFocus());
        } else if (name == "bitmap") {
            return UIViewCreator::bitmapToString(view->getBackground(), out, desc);
        } else if (name == "disabled-bitmap") {
            return UIViewCreator::bitmapToString(view->getDisabledBackground(), out, desc);
        } else if (name == "opacity") {
            out = UIAttributes::doubleToString(view->getAlphaValue());
        } else if (name == "autosize") {
            out.clear();
            for (const auto& entry : autosizeWords) {
                if (view->getAutosizeFlags() & entry.flag) out += (out.empty() ? "" : " ") + std::string(entry.word);
            }
        } else {
            return false;
        }
        return true;
    }
};

//--- CViewContainer

const AttributeEntry containerAttributes[] = {
    {"background-color", IViewCreator::kColorType},
    {"background-color-draw-style", IViewCreator::kListType},
};

const struct {
    const char* name;
    CDrawStyle style;
} drawStyleNames[] = {
    {"stroked", kDrawStroke},
    {"filled", kDrawFilled},
    {"filled and stroked", kDrawFilledAndStroked},
};

class CViewContainerCreator : public TableViewCreator {
public:
    CViewContainerCreator() : TableViewCreator(containerAttributes, countOf(containerAttributes)) {}
    IdStringPtr getViewName() const override { return "CViewContainer"; }
    IdStringPtr getBaseViewName() const override { return "CView"; }
    CView* create(const UIAttributes&, const IUIDescription*) const override { return new CViewContainer(CRect()); }

    bool apply(CView* view, const UIAttributes& a, const IUIDescription* desc) const override
    {
        auto* c = dynamic_cast<CViewContainer*>(view);
        if (!c) return false;
        CColor color;
        if (readColor(a, "background-color", desc, color)) c->setBackgroundColor(color);
        if (const std::string* v = a.getAttributeValue("background-color-draw-style")) {
            for (const auto& entry : drawStyleNames) {
                if (*v == entry.name) c->setBackgroundColorDrawStyle(entry.style);
            }
        }
        return true;
    }

    bool getAttributeValue(CView* view, const std::string& name, std::string& out,
                           const IUIDescription* desc) const override
    {
        auto* c = dynamic_cast<CViewContainer*>(view);
        if (!c) return false;
        if (name == "background-color") {
            out = colorString(c->getBackgroundColor(), desc);
            return true;
        }
        if (name == "background-color-draw-style") {
            for (const auto& entry : drawStyleNames) {
                if (entry.style == c->getBackgroundColorDrawStyle()) out = entry.name;
            }
            return true;
        }
        return false;
    }
};

//--- CControl

const AttributeEntry controlAttributes[] = {
    {"control-tag", IViewCreator::kTagType},
    {"default-value", IViewCreator::kFloatType},
    {"min-value", IViewCreator::kFloatType},
    {"max-value", IViewCreator::kFloatType},
    {"wheel-inc-value", IViewCreator::kFloatType},
    {"background-offset", IViewCreator::kPointType},
};

class CControlCreator : public TableViewCreator {
public:
    CControlCreator() : TableViewCreator(controlAttributes, countOf(controlAttributes)) {}
    IdStringPtr getViewName() const override { return "CControl"; }
    IdStringPtr getBaseViewName() const override { return "CView"; }
    // CControl is abstract: only its descendants are made.
    CView* create(const UIAttributes&, const IUIDescription*) const override { return nullptr; }

    bool apply(CView* view, const UIAttributes& a, const IUIDescription* desc) const override
    {
        auto* control = dynamic_cast<CControl*>(view);
        if (!control) return false;
        const std::string* tagName = a.getAttributeValue("control-tag");
        if (tagName && !tagName->empty()) {
            int32_t tag = desc ? desc->getTagForName(tagName->c_str()) : -1;
            if (tag == -1) {
                int32_t number;
                if (UIAttributes::stringToInteger(*tagName, number)) tag = number;
            }
            control->setTag(tag);
        }
        if (desc) control->setListener(desc->getControlListener(tagName ? tagName->c_str() : ""));
        float f;
        if (readFloat(a, "min-value", f)) control->setMin(f);
        if (readFloat(a, "max-value", f)) control->setMax(f);
        if (readFloat(a, "default-value", f)) control->setDefaultValue(f);
        if (readFloat(a, "wheel-inc-value", f)) control->setWheelInc(f);
        CPoint p;
        if (a.getPointAttribute("background-offset", p)) control->setBackOffset(p);
        return true;
    }

    bool getAttributeValue(CView* view, const std::string& name, std::string& out,
                           const IUIDescription* desc) const override
    {
        auto* control = dynamic_cast<CControl*>(view);
        if (!control) return false;
        if (name == "control-tag") {
            UTF8StringPtr tagName = desc ? desc->lookupControlTagName(control->getTag()) : nullptr;
            out = tagName ? tagName : std::to_string(control->getTag());
        } else if (name == "default-value") {
            out = UIAttributes::doubleToString(control->getDefaultValue());
        } else if (name == "min-value") {
            out = UIAttributes::doubleToString(control->getMin());
        } else if (name == "max-value") {
            out = UIAttributes::doubleToString(control->getMax());
        } else if (name == "wheel-inc-value") {
            out = UIAttributes::doubleToString(control->getWheelInc());
        } else if (name == "background-offset") {
            out = UIAttributes::pointToString(control->getBackOffset());
        } else {
            return false;
        }
        return true;
    }
};

//--- CParamDisplay

const AttributeEntry paramDisplayAttributes[] = {
    {"font", IViewCreator::kFontType},
    {"font-color", IViewCreator::kColorType},
    {"back-color", IViewCreator::kColorType},
    {"frame-color", IViewCreator::kColorType},
    {"shadow-color", IViewCreator::kColorType},
    {"text-alignment", IViewCreator::kListType},
    {"text-inset", IViewCreator::kPointType},
    {"font-antialias", IViewCreator::kBooleanType},
    {"round-rect-radius", IViewCreator::kFloatType},
    {"frame-width", IViewCreator::kFloatType},
    {"value-precision", IViewCreator::kIntegerType},
    {"style-3D-in", IViewCreator::kBooleanType},
    {"style-3D-out", IViewCreator::kBooleanType},
    {"style-no-frame", IViewCreator::kBooleanType},
    {"style-no-text", IViewCreator::kBooleanType},
    {"style-no-draw", IViewCreator::kBooleanType},
    {"style-shadow-text", IViewCreator::kBooleanType},
    {"style-round-rect", IViewCreator::kBooleanType},
};

// Style attributes and their bits.
const struct {
    const char* name;
    int32_t bit;
} styleAttributes[] = {
    {"style-3D-in", k3DIn},           {"style-3D-out", k3DOut},           {"style-no-frame", kNoFrame},
    {"style-no-text", kNoTextStyle},  {"style-no-draw", kNoDrawStyle},    {"style-shadow-text", kShadowText},
    {"style-round-rect", kRoundRectStyle},
};

const struct {
    const char* name;
    CHoriTxtAlign align;
} alignNames[] = {
    {"left", kLeftText},
    {"center", kCenterText},
    {"right", kRightText},
};

class CParamDisplayCreator : public TableViewCreator {
public:
    CParamDisplayCreator() : TableViewCreator(paramDisplayAttributes, countOf(paramDisplayAttributes)) {}
    IdStringPtr getViewName() const override { return "CParamDisplay"; }
    IdStringPtr getBaseViewName() const override { return "CControl"; }
    CView* create(const UIAttributes&, const IUIDescription*) const override { return new CParamDisplay(CRect()); }

    bool apply(CView* view, const UIAttributes& a, const IUIDescription* desc) const override
    {
        auto* d = dynamic_cast<CParamDisplay*>(view);
        if (!d) return false;
        if (const std::string* v = a.getAttributeValue("font")) {
            if (desc) {
                if (CFontRef font = desc->getFont(v->c_str())) d->setFont(font);
            }
        }
        CColor c;
        if (readColor(a, "font-color", desc, c)) d->setFontColor(c);
        if (readColor(a, "back-color", desc, c)) d->setBackColor(c);
        if (readColor(a, "frame-color", desc, c)) d->setFrameColor(c);
        if (readColor(a, "shadow-color", desc, c)) d->setShadowColor(c);
        if (const std::string* v = a.getAttributeValue("text-alignment")) {
            for (const auto& entry : alignNames) {
                if (*v == entry.name) d->setHoriAlign(entry.align);
            }
        }
        CPoint p;
        if (a.getPointAttribute("text-inset", p)) d->setTextInset(p);
        bool b;
        if (a.getBooleanAttribute("font-antialias", b)) d->setAntialias(b);
        float f;
        if (readFloat(a, "round-rect-radius", f)) d->setRoundRectRadius(f);
        if (readFloat(a, "frame-width", f)) d->setFrameWidth(f);
        int32_t precision;
        if (a.getIntegerAttribute("value-precision", precision) && precision >= 0)
            d->setPrecision(uint8_t(precision > 16 ? 16 : precision));
        int32_t style = d->getStyle();
        for (const auto& entry : styleAttributes) {
            if (a.getBooleanAttribute(entry.name, b)) style = b ? (style | entry.bit) : (style & ~entry.bit);
        }
        d->setStyle(style);
        return true;
    }

    bool getAttributeValue(CView* view, const std::string& name, std::string& out,
                           const IUIDescription* desc) const override
    {
        auto* d = dynamic_cast<CParamDisplay*>(view);
        if (!d) return false;
        if (name == "font") {
            UTF8StringPtr n = desc ? desc->lookupFontName(d->getFont()) : nullptr;
            if (!n) return false;
            out = n;
        } else if (name == "font-color") {
            out = colorString(d->getFontColor(), desc);
        } else if (name == "back-color") {
            out = colorString(d->getBackColor(), desc);
        } else if (name == "frame-color") {
            out = colorString(d->getFrameColor(), desc);
        } else if (name == "shadow-color") {
            out = colorString(d->getShadowColor(), desc);
        } else if (name == "text-alignment") {
            out = alignNames[d->getHoriAlign()].name;
        } else if (name == "text-inset") {
            out = UIAttributes::pointToString(d->getTextInset());
        } else if (name == "font-antialias") {
            out = boolString(d->getAntialias());
        } else if (name == "round-rect-radius") {
            out = UIAttributes::doubleToString(d->getRoundRectRadius());
        } else if (name == "frame-width") {
            out = UIAttributes::doubleToString(d->getFrameWidth());
        } else if (name == "value-precision") {
            out = std::to_string(d->getPrecision());
        } else {
            for (const auto& entry : styleAttributes) {
                if (name == entry.name) {
                    out = boolString((d->getStyle() & entry.bit) != 0);
                    return true;
                }
            }
            return false;
        }
        return true;
    }
};

//--- CTextLabel

const AttributeEntry textLabelAttributes[] = {
    {"title", IViewCreator::kStringType},
};

class CTextLabelCreator : public TableViewCreator {
public:
    CTextLabelCreator() : TableViewCreator(textLabelAttributes, countOf(textLabelAttributes)) {}
    IdStringPtr getViewName() const override { return "CTextLabel"; }
    IdStringPtr getBaseViewName() const override { return "CParamDisplay"; }
    CView* create(const UIAttributes&, const IUIDescription*) const override { return new CTextLabel(CRect()); }

    bool apply(CView* view, const UIAttributes& a, const IUIDescription*) const override
    {
        auto* label = dynamic_cast<CTextLabel*>(view);
        if (!label) return false;
        if (const std::string* v = a.getAttributeValue("title")) label->setText(v->c_str());
        return true;
    }

    bool getAttributeValue(CView* view, const std::string& name, std::string& out, const IUIDescription*) const override
    {
        auto* label = dynamic_cast<CTextLabel*>(view);
        if (!label || name != "title") return false;
        out = label->getText();
        return true;
    }
};

//--- COptionMenu

const AttributeEntry optionMenuAttributes[] = {
    {"menu-popup-style", IViewCreator::kBooleanType},
    {"menu-check-style", IViewCreator::kBooleanType},
};

class COptionMenuCreator : public TableViewCreator {
public:
    COptionMenuCreator() : TableViewCreator(optionMenuAttributes, countOf(optionMenuAttributes)) {}
    IdStringPtr getViewName() const override { return "COptionMenu"; }
    IdStringPtr getBaseViewName() const override { return "CParamDisplay"; }
    CView* create(const UIAttributes&, const IUIDescription*) const override { return new COptionMenu(); }

    bool apply(CView* view, const UIAttributes& a, const IUIDescription*) const override
    {
        auto* menu = dynamic_cast<COptionMenu*>(view);
        if (!menu) return false;
        bool b;
        int32_t style = menu->getStyle();
        if (a.getBooleanAttribute("menu-popup-style", b))
            style = b ? (style | COptionMenu::kPopupStyle) : (style & ~COptionMenu::kPopupStyle);
        if (a.getBooleanAttribute("menu-check-style", b))
            style = b ? (style | COptionMenu::kCheckStyle) : (style & ~COptionMenu::kCheckStyle);
        menu->setStyle(style);
        return true;
    }

    bool getAttributeValue(CView* view, const std::string& name, std::string& out, const IUIDescription*) const override
    {
        auto* menu = dynamic_cast<COptionMenu*>(view);
        if (!menu) return false;
        if (name == "menu-popup-style") {
            out = boolString((menu->getStyle() & COptionMenu::kPopupStyle) != 0);
            return true;
        }
        if (name == "menu-check-style") {
            out = boolString((menu->getStyle() & COptionMenu::kCheckStyle) != 0);
            return true;
        }
        return false;
    }
};

//--- Multi-picture controls: CHorizontalSwitch and CAnimKnob

const AttributeEntry multiBitmapAttributes[] = {
    {"height-of-one-image", IViewCreator::kIntegerType},
    {"sub-pixmaps", IViewCreator::kIntegerType},
};

// Reads the picture height and count; missing ones follow from the bitmap
// and the view's height.
void applyMultiBitmap(IMultiBitmapControl* m, const UIAttributes& a)
{
    double h;
    if (a.getDoubleAttribute("height-of-one-image", h)) m->setHeightOfOneImage(h);
    int32_t n;
    if (a.getIntegerAttribute("sub-pixmaps", n)) m->setNumSubPixmaps(n);
    m->autoComputeHeightOfOneImage();
}

bool multiBitmapValue(IMultiBitmapControl* m, const std::string& name, std::string& out)
{
    if (name == "height-of-one-image") {
        out = UIAttributes::doubleToString(m->getHeightOfOneImage());
        return true;
    }
    if (name == "sub-pixmaps") {
        out = std::to_string(m->getNumSubPixmaps());
        return true;
    }
    return false;
}

class CHorizontalSwitchCreator : public TableViewCreator {
public:
    CHorizontalSwitchCreator() : TableViewCreator(multiBitmapAttributes, countOf(multiBitmapAttributes)) {}
    IdStringPtr getViewName() const override { return "CHorizontalSwitch"; }
    IdStringPtr getBaseViewName() const override { return "CControl"; }
    CView* create(const UIAttributes&, const IUIDescription*) const override
    {
        return new CHorizontalSwitch(CRect(), nullptr, -1, nullptr);
    }
    bool apply(CView* view, const UIAttributes& a, const IUIDescription*) const override
    {
        auto* s = dynamic_cast<CHorizontalSwitch*>(view);
        if (!s) return false;
        applyMultiBitmap(s, a);
        return true;
    }
    bool getAttributeValue(CView* view, const std::string& name, std::string& out, const IUIDescription*) const override
    {
        auto* s = dynamic_cast<CHorizontalSwitch*>(view);
        return s && multiBitmapValue(s, name, out);
    }
};

//--- Buttons: no attributes of their own.

template <class Button>
class ButtonCreator : public ViewCreatorAdapter {
public:
    explicit ButtonCreator(IdStringPtr name) : name(name) {}
    IdStringPtr getViewName() const override { return name; }
    IdStringPtr getBaseViewName() const override { return "CControl"; }
    CView* create(const UIAttributes&, const IUIDescription*) const override
    {
        return new Button(CRect(), nullptr, -1, nullptr);
    }

private:
    IdStringPtr name;
};

//--- CKnob

const AttributeEntry knobAttributes[] = {
    {"angle-start", IViewCreator::kFloatType},
    {"angle-range", IViewCreator::kFloatType},
    {"value-inset", IViewCreator::kFloatType},
    {"zoom-factor", IViewCreator::kFloatType},
    {"handle-color", IViewCreator::kColorType},
    {"handle-shadow-color", IViewCreator::kColorType},
    {"handle-bitmap", IViewCreator::kBitmapType},
};

constexpr double kDegreesPerRadian = 180.0 / M_PI;

class CKnobCreator : public TableViewCreator {
public:
    CKnobCreator() : TableViewCreator(knobAttributes, countOf(knobAttributes)) {}
    IdStringPtr getViewName() const override { return "CKnob"; }
    IdStringPtr getBaseViewName() const override { return "CControl"; }
    CView* create(const UIAttributes&, const IUIDescription*) const override
    {
        return new CKnob(CRect(), nullptr, -1, nullptr, nullptr);
    }

    bool apply(CView* view, const UIAttributes& a, const IUIDescription* desc) const override
    {
        auto* k = dynamic_cast<CKnob*>(view);
        if (!k) return false;
        double d;
        if (a.getDoubleAttribute("angle-start", d)) k->setStartAngle(float(d / kDegreesPerRadian));
        if (a.getDoubleAttribute("angle-range", d)) k->setRangeAngle(float(d / kDegreesPerRadian));
        if (a.getDoubleAttribute("value-inset", d)) k->setInsetValue(d);
        if (a.getDoubleAttribute("zoom-factor", d)) k->setZoomFactor(float(d));
        CColor c;
        if (readColor(a, "handle-color", desc, c)) k->setColorHandle(c);
        if (readColor(a, "handle-shadow-color", desc, c)) k->setColorShadowHandle(c);
        CBitmap* bitmap = nullptr;
        if (readBitmap(a, "handle-bitmap", desc, bitmap)) k->setHandleBitmap(bitmap);
        return true;
    }

    bool getAttributeValue(CView* view, const std::string& name, std::string& out,
                           const IUIDescription* desc) const override
    {
        auto* k = dynamic_cast<CKnob*>(view);
        if (!k) return false;
        if (name == "angle-start")
            out = UIAttributes::doubleToString(std::round(k->getStartAngle() * kDegreesPerRadian * 1000) / 1000);
        else if (name == "angle-range")
            out = UIAttributes::doubleToString(std::round(k->getRangeAngle() * kDegreesPerRadian * 1000) / 1000);
        else if (name == "value-inset")
            out = UIAttributes::doubleToString(k->getInsetValue());
        else if (name == "zoom-factor")
            out = UIAttributes::doubleToString(k->getZoomFactor());
        else if (name == "handle-color")
            out = colorString(k->getColorHandle(), desc);
        else if (name == "handle-shadow-color")
            out = colorString(k->getColorShadowHandle(), desc);
        else if (name == "handle-bitmap")
            return UIViewCreator::bitmapToString(k->getHandleBitmap(), out, desc);
        else
            return false;
        return true;
    }
};

//--- CAnimKnob

const AttributeEntry animKnobAttributes[] = {
    {"height-of-one-image", IViewCreator::kIntegerType},
    {"sub-pixmaps", IViewCreator::kIntegerType},
    {"inverse-bitmap", IViewCreator::kBooleanType},
};

class CAnimKnobCreator : public TableViewCreator {
public:
    CAnimKnobCreator() : TableViewCreator(animKnobAttributes, countOf(animKnobAttributes)) {}
    IdStringPtr getViewName() const override { return "CAnimKnob"; }
    IdStringPtr getBaseViewName() const override { return "CKnob"; }
    CView* create(const UIAttributes&, const IUIDescription*) const override
    {
        return new CAnimKnob(CRect(), nullptr, -1, nullptr);
    }
    bool apply(CView* view, const UIAttributes& a, const IUIDescription*) const override
    {
        auto* k = dynamic_cast<CAnimKnob*>(view);
        if (!k) return false;
        applyMultiBitmap(k, a);
        bool b;
        if (a.getBooleanAttribute("inverse-bitmap", b)) k->setInverseBitmap(b);
        return true;
    }
    bool getAttributeValue(CView* view, const std::string& name, std::string& out, const IUIDescription*) const override
    {
        auto* k = dynamic_cast<CAnimKnob*>(view);
        if (!k) return false;
        if (name == "inverse-bitmap") {
            out = boolString(k->getInverseBitmap());
            return true;
        }
        return multiBitmapValue(k, name, out);
    }
};

//--- CVuMeter

const AttributeEntry vuMeterAttributes[] = {
    {"off-bitmap", IViewCreator::kBitmapType},
    {"num-led", IViewCreator::kIntegerType},
    {"orientation", IViewCreator::kListType},
    {"decrease-step-value", IViewCreator::kFloatType},
};

class CVuMeterCreator : public TableViewCreator {
public:
    CVuMeterCreator() : TableViewCreator(vuMeterAttributes, countOf(vuMeterAttributes)) {}
    IdStringPtr getViewName() const override { return "CVuMeter"; }
    IdStringPtr getBaseViewName() const override { return "CControl"; }
    CView* create(const UIAttributes&, const IUIDescription*) const override
    {
        return new CVuMeter(CRect(), nullptr, nullptr, 100, CVuMeter::kVertical);
    }
    bool apply(CView* view, const UIAttributes& a, const IUIDescription* desc) const override
    {
        auto* m = dynamic_cast<CVuMeter*>(view);
        if (!m) return false;
        CBitmap* bitmap = nullptr;
        if (readBitmap(a, "off-bitmap", desc, bitmap)) m->setOffBitmap(bitmap);
        int32_t n;
        if (a.getIntegerAttribute("num-led", n) && n > 0) m->setNbLed(n);
        if (const std::string* v = a.getAttributeValue("orientation")) {
            if (*v == "horizontal") m->setStyle(CVuMeter::kHorizontal);
            if (*v == "vertical") m->setStyle(CVuMeter::kVertical);
        }
        float f;
        if (readFloat(a, "decrease-step-value", f)) m->setDecreaseStepValue(f);
        return true;
    }
    bool getAttributeValue(CView* view, const std::string& name, std::string& out,
                           const IUIDescription* desc) const override
    {
        auto* m = dynamic_cast<CVuMeter*>(view);
        if (!m) return false;
        if (name == "off-bitmap") return UIViewCreator::bitmapToString(m->getOffBitmap(), out, desc);
        if (name == "num-led")
            out = std::to_string(m->getNbLed());
        else if (name == "orientation")
            out = (m->getStyle() & CVuMeter::kHorizontal) ? "horizontal" : "vertical";
        else if (name == "decrease-step-value")
            out = UIAttributes::doubleToString(m->getDecreaseStepValue());
        else
            return false;
        return true;
    }
};

} // namespace

void UIViewCreator::registerBuiltinViewCreators()
{
    static const CViewCreator view;
    static const CViewContainerCreator container;
    static const CControlCreator control;
    static const CParamDisplayCreator paramDisplay;
    static const CTextLabelCreator textLabel;
    static const COptionMenuCreator optionMenu;
    static const CHorizontalSwitchCreator horizontalSwitch;
    static const ButtonCreator<COnOffButton> onOffButton("COnOffButton");
    static const ButtonCreator<CKickButton> kickButton("CKickButton");
    static const CKnobCreator knob;
    static const CAnimKnobCreator animKnob;
    static const CVuMeterCreator vuMeter;
    const IViewCreator* all[] = {&view,     &container,        &control,     &paramDisplay,
                                 &textLabel, &optionMenu,       &horizontalSwitch, &onOffButton,
                                 &kickButton, &knob,            &animKnob,    &vuMeter};
    for (const IViewCreator* c : all) UIViewFactory::registerViewCreator(*c);
}

} // namespace VSTGUI
