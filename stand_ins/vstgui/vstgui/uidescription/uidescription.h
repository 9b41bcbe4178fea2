#pragma once

// A panel described in an XML file:
//
//   <vstgui-ui-description version="1">
//     <bitmaps><bitmap name="knob" path="knob.png"/></bitmaps>
//     <fonts><font name="label" font-name="DejaVu Sans" size="11" bold="true"/></fonts>
//     <colors><color name="text" rgba="#e0e0e0ff"/></colors>
//     <control-tags><control-tag name="Gain" tag="3"/></control-tags>
//     <template name="Editor" class="CViewContainer" origin="0, 0" size="400, 300"
//               minSize="400, 300" maxSize="800, 600">
//       <view class="CAnimKnob" origin="10, 10" size="32, 32" control-tag="Gain" bitmap="knob"/>
//     </template>
//   </vstgui-ui-description>
//
// Views are made by the view factory from their "class"; "custom-view-name"
// asks the controller for the view, "sub-controller" makes a controller for
// an element and its children, and "template" on a view builds that
// template in its place. Bitmaps load on first use from the resource
// directory. A file that cannot be read or parsed, and a view of an unknown
// class, leave a message in getLastError().

#include "vstgui/lib/cresourcedescription.h"
#include "vstgui/uidescription/iuidescription.h"
#include "vstgui/uidescription/uiattributes.h"
#include "vstgui/uidescription/uiviewfactory.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace VSTGUI {

class CView;

class UIDescription : public CBaseObject, public IUIDescription {
public:
    explicit UIDescription(const CResourceDescription& xmlFile, IViewFactory* viewFactory = nullptr);
    ~UIDescription() override;

    // Interface thread. Reads the file; false with a message in
    // getLastError() when it is missing, not well-formed XML or not a UI
    // description. A description read before is replaced.
    bool parse();
    // The last problem met, as "file:line: what", or empty.
    const std::string& getLastError() const { return lastError; }
    const std::string& getFilePath() const { return filePath; }

    // A new view of the template (one reference for the caller), built for
    // the controller; null for an unknown template or a template whose own
    // class cannot be made.
    CView* createView(UTF8StringPtr name, IController* controller);
    // The attributes of a template, or null.
    const UIAttributes* getViewAttributes(UTF8StringPtr name) const;
    std::vector<std::string> getTemplateNames() const;

    void setController(IController* controller) { baseController = controller; }

    //--- IUIDescription
    CBitmap* getBitmap(UTF8StringPtr name) const override;
    CFontRef getFont(UTF8StringPtr name) const override;
    bool getColor(UTF8StringPtr name, CColor& color) const override;
    int32_t getTagForName(UTF8StringPtr name) const override;
    IControlListener* getControlListener(UTF8StringPtr name) const override;
    IController* getController() const override;
    const IViewFactory* getViewFactory() const override { return viewFactory; }
    UTF8StringPtr lookupColorName(const CColor& color) const override;
    UTF8StringPtr lookupFontName(const CFontRef font) const override;
    UTF8StringPtr lookupBitmapName(const CBitmap* bitmap) const override;
    UTF8StringPtr lookupControlTagName(const int32_t tag) const override;

    struct Node {
        std::string name;
        UIAttributes attributes;
        std::vector<std::unique_ptr<Node>> children;
        int line = 0;
    };

private:
    CView* createViewFromNode(const Node& node, const UIAttributes* overrides, int depth);
    void setError(int line, const std::string& message) const;

    struct BitmapEntry {
        std::string path;
        mutable SharedPointer<CBitmap> bitmap;
        mutable bool tried = false;
    };

    CResourceDescription xmlFile;
    std::string filePath;
    IViewFactory* viewFactory;
    std::unique_ptr<UIViewFactory> ownFactory;
    std::unique_ptr<Node> root;
    std::map<std::string, BitmapEntry> bitmaps;
    std::map<std::string, SharedPointer<CFontDesc>> fonts;
    std::map<std::string, CColor> colors;
    std::map<std::string, int32_t> tags;
    std::map<std::string, const Node*> templates;
    IController* baseController = nullptr;
    std::vector<IController*> controllerStack;
    mutable std::string lastError;
};

} // namespace VSTGUI
