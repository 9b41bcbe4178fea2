// The scales list: marks made by clicks and by the scale buttons, written
// through the scale object to the keys and shown on a real keyboard view;
// stepping; the view a UI description makes, drawing from the pictures named.

#include "panel/Corvane_ScalesListView.h"

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <set>
#include <string>
#include <tuple>

#include "dsp/Scale_State.h"
#include "dsp/scale_tables.h"
#include "panel/Corvane_KeyboardView.h"
#include "panel/Corvane_PanelOwner.h"
#include "panel/Corvane_ScalesListLayout.h"
#include "vstgui/lib/coffscreencontext.h"
#include "vstgui/uidescription/uidescription.h"
#include "vstgui/vstgui_test_support.h"

#include <gtest/gtest.h>

using namespace VSTGUI;

namespace {

constexpr int kChromatic = 2, kIndian = 15, kMajor = 0, k19Tone = 20, kPartch = 24, kPythagor = 8;
constexpr int kKeys = Scale_State::keyboard_keys;
// Where the list lies in its parent's coordinates, which clicks and drawing
// use.
const CPoint kOrigin(30, 40);
const CColor kBlack(0, 0, 0), kGreen(0, 255, 0), kRed(255, 0, 0), kBlue(0, 0, 255);

// A list on a scale object and its owner, which shows a real keyboard (or
// none once it is cleared) and counts the edits it hears of.
struct Page : Corvane_PanelOwner {
    Scale_State state;
    SharedPointer<Corvane_KeyboardView> keyboard = owned(new Corvane_KeyboardView(CRect(0, 0, 552, 96)));
    SharedPointer<Corvane_ScalesListView> list = owned(new Corvane_ScalesListView(
        CRect(kOrigin.x, kOrigin.y, kOrigin.x + corvane_list::width, kOrigin.y + corvane_list::height)));
    Corvane_KeyboardView* shownKeyboard = keyboard;
    int marksEdited = 0;

    explicit Page(int scale, int key = 0)
    {
        state.scale = int16_t(scale);
        state.key = int16_t(key);
        list->setOwner(this, &state);
    }
    Corvane_KeyboardView* panelKeyboard() override { return shownKeyboard; }
    void scaleMarksEdited() override { ++marksEdited; }
    void keyboardNoteHeld(int) override {}
    // A press at the middle of a rectangle of the list, or of a cell of a
    // shown row.
    CMouseEventResult press(const Corvane_ListRect& r, int32_t buttons = kLButton)
    {
        CPoint where(kOrigin.x + (r.left + r.right) / 2, kOrigin.y + (r.top + r.bottom) / 2);
        return list->onMouseDown(where, CButtonState(buttons));
    }
    CMouseEventResult click(int visibleRow, Corvane_ListColumn column, int32_t buttons = kLButton)
    {
        return press(Corvane_ListCell(visibleRow, column), buttons);
    }
    // The keys (note - 19) marked in a key table of the scale.
    std::set<int> keysMarked(Scale_State::Mark* const* table)
    {
        std::set<int> keys;
        for (int k = 0; k < kKeys; ++k)
            if (table[state.scale][k]) keys.insert(k);
        return keys;
    }
    uint32_t keyboardState(int key) { return keyboard->keyForNote(key + Scale_State::lowest_note)->keyState; }
    // Every row of the scale has the marks given by row.
    void expectRows(const std::function<bool(int)>& bypassed, const std::function<bool(int)>& removed)
    {
        for (int row = 0; row < Scale_State::rowsOf(state.scale); ++row) {
            EXPECT_EQ(state.isRowBypassed(row, state.scale), bypassed(row)) << "row " << row;
            EXPECT_EQ(state.isRowRemoved(row, state.scale), removed(row)) << "row " << row;
        }
    }
};

// The keys of the keyboard that sound a pitch class (0 for C).
std::set<int> keysOf(int pitchClass)
{
    std::set<int> keys;
    for (int k = 0; k < kKeys; ++k)
        if ((k + Scale_State::lowest_note) % 12 == pitchClass) keys.insert(k);
    return keys;
}

// The semitone above the key nearest to an interval (hundredths of a cent),
// by search, folded into the octave.
int nearestSemitone(int64_t interval)
{
    int best = 0;
    for (int n = 1; n <= 12; ++n)
        if (std::llabs(interval - n * 10000) < std::llabs(interval - best * 10000)) best = n;
    return best % 12;
}

} // namespace

TEST(ScalesList, AClickOnAMarkTogglesItClearsTheOtherReachesEveryOctaveOfATwelveNoteScaleAndTellsTheOwner)
{
    // Row 0 of Chromatic in C: all the Cs from note 24 to note 96.
    ASSERT_EQ(keysOf(0), (std::set<int>{5, 17, 29, 41, 53, 65, 77}));
    const struct {
        int scale, key, row;
    } rows[] = {{kChromatic, 0, 0}, {kChromatic, 2, 4}, {kPythagor, 7, 11}, {kIndian, 0, 5}, {kIndian, 4, 0}};
    // The mark clicked, then the row's marks.
    const struct {
        Corvane_ListColumn clicked;
        bool bypassed, removed;
    } steps[] = {
        {Corvane_ListColumn::bypass, true, false}, {Corvane_ListColumn::remove, false, true},
        {Corvane_ListColumn::remove, false, false}, {Corvane_ListColumn::bypass, true, false},
        {Corvane_ListColumn::bypass, false, false}, {Corvane_ListColumn::remove, false, true},
        {Corvane_ListColumn::bypass, true, false},
    };
    for (const auto& c : rows) {
        SCOPED_TRACE(std::string(scale_names[c.scale]) + " key " + std::to_string(c.key) + " row " +
                     std::to_string(c.row));
        Page page(c.scale, c.key);
        page.keyboard->setKeyState(0, 1);
        // Row r of a twelve-note scale lies r semitones above the key. Other
        // scales mark no key, and the keyboard keeps its states.
        const std::set<int> keys = Is_TwelveNoteScale(c.scale) ? keysOf((c.key + c.row) % 12) : std::set<int>{};
        int edits = 0;
        for (const auto& s : steps) {
            EXPECT_EQ(page.click(c.row, s.clicked), kMouseDownEventHandledButDontNeedMovedOrUpEvents);
            EXPECT_EQ(page.marksEdited, ++edits);
            page.expectRows([&](int r) { return s.bypassed && r == c.row; },
                            [&](int r) { return s.removed && r == c.row; });
            EXPECT_EQ(page.keysMarked(page.state.bypassedKeys), s.bypassed ? keys : std::set<int>{});
            EXPECT_EQ(page.keysMarked(page.state.removedKeys), s.removed ? keys : std::set<int>{});
            for (int k = 0; k < kKeys; ++k) {
                const uint32_t shown = keys.count(k) ? (s.removed ? 2 : s.bypassed ? 1 : 0) : k == 0 ? 1 : 0;
                EXPECT_EQ(page.keyboardState(k), shown) << "key " << k;
            }
        }
        // Without a keyboard the marks still change and the owner hears.
        page.shownKeyboard = nullptr;
        page.click(c.row, Corvane_ListColumn::bypass);
        EXPECT_FALSE(page.state.isRowBypassed(c.row, c.scale));
        EXPECT_EQ(page.marksEdited, ++edits);
    }

    // No click on a mark changes nothing and tells no one: the name and
    // cents of a row, the heading, the right button, a row past the end of
    // a short scale, a list with its mouse disabled.
    Page major(kMajor);
    auto untouched = [&](const char* what, const std::function<CMouseEventResult()>& press) {
        SCOPED_TRACE(what);
        EXPECT_NE(press(), kMouseDownEventHandledButDontNeedMovedOrUpEvents);
        major.expectRows([](int) { return false; }, [](int) { return false; });
        EXPECT_EQ(major.marksEdited, 0);
    };
    untouched("name", [&] { return major.click(2, Corvane_ListColumn::name); });
    untouched("cents", [&] { return major.click(2, Corvane_ListColumn::cents); });
    untouched("right button", [&] { return major.click(2, Corvane_ListColumn::bypass, kRButton); });
    untouched("past the end", [&] { return major.click(Scale_State::rowsOf(kMajor), Corvane_ListColumn::remove); });
    untouched("heading", [&] { return major.press(Corvane_ListHeading(Corvane_ListColumn::bypass)); });
    major.list->setMouseEnabled(false);
    untouched("mouse disabled", [&] { return major.click(2, Corvane_ListColumn::bypass); });
}

TEST(ScalesList, ScaleButtonsWriteEveryRowOfTheScaleAndTheKeysOfTwelveNoteScales)
{
    // Major and minor keep the notes of that scale from the key, by the
    // nearest semitone, and remove the rest; the others mark every row alike.
    const std::set<int> majorNotes = {0, 2, 4, 5, 7, 9, 11}, minorNotes = {0, 2, 3, 5, 7, 8, 10};
    const struct {
        const char* name;
        void (Corvane_ScalesListView::*press)();
        const std::set<int>* kept;
        bool bypassed, removed;
    } buttons[] = {
        {"major", &Corvane_ScalesListView::setMajor, &majorNotes, false, false},
        {"minor", &Corvane_ScalesListView::setMinor, &minorNotes, false, false},
        {"bypass all", &Corvane_ScalesListView::bypassAll, nullptr, true, false},
        {"remove all", &Corvane_ScalesListView::removeAll, nullptr, false, true},
        {"set all", &Corvane_ScalesListView::setAll, nullptr, false, false},
    };
    const std::pair<int, int> scales[] = {{kChromatic, 2}, {k19Tone, 0}, {kIndian, 5}, {kPartch, 9}};
    for (const auto& [scale, key] : scales)
        for (const auto& b : buttons) {
            SCOPED_TRACE(std::string(scale_names[scale]) + ", " + b.name);
            // Marks of both kinds before.
            Page page(scale, key);
            page.list->bypassAll();
            page.click(2, Corvane_ListColumn::remove);
            (page.list.get()->*b.press)();
            auto removed = [&](int row) {
                return b.kept ? !b.kept->count(nearestSemitone(scale_intervals[scale][row])) : b.removed;
            };
            page.expectRows([&](int) { return b.bypassed; }, removed);
            // A twelve-note scale carries the marks to the keys: row r to
            // those r semitones above the key.
            std::set<int> bypassedKeys, removedKeys;
            for (int row = 0; Is_TwelveNoteScale(scale) && row < 12; ++row) {
                if (b.bypassed) bypassedKeys.merge(keysOf((key + row) % 12));
                if (removed(row)) removedKeys.merge(keysOf((key + row) % 12));
            }
            EXPECT_EQ(page.keysMarked(page.state.bypassedKeys), bypassedKeys);
            EXPECT_EQ(page.keysMarked(page.state.removedKeys), removedKeys);
            EXPECT_EQ(page.marksEdited, 1) << "the click only: the effect pushes the marks after a button";
        }
}

TEST(ScalesList, StepsTheFirstRowWithinTheScaleAndStartsAtTheTopOfAnotherScale)
{
    Page page(kChromatic);
    EXPECT_FALSE(page.list->stepDown()) << "twelve rows show whole";
    EXPECT_FALSE(page.list->stepUp());

    // Indian has 22 rows: ten steps down show its last twelve, whose last
    // one a click then marks.
    page.state.scale = kIndian;
    const int last = Scale_State::rowsOf(kIndian) - corvane_list::visibleRows;
    EXPECT_FALSE(page.list->stepUp());
    for (int i = 1; i <= last; ++i) EXPECT_TRUE(page.list->stepDown()) << i;
    EXPECT_FALSE(page.list->stepDown());
    EXPECT_EQ(page.list->getFirstRow(), last);
    page.click(corvane_list::visibleRows - 1, Corvane_ListColumn::bypass);
    EXPECT_TRUE(page.state.isRowBypassed(Scale_State::rowsOf(kIndian) - 1, kIndian));
    EXPECT_TRUE(page.list->stepUp());
    EXPECT_EQ(page.list->getFirstRow(), last - 1);

    // Another scale starts at its top: Partch after a step down shows its
    // second row first; Chromatic its first even to a click before any step.
    page.state.scale = kPartch;
    EXPECT_TRUE(page.list->stepDown());
    EXPECT_EQ(page.list->getFirstRow(), 1);
    page.state.scale = kChromatic;
    page.click(2, Corvane_ListColumn::remove);
    EXPECT_TRUE(page.state.isRowRemoved(2, kChromatic));
    EXPECT_FALSE(page.list->stepUp());
    EXPECT_EQ(page.list->getFirstRow(), 0);
}

namespace {

// The drawing of a list into a fresh transparent context larger than it.
struct Drawing {
    SharedPointer<COffscreenContext> context = owned(COffscreenContext::create(nullptr, 300, 340));
    explicit Drawing(Corvane_ScalesListView* list) { list->draw(context); }
    CColor at(double x, double y) const { return vstgui_test::pixel(context, int(kOrigin.x + x), int(kOrigin.y + y)); }
    // Every pixel of a rectangle of the list, in list coordinates.
    void each(const Corvane_ListRect& r, const std::function<void(const CColor&)>& f) const
    {
        for (double y = r.top; y < r.bottom; ++y)
            for (double x = r.left; x < r.right; ++x) f(at(x, y));
    }
};

} // namespace

TEST(ScalesList, ADescriptionMakesTheListThatDrawsItsMarksFromThePicturesItNamesAndTextOnlyInRowsThatExist)
{
    Corvane_ScalesListView_register();
    vstgui_test::ResourceFolder resources;
    const std::pair<const char*, vstgui_test::Rgba> pictures[] = {
        {"back", {0, 0, 0, 255}}, {"lit", {0, 255, 0, 255}}, {"gone", {255, 0, 0, 255}}, {"out", {0, 0, 255, 255}}};
    for (const auto& [name, colour] : pictures)
        resources.png(std::string(name) + ".png", int(corvane_list::width), int(corvane_list::height), {colour});
    auto description = resources.describe(R"(<vstgui-ui-description version="1"><bitmaps>
  <bitmap name="back" path="back.png"/><bitmap name="lit" path="lit.png"/>
  <bitmap name="gone" path="gone.png"/><bitmap name="out" path="out.png"/>
</bitmaps></vstgui-ui-description>)");
    UIAttributes attributes = vstgui_test::attributesOf(
        {{"class", "Corvane_ScalesListView"}, {"origin", "30, 40"}, {"size", "204, 258"}, {"bitmap", "back"},
         {"bypassed-bitmap", "lit"}, {"removed-bitmap", "gone"}, {"off-bitmap", "out"}});
    Page page(kMajor);
    page.list = vstgui_test::made<Corvane_ScalesListView>(attributes, description);
    ASSERT_NE(page.list, nullptr);
    EXPECT_EQ(page.list->getViewSize(), CRect(30, 40, 234, 298));
    page.list->readAttributes(attributes, description);
    page.list->setOwner(&page, &page.state);
    page.click(1, Corvane_ListColumn::bypass);
    page.click(2, Corvane_ListColumn::remove);
    page.click(4, Corvane_ListColumn::bypass);
    page.click(4, Corvane_ListColumn::remove);

    const CColor kText(0xd4, 0xda, 0xe2), kDimText(0x8b, 0x95, 0xa2);
    const Drawing drawing(page.list);
    EXPECT_FALSE(page.list->isDirty());
    for (int v = 0; v < corvane_list::visibleRows; ++v) {
        SCOPED_TRACE("row " + std::to_string(v));
        const bool removed = v == 2 || v == 4;
        // Each mark box from its picture when set, else the background, and
        // the pixels beside it the background.
        for (const auto& [column, lit, colour] : {std::tuple(Corvane_ListColumn::bypass, v == 1, kGreen),
                                                  std::tuple(Corvane_ListColumn::remove, removed, kRed)}) {
            const Corvane_ListRect box = Corvane_ListCell(v, column);
            drawing.each(box, [&](const CColor& c) { EXPECT_EQ(c, lit ? colour : kBlack); });
            EXPECT_EQ(drawing.at(box.left - 1, box.top), kBlack);
            EXPECT_EQ(drawing.at(box.right, box.bottom - 1), kBlack);
        }
        const Corvane_ListRect name = Corvane_ListCell(v, Corvane_ListColumn::name);
        if (v >= Scale_State::rowsOf(kMajor)) {
            drawing.each(Corvane_ListRect{0, name.top, corvane_list::width, name.bottom},
                         [&](const CColor& c) { EXPECT_EQ(c, kBlack); });
            continue;
        }
        // Name and cents in the row's colour: dim on a removed row.
        for (const Corvane_ListRect& cell : {name, Corvane_ListCell(v, Corvane_ListColumn::cents)}) {
            int most = 0; // the brightest red: how far the text reaches over black
            drawing.each(cell, [&](const CColor& c) { most = std::max<int>(most, c.red); });
            EXPECT_TRUE(removed ? most > 0x40 && most <= kDimText.red + 2
                                : most > kDimText.red + 16 && most <= kText.red + 2)
                << most;
        }
    }
    drawing.each(Corvane_ListHeading(Corvane_ListColumn::name), [&](const CColor& c) { EXPECT_EQ(c, kBlack); });
    EXPECT_EQ(vstgui_test::pixel(drawing.context, int(kOrigin.x) - 1, int(kOrigin.y)).alpha, 0) << "outside the view";

    // An unknown picture stays unset: the background shows.
    attributes.setAttribute("removed-bitmap", "no such picture");
    page.list->readAttributes(attributes, description);
    const Corvane_ListRect box = Corvane_ListCell(2, Corvane_ListColumn::remove);
    EXPECT_EQ(Drawing(page.list).at(box.left + 1, box.top + 1), kBlack);
    // A list out of use shows its off picture alone, whatever its rows, and
    // nothing without one.
    const Corvane_ListRect whole{0, 0, corvane_list::width, corvane_list::height};
    page.list->setMouseEnabled(false);
    Drawing(page.list).each(whole, [&](const CColor& c) { EXPECT_EQ(c, kBlue); });
    page.list->setBitmaps(description->getBitmap("lit"), description->getBitmap("gone"), nullptr);
    Drawing(page.list).each(whole, [&](const CColor& c) { EXPECT_EQ(c.alpha, 0); });
}
