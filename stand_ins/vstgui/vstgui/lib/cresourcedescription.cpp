#include "vstgui/lib/cresourcedescription.h"

#include <cstdio>

namespace VSTGUI {

CResourceDescription::CResourceDescription(UTF8StringPtr name)
{
    if (name) {
        type = kStringType;
        storage = name;
        u.name = storage.c_str();
    } else {
        u.name = nullptr;
    }
}

CResourceDescription::CResourceDescription(const CResourceDescription& o)
{
    *this = o;
}

CResourceDescription& CResourceDescription::operator=(const CResourceDescription& o)
{
    if (this == &o) return *this;
    type = o.type;
    storage = o.storage;
    if (type == kStringType)
        u.name = storage.c_str();
    else
        u = o.u;
    return *this;
}

namespace {

std::string& resourceDirectory()
{
    static std::string dir;
    return dir;
}

bool resourceDirectorySet = false;

} // namespace

void setResourceDirectory(UTF8StringPtr path)
{
    resourceDirectory() = path ? path : "";
    resourceDirectorySet = path != nullptr && *path != 0;
}

const std::string& getResourceDirectory()
{
    return resourceDirectory();
}

bool isResourceDirectorySet()
{
    return resourceDirectorySet;
}

std::string resolveResourcePath(const CResourceDescription& desc)
{
    std::string name;
    if (desc.type == CResourceDescription::kStringType && desc.u.name) {
        name = desc.u.name;
    } else if (desc.type == CResourceDescription::kIntegerType) {
        char buffer[32];
        std::snprintf(buffer, sizeof buffer, "bmp%05d.png", int(desc.u.id));
        name = buffer;
    } else {
        return {};
    }
    if (name.empty() || name[0] == '/') return name;
    const std::string& dir = resourceDirectory();
    if (dir.empty()) return name;
    return dir.back() == '/' ? dir + name : dir + "/" + name;
}

} // namespace VSTGUI
