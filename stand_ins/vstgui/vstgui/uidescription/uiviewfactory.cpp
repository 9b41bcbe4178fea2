#include "vstgui/uidescription/uiviewfactory.h"

#include "vstgui/lib/cview.h"
#include "vstgui/uidescription/uiattributes.h"
#include "vstgui/uidescription/uiviewcreator.h"

#include <map>
#include <vector>

namespace VSTGUI {

namespace {

using Registry = std::map<std::string, const IViewCreator*>;

Registry& registry()
{
    static Registry r;
    static bool builtinsRegistered = false;
    if (!builtinsRegistered) {
        builtinsRegistered = true;
        UIViewCreator::registerBuiltinViewCreators();
    }
    return r;
}

const IViewCreator* findCreator(const std::string& name)
{
    Registry& r = registry();
    auto it = r.find(name);
    return it == r.end() ? nullptr : it->second;
}

// The creators of a class and its bases, the root first.
std::vector<const IViewCreator*> creatorChain(const std::string& className)
{
    std::vector<const IViewCreator*> chain;
    const IViewCreator* c = findCreator(className);
    while (c && chain.size() < 64) {
        chain.insert(chain.begin(), c);
        IdStringPtr base = c->getBaseViewName();
        c = base ? findCreator(base) : nullptr;
    }
    return chain;
}

} // namespace

UIViewFactory::UIViewFactory()
{
    registry();
}

void UIViewFactory::registerViewCreator(const IViewCreator& viewCreator)
{
    registry()[viewCreator.getViewName()] = &viewCreator;
}

void UIViewFactory::unregisterViewCreator(const IViewCreator& viewCreator)
{
    Registry& r = registry();
    auto it = r.find(viewCreator.getViewName());
    if (it != r.end() && it->second == &viewCreator) r.erase(it);
}

const IViewCreator* UIViewFactory::getViewCreator(IdStringPtr className)
{
    return className ? findCreator(className) : nullptr;
}

CView* UIViewFactory::createView(const UIAttributes& attributes, const IUIDescription* description) const
{
    const std::string* className = attributes.getAttributeValue("class");
    if (!className) return nullptr;
    const IViewCreator* creator = findCreator(*className);
    if (!creator) return nullptr;
    CView* view = creator->create(attributes, description);
    if (!view) return nullptr;
    for (const IViewCreator* c : creatorChain(*className)) {
        if (!c->apply(view, attributes, description)) {
            view->forget();
            return nullptr;
        }
    }
    return view;
}

IdStringPtr UIViewFactory::getViewName(CView* view) const
{
    if (!view) return nullptr;
    if (const IViewCreator* c = findCreator(view->getClassName())) return c->getViewName();
    // A class without a creator of its own: the deepest creator whose class
    // the view is.
    const IViewCreator* best = nullptr;
    size_t bestDepth = 0;
    for (const auto& entry : registry()) {
        if (!view->isTypeOf(entry.first.c_str())) continue;
        const size_t depth = creatorChain(entry.first).size();
        if (depth > bestDepth) {
            best = entry.second;
            bestDepth = depth;
        }
    }
    return best ? best->getViewName() : nullptr;
}

bool UIViewFactory::applyAttributeValues(CView* view, const UIAttributes& attributes,
                                         const IUIDescription* desc) const
{
    IdStringPtr name = getViewName(view);
    if (!name) return false;
    for (const IViewCreator* c : creatorChain(name)) {
        if (!c->apply(view, attributes, desc)) return false;
    }
    return true;
}

bool UIViewFactory::getAttributeNamesForView(CView* view, std::list<std::string>& attributeNames) const
{
    IdStringPtr name = getViewName(view);
    if (!name) return false;
    for (const IViewCreator* c : creatorChain(name)) c->getAttributeNames(attributeNames);
    return true;
}

bool UIViewFactory::getAttributeValue(CView* view, const std::string& attributeName, std::string& stringValue,
                                      const IUIDescription* desc) const
{
    IdStringPtr name = getViewName(view);
    if (!name) return false;
    const auto chain = creatorChain(name);
    for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
        if ((*it)->getAttributeValue(view, attributeName, stringValue, desc)) return true;
    }
    return false;
}

IViewCreator::AttrType UIViewFactory::getAttributeType(CView* view, const std::string& attributeName) const
{
    IdStringPtr name = getViewName(view);
    if (!name) return IViewCreator::kUnknownType;
    const auto chain = creatorChain(name);
    for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
        const auto type = (*it)->getAttributeType(attributeName);
        if (type != IViewCreator::kUnknownType) return type;
    }
    return IViewCreator::kUnknownType;
}

} // namespace VSTGUI
