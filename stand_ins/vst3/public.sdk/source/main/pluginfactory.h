#pragma once

// The module's class factory: a list of class records, each with the
// function that creates an instance.

#include "pluginterfaces/base/ipluginbase.h"

#include <vector>

namespace Steinberg {

class CPluginFactory : public IPluginFactory3
{
public:
    using CreateFunction = FUnknown* (*)(void* context);

    explicit CPluginFactory(const PFactoryInfo& info);
    virtual ~CPluginFactory();

    // Adds a class; false for a null record or create function.
    bool registerClass(const PClassInfo2* info, CreateFunction createFunc,
                       void* context = nullptr);
    bool isClassRegistered(const FUID& cid) const;

    //--- IPluginFactory
    tresult PLUGIN_API getFactoryInfo(PFactoryInfo* info) SMTG_OVERRIDE;
    int32 PLUGIN_API countClasses() SMTG_OVERRIDE;
    tresult PLUGIN_API getClassInfo(int32 index, PClassInfo* info) SMTG_OVERRIDE;
    tresult PLUGIN_API createInstance(FIDString cid, FIDString iid, void** obj) SMTG_OVERRIDE;

    //--- IPluginFactory2
    tresult PLUGIN_API getClassInfo2(int32 index, PClassInfo2* info) SMTG_OVERRIDE;

    //--- IPluginFactory3
    tresult PLUGIN_API getClassInfoUnicode(int32 index, PClassInfoW* info) SMTG_OVERRIDE;
    tresult PLUGIN_API setHostContext(FUnknown* context) SMTG_OVERRIDE;

    //--- FUnknown
    tresult PLUGIN_API queryInterface(const TUID iid, void** obj) SMTG_OVERRIDE;
    uint32 PLUGIN_API addRef() SMTG_OVERRIDE;
    uint32 PLUGIN_API release() SMTG_OVERRIDE;

private:
    struct ClassEntry {
        PClassInfo2 info2;
        PClassInfoW infoW;
        CreateFunction createFunc;
        void* context;
    };

    int32 refCount = 1;
    PFactoryInfo factoryInfo;
    std::vector<ClassEntry> classes;
    FUnknown* hostContext = nullptr;
};

// The module's one factory; GetPluginFactory creates it on first call, and
// it is destroyed when the host releases its last reference.
extern IPluginFactory* gPluginFactory;

} // namespace Steinberg

// The module's exported entry points, on Linux.
#define SMTG_MODULE_EXPORT extern "C" __attribute__((visibility("default")))
