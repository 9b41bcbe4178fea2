#pragma once

// One object that is edit controller, component and audio processor at once,
// for effects whose processor and controller need not be separated. Built on
// the SDK's EditController, bus lists and process set-up record.

#include "pluginterfaces/vst/ivstaudioprocessor.h"
#include "pluginterfaces/vst/ivstcomponent.h"
#include "public.sdk/source/vst/vstbus.h"
#include "public.sdk/source/vst/vsteditcontroller.h"

namespace Steinberg {
namespace Vst {

class SingleComponentEffect : public EditController, public IComponent, public IAudioProcessor
{
public:
    SingleComponentEffect();
    ~SingleComponentEffect() override;

    //--- IPluginBase
    tresult PLUGIN_API initialize(FUnknown* context) SMTG_OVERRIDE;
    tresult PLUGIN_API terminate() SMTG_OVERRIDE;

    //--- IComponent
    tresult PLUGIN_API getControllerClassId(TUID classID) SMTG_OVERRIDE;
    tresult PLUGIN_API setIoMode(IoMode mode) SMTG_OVERRIDE;
    int32 PLUGIN_API getBusCount(MediaType type, BusDirection dir) SMTG_OVERRIDE;
    tresult PLUGIN_API getBusInfo(MediaType type, BusDirection dir, int32 index,
                                  BusInfo& bus) SMTG_OVERRIDE;
    tresult PLUGIN_API getRoutingInfo(RoutingInfo& inInfo, RoutingInfo& outInfo) SMTG_OVERRIDE;
    tresult PLUGIN_API activateBus(MediaType type, BusDirection dir, int32 index,
                                   TBool state) SMTG_OVERRIDE;
    tresult PLUGIN_API setActive(TBool state) SMTG_OVERRIDE;
    // One state serves both the component and the controller side.
    tresult PLUGIN_API setState(IBStream* state) SMTG_OVERRIDE;
    tresult PLUGIN_API getState(IBStream* state) SMTG_OVERRIDE;

    //--- IEditController: the controller's copy of the component state is the
    // object's own, so there is nothing to synchronise.
    tresult PLUGIN_API setComponentState(IBStream* state) SMTG_OVERRIDE;

    //--- IAudioProcessor
    tresult PLUGIN_API setBusArrangements(SpeakerArrangement* inputs, int32 numIns,
                                          SpeakerArrangement* outputs,
                                          int32 numOuts) SMTG_OVERRIDE;
    tresult PLUGIN_API getBusArrangement(BusDirection dir, int32 index,
                                         SpeakerArrangement& arr) SMTG_OVERRIDE;
    tresult PLUGIN_API canProcessSampleSize(int32 symbolicSampleSize) SMTG_OVERRIDE;
    uint32 PLUGIN_API getLatencySamples() SMTG_OVERRIDE;
    tresult PLUGIN_API setupProcessing(ProcessSetup& setup) SMTG_OVERRIDE;
    tresult PLUGIN_API setProcessing(TBool state) SMTG_OVERRIDE;
    tresult PLUGIN_API process(ProcessData& data) SMTG_OVERRIDE;
    uint32 PLUGIN_API getTailSamples() SMTG_OVERRIDE;

    //--- Buses
    AudioBus* addAudioInput(const TChar* name, SpeakerArrangement arr, BusType busType = kMain,
                            int32 flags = BusInfo::kDefaultActive);
    AudioBus* addAudioOutput(const TChar* name, SpeakerArrangement arr, BusType busType = kMain,
                             int32 flags = BusInfo::kDefaultActive);
    EventBus* addEventInput(const TChar* name, int32 channels = 16, BusType busType = kMain,
                            int32 flags = BusInfo::kDefaultActive);
    EventBus* addEventOutput(const TChar* name, int32 channels = 16, BusType busType = kMain,
                             int32 flags = BusInfo::kDefaultActive);
    tresult removeAudioBusses();
    tresult removeEventBusses();
    tresult renameBus(MediaType type, BusDirection dir, int32 index, const String128 newName);

    //--- FUnknown
    OBJ_METHODS(SingleComponentEffect, EditController)
    tresult PLUGIN_API queryInterface(const TUID iid, void** obj) SMTG_OVERRIDE;
    REFCOUNT_METHODS(EditController)

protected:
    BusList* getBusList(MediaType type, BusDirection dir);
    tresult removeAllBusses();

    ProcessSetup processSetup;
    int32 processMode = kRealtime;

    BusList audioInputs;
    BusList audioOutputs;
    BusList eventInputs;
    BusList eventOutputs;
};

} // namespace Vst
} // namespace Steinberg
