#pragma once

// A simple dependency between objects: dependents are told of changes by a
// message through CBaseObject::notify. No reference is held: a dependent
// removes itself before it goes away.

#include "vstgui/lib/vstguibase.h"

#include <list>
#include <set>

namespace VSTGUI {

class IDependency {
public:
    virtual void addDependency(CBaseObject* obj);
    virtual void removeDependency(CBaseObject* obj);
    // Sends the message to every dependent, or keeps it for later while
    // changes are deferred (each message once).
    virtual void changed(IdStringPtr message);
    // Calls nest; the last deferChanges(false) sends what was kept.
    virtual void deferChanges(bool state);

    size_t getNbDependents() const { return dependents.size(); }

protected:
    IDependency() = default;
    virtual ~IDependency() = default;

    int32_t deferChangeCount = 0;
    std::set<IdStringPtr> deferedChanges;
    std::list<CBaseObject*> dependents;
};

} // namespace VSTGUI
