#pragma once

#include <semaphore.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "Common_VST3/VST3_SingleComponentEffect.h"
#include "Common_VST3/VST3_VST3Editor.h"
#include "dsp/DT_DSPObject.h"
#include "dsp/Scale_State.h"
#include "dsp/note_tables.h"
#include "effect/Corvane_ITrackedData.h"
#include "effect/Corvane_Parameters.h"
#include "graph/model/AudioDataStore.h"
#include "graph/model/ObjectEditor.h"
#include "graph/model/TimeHistory.h"
#include "graph/model/TrackedFrameArray.h"
#include "graph/views/Corvane_TimeEditTarget.h"
#include "options/Corvane_FolderDlg.h"
#include "options/Corvane_OptionsDlgData.h"
#include "panel/Corvane_EditorPresenter.h"
#include "panel/Corvane_EffectAccess.h"

// The vocal pitch-correction effect: the one class the factory creates. It
// owns the correction engine by value and drives it from the host's blocks,
// and owns the presenter of its editor, to which its editor entry points go.
class Corvane_SingleComponentEffect : public VST3_SingleComponentEffect,
                                      public VSTGUI::IKeyboardHook,
                                      public VST3_EditorOwner,
                                      public Corvane_EffectAccess,
                                      public Corvane_DataFolderStore,
                                      public ICorvaneTrackedData,
                                      public Corvane_TimeEditTarget {
public:
    Corvane_SingleComponentEffect();
    ~Corvane_SingleComponentEffect() override;

    // The factory's create function: a new effect as its IAudioProcessor, or
    // null when allocation gave nothing.
    static Steinberg::FUnknown* createInstance(void* context);

    //--- Host-facing operations.
    tresult PLUGIN_API initialize(Steinberg::FUnknown* context) SMTG_OVERRIDE;
    tresult PLUGIN_API terminate() SMTG_OVERRIDE;
    // Interface thread, while inactive. Keeps the set-up record and readies
    // the engine for its sample rate.
    tresult PLUGIN_API setupProcessing(Steinberg::Vst::ProcessSetup& setup) SMTG_OVERRIDE;
    // Interface thread. Activation clears the engine and takes the channel
    // layout the buses now have.
    tresult PLUGIN_API setActive(Steinberg::TBool state) SMTG_OVERRIDE;
    // Any thread: 2660 engine samples in host samples; unchanged by bypass.
    Steinberg::uint32 PLUGIN_API getLatencySamples() SMTG_OVERRIDE;
    Steinberg::uint32 PLUGIN_API getProcessContextRequirements() SMTG_OVERRIDE;

    //--- Steps of a block, and the rows that feed the engine (its owner's
    // thread: the audio thread while active, the interface thread while not).
    void processParameterChanges(Steinberg::Vst::IParameterChanges* changes) noexcept override;
    void processOutputParameterChanges(Steinberg::Vst::IParameterChanges* changes) noexcept override;
    void processAudio(Steinberg::Vst::ProcessData& data) noexcept override;
    void applyParameter(VST3_BaseParameter* parameter, ParamID id,
                        Steinberg::int32 sampleOffset, ParamValue value) noexcept override;
    void resolveJoinedSettings() noexcept override;
    // Interface thread: what a control's change does beyond the engine: the
    // object commands, then the editor presenter's dispatch.
    void parameterChanged(Steinberg::Vst::Parameter* parameter) override;
    // Interface thread. The object command or knob of parameter `id` at
    // `plain` (buttons act on 1.0 only), with the editor open or closed;
    // true when the objects changed.
    bool objectCommand(ParamID id, double plain);
    const ObjectEditor& getObjectEditor() const { return objectEditor; }
    // Interface thread. The time command of parameter `id` at `plain`
    // ("Time Undo", "Time Redo", "Time Clear All"; buttons act on 1.0 only,
    // and "Clear All Data" forgets the time edits with the take); true when
    // the map in force changed.
    bool timeCommand(ParamID id, double plain);
    // Interface thread. The time history, and whether its buttons can act:
    // the enabled states of "Time Undo", "Time Redo" and "Time Clear All".
    const TimeHistory& getTimeHistory() const { return timeHistory; }
    bool canTimeUndo() const;
    bool canTimeRedo() const;
    bool canTimeClearAll() const;
    // Audio thread. Notes on and off in the MIDI modes of Auto mode.
    void processEvents(Steinberg::Vst::IEventList* events) noexcept override;
    Steinberg::int32 getMidiScaleMode() const override { return midiScaleMode.load(std::memory_order_relaxed); }

    // Interface thread. As the base; Scale, Key and Detune also set the scale
    // object the panel shows while the panel is closed (an open panel takes
    // them in from its timer, with its views).
    tresult PLUGIN_API setParamNormalized(ParamID id, ParamValue value) SMTG_OVERRIDE;

    //--- Session state: the current stream (version 10, also reads 9) and the
    // old one (version 8) behind a foreign header. Interface thread.
    tresult PLUGIN_API setState(Steinberg::IBStream* state) SMTG_OVERRIDE;
    bool writeState(Steinberg::IBStreamer& streamer) override;
    Steinberg::int32 writtenStateVersion() const override;

    // Interface thread. The scale and key the panel shows, into the scale
    // object; the key names follow the spelling of the scale. The engine
    // takes scale and key from their parameters.
    void setScaleAndKey(int scale, int key) override;
    // Interface thread. The marks of the scale object changed: the engine's
    // owner rebuilds its note table from them.
    void scaleMarksChanged() override;
    // Interface thread. Auto (false) or Graph (true) correction.
    void setCorrectionMode(bool graph) override;

    //--- The editor; interface thread. Each goes to the editor presenter.
    Steinberg::IPlugView* PLUGIN_API createView(Steinberg::FIDString name) SMTG_OVERRIDE;
    VSTGUI::IController* createSubController(VSTGUI::UTF8StringPtr name,
                                             const VSTGUI::IUIDescription* description,
                                             VSTGUI::VST3Editor* editor) override;
    // Opening also puts the effect's keyboard hook on the frame; closing
    // takes it off.
    void didOpen(VSTGUI::VST3Editor* editor) override;
    void willClose(VSTGUI::VST3Editor* editor) override;
    int32_t onKeyDown(const VstKeyCode& code, VSTGUI::CFrame* frame) override;
    int32_t onKeyUp(const VstKeyCode& code, VSTGUI::CFrame* frame) override;
    void editorResized(Steinberg::int32 width, Steinberg::int32 height) override;
    bool showDialogForSnapshot(VSTGUI::CFrame* frame, const char* dialog) override;
    // The base's repeats, then one tick of the presenter.
    void onTimer() override;
    void autoRepeat(Steinberg::int32 tag) override;
    Corvane_EditorPresenter& getEditorPresenter() { return editorPresenter; }

    //--- Corvane_EffectAccess: what the panel asks of the effect; interface
    // thread.
    VST3_BaseParameter* panelParameter(ParamID id) override;
    void putParameter(ParamID id, double plain) override;
    void editParameter(ParamID id, double plain) override;
    void parameterTextsChanged() override;
    bool takeMidiMarksChanged() override;
    void keyboardNoteHeld(int note) override;
    void setMidiScaleMode(Steinberg::int32 mode) override;
    void getPitchStatus(double& ratio, double& period) const override;
    double getSampleRate() const override { return processSetup.sampleRate; }
    TrackedFrameArray* graphFrames() override { return &trackedFrames; }
    int64_t getPlayFrame() const override;
    void panelControlChanged(ParamID id) override { parameterChanged(getParameterObject(id)); }
    // The base's held-button repeats.
    void startAutoRepeat(Steinberg::int32 tag, Steinberg::int32 firstDelay, Steinberg::int32 interval) override
    {
        VST3_SingleComponentEffect::startAutoRepeat(tag, firstDelay, interval);
    }
    void stopAutoRepeat() override { VST3_SingleComponentEffect::stopAutoRepeat(); }
    Steinberg::int32 getRepeatingTag() const override { return VST3_SingleComponentEffect::getRepeatingTag(); }
    Corvane_OptionsDlgData& userOptions() override { return options; }
    void userOptionsChanged() override;
    int getHeldKeyboardNote() const { return heldKeyboardNote.load(std::memory_order_relaxed); }

    //--- The graph clock.
    void setClockPosition(int64_t position);
    void startClock();
    void stopClock();

    // Samples per tracked frame, 200 while unset.
    int64_t getSamplesPerFrame() const { return samplesPerFrame == 0 ? 200 : samplesPerFrame; }

    // Read-only views for the panel and tests.
    const Scale_State& getScaleState() const { return scaleState; }
    // Interface thread: the scale object for the scales list and keyboard.
    Scale_State& getScaleState() override { return scaleState; }
    bool isGraphMode() const override { return graphModeActive.load(std::memory_order_relaxed); }
    Steinberg::int32 getMaxUndos() const { return maxUndos; }
    bool getCustomCursors() const { return customCursors; }
    Steinberg::int32 getKnobStyle() const { return knobStyle; }
    static Steinberg::int32 getKnobMode() { return knobMode; }
    // Streams that carry the 40-byte foreign header are read when above 0.
    void setLegacyHeaderMode(Steinberg::int32 mode) { legacyHeaderMode = mode; }

    //--- Values of the state that no parameter holds.
    struct GraphPlacement {
        Steinberg::int64 horizontalScale = 0;
        Steinberg::int64 verticalPosition = 0;
        Steinberg::int16 horizontalPosition = 0;
        Steinberg::int16 verticalScale = 0;
    };
    const GraphPlacement& getGraphPlacement() const { return graphPlacement; }
    bool isGraphPlacementPending() const { return graphPlacementPending; }

    OBJ_METHODS(Corvane_SingleComponentEffect, VST3_SingleComponentEffect)
    tresult PLUGIN_API queryInterface(const Steinberg::TUID iid, void** obj) SMTG_OVERRIDE;
    REFCOUNT_METHODS(VST3_SingleComponentEffect)

    //--- ICorvaneTrackedData: interface thread (Corvane_Tracking.cpp).
    tresult PLUGIN_API clickControl(Steinberg::uint32 id, double normalized) SMTG_OVERRIDE;
    tresult PLUGIN_API setDataFolder(const char* utf8Path) SMTG_OVERRIDE;
    void PLUGIN_API getSessionFolder(char* utf8Path, Steinberg::int32 size) SMTG_OVERRIDE;
    Steinberg::int64 PLUGIN_API getTrackedFrameCount() SMTG_OVERRIDE;
    tresult PLUGIN_API getTrackedFrame(Steinberg::int64 index, TrackedFrame* frame) SMTG_OVERRIDE;
    Steinberg::int64 PLUGIN_API getFrameSamples() SMTG_OVERRIDE { return getSamplesPerFrame(); }
    Steinberg::int64 PLUGIN_API getDecimationFactor() SMTG_OVERRIDE { return dspObject.get_decimation_factor(); }
    void PLUGIN_API waitForDisk() SMTG_OVERRIDE;
    Steinberg::int32 PLUGIN_API getRegionCount() SMTG_OVERRIDE;
    tresult PLUGIN_API getRegion(Steinberg::int32 index, Steinberg::int64* start, Steinberg::int64* end,
                                 Steinberg::TBool* hasFile) SMTG_OVERRIDE;
    Steinberg::int32 PLUGIN_API readTrackedSample(Steinberg::int64 position, float* left, float* right) SMTG_OVERRIDE;
    Steinberg::int32 PLUGIN_API getStoreChannels() SMTG_OVERRIDE;
    Steinberg::int32 PLUGIN_API getStoreStatus(Steinberg::TBool* overrun, Steinberg::TBool* writeFailed) SMTG_OVERRIDE;
    // Time control (Corvane_Time.cpp).
    //--- Corvane_TimeEditTarget: the graph views' time edits.
    const TimeMap* mapInForce() override;
    double samplesPerFrameScale() override;
    void previewMap(const TimeMap& map) override;
    void commitMap(const TimeMap& map) override;
    tresult PLUGIN_API moveTimePoint(double fromPosition, double toPosition, Steinberg::int32* limitCode) SMTG_OVERRIDE;
    double PLUGIN_API mapTimePosition(double position) SMTG_OVERRIDE;
    Steinberg::int64 PLUGIN_API getPlaybackOverruns(Steinberg::int64* lastFrame) SMTG_OVERRIDE;

    // The folder that holds the session folders when no other is chosen:
    // $XDG_DATA_HOME (else ~/.local/share), then the maker's folder and the
    // product's.
    static std::string defaultDataFolder();

    //--- Corvane_DataFolderStore: the data folder dialog's actions,
    // interface thread (Corvane_DataFolder.cpp). From closeFiles on, the
    // audio thread stays out of the tracked data until the store is taken
    // up again by openFiles, setUpFolder, dropData or describe.
    void describe(Corvane_FolderDlgData* record) override;
    std::string readyDefaultParent() override;
    void closeFiles() override;
    bool openFiles(const std::string& parent, const std::string& name) override;
    bool setUpFolder(const std::string& parent) override;
    void dropData() override;
    bool purgeFiles() override;
    // Corvane_EffectAccess's view of it.
    Corvane_DataFolderStore& dataFolder() override { return *this; }
    std::string defaultDataParent() const override { return defaultDataFolder(); }
    bool dataFilesMissing() const override;

protected:
    // The clock step of a block, before the audio; sets `position` and
    // `positionValid` for the marks.
    void clockStep(Steinberg::Vst::ProcessData& data, int64_t& position, bool& positionValid) noexcept;
    // Owner thread. Bar and beat marks of the block into the tracked frames.
    void markBarAndBeat(const Steinberg::Vst::ProcessData& data, int64_t position, bool positionValid) noexcept;
    // Owner thread. Tracking begins (argument 1: with the audio), ends, and
    // both stores are cleared.
    void startTracking(bool withAudio) noexcept;
    void stopTracking() noexcept;
    void clearAllData() noexcept;
    // Interface thread. The stores' life: frames sized by the capacity
    // setting, the disk thread started.
    void prepareTrackedData();
    // The engine's owner: what the interface thread asked for outside the
    // parameters (mode, marks, held key) reaches the engine, and a stale
    // note table is rebuilt.
    void takeInterfaceRequests() noexcept;
    // Interface thread: a request for the owner; applied at once while
    // inactive, at the next block otherwise.
    void requestFromInterface();

    // Sections of the state stream; each answers false at the first item
    // that fails.
    bool readCurrentStream(Steinberg::IBStreamer& streamer, Steinberg::int32 version);
    bool readOldStream(Steinberg::IBStreamer& streamer);
    void applyLegacySettings(const Steinberg::int32 (&words)[42]);
    bool writeSettings(Steinberg::IBStreamer& streamer);
    bool readSettings(Steinberg::IBStreamer& streamer);
    bool readGraphPlacement(Steinberg::IBStreamer& streamer, bool wide);
    bool readScaleSection(Steinberg::IBStreamer& streamer);
    // The engine's section: frames of `frameBytes` bytes (50, or 56 in the
    // old stream), and the audio store.
    bool readTrackedFrames(Steinberg::IBStreamer& streamer, Steinberg::uint32 frameBytes);
    bool readTrackedStore(Steinberg::IBStreamer& streamer);
    // Interface thread. While one lives, the audio thread leaves the tracked
    // data alone and the disk thread is stopped.
    struct TrackedDataClosed {
        explicit TrackedDataClosed(Corvane_SingleComponentEffect& effect);
        ~TrackedDataClosed();
        Corvane_SingleComponentEffect& effect;
    };
    // Scale, key and detune from their parameters into the scale object.
    void pushScaleFromParameters();
    // Runs after every read of a state, good or not: views that show
    // restored values refresh when they are open.
    void refreshAfterState();
    // Audio thread. One MIDI note (19 to 96) into the Chromatic scale's
    // marks, by the mode of parameters 36 and 37; true when a mark was
    // written.
    bool midiNoteToScale(int pitch, int velocity) noexcept;
    // The undo depth the effect and its object history keep, 1 to 20;
    // values below 1 are ignored.
    void setMaxUndos(Steinberg::int32 count);
    // Interface thread. What new objects take from the object knobs, and
    // what Import Auto takes from the Auto-mode settings; `table` is filled
    // and must live while the settings are used.
    NewObjectSettings newObjectSettings();
    AutoImportSettings autoImportSettings(Note_Table& table);
    // Interface thread. A parameter's plain value as its object holds it.
    double plainOf(ParamID id);
    // Interface thread. The object pass follows the frames and their rate.
    void attachObjects();
    // Interface thread. The map in force (or `preview`, when given) to the
    // engine, which takes it at its next block.
    void publishTimeMap(const TimeMap* preview = nullptr);
    // Interface thread. The map in force over the recorded take: the
    // identity while no edit is in force; the history's map as it is (maybe
    // empty) when nothing is recorded.
    TimeMap timeMapInForce() const;

    DT_DSPObject dspObject;
    int64_t samplesPerFrame = 0;
    Steinberg::int32 latencySamples = int32_t(engine::latency);
    // Set by the interface thread, read by both.
    std::atomic<bool> graphModeActive{false};
    // Owned by the engine's owner from here to silentInputSamples.
    bool clockRunning = false;
    bool pitchTrackingActive = false;
    bool pitchAndTimeTrackingActive = false;
    int64_t clockStartPosition = -1;
    int64_t lastBlockPosition = 0;
    int64_t lastBlockSamples = 0;
    Steinberg::int32 transportState = -1;
    bool processCalled = false;
    // Host samples since the input was last flagged as sounding.
    int64_t silentInputSamples = 0;
    bool midiOctavesAll = false;
    bool hostClock = true;
    // Scale, key and detune as the engine has them, from their parameters.
    int engineScale = scale_chromatic;
    int engineKey = 0;
    int engineDetune = 0;
    bool engineGraphMode = false;
    int engineHeldNote = -1;
    uint32_t engineMarksGeneration = 0;
    uint32_t engineClearGeneration = 0;
    Note_Table noteTable;
    bool noteTableStale = true;
    bool retuneStale = true;
    bool trackingStale = true;
    // MIDI notes recorded in one tracking run; later ones are dropped.
    static constexpr Steinberg::int32 maxRecordedNotes = 256;
    // MIDI notes recorded in this tracking run; the bar and beat last marked.
    Steinberg::int32 recordedNotes = 0;
    Steinberg::int32 lastBar = -1;
    Steinberg::int32 lastBeat = -1;

    // The tracked frames and the audio store the engine writes while it
    // tracks. The frames are sized before activation; the store's disk
    // thread lives from initialize to terminate.
    TrackedFrameArray trackedFrames;
    std::unique_ptr<AudioDataStore> audioStore;
    // Set by setState: the store is being replaced, the audio thread leaves
    // it alone; `storeInUse` is the audio thread's answer.
    std::atomic<bool> storeClosed{false};
    std::atomic<bool> storeInUse{false};
    // Held by the data folder dialog's actions from closing the files to
    // taking them up again.
    std::unique_ptr<TrackedDataClosed> dataFolderHold;
    void holdTrackedData();
    void releaseTrackedData();
    // The audio thread's copy of storeClosed for the block.
    bool trackedDataSuspended = false;

    // The marks are shared by both threads, one atomic byte each; the
    // interface thread counts its edits here so that the owner rebuilds.
    Scale_State scaleState;
    std::atomic<uint32_t> marksGeneration{0};
    // Presses of "Clear All Data" on the interface thread, counted so that
    // the engine's owner clears the frames and the recording even when the
    // press and its release reach the mailbox before one block does.
    std::atomic<uint32_t> clearGeneration{0};
    // Written by the interface thread, read by the audio thread.
    std::atomic<Steinberg::int32> midiScaleMode{corvane::kMidiOff};
    // Settings kept in the session besides the parameters; readSettings
    // takes a value only within its range. Undo steps 1 to 20; seconds of
    // recorded audio 10 to 10800; knob style 0 (circular), 4 (linear) or 5
    // (the host's); knob mode as the panel's knobs take it: 0 circular, 1
    // relative circular, 2 linear.
    // The user's options, read from the preferences file at initialize:
    // the four settings below start from them, and a session's own then
    // override them.
    Corvane_OptionsDlgData options = defaultPreferences;
    Steinberg::int32 maxUndos = 20;
    Steinberg::int32 capacitySetting = 240;
    bool customCursors = true;
    Steinberg::int32 knobStyle = 0;
    // Knob mode of every instance of the process.
    static Steinberg::int32 knobMode;
    GraphPlacement graphPlacement;
    bool graphPlacementPending = false;
    Steinberg::int32 legacyHeaderMode = 0;

    // The keyboard key held in momentary mode (MIDI note), or -1. Written by
    // the interface thread, read when the note table is built.
    std::atomic<int> heldKeyboardNote{-1};
    // Set by the audio thread when MIDI notes changed the marks; the timer
    // redraws the scale's views.
    std::atomic<bool> scaleMarksPending{false};

    // The correction objects and their history, edited on the interface
    // thread; the pass writes the frames' correction words that the engine
    // plays.
    ObjectEditor objectEditor;

    // The finished time maps, edited on the interface thread; each change
    // of the map in force goes to the engine as a new snapshot. The
    // semaphore is held by the interface thread while it hands a map over;
    // the engine takes it by try-wait only.
    TimeHistory timeHistory;
    // The map the engine was last given: the history's in force, or a
    // drag's preview.
    TimeMap timePlayed;
    sem_t storeSemaphore;
    bool storeSemaphoreReady = false;

    // The editor's presenter, for the effect's whole life; it reaches the
    // effect only through Corvane_EffectAccess.
    Corvane_EditorPresenter editorPresenter{*this};
};
