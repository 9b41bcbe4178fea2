// The module's factory: one class, the effect.

#include "effect/Corvane_SingleComponentEffect.h"
#include "effect/Corvane_Version.h"
#include "public.sdk/source/main/pluginfactory.h"

#include "pluginterfaces/vst/ivstaudioprocessor.h"

using namespace Steinberg;

SMTG_MODULE_EXPORT IPluginFactory* PLUGIN_API GetPluginFactory()
{
    if (gPluginFactory == nullptr) {
        static const PFactoryInfo factoryInfo(corvane::vendor, corvane::vendorUrl,
                                              corvane::vendorEmail, Vst::kDefaultFactoryFlags);
        auto* factory = new CPluginFactory(factoryInfo);
        static const PClassInfo2 effectClass(corvane::effectUID, PClassInfo::kManyInstances,
                                             kVstAudioEffectClass, corvane::className,
                                             Vst::kDistributable, corvane::subCategories,
                                             corvane::vendor, corvane::version,
                                             corvane::sdkVersion);
        factory->registerClass(&effectClass, Corvane_SingleComponentEffect::createInstance);
        gPluginFactory = factory;
    } else {
        gPluginFactory->addRef();
    }
    return gPluginFactory;
}
