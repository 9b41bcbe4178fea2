-- Run by scripts/host-check.sh in Debian's headless Ardour 7 (ardour7-lua).
-- With HOST_CHECK_STEP=make: a new session with one mono track whose input
-- is the dummy backend's sine wave, the plug-in on it with a few settings
-- changed, the transport rolled over three seconds through it, then saved.
-- With HOST_CHECK_STEP=reopen: the session opened again and saved under the
-- snapshot name "reopened", so that the two plug-in states can be compared.

local folder = os.getenv("HOST_CHECK_SESSION")
local step = os.getenv("HOST_CHECK_STEP")
assert(folder and step, "HOST_CHECK_SESSION and HOST_CHECK_STEP must be set")

AudioEngine:set_backend("None (Dummy)", "", "")
AudioEngine:set_device_name("Sine Wave")
AudioEngine:set_sample_rate(48000)
assert(AudioEngine:start(false) == 0, "the dummy audio engine does not start")

if step == "make" then
    local s = create_session(folder, "take", 48000)
    assert(s, "no session")
    local track = s:new_audio_track(1, 2, nil, 1, "Voice", ARDOUR.PresentationInfo.max_order,
                                    ARDOUR.TrackMode.Normal, true, false):front()
    local plugin = ARDOUR.LuaAPI.new_plugin(s, "Corvane+Time_VST", ARDOUR.PluginType.VST3, "")
    assert(not plugin:isnil(), "Ardour does not find the plug-in (is it installed and scanned?)")
    assert(track:add_processor_by_index(plugin, 0, nil, true) == 0, "the plug-in cannot be added")
    -- Scale, key and retune speed away from their defaults.
    ARDOUR.LuaAPI.set_processor_param(plugin, 0, 3)
    ARDOUR.LuaAPI.set_processor_param(plugin, 1, 4)
    ARDOUR.LuaAPI.set_processor_param(plugin, 3, 0)
    track:monitoring_control():set_value(ARDOUR.MonitorChoice.MonitorInput, PBD.GroupControlDisposition.NoGroup)
    s:request_roll(ARDOUR.TransportRequestSource.TRS_UI)
    ARDOUR.LuaAPI.usleep(3000000)
    s:request_stop(false, false, ARDOUR.TransportRequestSource.TRS_UI)
    ARDOUR.LuaAPI.usleep(500000)
    print("host-check: rolled to sample " .. tostring(s:transport_sample()))
    assert(s:transport_sample() > 48000, "the transport did not roll")
    s:save_state("", false, false, false, false, false)
else
    local s = load_session(folder, "take")
    assert(s, "the saved session does not open")
    s:save_state("reopened", false, false, false, false, false)
end
close_session()
