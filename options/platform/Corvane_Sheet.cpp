#include "options/platform/Corvane_Sheet.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>

#include "vstgui/lib/cdrawcontext.h"
#include "vstgui/lib/vstkeycode.h"

using namespace VSTGUI;

namespace {

const CColor sheetColor(236, 236, 236);
const CColor textColor(20, 20, 20);
const CColor fieldFrame(130, 130, 130);
constexpr CCoord lineHeight = 16;

// The text cut into lines no wider than `width` at spaces; "\n" ends a line.
std::vector<std::string> wrapText(CDrawContext& context, const std::string& text, CCoord width)
{
    std::vector<std::string> lines;
    size_t start = 0;
    while (start <= text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        const std::string paragraph = text.substr(start, end - start);
        std::string line;
        size_t word = 0;
        while (word < paragraph.size()) {
            size_t next = paragraph.find(' ', word);
            if (next == std::string::npos) next = paragraph.size();
            const std::string candidate = line.empty() ? paragraph.substr(word, next - word)
                                                       : line + paragraph.substr(word - 1, next - word + 1);
            if (!line.empty() && context.getStringWidth(candidate.c_str()) > width) {
                lines.push_back(line);
                line = paragraph.substr(word, next - word);
            } else {
                line = candidate;
            }
            word = next + 1;
            while (word < paragraph.size() && paragraph[word] == ' ' && line.empty()) ++word;
        }
        lines.push_back(line);
        start = end + 1;
    }
    return lines;
}

// Wrapped text, drawn a line at a time.
class SheetParagraph : public CView {
public:
    SheetParagraph(const CRect& r, std::vector<std::string> lines, const CColor& colour)
        : CView(r), lines(std::move(lines)), colour(colour)
    {
        setMouseEnabled(false);
    }
    void draw(CDrawContext* context) override
    {
        context->setFont(kNormalFont);
        context->setFontColor(colour);
        CRect line(size.left, size.top, size.right, size.top + lineHeight);
        for (const std::string& text : lines) {
            context->drawString(text.c_str(), line, kLeftText);
            line.offset(0, lineHeight);
        }
        setDirty(false);
    }

private:
    std::vector<std::string> lines;
    CColor colour;
};

// The sheet's box: its colour and a frame around it.
class SheetBox : public CViewContainer {
public:
    using CViewContainer::CViewContainer;
    void drawBackgroundRect(CDrawContext* context, const CRect& updateRect) override
    {
        CViewContainer::drawBackgroundRect(context, updateRect);
        context->setFrameColor(fieldFrame);
        context->setLineWidth(1);
        context->drawRect(CRect(0.5, 0.5, size.getWidth() - 0.5, size.getHeight() - 0.5));
    }
};

template <class T>
T* styled(T* control)
{
    control->setFont(kNormalFont);
    control->setFontColor(textColor);
    control->setBackColor(CColor(255, 255, 255));
    control->setFrameColor(fieldFrame);
    return control;
}

} // namespace

Corvane_Sheet::Corvane_Sheet(const CRect& frameSize, CCoord width, CCoord height) : CViewContainer(frameSize)
{
    setBackgroundColor(CColor(0, 0, 0, 110));
    const CCoord left = std::floor((frameSize.getWidth() - width) / 2);
    panel = new SheetBox(CRect(left, 0, left + width, height));
    panel->setBackgroundColor(sheetColor);
    addView(panel);
}

CTextLabel* Corvane_Sheet::addLabel(const CRect& r, const std::string& text, bool bold, CHoriTxtAlign align)
{
    auto* label = new CTextLabel(r, text.c_str(), nullptr, kNoFrame);
    label->setFont(bold ? kNormalFontBig : kNormalFont);
    label->setFontColor(textColor);
    label->setBackColor(sheetColor);
    label->setHoriAlign(align);
    label->setMouseEnabled(false);
    panel->addView(label);
    return label;
}

CCoord Corvane_Sheet::addParagraph(const CRect& r, const std::string& text, bool inRed)
{
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 1, 1);
    std::vector<std::string> lines;
    {
        CDrawContext measure(surface, CRect(0, 0, 1, 1));
        measure.setFont(kNormalFont);
        lines = wrapText(measure, text, r.getWidth());
    }
    cairo_surface_destroy(surface);
    const CCoord height = CCoord(lines.size()) * lineHeight;
    panel->addView(new SheetParagraph(CRect(r.left, r.top, r.right, r.top + height), std::move(lines),
                                      inRed ? CColor(200, 0, 0) : textColor));
    return height;
}

CTextEdit* Corvane_Sheet::addField(const CRect& r, const std::string& text)
{
    auto* field = styled(new CTextEdit(r, this, -1, text.c_str()));
    fields.push_back(field);
    panel->addView(field);
    return field;
}

CCheckBox* Corvane_Sheet::addCheckBox(const CRect& r, const std::string& title, bool checked, bool radio)
{
    auto* box = styled(new CCheckBox(r, this, -1, title.c_str(), radio ? CCheckBox::kRadioStyle : 0));
    box->setValue(checked ? 1.f : 0.f);
    panel->addView(box);
    return box;
}

COptionMenu* Corvane_Sheet::addPopUp(const CRect& r)
{
    auto* menu = styled(new COptionMenu(r, this, -1));
    menu->setHoriAlign(kLeftText);
    menu->setTextInset(CPoint(4, 0));
    panel->addView(menu);
    return menu;
}

CTextButton* Corvane_Sheet::addButton(const CRect& r, const std::string& title, int endsWith,
                                      std::function<void()> action)
{
    auto* button = new CTextButton(r, this, -1, title.c_str());
    button->setFont(kNormalFont);
    buttons.push_back({button, endsWith, std::move(action)});
    panel->addView(button);
    return button;
}

void Corvane_Sheet::setDefaultButton(CTextButton* b)
{
    if (defaultButton) defaultButton->setDefault(false);
    defaultButton = b;
    if (b) b->setDefault(true);
}

void Corvane_Sheet::show(CFrame* frame, CView* focus)
{
    remember(); // the frame takes over this reference
    frame->setModalView(this);
    frame->setFocusView(focus);
    invalid();
}

bool Corvane_Sheet::run(CFrame* frame, CView* focus)
{
    if (!frame || !frame->isOpen()) return false;
    SharedPointer<CFrame> keepFrame(frame);
    SharedPointer<Corvane_Sheet> keepSheet(this);
    ended = false;
    show(frame, focus);
    while (!ended && frame->isOpen() && getFrame() == frame) frame->runEvents(50);
    if (getFrame() == frame) {
        frame->setFocusView(nullptr);
        frame->setModalView(nullptr);
        frame->invalid();
    }
    return ended && answer;
}

void Corvane_Sheet::end(bool a)
{
    answer = a;
    ended = true;
}

void Corvane_Sheet::focusField(CView* field)
{
    if (CFrame* frame = getFrame()) frame->setFocusView(field);
}

int32_t Corvane_Sheet::onKeyDown(VstKeyCode& key)
{
    CFrame* frame = getFrame();
    if (!frame) return -1;
    CView* focus = frame->getFocusView();
    if (key.virt == VKEY_TAB && !fields.empty()) {
        auto it = std::find(fields.begin(), fields.end(), focus);
        const bool back = (key.modifier & MODIFIER_SHIFT) != 0;
        size_t next = 0;
        if (it != fields.end()) {
            const size_t at = size_t(it - fields.begin());
            next = back ? (at + fields.size() - 1) % fields.size() : (at + 1) % fields.size();
        }
        frame->setFocusView(fields[next]);
        return 1;
    }
    if (focus && focus != this && isChild(focus, true) && focus->onKeyDown(key) == 1) return 1;
    if ((key.virt == VKEY_RETURN || key.virt == VKEY_ENTER) && defaultButton) {
        defaultButton->push();
        return 1;
    }
    if (key.virt == VKEY_ESCAPE && cancelButton) {
        cancelButton->push();
        return 1;
    }
    return 1; // a modal sheet keeps every key from the panel
}

int32_t Corvane_Sheet::onKeyUp(VstKeyCode&)
{
    return 1;
}

void Corvane_Sheet::valueChanged(CControl* control)
{
    for (const ButtonAction& b : buttons) {
        if (b.button != control || control->getValue() < 0.5f) continue;
        if (b.action) b.action();
        if (b.endsWith >= 0) end(b.endsWith == 1);
        return;
    }
    if (auto* box = dynamic_cast<CCheckBox*>(control))
        if (checkAction) checkAction(box);
}
