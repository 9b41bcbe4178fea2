#pragma once

#include <cstdint>

#include "panel/Corvane_KeyboardGeometry.h"
#include "vstgui/lib/cview.h"

namespace VSTGUI {
class UIAttributes;
class IUIDescription;
} // namespace VSTGUI

class Corvane_PanelOwner;
class Corvane_KeyboardView;
class Scale_State;

// One key of the keyboard view. State 0 is normal, 1 bypassed, 2 removed;
// any value but 0 and 1 draws as removed. A highlighted key (the current
// note) draws from the highlighted picture whatever its state.
class KeyboardKey {
public:
    explicit KeyboardKey(Corvane_KeyboardView* view) : view(view) {}
    virtual ~KeyboardKey() = default;

    // Copies the key's rectangles out of the picture of its state.
    virtual void drawKey(VSTGUI::CDrawContext* context) = 0;
    virtual void invalidateKey() = 0;
    // True when the point (view coordinates) lies in the key, edges included.
    virtual bool hitTest(double x, double y) = 0;

    // A normal key becomes removed (true), a removed one normal (false);
    // bypassed keys are left alone.
    void setRemoved(bool flag);

    Corvane_KeyboardView* view;
    uint32_t keyState = 0;
    bool highlighted = false;

protected:
    // The picture the key is drawn from now, or null.
    VSTGUI::CBitmap* picture() const;
    void drawRect(VSTGUI::CDrawContext* context, const Corvane_KeyRect& rect);
    void invalidRect(const Corvane_KeyRect& rect);
};

class WhiteKey : public KeyboardKey {
public:
    WhiteKey(Corvane_KeyboardView* view, const Corvane_KeyRect& upper, const Corvane_KeyRect& lower);
    void drawKey(VSTGUI::CDrawContext* context) override;
    void invalidateKey() override;
    bool hitTest(double x, double y) override;

    Corvane_KeyRect upperRect;
    Corvane_KeyRect lowerRect;
};

class BlackKey : public KeyboardKey {
public:
    BlackKey(Corvane_KeyboardView* view, const Corvane_KeyRect& rect);
    void drawKey(VSTGUI::CDrawContext* context) override;
    void invalidateKey() override;
    bool hitTest(double x, double y) override;

    Corvane_KeyRect keyRect;
};

// A run of keys in chromatic order.
struct NoteKeyGroup {
    Corvane_KeyboardView* view = nullptr;
    KeyboardKey** keys = nullptr;
    int16_t count = 0;
};

// The on-screen piano of the Auto-mode page: 78 keys, MIDI notes 19 to 96.
// It shows each note's mark in the current scale (normal, bypassed,
// removed), the current note as a highlight, and, drawn from its "off"
// picture, that it is out of use. Keys are drawn by copying their own
// rectangles out of whole-keyboard pictures, one per state; the normal
// picture is the view's background.
//
// A click on a key, with "Keyboard Mode" at latch (false), toggles the
// key's mark: removed with "Keyboard Edits" at remove (false), bypassed
// with it at bypass (true); a drag carries the first key's new mark across
// the keys it passes. With "Keyboard Mode" at momentary (true) the key held
// is played: the owner pulls the voice to it until it is let go, and a drag
// plays across the keys.
//
// Every operation: interface thread.
class Corvane_KeyboardView : public VSTGUI::CView {
public:
    static constexpr uint16_t noNote = 0xFFFF;

    explicit Corvane_KeyboardView(const VSTGUI::CRect& size);
    ~Corvane_KeyboardView() override;
    // The view owns its keys: it is never copied.
    Corvane_KeyboardView(const Corvane_KeyboardView&) = delete;
    Corvane_KeyboardView& operator=(const Corvane_KeyboardView&) = delete;

    // Reads "highlighted-bitmap", "removed-bitmap", "bypassed-bitmap" and
    // "off-bitmap"; a missing or unknown one stays null.
    void readAttributes(const VSTGUI::UIAttributes& attributes, const VSTGUI::IUIDescription* description);
    void setOwner(Corvane_PanelOwner* owner, Scale_State* scaleState);

    void setCurrentNote(uint16_t note);
    void clearCurrentNote(uint16_t note);
    uint16_t getCurrentNote() const { return currentNote; }
    // An index outside 0 to 77 is ignored.
    void setKeyState(int index, uint32_t state);
    // Every key of a pitch class column (0 is G, the lowest key's) takes
    // the state; columns above 11 are ignored.
    void setPitchClassState(int column, uint32_t state);
    KeyboardKey* keyForNote(int note);
    // The key under a point in view coordinates, or null.
    KeyboardKey* keyAt(double x, double y);
    // Every key takes its state from the marks of the scale object's
    // current scale: removed (2) over bypassed (1) over normal (0).
    void reloadKeyStates();

    void setKeyboardEdits(bool bypass) { keyboardEdits = bypass; }
    void setKeyboardMode(bool momentary);
    bool getKeyboardEdits() const { return keyboardEdits; }
    bool getKeyboardMode() const { return keyboardMode; }

    VSTGUI::CBitmap* getHighlightedBitmap() const { return highlightedBitmap; }
    VSTGUI::CBitmap* getRemovedBitmap() const { return removedBitmap; }
    VSTGUI::CBitmap* getBypassedBitmap() const { return bypassedBitmap; }
    VSTGUI::CBitmap* getOffBitmap() const { return offBitmap; }
    void setBitmaps(VSTGUI::CBitmap* highlighted, VSTGUI::CBitmap* removed, VSTGUI::CBitmap* bypassed,
                    VSTGUI::CBitmap* off);

    // The keys follow the view's size.
    void setViewSize(const VSTGUI::CRect& rect, bool invalid = true) override;

    void draw(VSTGUI::CDrawContext* context) override;
    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const VSTGUI::CButtonState& buttons) override;
    VSTGUI::CMouseEventResult onMouseUp(VSTGUI::CPoint& where, const VSTGUI::CButtonState& buttons) override;
    VSTGUI::CMouseEventResult onMouseMoved(VSTGUI::CPoint& where, const VSTGUI::CButtonState& buttons) override;

    CLASS_METHODS_NOCOPY(Corvane_KeyboardView, CView)

protected:
    void pressKey(KeyboardKey* key);
    void releaseKey(KeyboardKey* key);
    void setHighlight(int note, bool on);

private:
    NoteKeyGroup* makeGroup(int firstIndex, int count);
    void layoutKeys();
    int indexOfKey(const KeyboardKey* key) const;
    KeyboardKey* keyUnder(const VSTGUI::CPoint& where);
    // The state a key takes from the scale object's marks.
    uint32_t markedState(int index) const;
    // Gives a key the mark of the current edit kind, clearing the other.
    void markKey(int index, bool mark);
    // Lets go of the key held and forgets the drag.
    void endGesture();

    uint16_t currentNote = noNote;
    Corvane_PanelOwner* owner = nullptr;
    Scale_State* scaleState = nullptr;
    bool keyboardEdits = false;
    bool keyboardMode = false;
    VSTGUI::SharedPointer<VSTGUI::CBitmap> highlightedBitmap;
    VSTGUI::SharedPointer<VSTGUI::CBitmap> removedBitmap;
    VSTGUI::SharedPointer<VSTGUI::CBitmap> bypassedBitmap;
    VSTGUI::SharedPointer<VSTGUI::CBitmap> offBitmap;
    NoteKeyGroup* lowKeys = nullptr;
    NoteKeyGroup* octaveKeys[6] = {};
    NoteKeyGroup* topKeys = nullptr;
    KeyboardKey* pressedKey = nullptr;
    // The mark a latch drag gives every key it passes: the first key's new
    // mark (true: marked).
    bool dragMark = false;
    // Whether dragMark was taken from this gesture's first key yet.
    bool dragMarkChosen = false;
    // A left-button press on the view is being followed.
    bool tracking = false;
    // All keys by key index (note - 19); the groups point into it.
    KeyboardKey* keys[corvane_keyboard_keys] = {};
};

// Registers the view's creator ("Corvane_KeyboardView" on the base "CView")
// with the view factory; once per process.
void Corvane_KeyboardView_register();
