-- ardour7-lua ardourSession.lua DIRECTORY CHANNELS FRAMES COLOR FRAME VALUE [FRAME VALUE ...]
--
-- Makes the session "bend" in a new directory: one track of 1 or 2 channels at 44100 Hz with the pedal on it, its
-- automation running through the given points, and a region of in.wav, which whoever calls puts among the session's sounds
-- (interchange/NAME/audiofiles) and which has FRAMES frames. Fades are off, so that the recording is played as
-- it is.

local rate, blockFrames = 44100, 1024
local clocksPerFrame = 282240000 / rate -- the unit in which a session counts time
local pedalPort, colorControl = 6, 2

local directory, channels, frames, color = arg[1], tonumber(arg[2]), tonumber(arg[3]), tonumber(arg[4])
local uri = channels == 1 and "urn:treadshift:pedal" or "urn:treadshift:pedal-stereo"

local function startEngine()
  local backend = AudioEngine:set_backend("None (Dummy)", "", "")
  backend:set_device_name("Silence")
  backend:set_sample_rate(rate)
  backend:set_buffer_size(blockFrames)
  AudioEngine:start(false)
end

local function addPedal(session)
  local track = session:new_audio_track(channels, channels, nil, 1, "guitar", ARDOUR.PresentationInfo.max_order,
    ARDOUR.TrackMode.Normal, true):front()
  local pedal = ARDOUR.LuaAPI.new_plugin_with_time_domain(session, uri, ARDOUR.PluginType.LV2,
    Temporal.TimeDomain.AudioTime, "")
  assert(not pedal:isnil(), "Ardour does not know the plug-in")
  assert(track:to_route():add_processor_by_index(pedal, 0, nil, true) == 0)
  return pedal
end

local function automate(pedal)
  assert(ARDOUR.LuaAPI.set_processor_param(pedal, colorControl, color))
  local _, points = ARDOUR.LuaAPI.plugin_automation(pedal, 4)
  for i = 5, #arg, 2 do
    points:add(Temporal.timepos_t(math.tointeger(tonumber(arg[i]))), tonumber(arg[i + 1]), false, false)
  end
  local parameter = Evoral.Parameter(ARDOUR.AutomationType.PluginAutomation, 0, pedalPort)
  pedal:to_automatable():automation_control(parameter, false):set_automation_state(ARDOUR.AutoState.Play)
end

-- Lua has no hand on regions, so these go into the saved session.
local function placeRecording(path)
  local file = assert(io.open(path))
  local xml = file:read("a")
  file:close()
  local function exchange(pattern, text)
    local count
    xml, count = xml:gsub(pattern, function(found) return type(text) == "function" and text(found) or text end, 1)
    assert(count == 1, "the session has no " .. pattern)
  end
  local length = math.tointeger(frames * clocksPerFrame)
  local function region(id, whole)
    return string.format('<Region name="in" type="audio" id="%d" muted="0" opaque="1" locked="0" automatic="0" '
      .. 'whole-file="%d" start="a0" length="a%d@a0" sync-position="a0" stretch="1" shift="1" layering-index="0" '
      .. 'fade-in-active="0" fade-out-active="0" default-fade-in="1" default-fade-out="1" scale-amplitude="1" '
      .. 'channels="%d" %s><Envelope default="yes"/></Region>', id, whole, length, channels,
      channels == 1 and 'source-0="9001" master-source-0="9001"'
      or 'source-0="9001" source-1="9005" master-source-0="9001" master-source-1="9005"')
  end
  local function source(id, channel)
    return string.format('<Source name="in.wav" type="audio" flags="" id="%d" channel="%d" gain="1"/>', id, channel)
  end
  exchange('<Sources/>',
    '<Sources>' .. source(9001, 0) .. (channels == 1 and '' or source(9005, 1)) .. '</Sources>')
  exchange('<Regions/>', '<Regions>' .. region(9002, 1) .. '</Regions>')
  exchange('<Playlist [^\n]*guitar[^\n]*/>', function(found)
    return found:sub(1, -3) .. '>' .. region(9003, 0) .. '</Playlist>'
  end)
  exchange('<Locations/>', string.format('<Locations><Location id="9004" name="session" start="a0" end="a%d" '
    .. 'flags="IsSessionRange" locked="0"/></Locations>', length))
  exchange('name="use%-transport%-fades" value="1"', 'name="use-transport-fades" value="0"')
  exchange('name="use%-region%-fades" value="1"', 'name="use-region-fades" value="0"')
  exchange('id%-counter="%d+"', 'id-counter="9100"')
  file = assert(io.open(path, "w"))
  file:write(xml)
  file:close()
end

startEngine()
local session = assert(create_session(directory, "bend", rate))
automate(addPedal(session))
session:save_state("")
session = nil
close_session()
placeRecording(directory .. "/bend.ardour")
