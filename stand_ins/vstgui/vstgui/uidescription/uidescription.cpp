#include "vstgui/uidescription/uidescription.h"

#include "vstgui/lib/cbitmap.h"
#include "vstgui/lib/cviewcontainer.h"
#include "vstgui/uidescription/icontroller.h"

#include <expat.h>

#include <cstdio>
#include <fstream>
#include <sstream>

namespace VSTGUI {

namespace {

constexpr const char* kRootElement = "vstgui-ui-description";
// Templates that name each other cannot nest deeper than this.
constexpr int kMaxDepth = 64;

// The standard fonts and colours by the names descriptions give them.
const struct {
    const char* name;
    const CFontRef* font;
} standardFonts[] = {
    {"~ SystemFont", &kSystemFont},
    {"~ NormalFontVeryBig", &kNormalFontVeryBig},
    {"~ NormalFontBig", &kNormalFontBig},
    {"~ NormalFont", &kNormalFont},
    {"~ NormalFontSmall", &kNormalFontSmall},
    {"~ NormalFontSmaller", &kNormalFontSmaller},
    {"~ NormalFontVerySmall", &kNormalFontVerySmall},
    {"~ SymbolFont", &kSymbolFont},
};

const struct {
    const char* name;
    const CColor* color;
} standardColors[] = {
    {"~ BlackCColor", &kBlackCColor},   {"~ WhiteCColor", &kWhiteCColor},
    {"~ GreyCColor", &kGreyCColor},     {"~ RedCColor", &kRedCColor},
    {"~ GreenCColor", &kGreenCColor},   {"~ BlueCColor", &kBlueCColor},
    {"~ YellowCColor", &kYellowCColor}, {"~ CyanCColor", &kCyanCColor},
    {"~ MagentaCColor", &kMagentaCColor}, {"~ TransparentCColor", &kTransparentCColor},
};

// Builds the element tree from expat's callbacks.
struct TreeBuilder {
    XML_Parser parser;
    std::unique_ptr<UIDescription::Node> root;
    std::vector<UIDescription::Node*> stack;

    static void start(void* data, const XML_Char* name, const XML_Char** atts)
    {
        auto* self = static_cast<TreeBuilder*>(data);
        auto node = std::make_unique<UIDescription::Node>();
        node->name = name;
        node->line = int(XML_GetCurrentLineNumber(self->parser));
        for (int i = 0; atts[i]; i += 2) node->attributes.setAttribute(atts[i], atts[i + 1]);
        UIDescription::Node* raw = node.get();
        if (self->stack.empty())
            self->root = std::move(node);
        else
            self->stack.back()->children.push_back(std::move(node));
        self->stack.push_back(raw);
    }

    static void end(void* data, const XML_Char*)
    {
        auto* self = static_cast<TreeBuilder*>(data);
        if (!self->stack.empty()) self->stack.pop_back();
    }
};

} // namespace

UIDescription::UIDescription(const CResourceDescription& file, IViewFactory* factory)
    : xmlFile(file), filePath(resolveResourcePath(file)), viewFactory(factory)
{
    if (!viewFactory) {
        ownFactory = std::make_unique<UIViewFactory>();
        viewFactory = ownFactory.get();
    }
}

UIDescription::~UIDescription() = default;

void UIDescription::setError(int line, const std::string& message) const
{
    std::ostringstream out;
    out << (filePath.empty() ? std::string("<no file>") : filePath);
    if (line > 0) out << ':' << line;
    out << ": " << message;
    lastError = out.str();
}

bool UIDescription::parse()
{
    lastError.clear();
    root.reset();
    bitmaps.clear();
    fonts.clear();
    colors.clear();
    tags.clear();
    templates.clear();

    filePath = resolveResourcePath(xmlFile);
    std::ifstream in(filePath, std::ios::binary);
    if (filePath.empty() || !in) {
        setError(0, "cannot open the UI description");
        return false;
    }
    std::stringstream content;
    content << in.rdbuf();
    const std::string text = content.str();

    TreeBuilder builder;
    builder.parser = XML_ParserCreate("UTF-8");
    XML_SetUserData(builder.parser, &builder);
    XML_SetElementHandler(builder.parser, &TreeBuilder::start, &TreeBuilder::end);
    const bool ok = XML_Parse(builder.parser, text.data(), int(text.size()), 1) == XML_STATUS_OK;
    if (!ok) {
        setError(int(XML_GetCurrentLineNumber(builder.parser)),
                 std::string("XML error: ") + XML_ErrorString(XML_GetErrorCode(builder.parser)));
    }
    XML_ParserFree(builder.parser);
    if (!ok) return false;
    if (!builder.root || builder.root->name != kRootElement) {
        setError(builder.root ? builder.root->line : 0,
                 std::string("the root element is not <") + kRootElement + ">");
        return false;
    }
    root = std::move(builder.root);

    for (const auto& section : root->children) {
        if (section->name == "bitmaps") {
            for (const auto& b : section->children) {
                const std::string* name = b->attributes.getAttributeValue("name");
                const std::string* path = b->attributes.getAttributeValue("path");
                if (b->name != "bitmap" || !name || !path) continue;
                bitmaps[*name].path = *path;
            }
        } else if (section->name == "fonts") {
            for (const auto& f : section->children) {
                const std::string* name = f->attributes.getAttributeValue("name");
                if (f->name != "font" || !name) continue;
                const std::string* family = f->attributes.getAttributeValue("font-name");
                double size = 12;
                f->attributes.getDoubleAttribute("size", size);
                int32_t style = 0;
                bool b = false;
                if (f->attributes.getBooleanAttribute("bold", b) && b) style |= kBoldFace;
                if (f->attributes.getBooleanAttribute("italic", b) && b) style |= kItalicFace;
                if (f->attributes.getBooleanAttribute("underline", b) && b) style |= kUnderlineFace;
                if (f->attributes.getBooleanAttribute("strike-through", b) && b) style |= kStrikethroughFace;
                fonts[*name] = owned(new CFontDesc(family ? family->c_str() : "", size, style));
            }
        } else if (section->name == "colors") {
            for (const auto& c : section->children) {
                const std::string* name = c->attributes.getAttributeValue("name");
                const std::string* rgba = c->attributes.getAttributeValue("rgba");
                if (!rgba) rgba = c->attributes.getAttributeValue("rgb");
                CColor color;
                if (c->name != "color" || !name || !rgba) continue;
                if (!color.fromString(*rgba)) {
                    setError(c->line, "colour '" + *name + "' has no valid value '" + *rgba + "'");
                    continue;
                }
                colors[*name] = color;
            }
        } else if (section->name == "control-tags") {
            for (const auto& t : section->children) {
                const std::string* name = t->attributes.getAttributeValue("name");
                int32_t tag;
                if (t->name != "control-tag" || !name) continue;
                if (!t->attributes.getIntegerAttribute("tag", tag)) {
                    setError(t->line, "control tag '" + *name + "' has no whole-number tag");
                    continue;
                }
                tags[*name] = tag;
            }
        } else if (section->name == "template") {
            const std::string* name = section->attributes.getAttributeValue("name");
            if (!name) {
                setError(section->line, "a template has no name");
                continue;
            }
            templates[*name] = section.get();
        }
    }
    return true;
}

std::vector<std::string> UIDescription::getTemplateNames() const
{
    std::vector<std::string> names;
    for (const auto& t : templates) names.push_back(t.first);
    return names;
}

const UIAttributes* UIDescription::getViewAttributes(UTF8StringPtr name) const
{
    if (!name) return nullptr;
    auto it = templates.find(name);
    return it == templates.end() ? nullptr : &it->second->attributes;
}

CView* UIDescription::createView(UTF8StringPtr name, IController* controller)
{
    if (!name) return nullptr;
    auto it = templates.find(name);
    if (it == templates.end()) {
        setError(0, std::string("no template named '") + name + "'");
        return nullptr;
    }
    controllerStack.clear();
    controllerStack.push_back(controller ? controller : baseController);
    CView* view = createViewFromNode(*it->second, nullptr, 0);
    controllerStack.clear();
    return view;
}

CView* UIDescription::createViewFromNode(const Node& node, const UIAttributes* overrides, int depth)
{
    if (depth > kMaxDepth) {
        setError(node.line, "templates nest too deep");
        return nullptr;
    }
    UIAttributes attributes(node.attributes);
    if (overrides) {
        for (const auto& a : *overrides) {
            if (a.first != "template" && a.first != "name") attributes[a.first] = a.second;
        }
    }
    if (node.name == "template") {
        attributes.removeAttribute("name");
        if (!attributes.hasAttribute("class")) attributes.setAttribute("class", "CViewContainer");
    }
    // A view that stands for a template.
    if (node.name == "view" && !overrides) {
        if (const std::string* templateName = node.attributes.getAttributeValue("template")) {
            auto it = templates.find(*templateName);
            if (it == templates.end()) {
                setError(node.line, "no template named '" + *templateName + "'");
                return nullptr;
            }
            return createViewFromNode(*it->second, &node.attributes, depth + 1);
        }
    }

    IController* controller = controllerStack.empty() ? nullptr : controllerStack.back();
    IController* subController = nullptr;
    if (const std::string* subName = attributes.getAttributeValue("sub-controller")) {
        if (controller) subController = controller->createSubController(subName->c_str(), this);
        if (subController) {
            controllerStack.push_back(subController);
            controller = subController;
        }
    }

    CView* view = nullptr;
    if (const std::string* customName = attributes.getAttributeValue("custom-view-name")) {
        if (controller) view = controller->createView(attributes, this);
        if (view && attributes.hasAttribute("class")) viewFactory->applyAttributeValues(view, attributes, this);
        (void)customName;
    }
    if (!view) {
        const std::string* className = attributes.getAttributeValue("class");
        view = viewFactory->createView(attributes, this);
        if (!view) {
            if (!className)
                setError(node.line, "a view has no class");
            else if (!UIViewFactory::getViewCreator(className->c_str()))
                setError(node.line, "unknown view class '" + *className + "'");
            else
                setError(node.line, "view class '" + *className + "' cannot be made");
        }
    }

    if (view) {
        auto* container = dynamic_cast<CViewContainer*>(view);
        for (const auto& child : node.children) {
            if (child->name != "view" && child->name != "template") continue;
            CView* childView = createViewFromNode(*child, nullptr, depth + 1);
            if (!childView) continue;
            if (!container || !container->addView(childView)) childView->forget();
        }
        if (controller) {
            CView* verified = controller->verifyView(view, attributes, this);
            if (!verified) view->forget();
            view = verified;
        }
    }

    if (subController) {
        controllerStack.pop_back();
        if (view) {
            view->setAttribute(kCViewControllerAttribute, sizeof(IController*), &subController);
        } else if (auto* obj = dynamic_cast<CBaseObject*>(subController)) {
            obj->forget();
        } else {
            delete subController;
        }
    }
    return view;
}

CBitmap* UIDescription::getBitmap(UTF8StringPtr name) const
{
    if (!name) return nullptr;
    auto it = bitmaps.find(name);
    if (it == bitmaps.end()) return nullptr;
    const BitmapEntry& entry = it->second;
    if (!entry.tried) {
        entry.tried = true;
        auto bitmap = owned(new CBitmap(CResourceDescription(entry.path.c_str())));
        if (bitmap->isLoaded())
            entry.bitmap = bitmap;
        else
            setError(0, "bitmap '" + std::string(name) + "' cannot be loaded from '" + entry.path + "'");
    }
    return entry.bitmap;
}

CFontRef UIDescription::getFont(UTF8StringPtr name) const
{
    if (!name) return nullptr;
    auto it = fonts.find(name);
    if (it != fonts.end()) return it->second;
    for (const auto& f : standardFonts) {
        if (std::strcmp(f.name, name) == 0) return *f.font;
    }
    return nullptr;
}

bool UIDescription::getColor(UTF8StringPtr name, CColor& color) const
{
    if (!name) return false;
    if (name[0] == '#') return color.fromString(name);
    auto it = colors.find(name);
    if (it != colors.end()) {
        color = it->second;
        return true;
    }
    for (const auto& c : standardColors) {
        if (std::strcmp(c.name, name) == 0) {
            color = *c.color;
            return true;
        }
    }
    return false;
}

int32_t UIDescription::getTagForName(UTF8StringPtr name) const
{
    if (!name) return -1;
    auto it = tags.find(name);
    const int32_t registered = it == tags.end() ? -1 : it->second;
    IController* controller = getController();
    return controller ? controller->getTagForName(name, registered) : registered;
}

IControlListener* UIDescription::getControlListener(UTF8StringPtr name) const
{
    IController* controller = getController();
    return controller ? controller->getControlListener(name) : nullptr;
}

IController* UIDescription::getController() const
{
    return controllerStack.empty() ? baseController : controllerStack.back();
}

UTF8StringPtr UIDescription::lookupColorName(const CColor& color) const
{
    for (const auto& c : colors) {
        if (c.second == color) return c.first.c_str();
    }
    return nullptr;
}

UTF8StringPtr UIDescription::lookupFontName(const CFontRef font) const
{
    if (!font) return nullptr;
    for (const auto& f : fonts) {
        if (f.second.get() == font || *f.second == *font) return f.first.c_str();
    }
    for (const auto& f : standardFonts) {
        if (*f.font == font) return f.name;
    }
    return nullptr;
}

UTF8StringPtr UIDescription::lookupBitmapName(const CBitmap* bitmap) const
{
    if (!bitmap) return nullptr;
    for (const auto& b : bitmaps) {
        if (b.second.bitmap.get() == bitmap) return b.first.c_str();
    }
    return nullptr;
}

UTF8StringPtr UIDescription::lookupControlTagName(const int32_t tag) const
{
    for (const auto& t : tags) {
        if (t.second == tag) return t.first.c_str();
    }
    return nullptr;
}

} // namespace VSTGUI
