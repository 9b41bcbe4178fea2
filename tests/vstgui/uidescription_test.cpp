#include "vstgui_test_support.h"

#include "vstgui/lib/controls/cbuttons.h"
#include "vstgui/lib/controls/cknob.h"
#include "vstgui/lib/controls/cparamdisplay.h"
#include "vstgui/lib/controls/cvumeter.h"
#include "vstgui/lib/cviewcontainer.h"
#include "vstgui/uidescription/delegationcontroller.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace VSTGUI;

namespace {

const char* kDescription = R"(<?xml version="1.0" encoding="UTF-8"?>
<vstgui-ui-description version="1">
  <bitmaps>
    <bitmap name="knob" path="knob.png"/>
    <bitmap name="switch" path="switch.png"/>
    <bitmap name="missing" path="missing.png"/>
  </bitmaps>
  <fonts>
    <font name="label" font-name="DejaVu Sans" size="11" bold="true"/>
  </fonts>
  <colors>
    <color name="text" rgba="#e0e1e2ff"/>
    <color name="panel" rgba="#10203040"/>
  </colors>
  <control-tags>
    <control-tag name="Gain" tag="3"/>
    <control-tag name="Mode" tag="12"/>
  </control-tags>
  <template name="Editor" class="CViewContainer" origin="0, 0" size="300, 200"
            minSize="300, 200" maxSize="600, 400" background-color="panel">
    <view class="CAnimKnob" origin="10, 20" size="30, 30" control-tag="Gain" bitmap="knob"
          default-value="0.25" view-name="GainKnob"/>
    <view class="CHorizontalSwitch" origin="50, 20" size="90, 10" control-tag="Mode" bitmap="switch"
          sub-pixmaps="3" height-of-one-image="10"/>
    <view class="CViewContainer" origin="0, 100" size="300, 100" sub-controller="Lower"
          transparent="true" autosize="left right bottom">
      <view class="CTextLabel" origin="5, 5" size="100, 20" title="Hello" font="label" font-color="text"
            text-alignment="left" style-no-frame="true" control-tag="77"/>
      <view class="COnOffButton" origin="110, 5" size="20, 20" control-tag="Gain"/>
      <view class="CView" custom-view-name="Special" origin="150, 5" size="10, 10"/>
    </view>
    <view class="NoSuchView" origin="0, 0" size="5, 5"/>
    <view template="Small" origin="200, 20"/>
  </template>
  <template name="Small" class="CViewContainer" size="40, 30" background-color="~ RedCColor">
    <view class="CVuMeter" origin="0, 0" size="10, 30" num-led="5" orientation="vertical"/>
  </template>
</vstgui-ui-description>
)";

using Log = std::vector<std::string>;

// A sub-controller that logs the views of its element and counts its own
// instances.
struct SubController : DelegationController, CBaseObject {
    SubController(IController* parent, Log& log, int& alive) : DelegationController(parent), log(log), alive(alive)
    {
        ++alive;
    }
    ~SubController() override { --alive; }
    CView* verifyView(CView* view, const UIAttributes& attributes, const IUIDescription* d) override
    {
        log.push_back(std::string("sub ") + view->getClassName());
        return DelegationController::verifyView(view, attributes, d);
    }
    Log& log;
    int& alive;
};

// A controller that records what the description asks of it.
struct RecordingController : IController {
    Log log;
    int subControllersAlive = 0;

    void valueChanged(CControl*) override {}
    CView* createView(const UIAttributes& attributes, const IUIDescription*) override
    {
        log.push_back("createView " + *attributes.getAttributeValue("custom-view-name"));
        return new CTextLabel(CRect(), "custom");
    }
    CView* verifyView(CView* view, const UIAttributes& attributes, const IUIDescription*) override
    {
        const std::string* name = attributes.getAttributeValue("view-name");
        log.push_back(std::string("verify ") + view->getClassName() + (name ? " " + *name : ""));
        return view;
    }
    IController* createSubController(UTF8StringPtr name, const IUIDescription*) override
    {
        log.push_back(std::string("createSubController ") + name);
        return new SubController(this, log, subControllersAlive);
    }
};

struct VstguiUIDescription : ::testing::Test {
    void SetUp() override
    {
        resources.png("knob.png", 30, 30, {{10, 10, 10, 255}, {20, 20, 20, 255}, {30, 30, 30, 255}});
        resources.png("switch.png", 90, 10, {{1, 1, 1, 255}, {2, 2, 2, 255}, {3, 3, 3, 255}});
    }
    SharedPointer<UIDescription> parsed() { return resources.describe(kDescription, "panel.uidesc"); }
    vstgui_test::ResourceFolder resources;
    const std::string& dir = resources.dir;
};

template <class T>
T* childOf(CView* container, uint32_t index)
{
    auto* c = dynamic_cast<CViewContainer*>(container);
    return c ? dynamic_cast<T*>(c->getView(index)) : nullptr;
}

} // namespace

TEST_F(VstguiUIDescription, ResourcesAreReadByName)
{
    auto desc = parsed();
    EXPECT_EQ(desc->getTemplateNames(), (Log{"Editor", "Small"}));

    // Colours in hex notation; the views below use the named ones.
    CColor c;
    EXPECT_TRUE(desc->getColor("#01020304", c));
    EXPECT_EQ(c, CColor(1, 2, 3, 4));
    EXPECT_FALSE(desc->getColor("nothing", c));
    EXPECT_STREQ(desc->lookupColorName(CColor(0x10, 0x20, 0x30, 0x40)), "panel");

    CFontRef font = desc->getFont("label");
    ASSERT_NE(font, nullptr);
    EXPECT_STREQ(font->getName(), "DejaVu Sans");
    EXPECT_EQ(font->getSize(), 11);
    EXPECT_EQ(font->getStyle(), kBoldFace);
    EXPECT_EQ(desc->getFont("~ NormalFontSmall"), kNormalFontSmall);
    EXPECT_EQ(desc->getFont("unknown"), nullptr);

    EXPECT_EQ(desc->getTagForName("Unknown"), -1);

    CBitmap* knob = desc->getBitmap("knob");
    ASSERT_NE(knob, nullptr);
    EXPECT_EQ(knob->getHeight(), 90);
    EXPECT_EQ(desc->getBitmap("knob"), knob) << "loaded once";
    EXPECT_EQ(desc->getBitmap("missing"), nullptr);
    EXPECT_NE(desc->getLastError().find("missing.png"), std::string::npos);
}

TEST_F(VstguiUIDescription, TemplatesBuildTheViewTreeWithTheirAttributes)
{
    auto desc = parsed();
    RecordingController controller;
    auto root = owned(desc->createView("Editor", &controller));
    auto* container = dynamic_cast<CViewContainer*>(root.get());
    ASSERT_NE(container, nullptr);
    EXPECT_NE(desc->getLastError().find("panel.uidesc:32: unknown view class 'NoSuchView'"), std::string::npos)
        << desc->getLastError();
    EXPECT_EQ(container->getBackgroundColor(), CColor(0x10, 0x20, 0x30, 0x40));
    ASSERT_EQ(container->getNbViews(), 4u) << "the view of the unknown class is left out";

    // The knob's attributes read back below.
    auto* knob = childOf<CAnimKnob>(root, 0);
    ASSERT_NE(knob, nullptr);

    CView* lower = container->getView(2);
    EXPECT_TRUE(lower->getTransparency());
    EXPECT_EQ(lower->getAutosizeFlags(), kAutosizeLeft | kAutosizeRight | kAutosizeBottom);
    auto* label = childOf<CTextLabel>(lower, 0);
    ASSERT_NE(label, nullptr);
    EXPECT_STREQ(label->getText(), "Hello");
    EXPECT_EQ(label->getTag(), 77) << "a number that names no tag is the tag";
    EXPECT_EQ(label->getFontColor(), CColor(0xe0, 0xe1, 0xe2, 0xff));
    EXPECT_EQ(label->getFont(), desc->getFont("label"));
    EXPECT_EQ(label->getHoriAlign(), kLeftText);
    EXPECT_EQ(label->getStyle() & kNoFrame, kNoFrame);
    EXPECT_NE(childOf<COnOffButton>(lower, 1), nullptr);
    auto* custom = childOf<CTextLabel>(lower, 2);
    ASSERT_NE(custom, nullptr);
    EXPECT_STREQ(custom->getText(), "custom");
    EXPECT_EQ(custom->getViewSize(), CRect(150, 5, 160, 15)) << "attributes apply to custom views";

    auto* small = childOf<CViewContainer>(root, 3);
    ASSERT_NE(small, nullptr);
    EXPECT_EQ(small->getViewSize(), CRect(200, 20, 240, 50)) << "the template at the view's origin";
    EXPECT_EQ(small->getBackgroundColor(), kRedCColor);
    auto* meter = childOf<CVuMeter>(small, 0);
    ASSERT_NE(meter, nullptr);
    EXPECT_EQ(meter->getNbLed(), 5);

    // Children are verified before their parents, and the sub-controller
    // sees the views of its element.
    EXPECT_EQ(controller.log, (Log{"verify CAnimKnob GainKnob", "verify CHorizontalSwitch", "createSubController Lower",
                                   "sub CTextLabel", "verify CTextLabel", "sub COnOffButton", "verify COnOffButton",
                                   "createView Special", "sub CTextLabel", "verify CTextLabel", "sub CViewContainer",
                                   "verify CViewContainer", "verify CVuMeter", "verify CViewContainer",
                                   "verify CViewContainer"}));

    // Tag and bitmap by name, the number of pictures from the attribute.
    EXPECT_TRUE(knob->getTag() == 3 && knob->getBackground() == desc->getBitmap("knob"));
    EXPECT_TRUE(knob->getDefaultValue() == 0.25f && knob->getNumSubPixmaps() == 3);

    EXPECT_EQ(controller.subControllersAlive, 1);
    root = nullptr;
    EXPECT_EQ(controller.subControllersAlive, 0) << "the view that names a sub-controller owns it";
}

TEST_F(VstguiUIDescription, BadFilesGiveAMessageAndNoDescription)
{
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"truncated.uidesc", "<vstgui-ui-description version=\"1\">\n<template name=\"A\">\n",
         "truncated.uidesc:3: XML error"},
        {"mismatched.uidesc", "<vstgui-ui-description>\n<template name=\"A\"></view>\n</vstgui-ui-description>",
         "mismatched.uidesc:2: XML error: mismatched tag"},
        {"other.uidesc", "<html/>", "the root element is not <vstgui-ui-description>"},
        {"empty.uidesc", "", "XML error"},
        {"absent.uidesc", nullptr, "cannot open"},
    };
    for (const auto& [file, content, message] : cases) {
        if (content) vstgui_test::writeText(dir + "/" + file, content);
        auto desc = owned(new UIDescription(CResourceDescription(file)));
        EXPECT_FALSE(desc->parse()) << file;
        EXPECT_NE(desc->getLastError().find(message), std::string::npos) << desc->getLastError();
        EXPECT_EQ(desc->createView("A", nullptr), nullptr);
    }
}

TEST_F(VstguiUIDescription, UnusableTemplatesGiveNoViewAndAMessage)
{
    vstgui_test::writeText(dir + "/odd.uidesc", R"(<vstgui-ui-description version="1">
  <colors><color name="bad" rgba="red"/></colors>
  <template name="Unknown" class="Nothing" size="10, 10"/>
  <template name="Loop" size="10, 10"><view template="Loop"/></template>
  <template name="Abstract" class="CControl" size="10, 10"/>
</vstgui-ui-description>)");
    auto desc = owned(new UIDescription(CResourceDescription("odd.uidesc")));
    ASSERT_TRUE(desc->parse());
    EXPECT_NE(desc->getLastError().find("colour 'bad'"), std::string::npos);
    for (const auto& [name, message] : {std::pair{"Unknown", "unknown view class 'Nothing'"},
                                        {"Absent", "no template named 'Absent'"}, {"Abstract", "cannot be made"}}) {
        EXPECT_EQ(desc->createView(name, nullptr), nullptr) << name;
        EXPECT_NE(desc->getLastError().find(message), std::string::npos) << desc->getLastError();
    }
    auto loop = owned(desc->createView("Loop", nullptr));
    ASSERT_NE(loop, nullptr) << "the outer template stands, the endless nesting is cut";
    EXPECT_NE(desc->getLastError().find("nest too deep"), std::string::npos);
}
