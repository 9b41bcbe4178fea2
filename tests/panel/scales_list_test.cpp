// The scales list: marks made by clicks and by the scale buttons, written
// through the scale object to the keys of the keyboard and shown on a real
// keyboard view; the rows it shows and steps through; its drawing from
// flat pictures; the view made by a UI description.

#include "panel/Corvane_ScalesListView.h"

#include <cmath>
#include <cstdlib>
#include <functional>
#include <set>
#include <string>
#include <vector>

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
// Where the list lies in its parent's coordinates: clicks and drawing are
// in those.
const CPoint kOrigin(30, 40);

// The notes of the major and minor scales, in semitones above the key.
const std::set<int> kMajorNotes = {0, 2, 4, 5, 7, 9, 11};
const std::set<int> kMinorNotes = {0, 2, 3, 5, 7, 8, 10};

struct FakeOwner : Corvane_PanelOwner {
    Corvane_KeyboardView* keyboard = nullptr;
    int marksEdited = 0;
    Corvane_KeyboardView* panelKeyboard() override { return keyboard; }
    void scaleMarksEdited() override { ++marksEdited; }
    void keyboardNoteHeld(int) override {}
};

// A list on the effect's scale object and a fake owner with a real
// keyboard.
struct Page {
    Scale_State state;
    FakeOwner owner;
    SharedPointer<Corvane_KeyboardView> keyboard = owned(new Corvane_KeyboardView(CRect(0, 0, 552, 96)));
    SharedPointer<Corvane_ScalesListView> list = owned(
        new Corvane_ScalesListView(CRect(kOrigin.x, kOrigin.y, kOrigin.x + corvane_list::width,
                                         kOrigin.y + corvane_list::height)));

    explicit Page(int scale, int key = 0)
    {
        state.scale = int16_t(scale);
        state.key = int16_t(key);
        owner.keyboard = keyboard;
        list->setOwner(&owner, &state);
    }

    // A press of a button at the middle of a cell of a shown row.
    CMouseEventResult click(int visibleRow, Corvane_ListColumn column, int32_t buttons = kLButton)
    {
        const Corvane_ListRect r = Corvane_ListCell(visibleRow, column);
        CPoint where(kOrigin.x + (r.left + r.right) / 2, kOrigin.y + (r.top + r.bottom) / 2);
        return list->onMouseDown(where, CButtonState(buttons));
    }

    // The keys (note - 19) with a mark, of either table of the scale.
    std::set<int> keysMarked(uint8_t* const* table)
    {
        std::set<int> keys;
        for (int k = 0; k < Scale_State::keyboard_keys; ++k)
            if (table[state.scale][k]) keys.insert(k);
        return keys;
    }
    uint32_t keyboardState(int keyIndex) { return keyboard->keyForNote(keyIndex + Scale_State::lowest_note)->keyState; }
};

// The keys of the keyboard that sound a pitch class (0 for C).
std::set<int> keysOf(int pitchClass)
{
    std::set<int> keys;
    for (int k = 0; k < Scale_State::keyboard_keys; ++k)
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

TEST(ScalesList, ARowMarkOnATwelveNoteScaleReachesEveryOctaveOfItsNoteAndOtherScalesKeepTheirKeys)
{
    // The cases the list must meet by the scale's own numbers: all the Cs
    // from note 24 to note 96 for row 0 of Chromatic in C.
    ASSERT_EQ(keysOf(0), (std::set<int>{5, 17, 29, 41, 53, 65, 77}));
    struct Case {
        int scale, key, row;
        Corvane_ListColumn mark;
    };
    const Case cases[] = {
        {kChromatic, 0, 0, Corvane_ListColumn::bypass},
        {kChromatic, 2, 3, Corvane_ListColumn::remove},
        {kPythagor, 7, 11, Corvane_ListColumn::bypass},
        {kIndian, 0, 5, Corvane_ListColumn::bypass},
        {kIndian, 4, 0, Corvane_ListColumn::remove},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(scale_names[c.scale]) + " key " + std::to_string(c.key) + " row " +
                     std::to_string(c.row));
        Page page(c.scale, c.key);
        page.keyboard->setKeyState(0, 1);
        EXPECT_EQ(page.click(c.row, c.mark), kMouseDownEventHandledButDontNeedMovedOrUpEvents);
        const bool bypass = c.mark == Corvane_ListColumn::bypass;
        for (int row = 0; row < Scale_State::rowsOf(c.scale); ++row) {
            EXPECT_EQ(page.state.isRowBypassed(row, c.scale), bypass && row == c.row) << row;
            EXPECT_EQ(page.state.isRowRemoved(row, c.scale), !bypass && row == c.row) << row;
        }
        // Row r of a twelve-note scale lies r semitones above the key.
        const bool twelve = c.scale != kIndian;
        const std::set<int> marked = twelve ? keysOf((c.key + c.row) % 12) : std::set<int>{};
        EXPECT_EQ(page.keysMarked(page.state.bypassedKeys), bypass ? marked : std::set<int>{});
        EXPECT_EQ(page.keysMarked(page.state.removedKeys), bypass ? std::set<int>{} : marked);
        for (int k = 0; k < Scale_State::keyboard_keys; ++k) {
            const uint32_t shown = marked.count(k) ? (bypass ? 1 : 2) : k == 0 ? 1 : 0;
            EXPECT_EQ(page.keyboardState(k), shown) << "key " << k;
        }
        EXPECT_EQ(page.owner.marksEdited, 1);
    }
}

TEST(ScalesList, AClickOnAMarkTogglesItClearsTheOtherAndTellsTheOwner)
{
    // Chromatic in D: row 4 is F#.
    Page page(kChromatic, 2);
    const int row = 4;
    const std::set<int> fSharps = keysOf(6);
    struct Step {
        Corvane_ListColumn clicked;
        bool bypassed, removed;
    };
    const Step steps[] = {
        {Corvane_ListColumn::bypass, true, false}, {Corvane_ListColumn::remove, false, true},
        {Corvane_ListColumn::remove, false, false}, {Corvane_ListColumn::bypass, true, false},
        {Corvane_ListColumn::bypass, false, false}, {Corvane_ListColumn::remove, false, true},
        {Corvane_ListColumn::bypass, true, false},
    };
    int edits = 0;
    for (const Step& s : steps) {
        SCOPED_TRACE("after step " + std::to_string(edits));
        page.click(row, s.clicked);
        EXPECT_EQ(page.owner.marksEdited, ++edits);
        EXPECT_EQ(page.state.isRowBypassed(row, kChromatic), s.bypassed);
        EXPECT_EQ(page.state.isRowRemoved(row, kChromatic), s.removed);
        EXPECT_EQ(page.keysMarked(page.state.bypassedKeys), s.bypassed ? fSharps : std::set<int>{});
        EXPECT_EQ(page.keysMarked(page.state.removedKeys), s.removed ? fSharps : std::set<int>{});
        for (int k : fSharps) EXPECT_EQ(page.keyboardState(k), s.removed ? 2u : s.bypassed ? 1u : 0u);
    }

    // Without a keyboard the marks still change and the owner still hears.
    page.owner.keyboard = nullptr;
    page.click(row, Corvane_ListColumn::bypass);
    EXPECT_FALSE(page.state.isRowBypassed(row, kChromatic));
    EXPECT_EQ(page.owner.marksEdited, ++edits);

    // What is no click on a mark changes nothing and tells no one: the
    // name and cents of a row, the heading, the right button, rows past the
    // end of a short scale, a list with its mouse disabled.
    Page major(kMajor);
    auto untouched = [&](const char* what, const std::function<CMouseEventResult()>& press) {
        SCOPED_TRACE(what);
        EXPECT_NE(press(), kMouseDownEventHandledButDontNeedMovedOrUpEvents);
        for (int r = 0; r < Scale_State::rowsOf(kMajor); ++r)
            EXPECT_FALSE(major.state.isRowBypassed(r, kMajor) || major.state.isRowRemoved(r, kMajor));
        EXPECT_EQ(major.owner.marksEdited, 0);
    };
    untouched("name", [&] { return major.click(2, Corvane_ListColumn::name); });
    untouched("cents", [&] { return major.click(2, Corvane_ListColumn::cents); });
    untouched("right button", [&] { return major.click(2, Corvane_ListColumn::bypass, kRButton); });
    untouched("past the end", [&] { return major.click(Scale_State::rowsOf(kMajor), Corvane_ListColumn::remove); });
    untouched("heading", [&] {
        CPoint where(kOrigin.x + 130, kOrigin.y + corvane_list::headingHeight / 2);
        return major.list->onMouseDown(where, CButtonState(kLButton));
    });
    major.list->setMouseEnabled(false);
    untouched("mouse disabled", [&] { return major.click(2, Corvane_ListColumn::bypass); });
}

TEST(ScalesList, MajorAndMinorKeepTheNotesOfThatScaleByTheNearestSemitoneAndRemoveTheRest)
{
    struct Case {
        int scale, key;
        bool major;
    };
    const Case cases[] = {
        {kChromatic, 2, true}, {kChromatic, 2, false}, {k19Tone, 0, true}, {kIndian, 5, false}, {kPartch, 9, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(scale_names[c.scale]) + (c.major ? " major" : " minor"));
        Page page(c.scale, c.key);
        page.list->bypassAll();
        if (c.major)
            page.list->setMajor();
        else
            page.list->setMinor();
        const std::set<int>& notes = c.major ? kMajorNotes : kMinorNotes;
        for (int row = 0; row < Scale_State::rowsOf(c.scale); ++row) {
            const bool kept = notes.count(nearestSemitone(scale_intervals[c.scale][row])) != 0;
            EXPECT_FALSE(page.state.isRowBypassed(row, c.scale)) << row;
            EXPECT_EQ(page.state.isRowRemoved(row, c.scale), !kept) << row;
        }
        // A twelve-note scale carries the marks to the keys: every key
        // outside the scale from its key is removed.
        std::set<int> outside;
        if (Is_TwelveNoteScale(c.scale)) {
            for (int pc = 0; pc < 12; ++pc)
                if (!notes.count((pc - c.key + 12) % 12)) outside.merge(keysOf(pc));
        }
        EXPECT_EQ(page.keysMarked(page.state.removedKeys), outside);
        EXPECT_TRUE(page.keysMarked(page.state.bypassedKeys).empty());
        // The effect pushes the marks after the buttons itself.
        EXPECT_EQ(page.owner.marksEdited, 0);
    }
}

TEST(ScalesList, SetAllBypassAllAndRemoveAllWriteEveryRowOfTheScale)
{
    struct Case {
        const char* name;
        void (Corvane_ScalesListView::*action)();
        bool bypassed, removed;
    };
    const Case cases[] = {
        {"bypass all", &Corvane_ScalesListView::bypassAll, true, false},
        {"remove all", &Corvane_ScalesListView::removeAll, false, true},
        {"set all", &Corvane_ScalesListView::setAll, false, false},
    };
    for (const int scale : {kChromatic, kPartch}) {
        Page page(scale, 3);
        page.click(1, Corvane_ListColumn::bypass);
        page.click(2, Corvane_ListColumn::remove);
        for (const Case& c : cases) {
            SCOPED_TRACE(std::string(scale_names[scale]) + ", " + c.name);
            (page.list->*c.action)();
            for (int row = 0; row < Scale_State::rowsOf(scale); ++row) {
                EXPECT_EQ(page.state.isRowBypassed(row, scale), c.bypassed) << row;
                EXPECT_EQ(page.state.isRowRemoved(row, scale), c.removed) << row;
            }
            const bool twelve = Is_TwelveNoteScale(scale);
            EXPECT_EQ(page.keysMarked(page.state.bypassedKeys).size(), twelve && c.bypassed ? 78u : 0u);
            EXPECT_EQ(page.keysMarked(page.state.removedKeys).size(), twelve && c.removed ? 78u : 0u);
        }
        EXPECT_EQ(page.owner.marksEdited, 2) << "the two clicks only";
    }
}

TEST(ScalesList, StepsTheFirstRowWithinTheScaleAndStartsAtTheTopOfAnotherScale)
{
    Page page(kChromatic);
    EXPECT_FALSE(page.list->stepDown()) << "twelve rows show whole";
    EXPECT_FALSE(page.list->stepUp());
    EXPECT_EQ(page.list->getFirstRow(), 0);

    // Indian has 22 rows: ten steps down show its last twelve.
    page.state.scale = kIndian;
    const int last = Scale_State::rowsOf(kIndian) - corvane_list::visibleRows;
    EXPECT_FALSE(page.list->stepUp());
    for (int i = 1; i <= last; ++i) {
        EXPECT_TRUE(page.list->stepDown());
        EXPECT_EQ(page.list->getFirstRow(), i);
    }
    EXPECT_FALSE(page.list->stepDown());
    EXPECT_EQ(page.list->getFirstRow(), last);

    // A shown row is the scale's row below the first.
    int row = -1, column = -1;
    const Corvane_ListRect cell = Corvane_ListCell(2, Corvane_ListColumn::remove);
    ASSERT_TRUE(page.list->rowAt(cell.left + 1, cell.top + 1, row, column));
    EXPECT_EQ(row, last + 2);
    EXPECT_EQ(column, int(Corvane_ListColumn::remove));
    page.click(corvane_list::visibleRows - 1, Corvane_ListColumn::bypass);
    EXPECT_TRUE(page.state.isRowBypassed(Scale_State::rowsOf(kIndian) - 1, kIndian)) << "the scale's last row";
    EXPECT_TRUE(page.list->stepUp());
    EXPECT_EQ(page.list->getFirstRow(), last - 1);

    // Another scale starts at its top: a step down on Partch shows its
    // second row first.
    page.state.scale = kPartch;
    EXPECT_TRUE(page.list->stepDown());
    EXPECT_EQ(page.list->getFirstRow(), 1);
    page.state.scale = kChromatic;
    ASSERT_TRUE(page.list->rowAt(cell.left + 1, cell.top + 1, row, column));
    EXPECT_EQ(row, 2) << "looked at before any step";
    EXPECT_FALSE(page.list->stepUp());
    EXPECT_EQ(page.list->getFirstRow(), 0);
}

namespace {

// A picture of the list's size in one colour.
SharedPointer<CBitmap> flat(const CColor& colour)
{
    auto bitmap = owned(new CBitmap(corvane_list::width, corvane_list::height));
    COffscreenContext context(bitmap);
    context.setFillColor(colour);
    context.drawRect(CRect(0, 0, corvane_list::width, corvane_list::height), kDrawFilled);
    return bitmap;
}

const CColor kBlack(0, 0, 0), kGreen(0, 255, 0), kRed(255, 0, 0), kBlue(0, 0, 255);
const CColor kText(0xd4, 0xda, 0xe2), kDimText(0x8b, 0x95, 0xa2);

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
    // The brightest red of the rectangle: how far text reaches over black.
    int brightest(const Corvane_ListRect& r) const
    {
        int most = 0;
        each(r, [&](const CColor& c) { most = std::max<int>(most, c.red); });
        return most;
    }
};

} // namespace

TEST(ScalesList, DrawsItsBackgroundEachRowsMarksFromTheirPicturesAndTextOnlyInRowsThatExist)
{
    Page page(kMajor);
    page.list->setBackground(flat(kBlack));
    page.list->setBitmaps(flat(kGreen), flat(kRed), flat(kBlue));
    page.click(1, Corvane_ListColumn::bypass);
    page.click(2, Corvane_ListColumn::remove);
    page.click(4, Corvane_ListColumn::bypass);
    page.click(4, Corvane_ListColumn::remove);

    const Drawing drawing(page.list);
    EXPECT_FALSE(page.list->isDirty());
    const int rows = Scale_State::rowsOf(kMajor);
    for (int v = 0; v < corvane_list::visibleRows; ++v) {
        SCOPED_TRACE("row " + std::to_string(v));
        const bool bypassed = v == 1, removed = v == 2 || v == 4;
        struct Mark {
            Corvane_ListColumn column;
            bool lit;
            CColor colour;
        };
        for (const Mark& mark : {Mark{Corvane_ListColumn::bypass, bypassed, kGreen},
                                 Mark{Corvane_ListColumn::remove, removed, kRed}}) {
            const Corvane_ListRect box = Corvane_ListCell(v, mark.column);
            const CColor shown = mark.lit ? mark.colour : kBlack;
            drawing.each(box, [&](const CColor& c) { EXPECT_EQ(c, shown); });
            // Only the box: the pixels beside it keep the background.
            EXPECT_EQ(drawing.at(box.left - 1, box.top), kBlack);
            EXPECT_EQ(drawing.at(box.right, box.bottom - 1), kBlack);
        }
        const Corvane_ListRect name = Corvane_ListCell(v, Corvane_ListColumn::name);
        const Corvane_ListRect cents = Corvane_ListCell(v, Corvane_ListColumn::cents);
        if (v >= rows) {
            drawing.each(Corvane_ListRect{0, name.top, corvane_list::width, name.bottom},
                         [&](const CColor& c) { EXPECT_EQ(c, kBlack); });
            continue;
        }
        // Name and cents in the row's colour: dim on a removed row.
        for (const Corvane_ListRect& cell : {name, cents}) {
            const int most = drawing.brightest(cell);
            if (removed)
                EXPECT_TRUE(most > 0x40 && most <= kDimText.red + 2) << most;
            else
                EXPECT_TRUE(most > kDimText.red + 16 && most <= kText.red + 2) << most;
        }
    }
    drawing.each(Corvane_ListHeading(Corvane_ListColumn::name), [&](const CColor& c) { EXPECT_EQ(c, kBlack); });
    EXPECT_EQ(vstgui_test::pixel(drawing.context, int(kOrigin.x) - 1, int(kOrigin.y)).alpha, 0) << "outside the view";

    // A list out of use shows its off picture alone, whatever its rows.
    page.list->setMouseEnabled(false);
    const Drawing off(page.list);
    off.each(Corvane_ListRect{0, 0, corvane_list::width, corvane_list::height},
             [&](const CColor& c) { EXPECT_EQ(c, kBlue); });
    page.list->setBitmaps(flat(kGreen), flat(kRed), nullptr);
    const Drawing none(page.list);
    none.each(Corvane_ListRect{0, 0, corvane_list::width, corvane_list::height},
              [&](const CColor& c) { EXPECT_EQ(c.alpha, 0); });
}

TEST(ScalesList, ADescriptionMakesTheListAndItsAttributesNameItsPictures)
{
    Corvane_ScalesListView_register();
    const std::string dir = vstgui_test::scratchDir();
    const std::pair<const char*, vstgui_test::Rgba> pictures[] = {
        {"back", {0, 0, 0, 255}}, {"lit", {0, 255, 0, 255}}, {"gone", {255, 0, 0, 255}}, {"out", {0, 0, 255, 255}}};
    for (const auto& [name, colour] : pictures)
        vstgui_test::writeBandsPNG(dir + "/" + name + ".png", int(corvane_list::width), int(corvane_list::height),
                                   {colour});
    vstgui_test::writeText(dir + "/list.uidesc", R"(<vstgui-ui-description version="1">
  <bitmaps>
    <bitmap name="back" path="back.png"/><bitmap name="lit" path="lit.png"/>
    <bitmap name="gone" path="gone.png"/><bitmap name="out" path="out.png"/>
  </bitmaps>
</vstgui-ui-description>)");
    setResourceDirectory(dir.c_str());
    auto description = owned(new UIDescription(CResourceDescription("list.uidesc")));
    ASSERT_TRUE(description->parse()) << description->getLastError();

    UIAttributes attributes;
    attributes.setAttribute("class", "Corvane_ScalesListView");
    attributes.setAttribute("origin", "30, 40");
    attributes.setAttribute("size", "204, 258");
    attributes.setAttribute("bitmap", "back");
    attributes.setAttribute("bypassed-bitmap", "lit");
    attributes.setAttribute("removed-bitmap", "no such picture");
    attributes.setAttribute("off-bitmap", "out");
    UIViewFactory factory;
    auto view = owned(factory.createView(attributes, description));
    auto* list = dynamic_cast<Corvane_ScalesListView*>(view.get());
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->getViewSize(), CRect(30, 40, 234, 298));
    EXPECT_STREQ(factory.getViewName(list), "Corvane_ScalesListView");

    Scale_State state;
    FakeOwner owner;
    list->readAttributes(attributes, description);
    list->setOwner(&owner, &state);
    state.setRowBypassed(0, 0, state.scale, 1);
    state.setRowRemoved(1, 0, state.scale, 1);
    const Drawing drawing(list);
    auto middle = [](const Corvane_ListRect& r) { return CPoint((r.left + r.right) / 2, (r.top + r.bottom) / 2); };
    const CPoint bypassed = middle(Corvane_ListCell(0, Corvane_ListColumn::bypass));
    const CPoint removed = middle(Corvane_ListCell(1, Corvane_ListColumn::remove));
    EXPECT_EQ(drawing.at(bypassed.x, bypassed.y), kGreen);
    EXPECT_EQ(drawing.at(removed.x, removed.y), kBlack) << "an unknown picture stays unset";
    list->setMouseEnabled(false);
    EXPECT_EQ(Drawing(list).at(bypassed.x, bypassed.y), kBlue);
    setResourceDirectory(nullptr);
}
