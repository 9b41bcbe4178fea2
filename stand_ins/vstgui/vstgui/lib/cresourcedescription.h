#pragma once

// Names a resource of the plug-in: a file name in the resource directory
// (an absolute path is used as it is) or a number, which stands for the
// file "bmpNNNNN.png" (five digits) there.

#include "vstgui/lib/vstguibase.h"

#include <string>

namespace VSTGUI {

class CResourceDescription {
public:
    enum Type { kIntegerType, kStringType, kUnknownType };

    CResourceDescription() { u.name = nullptr; }
    CResourceDescription(int32_t id) : type(kIntegerType) { u.id = id; }
    CResourceDescription(UTF8StringPtr name);
    CResourceDescription(const CResourceDescription& o);
    CResourceDescription& operator=(const CResourceDescription& o);

    Type type = kUnknownType;
    union {
        int32_t id;
        UTF8StringPtr name;
    } u;

private:
    std::string storage;
};

// Interface thread. The directory relative resource names are found in.
// The editor sets it to its bundle's resource folder unless a program has
// set one first; tools and tests set their own.
void setResourceDirectory(UTF8StringPtr path);
const std::string& getResourceDirectory();
// True once setResourceDirectory has been called with a path.
bool isResourceDirectorySet();

// The file a resource names; empty for an unknown description.
std::string resolveResourcePath(const CResourceDescription& desc);

} // namespace VSTGUI
