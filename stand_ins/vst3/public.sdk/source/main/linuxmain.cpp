// The Linux module entry pair. A host calls ModuleEntry once after dlopen and
// ModuleExit before dlclose; nested pairs are counted, so only the outermost
// exit forgets the handle. The factory lives while the host holds it.

#include "public.sdk/source/main/pluginfactory.h"

namespace {
int moduleCounter = 0;
}

void* moduleHandle = nullptr;

SMTG_MODULE_EXPORT bool ModuleEntry(void* sharedLibraryHandle)
{
    if (++moduleCounter == 1) moduleHandle = sharedLibraryHandle;
    return true;
}

SMTG_MODULE_EXPORT bool ModuleExit()
{
    if (moduleCounter == 0) return false;
    if (--moduleCounter == 0) moduleHandle = nullptr;
    return true;
}

// Older hosts look for these names.
SMTG_MODULE_EXPORT bool bundleEntry(void* sharedLibraryHandle)
{
    return ModuleEntry(sharedLibraryHandle);
}

SMTG_MODULE_EXPORT bool bundleExit()
{
    return ModuleExit();
}
