#include "vstgui/lib/idependency.h"

#include <algorithm>
#include <vector>

namespace VSTGUI {

void IDependency::addDependency(CBaseObject* obj)
{
    if (obj && std::find(dependents.begin(), dependents.end(), obj) == dependents.end())
        dependents.push_back(obj);
}

void IDependency::removeDependency(CBaseObject* obj)
{
    dependents.remove(obj);
}

void IDependency::changed(IdStringPtr message)
{
    if (deferChangeCount > 0) {
        deferedChanges.insert(message);
        return;
    }
    auto* sender = dynamic_cast<CBaseObject*>(this);
    // A dependent may remove itself while it is told: walk a copy, and skip
    // those removed meanwhile.
    const std::vector<CBaseObject*> copy(dependents.begin(), dependents.end());
    for (CBaseObject* d : copy) {
        if (std::find(dependents.begin(), dependents.end(), d) != dependents.end())
            d->notify(sender, message);
    }
}

void IDependency::deferChanges(bool state)
{
    if (state) {
        ++deferChangeCount;
        return;
    }
    if (deferChangeCount == 0) return;
    if (--deferChangeCount == 0) {
        const auto kept = deferedChanges;
        deferedChanges.clear();
        for (IdStringPtr m : kept) changed(m);
    }
}

} // namespace VSTGUI
