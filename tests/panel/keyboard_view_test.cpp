// The keyboard of the Auto-mode page: the shapes of its keys, the view
// drawing each key out of the picture of its state, its highlight and
// column states, clicks and drags editing a real scale object or playing
// through an owner of the test's, its creator, and the pictures the build
// draws for it.

#include "panel/Corvane_KeyboardView.h"

#include "dsp/Scale_State.h"
#include "dsp/scale_tables.h"
#include "panel/Corvane_KeyboardGeometry.h"
#include "panel/Corvane_PanelOwner.h"
#include "vstgui/lib/cbitmap.h"
#include "vstgui/lib/coffscreencontext.h"
#include "vstgui/uidescription/iuidescription.h"
#include "vstgui/uidescription/uiattributes.h"
#include "vstgui/uidescription/uiviewfactory.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <set>
#include <string>
#include <vector>

using namespace VSTGUI;

namespace {

constexpr int kWidth = 552, kHeight = 96;
constexpr int kKeys = corvane_keyboard_keys;
constexpr int kLowest = corvane_keyboard_lowest_note;

struct Layout {
    Corvane_KeyShape keys[kKeys];
    Layout(double w, double h) { Corvane_KeyboardLayout(w, h, keys); }
};

// The rectangles of a key: the black key's one, the white key's two.
std::vector<Corvane_KeyRect> rectsOf(const Corvane_KeyShape& key)
{
    if (key.black) return {key.upper};
    return {key.upper, key.lower};
}

CPoint centreOf(const Corvane_KeyRect& r, const CPoint& origin = CPoint(0, 0))
{
    return CPoint(origin.x + (r.left + r.right) / 2, origin.y + (r.top + r.bottom) / 2);
}

bool overlap(const Corvane_KeyRect& a, const Corvane_KeyRect& b)
{
    // Closed rectangles, as the keys are hit-tested.
    return a.left <= b.right && b.left <= a.right && a.top <= b.bottom && b.top <= a.bottom;
}

//--- Geometry

TEST(KeyboardGeometry, KeysLieSideBySideAsOnAPianoAtAnySize)
{
    for (const CPoint size : {CPoint(kWidth, kHeight), CPoint(276, 48), CPoint(1104, 192)}) {
        SCOPED_TRACE(std::to_string(size.x) + " x " + std::to_string(size.y));
        const Layout layout(size.x, size.y);
        const double white = size.x / corvane_keyboard_white_keys;
        int whites = 0;
        double lastWhiteLeft = -1;
        for (int i = 0; i < kKeys; ++i) {
            const Corvane_KeyShape& key = layout.keys[i];
            const std::set<int> blackPitchClasses = {1, 3, 6, 8, 10};
            EXPECT_EQ(key.black, blackPitchClasses.count((kLowest + i) % 12) == 1) << i;
            for (const Corvane_KeyRect& r : rectsOf(key))
                EXPECT_TRUE(0 <= r.left && r.left < r.right && r.right <= size.x && 0 <= r.top && r.top < r.bottom &&
                            r.bottom <= size.y)
                    << i;
            if (key.black) {
                // About seven twelfths of a white key wide, about 60% of
                // the keyboard long.
                EXPECT_NEAR(key.upper.right - key.upper.left, white * 7 / 12, 0.5) << i;
                EXPECT_NEAR(key.upper.bottom, size.y * 0.6, 1.5) << i;
            } else {
                ++whites;
                EXPECT_GT(key.lower.left, lastWhiteLeft) << i;
                lastWhiteLeft = key.lower.left;
                EXPECT_NEAR(key.lower.right - key.lower.left, white, 1.5) << i;
                EXPECT_EQ(key.lower.bottom, size.y) << i;
                EXPECT_EQ(key.upper.bottom, key.lower.top) << i;
            }
            for (int j = i + 1; j < kKeys; ++j)
                for (const Corvane_KeyRect& a : rectsOf(key))
                    for (const Corvane_KeyRect& b : rectsOf(layout.keys[j]))
                        EXPECT_FALSE(overlap(a, b)) << i << " " << j;
        }
        EXPECT_EQ(whites, corvane_keyboard_white_keys);

        // On a piano C# and D# lean apart from the boundary of the white
        // keys they stand over, F# and A# too, and G# sits on its boundary.
        // Octave group n's C is key index 5 + 12n.
        for (int c = 5; c + 11 < kKeys; c += 12) {
            auto middle = [&](int k) { return (layout.keys[c + k].upper.left + layout.keys[c + k].upper.right) / 2; };
            auto boundary = [&](int k) { return layout.keys[c + k].lower.left - 0.5; };
            EXPECT_LT(middle(1), boundary(2)) << c;  // C#, between C and D
            EXPECT_GT(middle(3), boundary(4)) << c;  // D#
            EXPECT_LT(middle(6), boundary(7)) << c;  // F#
            EXPECT_NEAR(middle(8), boundary(9), 0.5) << c;  // G#
            EXPECT_GT(middle(10), boundary(11)) << c;  // A#
        }
    }
}

TEST(KeyboardGeometry, EveryPointOfTheKeyboardHitsAtMostOneKeyAndEachKeyItsOwn)
{
    Corvane_KeyboardView view(CRect(0, 0, kWidth, kHeight));
    const Layout layout(kWidth, kHeight);
    for (int i = 0; i < kKeys; ++i)
        for (const Corvane_KeyRect& r : rectsOf(layout.keys[i])) {
            const CPoint c = centreOf(r);
            EXPECT_EQ(view.keyAt(c.x, c.y), view.keyForNote(kLowest + i)) << i;
        }
    for (double y = 0; y <= kHeight; y += 0.5)
        for (double x = 0; x <= kWidth; x += 0.5) {
            int hits = 0;
            for (int n = kLowest; n < kLowest + kKeys; ++n) hits += view.keyForNote(n)->hitTest(x, y);
            ASSERT_LE(hits, 1) << x << ", " << y;
            // The mouse is tested at whole pixels, edges included: each
            // pixel of the clearance goes to the key on its left or above,
            // so a click anywhere on the keyboard finds a key.
            if (x == std::floor(x) && y == std::floor(y) && x < kWidth && y < kHeight) {
                ASSERT_EQ(hits, 1) << x << ", " << y;
            }
        }
}

//--- Pictures of flat colours

// The five pictures of the view, each a flat colour of its own, 0xAARRGGBB.
constexpr uint32_t kNormal = 0xff2040c0, kLit = 0xff20c060, kRemoved = 0xffc02020, kBypassed = 0xffe0a020,
                   kOff = 0xff606060, kMixed = 1;

CBitmap* flatBitmap(uint32_t argb)
{
    auto* bitmap = new CBitmap(kWidth, kHeight);
    cairo_t* cr = cairo_create(bitmap->getCairoSurface());
    cairo_set_source_rgb(cr, ((argb >> 16) & 0xff) / 255.0, ((argb >> 8) & 0xff) / 255.0, (argb & 0xff) / 255.0);
    cairo_paint(cr);
    cairo_destroy(cr);
    cairo_surface_flush(bitmap->getCairoSurface());
    return bitmap;
}

// A pixel of a context's picture, 0xAARRGGBB.
uint32_t pixelAt(COffscreenContext* context, double x, double y)
{
    cairo_surface_t* s = context->getBitmap()->getCairoSurface();
    cairo_surface_flush(s);
    const unsigned char* row = cairo_image_surface_get_data(s) + int(y) * cairo_image_surface_get_stride(s);
    return reinterpret_cast<const uint32_t*>(row)[int(x)];
}

// An owner that writes down what the view tells it.
struct FakeOwner : Corvane_PanelOwner {
    Corvane_KeyboardView* panelKeyboard() override { return nullptr; }
    void scaleMarksEdited() override { ++edits; }
    void keyboardNoteHeld(int note) override { held.push_back(note); }
    int edits = 0;
    std::vector<int> held;
};

// A keyboard placed away from its parent's corner, so that every drawing
// and mouse position goes through the view's offset; it notes what it
// invalidates.
struct Keyboard : Corvane_KeyboardView {
    static constexpr double left = 20, top = 10;
    Keyboard() : Corvane_KeyboardView(CRect(left, top, left + kWidth, top + kHeight))
    {
        setBackground(owned(flatBitmap(kNormal)));
        setBitmaps(owned(flatBitmap(kLit)), owned(flatBitmap(kRemoved)),
                   owned(flatBitmap(kBypassed)), owned(flatBitmap(kOff)));
        setOwner(&owner, &scale);
        invalidated.clear();
    }
    void invalidRect(const CRect& rect) override { invalidated.push_back(rect); }

    // Draws into a fresh picture larger than the view, on all sides.
    SharedPointer<COffscreenContext> drawn()
    {
        auto context = owned(COffscreenContext::create(nullptr, left + kWidth + 8, top + kHeight + 8));
        context->beginDraw();
        draw(context);
        context->endDraw();
        return context;
    }
    // The colour key i shows at the corners and centres of its rectangles,
    // or kMixed.
    uint32_t lookOf(COffscreenContext* context, int i) const
    {
        std::set<uint32_t> seen;
        for (const Corvane_KeyRect& r : rectsOf(layout.keys[i]))
            for (const CPoint p : {CPoint(r.left, r.top), centreOf(r), CPoint(r.right - 1, r.bottom - 1)})
                seen.insert(pixelAt(context, left + p.x, top + p.y));
        return seen.size() == 1 ? *seen.begin() : kMixed;
    }
    CPoint centreOfKey(int i) const { return centreOf(rectsOf(layout.keys[i]).back(), CPoint(left, top)); }
    // The point just above the keyboard, over key i.
    CPoint aboveKey(int i) const { return CPoint(centreOfKey(i).x, top - 5); }
    KeyboardKey* key(int i) { return keyForNote(kLowest + i); }

    FakeOwner owner;
    Scale_State scale;
    Layout layout{kWidth, kHeight};
    std::vector<CRect> invalidated;
};

//--- Drawing

TEST(KeyboardView, DrawsEachKeyFromThePictureOfItsStateTheCurrentNoteOverAnyMarkAndWhenOffOnlyTheOffPicture)
{
    Keyboard view;
    const struct {
        int index;
        uint32_t state;
        uint32_t look;
    } keys[] = {
        {0, 0, kNormal}, {1, 1, kBypassed}, {2, 2, kRemoved}, {3, 7, kRemoved}, {40, 1, kBypassed}, {77, 2, kRemoved},
    };
    for (const auto& k : keys) view.setKeyState(k.index, k.state);
    auto context = view.drawn();
    for (const auto& k : keys) EXPECT_EQ(view.lookOf(context, k.index), k.look) << k.index;
    // Between the keys, and around the view, nothing but the background.
    EXPECT_EQ(pixelAt(context, Keyboard::left + view.layout.keys[0].lower.right, Keyboard::top + 80),
              kNormal);
    EXPECT_EQ(pixelAt(context, Keyboard::left - 1, Keyboard::top + 50), 0u);
    EXPECT_EQ(pixelAt(context, Keyboard::left + kWidth, Keyboard::top + 50), 0u);

    for (const int marked : {1, 2, 40}) {
        view.setCurrentNote(uint16_t(kLowest + marked));
        context = view.drawn();
        for (const auto& k : keys)
            EXPECT_EQ(view.lookOf(context, k.index), k.index == marked ? kLit : k.look) << k.index;
    }

    // With the mouse disabled, the off picture alone: no mark, no current
    // note.
    view.setMouseEnabled(false);
    context = view.drawn();
    for (int i = 0; i < kKeys; ++i) EXPECT_EQ(view.lookOf(context, i), kOff) << i;
    for (int y = 0; y < kHeight; y += 5)
        for (int x = 0; x < kWidth; x += 3)
            ASSERT_EQ(pixelAt(context, Keyboard::left + x, Keyboard::top + y), kOff) << x << ", " << y;

    // Without the off picture, nothing.
    view.setBitmaps(view.getHighlightedBitmap(), view.getRemovedBitmap(), view.getBypassedBitmap(), nullptr);
    context = view.drawn();
    EXPECT_EQ(pixelAt(context, Keyboard::left + 10, Keyboard::top + 80), 0u);
}

//--- Highlight, notes and columns

TEST(KeyboardView, CurrentNoteLightsOneKeyAndRepaintsOnlyTheTwoKeysConcerned)
{
    Keyboard view;
    EXPECT_EQ(view.getCurrentNote(), Corvane_KeyboardView::noNote);
    const struct {
        int note;
        int lit;  // key index lit afterwards, -1 for none
    } steps[] = {
        {60, 41}, {61, 42}, {19, 0}, {18, -1}, {96, 77}, {97, -1}, {0, -1}, {23, 4}, {24, 5},
    };
    int before = -1;
    for (const auto& step : steps) {
        view.invalidated.clear();
        view.setCurrentNote(uint16_t(step.note));
        EXPECT_EQ(view.getCurrentNote(), step.lit < 0 ? Corvane_KeyboardView::noNote : step.note) << step.note;
        for (int i = 0; i < kKeys; ++i) EXPECT_EQ(view.key(i)->highlighted, i == step.lit) << step.note << " " << i;
        // The rectangles of the old and the new key, in the parent's
        // coordinates.
        std::vector<CRect> expected;
        for (const int i : {before, step.lit}) {
            if (i < 0) continue;
            for (const Corvane_KeyRect& r : rectsOf(view.layout.keys[i]))
                expected.emplace_back(r.left + Keyboard::left, r.top + Keyboard::top, r.right + Keyboard::left,
                                      r.bottom + Keyboard::top);
        }
        EXPECT_EQ(view.invalidated, expected) << step.note;
        before = step.lit;
        // Drawing repaints what is asked for and asks for nothing more.
        view.invalidated.clear();
        view.drawn();
        EXPECT_TRUE(view.invalidated.empty()) << step.note;
    }
    view.setCurrentNote(70);
    view.clearCurrentNote(70);
    EXPECT_EQ(view.getCurrentNote(), Corvane_KeyboardView::noNote);
    EXPECT_FALSE(view.key(70 - kLowest)->highlighted);

    EXPECT_EQ(view.keyForNote(18), nullptr);
    EXPECT_EQ(view.keyForNote(97), nullptr);
    EXPECT_EQ(view.keyForNote(-5), nullptr);
}

TEST(KeyboardView, ColumnStateReachesEveryKeyOfItsPitchClassAndNoOther)
{
    for (int column = -1; column <= 12; ++column) {
        Keyboard view;
        view.setPitchClassState(column, 2);
        std::vector<int> changed;
        for (int i = 0; i < kKeys; ++i)
            if (view.key(i)->keyState == 2) changed.push_back(i);
        // The key index modulo 12 is the column. Column 0, the G of note 19,
        // is the first of the lowest five keys and the eighth of each octave
        // group (those start at the C of note 24); column 5 is C, the first
        // key of each octave group and the top key, none of the lowest five.
        std::vector<int> expected;
        for (int i = 0; i < kKeys && column >= 0 && column < 12; ++i)
            if (i % 12 == column) expected.push_back(i);
        EXPECT_EQ(changed, expected) << column;
    }
}

TEST(KeyboardView, SetRemovedTurnsOnlyNormalKeysRemovedAndOnlyRemovedKeysNormal)
{
    Keyboard view;
    // From state, flag, to state.
    const int cases[][3] = {{0, true, 2}, {2, false, 0}, {1, true, 1}, {1, false, 1}, {2, true, 2}, {0, false, 0}};
    for (const auto& c : cases) {
        view.setKeyState(10, uint32_t(c[0]));
        view.invalidated.clear();
        view.key(10)->setRemoved(c[1] != 0);
        EXPECT_EQ(view.key(10)->keyState, uint32_t(c[2])) << c[0] << " " << c[1];
        EXPECT_EQ(view.invalidated.empty(), c[0] == c[2]) << c[0] << " " << c[1];
    }
}

TEST(KeyboardView, ReloadTakesTheMarksOfTheCurrentScaleAndIsOffBeyondTwelveNoteScales)
{
    Keyboard view;
    const int scale = view.scale.scale;
    ASSERT_TRUE(Is_TwelveNoteScale(scale));
    view.scale.setKeyBypassed(3, scale, 1);
    view.scale.setKeyRemoved(4, scale, 1);
    view.scale.setKeyBypassed(5, scale, 1);
    view.scale.setKeyRemoved(5, scale, 1);  // both: removed wins
    view.setKeyState(6, 2);                 // no mark: back to normal
    view.reloadKeyStates();
    for (int i = 0; i < kKeys; ++i)
        EXPECT_EQ(view.key(i)->keyState, i == 3 ? 1u : (i == 4 || i == 5) ? 2u : 0u) << i;
    EXPECT_TRUE(view.getMouseEnabled());

    int other = 0;
    while (Is_TwelveNoteScale(other)) ++other;
    view.scale.scale = int16_t(other);
    view.invalidated.clear();
    view.reloadKeyStates();
    EXPECT_FALSE(view.getMouseEnabled());
    ASSERT_FALSE(view.invalidated.empty());
    EXPECT_EQ(view.invalidated.back(), view.getViewSize());
    for (int i = 0; i < kKeys; ++i) EXPECT_EQ(view.key(i)->keyState, 0u) << i;
    CPoint p = view.centreOfKey(3);
    EXPECT_EQ(view.onMouseDown(p, kLButton), kMouseEventNotHandled);
    EXPECT_EQ(view.owner.edits, 0);

    view.scale.scale = int16_t(scale);
    view.reloadKeyStates();
    EXPECT_TRUE(view.getMouseEnabled());
    EXPECT_EQ(view.key(3)->keyState, 1u);
}

//--- Mouse

// A gesture: press at the first point, move through the others, let go.
void gesture(Keyboard& view, const std::vector<CPoint>& points, int32_t buttons = kLButton)
{
    CPoint p = points.front();
    view.onMouseDown(p, buttons);
    for (size_t i = 1; i < points.size(); ++i) {
        p = points[i];
        EXPECT_EQ(view.onMouseMoved(p, buttons), kMouseEventHandled);
    }
    view.onMouseUp(p, buttons);
}

TEST(KeyboardView, LatchClicksToggleTheMarkOfTheEditKindAndClearTheOther)
{
    const struct {
        bool bypassEdits;
        bool bypassedBefore, removedBefore;
        bool bypassedAfter, removedAfter;
        uint32_t state;
    } cases[] = {
        {false, false, false, false, true, 2}, {false, false, true, false, false, 0},
        {false, true, false, false, true, 2},  {true, false, false, true, false, 1},
        {true, true, false, false, false, 0},  {true, false, true, true, false, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.bypassEdits) + std::to_string(c.bypassedBefore) +
                     std::to_string(c.removedBefore));
        Keyboard view;
        const int scale = view.scale.scale;
        view.setKeyboardEdits(c.bypassEdits);
        view.scale.setKeyBypassed(30, scale, c.bypassedBefore);
        view.scale.setKeyRemoved(30, scale, c.removedBefore);
        view.reloadKeyStates();
        gesture(view, {view.centreOfKey(30)});
        EXPECT_EQ(view.scale.isKeyBypassed(30, scale), c.bypassedAfter);
        EXPECT_EQ(view.scale.isKeyRemoved(30, scale), c.removedAfter);
        EXPECT_EQ(view.key(30)->keyState, c.state);
        EXPECT_EQ(view.owner.edits, 1);
        EXPECT_TRUE(view.owner.held.empty());
        for (int i = 0; i < kKeys; ++i)
            EXPECT_TRUE(i == 30 || !(view.scale.isKeyBypassed(i, scale) || view.scale.isKeyRemoved(i, scale))) << i;
    }
}

TEST(KeyboardView, LatchDragCarriesTheFirstKeysNewMarkAcrossTheKeysItPasses)
{
    for (const bool firstMarked : {false, true}) {
        Keyboard view;
        const int scale = view.scale.scale;
        view.scale.setKeyRemoved(20, scale, firstMarked);
        view.scale.setKeyRemoved(22, scale, 1);
        view.reloadKeyStates();
        // Over keys 20 to 24, off the top of the keyboard and back on 24,
        // then back down to 21.
        gesture(view, {view.centreOfKey(20), view.centreOfKey(21), view.centreOfKey(22), view.centreOfKey(23),
                       view.centreOfKey(24), view.aboveKey(24), view.centreOfKey(24), view.centreOfKey(21)});
        for (int i = 18; i <= 26; ++i) {
            const bool passed = i >= 20 && i <= 24;
            EXPECT_EQ(view.scale.isKeyRemoved(i, scale), passed ? !firstMarked : i == 22) << firstMarked << " " << i;
            EXPECT_EQ(view.key(i)->keyState, view.scale.isKeyRemoved(i, scale) ? 2u : 0u) << i;
        }
        // An edit for each passed key whose mark changed.
        int changed = 0;
        for (int i = 20; i <= 24; ++i) changed += (i == 22 || (i == 20 && firstMarked)) == firstMarked;
        EXPECT_EQ(view.owner.edits, changed) << firstMarked;
    }
}

TEST(KeyboardView, MomentaryPressHoldsTheNoteAndADragMovesOrLetsGoOfIt)
{
    const struct {
        const char* name;
        int32_t buttons;
        bool plays;
    } buttonSets[] = {
        {"left", kLButton, true},
        {"left with shift", kLButton | kShift, true},
        {"left with control and alt", kLButton | kControl | kAlt, true},
        {"left with super", kLButton | kApple, true},
        {"right", kRButton, false},
        {"middle", kMButton, false},
        {"left and right", kLButton | kRButton, false},
        {"left and button 4", kLButton | kButton4, false},
    };
    for (const auto& set : buttonSets) {
        Keyboard view;
        view.setKeyboardMode(true);
        gesture(view, {view.centreOfKey(41), view.centreOfKey(42), view.aboveKey(42), view.centreOfKey(42),
                       view.centreOfKey(43)},
                set.buttons);
        const std::vector<int> played = {60, 61, -1, 61, 62, -1};
        EXPECT_EQ(view.owner.held, set.plays ? played : std::vector<int>()) << set.name;
        EXPECT_EQ(view.owner.edits, 0) << set.name;

        // In latch mode the same buttons edit, or leave every mark alone.
        Keyboard latch;
        gesture(latch, {latch.centreOfKey(41), latch.centreOfKey(42)}, set.buttons);
        EXPECT_EQ(latch.scale.isKeyRemoved(41, latch.scale.scale), set.plays) << set.name;
        EXPECT_EQ(latch.scale.isKeyRemoved(42, latch.scale.scale), set.plays) << set.name;
    }
}

TEST(KeyboardView, LeavingMomentaryModeWhileAKeyIsHeldLetsItGo)
{
    Keyboard view;
    view.setKeyboardMode(true);
    CPoint p = view.centreOfKey(0);
    EXPECT_EQ(view.onMouseDown(p, kLButton), kMouseEventHandled);
    view.setKeyboardMode(false);
    EXPECT_EQ(view.owner.held, (std::vector<int>{19, -1}));
    // The rest of that gesture does nothing.
    p = view.centreOfKey(2);
    view.onMouseMoved(p, kLButton);
    view.onMouseUp(p, kLButton);
    EXPECT_EQ(view.owner.held, (std::vector<int>{19, -1}));
    EXPECT_EQ(view.owner.edits, 0);
    // A press off the keys plays nothing, and a drag from it reaches them.
    view.setKeyboardMode(true);
    gesture(view, {view.aboveKey(4), view.centreOfKey(4)});
    EXPECT_EQ(view.owner.held, (std::vector<int>{19, -1, 23, -1}));
}

//--- Creator and pictures by name

// A description that knows pictures by name.
struct Pictures : IUIDescription {
    std::map<std::string, SharedPointer<CBitmap>> bitmaps;
    CBitmap* getBitmap(UTF8StringPtr name) const override
    {
        auto it = bitmaps.find(name);
        return it == bitmaps.end() ? nullptr : it->second.get();
    }
    CFontRef getFont(UTF8StringPtr) const override { return nullptr; }
    bool getColor(UTF8StringPtr, CColor&) const override { return false; }
    int32_t getTagForName(UTF8StringPtr) const override { return -1; }
    IControlListener* getControlListener(UTF8StringPtr) const override { return nullptr; }
    IController* getController() const override { return nullptr; }
    const IViewFactory* getViewFactory() const override { return nullptr; }
    UTF8StringPtr lookupColorName(const CColor&) const override { return nullptr; }
    UTF8StringPtr lookupFontName(const CFontRef) const override { return nullptr; }
    UTF8StringPtr lookupBitmapName(const CBitmap*) const override { return nullptr; }
    UTF8StringPtr lookupControlTagName(const int32_t) const override { return nullptr; }
};

TEST(KeyboardView, CreatorMakesTheViewAtItsSizeAndTheBindingReadsItsPictures)
{
    Corvane_KeyboardView_register();
    Pictures pictures;
    for (const char* name : {"kb", "kb_lit", "kb_removed", "kb_off"}) pictures.bitmaps[name] = owned(new CBitmap(4, 4));
    UIAttributes attributes;
    for (const auto& a : std::map<std::string, std::string>{{"class", "Corvane_KeyboardView"},
                                                            {"origin", "13, 28"},
                                                            {"size", "552, 96"},
                                                            {"bitmap", "kb"},
                                                            {"highlighted-bitmap", "kb_lit"},
                                                            {"removed-bitmap", "kb_removed"},
                                                            {"bypassed-bitmap", "no_such_picture"},
                                                            {"off-bitmap", "kb_off"}})
        attributes.setAttribute(a.first, a.second);
    UIViewFactory factory;
    auto view = owned(dynamic_cast<Corvane_KeyboardView*>(factory.createView(attributes, &pictures)));
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view->getViewSize(), CRect(13, 28, 13 + 552, 28 + 96));
    EXPECT_EQ(view->getBackground(), pictures.getBitmap("kb"));
    // The creator leaves the other pictures to the binding.
    EXPECT_EQ(view->getHighlightedBitmap(), nullptr);

    view->readAttributes(attributes, &pictures);
    EXPECT_EQ(view->getHighlightedBitmap(), pictures.getBitmap("kb_lit"));
    EXPECT_EQ(view->getRemovedBitmap(), pictures.getBitmap("kb_removed"));
    EXPECT_EQ(view->getBypassedBitmap(), nullptr);
    EXPECT_EQ(view->getOffBitmap(), pictures.getBitmap("kb_off"));

    // The keys took the size the description gave.
    const Layout layout(kWidth, kHeight);
    for (int i = 0; i < kKeys; ++i) {
        const CPoint c = centreOf(rectsOf(layout.keys[i]).back());
        EXPECT_EQ(view->keyAt(c.x, c.y), view->keyForNote(kLowest + i)) << i;
    }
}

//--- The pictures the build draws

TEST(KeyboardPictures, EveryKeyDiffersBetweenThePicturesAndTheClearanceIsAlike)
{
    const char* const names[] = {"keyboard", "keyboard_highlighted", "keyboard_bypassed", "keyboard_removed",
                                 "keyboard_off"};
    std::vector<SharedPointer<CBitmap>> pictures;
    for (const char* name : names) {
        const std::string path = std::string(CORVANE_BUNDLE_PATH) + "/Contents/Resources/" + name + ".png";
        pictures.push_back(owned(new CBitmap(CResourceDescription(path.c_str()))));
        ASSERT_EQ(pictures.back()->getSize(), CPoint(kWidth, kHeight)) << path;
    }
    auto pixel = [&](size_t p, int x, int y) {
        cairo_surface_t* s = pictures[p]->getCairoSurface();
        return reinterpret_cast<const uint32_t*>(cairo_image_surface_get_data(s) +
                                                 y * cairo_image_surface_get_stride(s))[x];
    };
    const Layout layout(kWidth, kHeight);
    std::vector<int> owner(kWidth * kHeight, -1);
    for (int i = 0; i < kKeys; ++i)
        for (const Corvane_KeyRect& r : rectsOf(layout.keys[i])) {
            for (int y = int(r.top); y < int(r.bottom); ++y)
                for (int x = int(r.left); x < int(r.right); ++x) owner[y * kWidth + x] = i;
            for (size_t a = 0; a < pictures.size(); ++a)
                for (size_t b = a + 1; b < pictures.size(); ++b) {
                    int differing = 0;
                    for (int y = int(r.top); y < int(r.bottom); ++y)
                        for (int x = int(r.left); x < int(r.right); ++x) differing += pixel(a, x, y) != pixel(b, x, y);
                    EXPECT_GT(differing, (r.right - r.left) * (r.bottom - r.top) / 2)
                        << names[a] << " / " << names[b] << ", key " << i;
                }
        }
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) {
            for (size_t p = 0; p < pictures.size(); ++p) {
                ASSERT_EQ(pixel(p, x, y) >> 24, 0xffu) << names[p] << " at " << x << ", " << y;
                if (owner[y * kWidth + x] < 0) {
                    ASSERT_EQ(pixel(p, x, y), pixel(0, x, y)) << names[p] << " at " << x << ", " << y;
                }
            }
        }
}

} // namespace
