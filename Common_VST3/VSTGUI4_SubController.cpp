#include "Common_VST3/VSTGUI4_SubController.h"

#include <cstring>

#include "vstgui/uidescription/uiattributes.h"

using namespace VSTGUI;

namespace {

template <size_t N>
void copyName(char (&to)[N], const std::string& from)
{
    const size_t length = std::min(from.size(), N - 1);
    std::memcpy(to, from.data(), length);
    to[length] = '\0';
}

} // namespace

VSTGUI4_SubController::VSTGUI4_SubController(IController* parent) : DelegationController(parent) {}

VSTGUI4_SubController::~VSTGUI4_SubController() = default;

CView* VSTGUI4_SubController::verifyView(CView* view, const UIAttributes& attributes,
                                         const IUIDescription* description)
{
    view = DelegationController::verifyView(view, attributes, description);
    if (view == nullptr) return nullptr;
    listView(view, attributes);
    return view;
}

const char* VSTGUI4_SubController::listView(CView* view, const UIAttributes& attributes)
{
    const std::string* name = attributes.getAttributeValue("view-name");
    if (name == nullptr) return nullptr;
    NamedViewEntry entry{view, {}};
    copyName(entry.name, *name);
    viewList.push_back(entry);
    if (auto* control = dynamic_cast<CControl*>(view)) {
        NamedControlEntry controlEntry{control, {}};
        copyName(controlEntry.name, *name);
        controlList.push_back(controlEntry);
        control->addDependency(this);
    }
    return viewList.back().name;
}

CMessageResult VSTGUI4_SubController::notify(CBaseObject* sender, IdStringPtr message)
{
    if (message != CControl::kMessageValueChanged) return kMessageUnknown;
    if (auto* control = dynamic_cast<CControl*>(sender)) {
        if (controller) controller->valueChanged(control);
    }
    return kMessageNotified;
}

CView* VSTGUI4_SubController::findView(const char* name) const
{
    for (const NamedViewEntry& entry : viewList) {
        if (std::strcmp(entry.name, name) == 0) return entry.view;
    }
    return nullptr;
}
