-- ardour7-lua ardour.lua FOLDER TYPE FRAMES: a session "s" in FOLDER, of 48 kHz, with the stereo sound
-- FOLDER/in.wav of so many frames on a track and the plug-in of that type on it; saved, not played.
local folder, kind, frames = arg[1], arg[2], tonumber(arg[3])
local place = folder .. "/s"

-- Ardour's scripts do not import sounds, so the saved session is given one.
local function edit(change)
    local file = assert(io.open(place .. "/s.ardour"))
    local text = change(file:read("a"))
    file:close()
    file = assert(io.open(place .. "/s.ardour", "w"))
    file:write(text)
    file:close()
end

local function region(id, isWhole)
    return string.format([[<Region name="in" opaque="1" whole-file="%d" start="a0" length="a%d@a0"
        sync-position="a0" ancestral-start="a0" ancestral-length="a0@a0" stretch="1" shift="1"
        fade-in-active="0" fade-out-active="0" scale-amplitude="1" id="%d" type="audio"
        source-0="9001" source-1="9002" master-source-0="9001" master-source-1="9002"
        channels="2"/>]], isWhole, frames * 5880, id) -- in 1/282240000 s
end

local function putSound(text)
    local sources = ""
    for channel = 0, 1 do
        sources = sources .. string.format(
            '<Source name="in.wav" type="audio" flags="" id="%d" channel="%d" origin=""/>',
            9001 + channel, channel)
    end
    text = text:gsub("<Sources/>", "<Sources>" .. sources .. "</Sources>")
    text = text:gsub("<Regions/>", "<Regions>" .. region(9010, 1) .. "</Regions>")
    text = text:gsub("(<Playlist id=[^>]*)/>", "%1>" .. region(9011, 0) .. "</Playlist>", 1)
    return (text:gsub("<Locations/>", string.format(
        [[<Locations><Location id="9020" name="session" start="a0" end="a%d"
            flags="IsSessionRange"/></Locations>]], frames * 5880)))
end

local function track(session)
    local found = session:route_by_name("Audio 1")
    assert(not found:isnil(), "the track is not there")
    return found
end

AudioEngine:set_backend("None (Dummy)", "", "")
local session = assert(create_session(place, "s", 48000))
session:new_audio_track(2, 2, nil, 1, "Audio", ARDOUR.PresentationInfo.max_order,
    ARDOUR.TrackMode.Normal, true)
track(session):panner_shell():set_bypassed(true)
session:save_state("")
session = nil
close_session()

os.rename(folder .. "/in.wav", place .. "/interchange/s/audiofiles/in.wav")
edit(putSound)

session = assert(load_session(place, "s"))
local plugin = ARDOUR.LuaAPI.new_plugin(session, "QOV Kelvane", ARDOUR.PluginType[kind], "")
assert(not plugin:isnil(), "the plug-in does not load")
track(session):add_processor_by_index(plugin, 0, nil, true)
print("latency", plugin:to_insert():signal_latency())
ARDOUR.LuaAPI.set_processor_param(plugin, 0, 0.75)
ARDOUR.LuaAPI.set_processor_param(plugin, 2, 0.5)
if kind == "VST3" then -- in LV2 a control port changes between blocks
    local _, points = ARDOUR.LuaAPI.plugin_automation(plugin, 3)
    for _, point in ipairs({ { 0, 0 }, { 50000, 1 }, { 70000, 0 } }) do -- on whole ticks of its grid
        points:add(Temporal.timepos_t(point[1]), point[2], false, false)
    end
    plugin:to_automatable()
        :automation_control(Evoral.Parameter(ARDOUR.AutomationType.PluginAutomation, 0, 3), true)
        :set_automation_state(ARDOUR.AutoState.Play)
end
-- A session loaded by the program that made it is not always connected.
for channel = 0, 1 do
    track(session):output():nth(channel):connect(session:master_out():input():nth(channel):name())
end
session:save_state("")
quit()
