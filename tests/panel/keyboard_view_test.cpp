// The keyboard of the Auto-mode page: key shapes, drawing from the pictures
// of the key states, the mouse on a real scale object, and the pictures.

#include "panel/Corvane_KeyboardView.h"

#include "dsp/Scale_State.h"
#include "dsp/scale_tables.h"
#include "panel/Corvane_KeyboardGeometry.h"
#include "panel/Corvane_PanelOwner.h"
#include "vstgui/lib/coffscreencontext.h"

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

// A black key's one rectangle, a white key's two.
std::vector<Corvane_KeyRect> rectsOf(const Corvane_KeyShape& key)
{
    if (key.black) return {key.upper};
    return {key.upper, key.lower};
}

CPoint centreOf(const Corvane_KeyRect& r, const CPoint& origin = CPoint(0, 0))
{
    return CPoint(origin.x + (r.left + r.right) / 2, origin.y + (r.top + r.bottom) / 2);
}

// A pixel of a picture, 0xAARRGGBB.
uint32_t pixelAt(CBitmap* bitmap, double x, double y)
{
    cairo_surface_t* s = bitmap->getCairoSurface();
    cairo_surface_flush(s);
    const unsigned char* row = cairo_image_surface_get_data(s) + int(y) * cairo_image_surface_get_stride(s);
    return reinterpret_cast<const uint32_t*>(row)[int(x)];
}

} // namespace

TEST(KeyboardGeometry, KeysLieSideBySideAsOnAPianoAndEveryPointHitsAtMostOneKeyAtAnySize)
{
    for (const CPoint size : {CPoint(kWidth, kHeight), CPoint(276, 48), CPoint(1104, 192)}) {
        SCOPED_TRACE(std::to_string(size.x) + " x " + std::to_string(size.y));
        const Layout layout(size.x, size.y);
        const double white = size.x / corvane_keyboard_white_keys;
        const std::set<int> blackPitchClasses = {1, 3, 6, 8, 10};
        int whites = 0;
        double lastWhiteLeft = -1;
        for (int i = 0; i < kKeys; ++i) {
            const Corvane_KeyShape& key = layout.keys[i];
            EXPECT_EQ(key.black, blackPitchClasses.count((kLowest + i) % 12) == 1) << i;
            for (const Corvane_KeyRect& r : rectsOf(key))
                EXPECT_TRUE(0 <= r.left && r.left < r.right && r.right <= size.x && 0 <= r.top && r.top < r.bottom &&
                            r.bottom <= size.y)
                    << i;
            if (key.black) {
                // About seven twelfths of a white key wide, 60% of the keyboard long.
                EXPECT_NEAR(key.upper.right - key.upper.left, white * 7 / 12, 0.5) << i;
                EXPECT_NEAR(key.upper.bottom, size.y * 0.6, 1.5) << i;
                continue;
            }
            ++whites;
            EXPECT_GT(key.lower.left, lastWhiteLeft) << i;
            lastWhiteLeft = key.lower.left;
            EXPECT_NEAR(key.lower.right - key.lower.left, white, 1.5) << i;
            EXPECT_TRUE(key.lower.bottom == size.y && key.upper.bottom == key.lower.top) << i;
        }
        EXPECT_EQ(whites, corvane_keyboard_white_keys);
        // C# and D# lean apart from the boundary of the white keys under them
        // (side -1: left), F# and A# too, G# sits on it. Key 5 + 12n is a C.
        const std::pair<int, int> sides[] = {{1, -1}, {3, 1}, {6, -1}, {8, 0}, {10, 1}};
        for (int c = 5; c + 11 < kKeys; c += 12)
            for (const auto& [k, side] : sides) {
                const Corvane_KeyRect& black = layout.keys[c + k].upper;
                const double off = (black.left + black.right) / 2 - (layout.keys[c + k + 1].lower.left - 0.5);
                EXPECT_TRUE(side == 0 ? std::abs(off) <= 0.5 : off * side > 0) << c + k << ": " << off;
            }

        // A view made empty, as its creator makes it, then sized: each key's
        // centre hits that key, no point two keys (edges count), and every
        // whole pixel, where the mouse lands, one.
        Corvane_KeyboardView view((CRect()));
        view.setViewSize(CRect(0, 0, size.x, size.y));
        for (int i = 0; i < kKeys; ++i)
            for (const Corvane_KeyRect& r : rectsOf(layout.keys[i]))
                EXPECT_EQ(view.keyAt(centreOf(r).x, centreOf(r).y), view.keyForNote(kLowest + i)) << i;
        for (double y = 0; y <= size.y; y += 0.5)
            for (double x = 0; x <= size.x; x += 0.5) {
                int hits = 0;
                for (int n = kLowest; n < kLowest + kKeys; ++n) hits += view.keyForNote(n)->hitTest(x, y);
                ASSERT_LE(hits, 1) << x << ", " << y;
                if (x == std::floor(x) && y == std::floor(y) && x < size.x && y < size.y) {
                    ASSERT_EQ(hits, 1) << x << ", " << y;
                }
            }
    }
}

namespace {

// The five pictures of the view, each a flat colour of its own, 0xAARRGGBB.
constexpr uint32_t kNormal = 0xff2040c0, kLit = 0xff20c060, kRemoved = 0xffc02020, kBypassed = 0xffe0a020,
                   kOff = 0xff606060, kMixed = 1;

SharedPointer<CBitmap> flat(uint32_t argb)
{
    auto bitmap = owned(new CBitmap(kWidth, kHeight));
    COffscreenContext context(bitmap);
    context.setFillColor(CColor((argb >> 16) & 0xff, (argb >> 8) & 0xff, argb & 0xff));
    context.drawRect(CRect(0, 0, kWidth, kHeight), kDrawFilled);
    return bitmap;
}

// Keys given a state, and the picture each then draws from.
const struct {
    int index;
    uint32_t state, look;
} kMarked[] = {{0, 0, kNormal}, {3, 7, kRemoved}, {41, 1, kBypassed}, {42, 2, kRemoved}, {77, 2, kRemoved}};

constexpr int above(int key) { return -1 - key; }

// A keyboard away from its parent's corner, so that drawing and the mouse go
// through the view's offset. It is its own owner and notes what it is told
// and what it invalidates.
struct Keyboard : Corvane_KeyboardView, Corvane_PanelOwner {
    static constexpr double left = 20, top = 10;
    Keyboard() : Corvane_KeyboardView(CRect(left, top, left + kWidth, top + kHeight))
    {
        setBackground(flat(kNormal));
        setBitmaps(flat(kLit), flat(kRemoved), flat(kBypassed), flat(kOff));
        setOwner(this, &scale);
        invalidated.clear();
    }
    void invalidRect(const CRect& rect) override { invalidated.push_back(rect); }
    Corvane_KeyboardView* panelKeyboard() override { return nullptr; }
    void scaleMarksEdited() override { ++edits; }
    void keyboardNoteHeld(int note) override { held.push_back(note); }

    // Draws into a fresh picture larger than the view on all sides.
    SharedPointer<CBitmap> drawn()
    {
        auto context = owned(COffscreenContext::create(nullptr, left + kWidth + 8, top + kHeight + 8));
        context->beginDraw();
        draw(context);
        context->endDraw();
        return context->getBitmap();
    }
    // A pixel of a drawing, in view coordinates.
    static uint32_t at(CBitmap* drawing, double x, double y) { return pixelAt(drawing, left + x, top + y); }
    // The colour key i shows at the corners and centres of its rectangles,
    // or kMixed.
    uint32_t lookOf(CBitmap* drawing, int i) const
    {
        std::set<uint32_t> seen;
        for (const Corvane_KeyRect& r : rectsOf(layout.keys[i]))
            for (const CPoint p : {CPoint(r.left, r.top), centreOf(r), CPoint(r.right - 1, r.bottom - 1)})
                seen.insert(at(drawing, p.x, p.y));
        return seen.size() == 1 ? *seen.begin() : kMixed;
    }
    // The centre of key i, or for above(i) the point just above it.
    CPoint pointOf(int i) const
    {
        const CPoint centre = centreOf(rectsOf(layout.keys[i < 0 ? above(i) : i]).back(), CPoint(left, top));
        return i < 0 ? CPoint(centre.x, top - 5) : centre;
    }
    // Press at the first point, move through the others, let go.
    void gesture(const std::vector<int>& path, int32_t buttons = kLButton)
    {
        CPoint p = pointOf(path.front());
        onMouseDown(p, buttons);
        for (size_t i = 1; i < path.size(); ++i)
            EXPECT_EQ(onMouseMoved(p = pointOf(path[i]), buttons), kMouseEventHandled);
        onMouseUp(p, buttons);
    }
    KeyboardKey* key(int i) { return keyForNote(kLowest + i); }

    Scale_State scale;
    Layout layout{kWidth, kHeight};
    std::vector<CRect> invalidated;
    int edits = 0;
    std::vector<int> held;
};

} // namespace

TEST(KeyboardView, DrawsEachKeyFromThePictureOfItsStateAndWhenOffOnlyTheOffPicture)
{
    Keyboard view;
    for (const auto& k : kMarked) view.setKeyState(k.index, k.state);
    auto drawing = view.drawn();
    for (const auto& k : kMarked) EXPECT_EQ(view.lookOf(drawing, k.index), k.look) << k.index;
    // Between the keys the background, around the view nothing.
    EXPECT_EQ(Keyboard::at(drawing, view.layout.keys[0].lower.right, 80), kNormal);
    EXPECT_EQ(Keyboard::at(drawing, -1, 50), 0u);
    EXPECT_EQ(Keyboard::at(drawing, kWidth, 50), 0u);

    // With the mouse disabled the off picture alone, not even the current
    // note; without an off picture, nothing.
    view.setCurrentNote(60);
    view.setMouseEnabled(false);
    drawing = view.drawn();
    for (int i = 0; i < kKeys; ++i) EXPECT_EQ(view.lookOf(drawing, i), kOff) << i;
    for (int y = 0; y < kHeight; y += 5)
        for (int x = 0; x < kWidth; x += 3) ASSERT_EQ(Keyboard::at(drawing, x, y), kOff) << x << ", " << y;
    view.setBitmaps(view.getHighlightedBitmap(), view.getRemovedBitmap(), view.getBypassedBitmap(), nullptr);
    EXPECT_EQ(Keyboard::at(view.drawn(), 10, 80), 0u);
}

TEST(KeyboardView, CurrentNoteLightsOneKeyOverAnyMarkAndRepaintsOnlyTheTwoKeysConcerned)
{
    Keyboard view;
    for (const auto& k : kMarked) view.setKeyState(k.index, k.state);
    // Note, key lit afterwards (-1: none); notes 18 and 97 lie off the
    // keyboard and clear the highlight.
    const int steps[][2] = {{60, 41}, {61, 42}, {19, 0}, {18, -1}, {96, 77}, {97, -1}, {0, -1}, {23, 4}, {24, 5}};
    int before = -1;
    for (const auto& [note, lit] : steps) {
        view.invalidated.clear();
        view.setCurrentNote(uint16_t(note));
        EXPECT_EQ(view.getCurrentNote(), lit < 0 ? Corvane_KeyboardView::noNote : note) << note;
        for (int i = 0; i < kKeys; ++i) EXPECT_EQ(view.key(i)->highlighted, i == lit) << note << " " << i;
        // The old and the new key's rectangles, in the parent's coordinates.
        std::vector<CRect> expected;
        for (const int i : {before, lit})
            for (const Corvane_KeyRect& r : i < 0 ? std::vector<Corvane_KeyRect>() : rectsOf(view.layout.keys[i]))
                expected.push_back(CRect(r.left, r.top, r.right, r.bottom).offset(Keyboard::left, Keyboard::top));
        EXPECT_EQ(view.invalidated, expected) << note;
        before = lit;
        // Drawing asks for no more repainting.
        view.invalidated.clear();
        auto drawing = view.drawn();
        EXPECT_TRUE(view.invalidated.empty()) << note;
        for (const auto& k : kMarked)
            EXPECT_EQ(view.lookOf(drawing, k.index), k.index == lit ? kLit : k.look) << note << " " << k.index;
    }
    view.setCurrentNote(70);
    view.clearCurrentNote(70);
    EXPECT_EQ(view.getCurrentNote(), Corvane_KeyboardView::noNote);
    EXPECT_FALSE(view.key(70 - kLowest)->highlighted);
    for (const int note : {18, 97, -5}) EXPECT_EQ(view.keyForNote(note), nullptr) << note;
}

TEST(KeyboardView, ColumnsBeyondTheOctaveChangeNoKeyAndSetRemovedTurnsOnlyNormalAndRemovedKeys)
{
    // The keys of each column are checked with the scales list's marks.
    for (const int column : {-1, 12}) {
        Keyboard view;
        view.setPitchClassState(column, 2);
        for (int i = 0; i < kKeys; ++i) EXPECT_EQ(view.key(i)->keyState, 0u) << column << " " << i;
    }

    // From state, flag, to state: bypassed keys are left alone.
    Keyboard view;
    const int cases[][3] = {{0, true, 2}, {2, false, 0}, {1, true, 1}, {1, false, 1}, {2, true, 2}, {0, false, 0}};
    for (const auto& [from, flag, to] : cases) {
        view.setKeyState(10, uint32_t(from));
        view.invalidated.clear();
        view.key(10)->setRemoved(flag != 0);
        EXPECT_EQ(view.key(10)->keyState, uint32_t(to)) << from << " " << flag;
        EXPECT_EQ(view.invalidated.empty(), from == to) << from << " " << flag;
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
    view.scale.setKeyRemoved(5, scale, 1); // both: removed wins
    view.setKeyState(6, 2);                // no mark: back to normal
    view.reloadKeyStates();
    for (int i = 0; i < kKeys; ++i) EXPECT_EQ(view.key(i)->keyState, i == 3 ? 1u : (i == 4 || i == 5) ? 2u : 0u) << i;
    EXPECT_TRUE(view.getMouseEnabled());

    // Off the twelve-note scales every key is normal, the whole view redrawn
    // and a click ignored; back on one, the marks return.
    int other = 0;
    while (Is_TwelveNoteScale(other)) ++other;
    view.scale.scale = int16_t(other);
    view.invalidated.clear();
    view.reloadKeyStates();
    EXPECT_FALSE(view.getMouseEnabled());
    EXPECT_TRUE(!view.invalidated.empty() && view.invalidated.back() == view.getViewSize());
    for (int i = 0; i < kKeys; ++i) EXPECT_EQ(view.key(i)->keyState, 0u) << i;
    CPoint p = view.pointOf(3);
    EXPECT_EQ(view.onMouseDown(p, kLButton), kMouseEventNotHandled);
    EXPECT_EQ(view.edits, 0);
    view.scale.scale = int16_t(scale);
    view.reloadKeyStates();
    EXPECT_TRUE(view.getMouseEnabled());
    EXPECT_EQ(view.key(3)->keyState, 1u);
}

TEST(KeyboardView, LatchGesturesMarkAndMomentaryGesturesPlayWithTheLeftButtonAlone)
{
    // States by key (1 bypassed, 2 removed; others normal) before and after.
    struct Case {
        std::string name;
        bool momentary, bypassEdits;
        int32_t buttons;
        std::map<int, int> before;
        std::vector<int> path;
        std::map<int, int> after;
        std::vector<int> held;
        int edits;
    };
    // A latch drag carries the first key's new mark across the keys it
    // passes, off the keyboard and back.
    const std::vector<int> drag = {20, 21, 22, 23, 24, above(24), 24, 21};
    std::vector<Case> cases = {
        {"drag from a plain key", false, false, kLButton, {{22, 2}}, drag,
         {{20, 2}, {21, 2}, {22, 2}, {23, 2}, {24, 2}}, {}, 4},
        {"drag from a removed key", false, false, kLButton, {{20, 2}, {22, 2}}, drag, {}, {}, 2},
    };
    // A latch click toggles the mark of the edit kind and clears the other:
    // bypass edits, key 30's state before and after.
    const int clicks[][3] = {{false, 0, 2}, {false, 2, 0}, {false, 1, 2}, {true, 0, 1}, {true, 1, 0}, {true, 2, 1}};
    auto on30 = [](int state) { return state ? std::map<int, int>{{30, state}} : std::map<int, int>(); };
    for (const auto& [bypass, from, to] : clicks)
        cases.push_back({std::string(bypass ? "bypass" : "remove") + " click on state " + std::to_string(from), false,
                         bypass != 0, kLButton, on30(from), {30}, on30(to), {}, 1});
    // Modifier keys don't count; another mouse button, alone or with the
    // left, changes nothing. A momentary drag moves the held note, lets it
    // go off the keys and holds it again back on them.
    const struct {
        const char* name;
        int32_t buttons;
        bool acts;
    } buttonSets[] = {
        {"left", kLButton, true}, {"left with every modifier", kLButton | kShift | kControl | kAlt | kApple, true},
        {"right", kRButton, false}, {"middle", kMButton, false}, {"left and right", kLButton | kRButton, false},
        {"left and button 4", kLButton | kButton4, false},
    };
    for (const auto& b : buttonSets) {
        const std::map<int, int> marked = {{41, 2}, {42, 2}};
        cases.push_back({std::string("latch, ") + b.name, false, false, b.buttons, {}, {41, 42},
                         b.acts ? marked : std::map<int, int>(), {}, b.acts ? 2 : 0});
        const std::vector<int> played = {60, 61, -1, 61, 62, -1};
        cases.push_back({std::string("momentary, ") + b.name, true, false, b.buttons, {},
                         {41, 42, above(42), 42, 43}, {}, b.acts ? played : std::vector<int>(), 0});
    }

    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Keyboard view;
        view.setKeyboardMode(c.momentary);
        view.setKeyboardEdits(c.bypassEdits);
        for (const auto& [k, state] : c.before) {
            view.scale.setKeyBypassed(k, view.scale.scale, state == 1);
            view.scale.setKeyRemoved(k, view.scale.scale, state == 2);
        }
        view.reloadKeyStates();
        view.gesture(c.path, c.buttons);
        for (int i = 0; i < kKeys; ++i) {
            const int state = c.after.count(i) ? c.after.at(i) : 0;
            EXPECT_EQ(view.scale.isKeyBypassed(i, view.scale.scale), state == 1) << i;
            EXPECT_EQ(view.scale.isKeyRemoved(i, view.scale.scale), state == 2) << i;
            EXPECT_EQ(view.key(i)->keyState, uint32_t(state)) << i;
        }
        EXPECT_EQ(view.held, c.held);
        EXPECT_EQ(view.edits, c.edits);
    }
}

TEST(KeyboardView, LeavingMomentaryModeWhileAKeyIsHeldLetsItGoAndEndsTheGesture)
{
    Keyboard view;
    view.setKeyboardMode(true);
    CPoint p = view.pointOf(0);
    EXPECT_EQ(view.onMouseDown(p, kLButton), kMouseEventHandled);
    view.setKeyboardMode(false);
    EXPECT_EQ(view.held, (std::vector<int>{19, -1}));
    p = view.pointOf(2);
    view.onMouseMoved(p, kLButton);
    view.onMouseUp(p, kLButton);
    EXPECT_EQ(view.held, (std::vector<int>{19, -1}));
    EXPECT_EQ(view.edits, 0);
    // A press off the keys plays nothing, and a drag from it reaches them.
    view.setKeyboardMode(true);
    view.gesture({above(4), 4});
    EXPECT_EQ(view.held, (std::vector<int>{19, -1, 23, -1}));
}

// The view made from a description with its pictures: AutoPage.ScaleButtonsMarkTheListAndTheKeyboardAndReachTheEngine
// on the real panel, with EditorDescription.EveryPictureNamedIsDrawnShownAndShapedForItsView.

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
    const Layout layout(kWidth, kHeight);
    std::vector<bool> onAKey(kWidth * kHeight, false);
    for (int i = 0; i < kKeys; ++i)
        for (const Corvane_KeyRect& r : rectsOf(layout.keys[i]))
            for (size_t a = 0; a < pictures.size(); ++a)
                for (size_t b = a + 1; b < pictures.size(); ++b) {
                    int differing = 0;
                    for (int y = int(r.top); y < int(r.bottom); ++y)
                        for (int x = int(r.left); x < int(r.right); ++x) {
                            differing += pixelAt(pictures[a], x, y) != pixelAt(pictures[b], x, y);
                            onAKey[y * kWidth + x] = true;
                        }
                    EXPECT_GT(differing, (r.right - r.left) * (r.bottom - r.top) / 2)
                        << names[a] << " / " << names[b] << ", key " << i;
                }
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x)
            for (size_t p = 0; p < pictures.size(); ++p) {
                const uint32_t pixel = pixelAt(pictures[p], x, y);
                ASSERT_EQ(pixel >> 24, 0xffu) << names[p] << " at " << x << ", " << y;
                if (!onAKey[y * kWidth + x]) {
                    ASSERT_EQ(pixel, pixelAt(pictures[0], x, y)) << names[p] << " at " << x << ", " << y;
                }
            }
}
