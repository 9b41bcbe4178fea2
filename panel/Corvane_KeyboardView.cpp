#include "panel/Corvane_KeyboardView.h"

#include <cmath>

#include "Common_VST3/VSTGUI4_PlainViewCreator.h"
#include "dsp/Scale_State.h"
#include "dsp/scale_tables.h"
#include "panel/Corvane_PanelOwner.h"
#include "vstgui/lib/cbitmap.h"
#include "vstgui/lib/cdrawcontext.h"
#include "vstgui/uidescription/iuidescription.h"
#include "vstgui/uidescription/uiattributes.h"

using namespace VSTGUI;

namespace {

// The groups of keys by note: a partial octave from the lowest key (G) up
// to B, six whole octaves from C, and the top C alone.
constexpr int lowKeyCount = 5;
constexpr int octaveGroupCount = 6;
constexpr int octaveKeyCount = 12;
constexpr int firstOctaveNote = corvane_keyboard_lowest_note + lowKeyCount; // 24
constexpr int topNote = firstOctaveNote + octaveGroupCount * octaveKeyCount; // 96
constexpr int highestNote = corvane_keyboard_lowest_note + corvane_keyboard_keys - 1;
static_assert(topNote == highestNote, "the groups cover the keyboard");

constexpr uint32_t normalState = 0;
constexpr uint32_t bypassedState = 1;
constexpr uint32_t removedState = 2;

// A key's rectangle in the coordinates the view draws in (its parent's).
CRect inView(const Corvane_KeyRect& r, const CRect& viewSize)
{
    return CRect(r.left + viewSize.left, r.top + viewSize.top, r.right + viewSize.left, r.bottom + viewSize.top);
}

// Edges included; an empty rectangle holds no point.
bool contains(const Corvane_KeyRect& r, double x, double y)
{
    return r.right > r.left && r.bottom > r.top && x >= r.left && x <= r.right && y >= r.top && y <= r.bottom;
}

// The left button is the only mouse button down; modifier keys don't count.
bool leftButtonAlone(const CButtonState& buttons)
{
    return buttons.getButtonState() == kLButton;
}

} // namespace

//--- Keys

void KeyboardKey::setRemoved(bool flag)
{
    if (flag && keyState == normalState)
        keyState = removedState;
    else if (!flag && keyState == removedState)
        keyState = normalState;
    else
        return;
    invalidateKey();
}

CBitmap* KeyboardKey::picture() const
{
    if (highlighted) return view->getHighlightedBitmap();
    if (!view->getMouseEnabled()) return view->getOffBitmap();
    switch (keyState) {
    case normalState:
        return view->getDrawBackground();
    case bypassedState:
        return view->getBypassedBitmap();
    default:
        return view->getRemovedBitmap();
    }
}

void KeyboardKey::drawRect(CDrawContext* context, const Corvane_KeyRect& rect)
{
    // The key's own part of the whole-keyboard picture, to the same place.
    if (CBitmap* bitmap = picture())
        bitmap->draw(context, inView(rect, view->getViewSize()), CPoint(rect.left, rect.top), 1.f);
}

void KeyboardKey::invalidRect(const Corvane_KeyRect& rect)
{
    view->invalidRect(inView(rect, view->getViewSize()));
}

WhiteKey::WhiteKey(Corvane_KeyboardView* view, const Corvane_KeyRect& upper, const Corvane_KeyRect& lower)
    : KeyboardKey(view), upperRect(upper), lowerRect(lower)
{
}

void WhiteKey::drawKey(CDrawContext* context)
{
    drawRect(context, upperRect);
    drawRect(context, lowerRect);
}

void WhiteKey::invalidateKey()
{
    invalidRect(upperRect);
    invalidRect(lowerRect);
}

bool WhiteKey::hitTest(double x, double y)
{
    return contains(upperRect, x, y) || contains(lowerRect, x, y);
}

BlackKey::BlackKey(Corvane_KeyboardView* view, const Corvane_KeyRect& rect) : KeyboardKey(view), keyRect(rect) {}

void BlackKey::drawKey(CDrawContext* context)
{
    drawRect(context, keyRect);
}

void BlackKey::invalidateKey()
{
    invalidRect(keyRect);
}

bool BlackKey::hitTest(double x, double y)
{
    return contains(keyRect, x, y);
}

//--- The view

Corvane_KeyboardView::Corvane_KeyboardView(const CRect& size) : CView(size)
{
    Corvane_KeyShape shapes[corvane_keyboard_keys];
    Corvane_KeyboardLayout(size.getWidth(), size.getHeight(), shapes);
    for (int i = 0; i < corvane_keyboard_keys; ++i) {
        if (shapes[i].black)
            keys[i] = new BlackKey(this, shapes[i].upper);
        else
            keys[i] = new WhiteKey(this, shapes[i].upper, shapes[i].lower);
    }
    lowKeys = makeGroup(0, lowKeyCount);
    for (int g = 0; g < octaveGroupCount; ++g)
        octaveKeys[g] = makeGroup(firstOctaveNote - corvane_keyboard_lowest_note + g * octaveKeyCount, octaveKeyCount);
    topKeys = makeGroup(topNote - corvane_keyboard_lowest_note, 1);
}

Corvane_KeyboardView::~Corvane_KeyboardView()
{
    pressedKey = nullptr;
    delete lowKeys;
    for (NoteKeyGroup* group : octaveKeys) delete group;
    delete topKeys;
    for (KeyboardKey* key : keys) delete key;
}

NoteKeyGroup* Corvane_KeyboardView::makeGroup(int firstIndex, int count)
{
    auto* group = new NoteKeyGroup;
    group->view = this;
    group->keys = &keys[firstIndex];
    group->count = int16_t(count);
    return group;
}

void Corvane_KeyboardView::layoutKeys()
{
    Corvane_KeyShape shapes[corvane_keyboard_keys];
    Corvane_KeyboardLayout(getWidth(), getHeight(), shapes);
    for (int i = 0; i < corvane_keyboard_keys; ++i) {
        if (shapes[i].black) {
            static_cast<BlackKey*>(keys[i])->keyRect = shapes[i].upper;
        } else {
            auto* white = static_cast<WhiteKey*>(keys[i]);
            white->upperRect = shapes[i].upper;
            white->lowerRect = shapes[i].lower;
        }
    }
}

void Corvane_KeyboardView::setViewSize(const CRect& rect, bool invalid)
{
    const bool resized = rect.getWidth() != getWidth() || rect.getHeight() != getHeight();
    CView::setViewSize(rect, invalid);
    if (resized) layoutKeys();
}

void Corvane_KeyboardView::readAttributes(const UIAttributes& attributes, const IUIDescription* description)
{
    if (description == nullptr) return;
    const struct {
        const char* name;
        SharedPointer<CBitmap>* bitmap;
    } named[] = {
        {"highlighted-bitmap", &highlightedBitmap},
        {"removed-bitmap", &removedBitmap},
        {"bypassed-bitmap", &bypassedBitmap},
        {"off-bitmap", &offBitmap},
    };
    for (const auto& entry : named) {
        if (const std::string* name = attributes.getAttributeValue(entry.name))
            *entry.bitmap = description->getBitmap(name->c_str());
    }
}

void Corvane_KeyboardView::setOwner(Corvane_PanelOwner* newOwner, Scale_State* newScaleState)
{
    owner = newOwner;
    scaleState = newScaleState;
}

void Corvane_KeyboardView::setBitmaps(CBitmap* highlighted, CBitmap* removed, CBitmap* bypassed, CBitmap* off)
{
    highlightedBitmap = highlighted;
    removedBitmap = removed;
    bypassedBitmap = bypassed;
    offBitmap = off;
    invalid();
}

//--- Keys by note, highlight and states

KeyboardKey* Corvane_KeyboardView::keyForNote(int note)
{
    NoteKeyGroup* group;
    int index;
    if (note < firstOctaveNote) {
        group = lowKeys;
        index = note - corvane_keyboard_lowest_note;
    } else if (note < topNote) {
        group = octaveKeys[(note - firstOctaveNote) / octaveKeyCount];
        index = (note - firstOctaveNote) % octaveKeyCount;
    } else {
        group = topKeys;
        index = note - topNote;
    }
    return index >= 0 && index < group->count ? group->keys[index] : nullptr;
}

KeyboardKey* Corvane_KeyboardView::keyAt(double x, double y)
{
    for (KeyboardKey* key : keys)
        if (key->hitTest(x, y)) return key;
    return nullptr;
}

int Corvane_KeyboardView::indexOfKey(const KeyboardKey* key) const
{
    for (int i = 0; i < corvane_keyboard_keys; ++i)
        if (keys[i] == key) return i;
    return -1;
}

void Corvane_KeyboardView::setHighlight(int note, bool on)
{
    KeyboardKey* key = keyForNote(note);
    if (key == nullptr) return;
    key->highlighted = on;
    key->invalidateKey();
}

void Corvane_KeyboardView::setCurrentNote(uint16_t note)
{
    if (currentNote != noNote) setHighlight(currentNote, false);
    currentNote = noNote;
    if (note >= corvane_keyboard_lowest_note && note <= highestNote) {
        setHighlight(note, true);
        currentNote = note;
    }
}

void Corvane_KeyboardView::clearCurrentNote(uint16_t note)
{
    if (note >= corvane_keyboard_lowest_note && note <= highestNote) setHighlight(note, false);
    currentNote = noNote;
}

void Corvane_KeyboardView::setKeyState(int index, uint32_t state)
{
    if (index < 0 || index >= corvane_keyboard_keys) return;
    keys[index]->keyState = state;
    keys[index]->invalidateKey();
}

void Corvane_KeyboardView::setPitchClassState(int column, uint32_t state)
{
    if (column < 0 || column > 11) return;
    auto set = [state](KeyboardKey* key) {
        key->keyState = state;
        key->invalidateKey();
    };
    // Column 0 is the G of the lowest key; the octave groups start at a C.
    if (column < lowKeyCount) set(lowKeys->keys[column]);
    const int index = (column + 7) % 12;
    for (NoteKeyGroup* group : octaveKeys) set(group->keys[index]);
    if (index == 0) set(topKeys->keys[0]);
}

uint32_t Corvane_KeyboardView::markedState(int index) const
{
    const int scale = scaleState->scale;
    if (scaleState->isKeyRemoved(index, scale)) return removedState;
    if (scaleState->isKeyBypassed(index, scale)) return bypassedState;
    return normalState;
}

void Corvane_KeyboardView::reloadKeyStates()
{
    if (scaleState == nullptr) return;
    for (int i = 0; i < corvane_keyboard_keys; ++i) {
        const uint32_t state = markedState(i);
        if (keys[i]->keyState != state) setKeyState(i, state);
    }
    // Off the twelve-note scales the keys don't stand for the scale's notes:
    // the keyboard is out of use and shows its off picture.
    const bool usable = Is_TwelveNoteScale(scaleState->scale);
    if (usable != getMouseEnabled()) {
        if (!usable) endGesture();
        setMouseEnabled(usable);
        invalid();
    }
}

//--- Drawing

void Corvane_KeyboardView::draw(CDrawContext* context)
{
    if (getMouseEnabled()) {
        if (CBitmap* background = getDrawBackground()) background->draw(context, getViewSize(), CPoint(0, 0), 1.f);
        auto drawGroup = [&](NoteKeyGroup* group) {
            if (!getMouseEnabled()) return;
            for (int k = 0; k < group->count; ++k) group->keys[k]->drawKey(context);
        };
        drawGroup(lowKeys);
        for (NoteKeyGroup* group : octaveKeys) drawGroup(group);
        drawGroup(topKeys);
        // The current note shows over whatever mark its key has. Its key is
        // invalidated only when the highlight is new to it: a key
        // invalidated at every drawing would be drawn again and again.
        if (currentNote != noNote) {
            if (KeyboardKey* key = keyForNote(currentNote)) {
                if (!key->highlighted) {
                    key->highlighted = true;
                    key->invalidateKey();
                }
                key->drawKey(context);
            }
        }
    } else if (offBitmap) {
        offBitmap->draw(context, getViewSize(), CPoint(0, 0), 1.f);
    }
    setDirty(false);
}

//--- Mouse

KeyboardKey* Corvane_KeyboardView::keyUnder(const CPoint& where)
{
    return keyAt(std::trunc(where.x - getViewSize().left), std::trunc(where.y - getViewSize().top));
}

void Corvane_KeyboardView::markKey(int index, bool mark)
{
    const int scale = scaleState->scale;
    const bool wasBypassed = scaleState->isKeyBypassed(index, scale);
    const bool wasRemoved = scaleState->isKeyRemoved(index, scale);
    // A key carries one mark at most: setting one clears the other.
    if (keyboardEdits) {
        scaleState->setKeyBypassed(index, scale, mark ? 1 : 0);
        if (mark) scaleState->setKeyRemoved(index, scale, 0);
    } else {
        scaleState->setKeyRemoved(index, scale, mark ? 1 : 0);
        if (mark) scaleState->setKeyBypassed(index, scale, 0);
    }
    const uint32_t state = markedState(index);
    if (keys[index]->keyState != state) setKeyState(index, state);
    const bool changed =
        wasBypassed != scaleState->isKeyBypassed(index, scale) || wasRemoved != scaleState->isKeyRemoved(index, scale);
    if (changed && owner) owner->scaleMarksEdited();
}

void Corvane_KeyboardView::pressKey(KeyboardKey* key)
{
    const int index = indexOfKey(key);
    if (index < 0) return;
    pressedKey = key;
    if (keyboardMode) {
        // Pressing another key while one is held moves the held note
        // straight to it.
        if (owner) owner->keyboardNoteHeld(corvane_keyboard_lowest_note + index);
        return;
    }
    if (scaleState == nullptr) return;
    if (!dragMarkChosen) {
        // The first key of a gesture toggles its mark; the keys the drag
        // passes then take that same mark, so passing a key twice is
        // harmless.
        const int scale = scaleState->scale;
        dragMark = !(keyboardEdits ? scaleState->isKeyBypassed(index, scale) : scaleState->isKeyRemoved(index, scale));
        dragMarkChosen = true;
    }
    markKey(index, dragMark);
}

void Corvane_KeyboardView::releaseKey(KeyboardKey* key)
{
    if (key == nullptr || key != pressedKey) return;
    pressedKey = nullptr;
    if (keyboardMode && owner) owner->keyboardNoteHeld(-1);
}

void Corvane_KeyboardView::endGesture()
{
    releaseKey(pressedKey);
    tracking = false;
    dragMarkChosen = false;
}

void Corvane_KeyboardView::setKeyboardMode(bool momentary)
{
    if (momentary == keyboardMode) return;
    // Ended under the mode it began in: a held note is let go.
    endGesture();
    keyboardMode = momentary;
}

CMouseEventResult Corvane_KeyboardView::onMouseDown(CPoint& where, const CButtonState& buttons)
{
    if (!getMouseEnabled() || !leftButtonAlone(buttons)) return kMouseEventNotHandled;
    endGesture();
    tracking = true;
    if (KeyboardKey* key = keyUnder(where)) pressKey(key);
    // Followed even from between the keys, so that a drag can reach them.
    return kMouseEventHandled;
}

CMouseEventResult Corvane_KeyboardView::onMouseUp(CPoint&, const CButtonState&)
{
    if (!tracking) return kMouseEventNotHandled;
    endGesture();
    return kMouseEventHandled;
}

CMouseEventResult Corvane_KeyboardView::onMouseMoved(CPoint& where, const CButtonState& buttons)
{
    if (!tracking || !leftButtonAlone(buttons)) return kMouseEventHandled;
    KeyboardKey* key = keyUnder(where);
    if (key) {
        if (key == pressedKey) return kMouseEventHandled;
        // In momentary mode the held note moves without being let go.
        if (pressedKey && !keyboardMode) releaseKey(pressedKey);
        pressKey(key);
    } else if (pressedKey) {
        releaseKey(pressedKey);
    }
    return kMouseEventHandled;
}

//--- Creator

void Corvane_KeyboardView_register()
{
    // The pictures are read when the sub-controller binds the view.
    VSTGUI4_registerPlainView<Corvane_KeyboardView>("Corvane_KeyboardView", "CView");
}
