-- tlkc2.lua: shows in Wireshark and tshark the messages between clients of TlkC2 and their servers.
--
-- A message is an XML document that tells in its first 30 bytes, by seven digits, how long it is. It is put
-- together from segments by that stamp alone, as a client does it. What is no message is marked, up to where the
-- next one begins, so a capture may start anywhere. docs/field-tools.md tells how to install and use it.

local tlk = Proto("tlk", "TlkC2 message")

local ROOT = "<TLK_Message"
local END = "</TLK_Message>%s*$"
local MARKER = 'Length="'
local PREFIX = 30  -- The bytes that hold the stamp, and the shortest message.
local DIGITS = 7

local fields = {
  length = ProtoField.uint32("tlk.length", "Length", base.DEC, nil, nil, "The stamp: bytes of the message"),
  type = ProtoField.string("tlk.type", "Type"),
  from = ProtoField.int32("tlk.from", "From", base.DEC, nil, nil, "Id of the sender"),
  to = ProtoField.int32("tlk.to", "To", base.DEC, nil, nil, "Id of the receiver; the server is 0"),
  data = ProtoField.string("tlk.data", "Data", base.NONE, "The body, its own tags included"),
  keep_alive = ProtoField.bool("tlk.keep_alive", "Keep-alive", base.NONE),
  keep_alive_answer = ProtoField.bool("tlk.keep_alive_answer", "Answer to a keep-alive", base.NONE),
  request_in = ProtoField.framenum("tlk.request_in", "Request in frame", base.NONE, frametype.REQUEST),
  response_in = ProtoField.framenum("tlk.response_in", "Response in frame", base.NONE, frametype.RESPONSE),
  response_time = ProtoField.relative_time("tlk.response_time", "Response time"),
  stray = ProtoField.bytes("tlk.stray", "Bytes of no message"),
}
tlk.fields = fields

local keep_alives = {
  ["Keep Connection Alive"] = fields.keep_alive,
  ["Keep Connection Alive Response"] = fields.keep_alive_answer,
}

local group, severity = expert.group, expert.severity
local experts = {
  stamp = ProtoExpert.new("tlk.stamp.bad", "The length stamp does not fit", group.MALFORMED, severity.ERROR),
  between = ProtoExpert.new("tlk.stray.between", "Bytes between messages", group.MALFORMED, severity.ERROR),
  first = ProtoExpert.new("tlk.stray.first", "Bytes before the first message that was captured",
    group.SEQUENCE, severity.NOTE),
  cut = ProtoExpert.new("tlk.cut", "The rest of the message was not captured",
    group.UNDECODED, severity.NOTE),
}
tlk.experts = experts

tlk.prefs.ports = Pref.range("TCP ports of servers", "",
  "None is needed where a capture has the beginning of a connection", 65535)
tlk.prefs.encoding = Pref.enum("Code page", ENC_WINDOWS_1252, "The clients' ANSI code page", {
  { 1, "Windows-1252 (Western)", ENC_WINDOWS_1252 },
  { 2, "Windows-1250 (Central European)", ENC_WINDOWS_1250 },
  { 3, "Windows-1251 (Cyrillic)", ENC_WINDOWS_1251 },
  { 4, "936 (Chinese)", ENC_GB18030 },
  { 5, "949 (Korean)", ENC_EUC_KR },
  { 6, "UTF-8", ENC_UTF_8 },
}, false)

local tcp_stream = Field.new("tcp.stream")
local type_of_packet = Field.new("tlk.type")

-- By number of the stream: `server`, its server's address; `started`, the addresses that have sent a message;
-- `asked`, the client's last message, while nothing came back. And what the first look at each place has found,
-- for later ones come in any order.
local streams, findings

function tlk.init()
  streams, findings = {}, {}
end

local ports = ""
function tlk.prefs_changed()
  local by_port = DissectorTable.get("tcp.port")
  if ports ~= "" then by_port:remove(ports, tlk) end
  ports = tlk.prefs.ports
  if ports ~= "" then by_port:add(ports, tlk) end
end

local function address(host, port) return tostring(host) .. " " .. port end

-- Finds out once what LOOK(STREAM, SENDER, RECEIVER) returns for this place.
local function finding(packet, range, look)
  local stream = tcp_stream().value
  local place = table.concat({ packet.number, stream, range:tvb():offset(), range:len() }, " ")
  if findings[place] == nil then
    streams[stream] = streams[stream] or { started = {} }
    findings[place] = look(streams[stream], address(packet.src, packet.src_port),
      address(packet.dst, packet.dst_port))
  end
  return findings[place]
end

-- The length of the message that begins there, and behind how many bytes its digits are; or nil, and what is
-- wrong with them.
local function stamp(bytes, from)
  local prefix = bytes:sub(from, from + PREFIX - 1)
  local _, before = prefix:find(MARKER, 1, true)
  if prefix:sub(1, #ROOT) ~= ROOT then return nil end
  if not before or before + DIGITS > PREFIX then return nil, "there is none in the first 30 bytes" end
  local digits = prefix:sub(before + 1, before + DIGITS)
  if not digits:match("^%d+$") then return nil, "it is not seven digits" end
  if tonumber(digits) < PREFIX then return nil, "it is below 30" end
  return tonumber(digits), before
end

-- Where from there on a message begins, or may begin with the next segment; else where the bytes end.
local function next_root(bytes, from)
  return bytes:find(ROOT .. " " .. MARKER, from, true)
    or bytes:find("<[^>]*$", math.max(from, #bytes - PREFIX))
    or #bytes + 1
end

-- Where in the tag that begins there the value of an attribute is, or nil; and where the tag ends.
local function attribute(text, tag, name)
  local at = text:match("^<[%w_]+()", tag)
  local first, last
  while true do
    local key, quote, value = text:match("^%s+([%w_:.-]+)%s*=%s*([\"'])()", at)
    local close = key and text:find(quote, value, true)
    if not close then return first, last, at end
    if key == name then first, last = value, close - 1 end
    at = close + 1
  end
end

-- Adds the id that an element in front of the body has, and returns it.
local function add_id(branch, range, text, element, from, body)
  local tag = text:match("()<" .. element .. "[%s/>]", from)
  if not tag or tag > body then return end
  local first, last = attribute(text, tag, "Id")
  local number = first and last - first < 11 and tonumber(text:sub(first, last):match("^-?%d+$"))
  if not number or math.abs(number) >= 2 ^ 31 then return end
  branch:add(fields[element:lower()], range:range(first - 1, last - first + 1), number)
  return number
end

-- The reply to a request is the next whole message from the server, whatever it is. A client that waits for it
-- sends nothing, so only its last message before can have been the request.
local function look_at_turn(packet, to)
  return function(stream, sender, receiver)
    stream.started[sender] = true
    if to and not stream.server then stream.server = to == 0 and receiver or sender end
    local turn = { frame = packet.number, time = packet.rel_ts }
    if sender ~= stream.server then
      stream.asked = stream.server and turn
    elseif stream.asked then
      turn.request, stream.asked.response, stream.asked = stream.asked, turn, nil
    end
    return turn
  end
end

local function add_turn(branch, turn)
  if turn.response then branch:add(fields.response_in, turn.response.frame):set_generated() end
  if not turn.request then return end
  branch:add(fields.request_in, turn.request.frame):set_generated()
  local seconds, fraction = math.modf(turn.time - turn.request.time)
  local time = NSTime.new(math.floor(seconds), math.floor(fraction * 1e9 + 0.5))
  branch:add(fields.response_time, time):set_generated()
end

-- Control characters that a terminal is not to get from a peer, as the code page writes them.
local function has_controls(bytes)
  local encoding = tlk.prefs.encoding
  return bytes:find("[\0-\8\11\12\14-\31\127]")
    or encoding == ENC_UTF_8 and bytes:find("\xC2[\x80-\x9F]")
    or encoding == ENC_GB18030 and bytes:find("\x81\x30[\x81-\x83]")
end

-- Adds a text, byte by byte if it has control characters.
local function add_text(branch, field, range)
  local text = range:raw()
  if has_controls(text) then
    branch:add(field, range, (text:gsub("[^ -~]", function(byte) return string.format("\\x%02X", byte:byte()) end)))
  else
    branch:add_packet_field(field, range, tlk.prefs.encoding)
  end
end

-- What was just added as the type, on one line. Wireshark decodes it whole for a field alone.
local function type_in_short(range)
  local text = range:raw()
  if text:find("[^ -~]") then
    local types = { type_of_packet() }
    text = types[#types].value
  end
  return (text:gsub("%s", " "))
end

-- Adds a message, or of one that was cut off what there is, and returns it in short.
local function add_message(range, packet, tree, length, digits)
  local branch, text = tree:add(tlk, range), range:raw()
  branch:add(fields.length, range:range(digits, DIGITS), length)

  local first, last, inside = attribute(text, 1, "Type")
  local kind = ""
  if first then
    local value = range:range(first - 1, last - first + 1)
    add_text(branch, fields.type, value)
    kind = type_in_short(value)
    local flag = keep_alives[text:sub(first, last)]
    if flag then branch:add(flag, value, true) end
  end

  local tail = math.max(inside, #text - PREFIX)
  local ending = text:match("()" .. END, tail)
  local behind = ending or #text + 1
  local body = text:match("()<Data[%s/>]", inside) or behind
  local from = add_id(branch, range, text, "From", inside, body)
  local to = add_id(branch, range, text, "To", inside, body)
  if body < behind then
    add_text(branch, fields.data, range:range(body - 1, behind - body))
  end

  add_turn(branch, finding(packet, range, look_at_turn(packet, to)))
  local short = string.format("%s (%s → %s, %d bytes)", kind, from or "?", to or "?", length)
  if #text < length then
    branch:add_proto_expert_info(experts.cut)
  elseif not ending then
    branch:add_proto_expert_info(experts.stamp, "The length stamp does not fit: no message ends there")
    short = short .. " bad stamp: no message ends there"
  end
  branch:append_text(": " .. short)
  return short
end

-- Adds what is no message, and returns it in short.
local function add_stray(range, packet, tree, problem)
  local branch = tree:add(tlk, range):append_text(": no message")
  branch:add(fields.stray, range)
  if problem then
    branch:add_proto_expert_info(experts.stamp, "The length stamp does not fit: " .. problem)
    return "bad stamp: " .. problem
  end
  local started = finding(packet, range, function(stream, sender) return stream.started[sender] or false end)
  branch:add_proto_expert_info(started and experts.between or experts.first)
  return string.format("%d bytes of no message", range:len())
end

local function dissect(tvb, packet, tree)
  local bytes, at, shorts = tvb:raw(), 1, {}
  while at <= #bytes do
    local left = #bytes - at + 1
    local length, digits = stamp(bytes, at)
    local missing = left < PREFIX and DESEGMENT_ONE_MORE_SEGMENT or (length or 0) - left
    if missing > 0 and packet.can_desegment > 0 then
      packet.desegment_offset, packet.desegment_len = at - 1, missing
      break
    end
    local size = length and math.min(length, left) or next_root(bytes, at + 1) - at
    local range = tvb(at - 1, size)
    shorts[#shorts + 1] = length and add_message(range, packet, tree, length, digits)
      or add_stray(range, packet, tree, digits)
    at = at + size
  end
  packet.cols.protocol = "TLK"
  if #shorts == 0 then return end
  -- What was put together in this frame, and what follows it there, come one by one.
  packet.cols.info = (packet.private.tlk or "") .. table.concat(shorts, ", ")
  packet.cols.info:fence()
  packet.private.tlk = ", "
end

tlk.dissector = dissect

-- For streams that begin with a message. Others are decoded by their ports, or by the user ("Decode As").
tlk:register_heuristic("tcp", function(tvb, packet, tree)
  local start = ROOT .. " " .. MARKER
  if tvb:len() < #start or tvb:raw(0, #start) ~= start then return false end
  packet.conversation = tlk
  dissect(tvb, packet, tree)  -- Called as tlk.dissector it could not ask for more segments.
  return true
end)
DissectorTable.get("tcp.port"):add_for_decode_as(tlk)
