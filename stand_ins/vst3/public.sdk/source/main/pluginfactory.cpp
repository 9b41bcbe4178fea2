#include "public.sdk/source/main/pluginfactory.h"

#include "pluginterfaces/base/ustring.h"

#include <cstring>

namespace Steinberg {

IPluginFactory* gPluginFactory = nullptr;

CPluginFactory::CPluginFactory(const PFactoryInfo& info) : factoryInfo(info) {}

CPluginFactory::~CPluginFactory()
{
    if (gPluginFactory == this) gPluginFactory = nullptr;
    if (hostContext) hostContext->release();
}

bool CPluginFactory::registerClass(const PClassInfo2* info, CreateFunction createFunc,
                                   void* context)
{
    if (info == nullptr || createFunc == nullptr) return false;
    ClassEntry entry{};
    entry.info2 = *info;
    std::memcpy(entry.infoW.cid, info->cid, sizeof(TUID));
    entry.infoW.cardinality = info->cardinality;
    std::memcpy(entry.infoW.category, info->category, sizeof(entry.infoW.category));
    std::memcpy(entry.infoW.subCategories, info->subCategories,
                sizeof(entry.infoW.subCategories));
    entry.infoW.classFlags = info->classFlags;
    UString(entry.infoW.name, PClassInfo::kNameSize).fromAscii(info->name);
    UString(entry.infoW.vendor, PClassInfo2::kVendorSize).fromAscii(info->vendor);
    UString(entry.infoW.version, PClassInfo2::kVersionSize).fromAscii(info->version);
    UString(entry.infoW.sdkVersion, PClassInfo2::kVersionSize).fromAscii(info->sdkVersion);
    entry.createFunc = createFunc;
    entry.context = context;
    classes.push_back(entry);
    return true;
}

bool CPluginFactory::isClassRegistered(const FUID& cid) const
{
    for (const auto& entry : classes) {
        if (FUnknownPrivate::iidEqual(entry.info2.cid, cid.toTUID())) return true;
    }
    return false;
}

tresult PLUGIN_API CPluginFactory::getFactoryInfo(PFactoryInfo* info)
{
    if (info == nullptr) return kInvalidArgument;
    std::memcpy(info, &factoryInfo, sizeof(PFactoryInfo));
    return kResultOk;
}

int32 PLUGIN_API CPluginFactory::countClasses()
{
    return static_cast<int32>(classes.size());
}

tresult PLUGIN_API CPluginFactory::getClassInfo(int32 index, PClassInfo* info)
{
    if (info == nullptr || index < 0 || index >= countClasses()) return kInvalidArgument;
    const PClassInfo2& src = classes[size_t(index)].info2;
    *info = PClassInfo();
    std::memcpy(info->cid, src.cid, sizeof(TUID));
    info->cardinality = src.cardinality;
    std::memcpy(info->category, src.category, PClassInfo::kCategorySize);
    std::memcpy(info->name, src.name, PClassInfo::kNameSize);
    return kResultOk;
}

tresult PLUGIN_API CPluginFactory::getClassInfo2(int32 index, PClassInfo2* info)
{
    if (info == nullptr || index < 0 || index >= countClasses()) return kInvalidArgument;
    std::memcpy(info, &classes[size_t(index)].info2, sizeof(PClassInfo2));
    return kResultOk;
}

tresult PLUGIN_API CPluginFactory::getClassInfoUnicode(int32 index, PClassInfoW* info)
{
    if (info == nullptr || index < 0 || index >= countClasses()) return kInvalidArgument;
    std::memcpy(info, &classes[size_t(index)].infoW, sizeof(PClassInfoW));
    return kResultOk;
}

tresult PLUGIN_API CPluginFactory::createInstance(FIDString cid, FIDString iid, void** obj)
{
    if (obj == nullptr) return kInvalidArgument;
    *obj = nullptr;
    if (cid == nullptr || iid == nullptr) return kInvalidArgument;
    for (const auto& entry : classes) {
        if (!FUnknownPrivate::iidEqual(entry.info2.cid, cid)) continue;
        FUnknown* instance = entry.createFunc(entry.context);
        if (instance == nullptr) return kOutOfMemory;
        const tresult result = instance->queryInterface(iid, obj);
        instance->release();
        if (result != kResultOk) *obj = nullptr;
        return result == kResultOk ? kResultOk : kNoInterface;
    }
    return kNoInterface;
}

tresult PLUGIN_API CPluginFactory::setHostContext(FUnknown* context)
{
    if (context) context->addRef();
    if (hostContext) hostContext->release();
    hostContext = context;
    return kResultOk;
}

tresult PLUGIN_API CPluginFactory::queryInterface(const TUID iid, void** obj)
{
    QUERY_INTERFACE(iid, obj, IPluginFactory::iid, IPluginFactory)
    QUERY_INTERFACE(iid, obj, IPluginFactory2::iid, IPluginFactory2)
    QUERY_INTERFACE(iid, obj, IPluginFactory3::iid, IPluginFactory3)
    QUERY_INTERFACE(iid, obj, FUnknown::iid, IPluginFactory)
    *obj = nullptr;
    return kNoInterface;
}

uint32 PLUGIN_API CPluginFactory::addRef()
{
    return uint32(FUnknownPrivate::atomicAdd(refCount, 1));
}

uint32 PLUGIN_API CPluginFactory::release()
{
    const int32 count = FUnknownPrivate::atomicAdd(refCount, -1);
    if (count == 0) {
        delete this;
        return 0;
    }
    return uint32(count);
}

} // namespace Steinberg
