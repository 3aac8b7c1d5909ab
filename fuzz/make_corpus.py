#!/usr/bin/env python3
"""Writes the fuzz targets' seed corpora (fuzz/corpus/<target>/) and the
dictionary (fuzz/orvane.dict).

Seeds come from the scenarios in tests/data/scenarios: what each scenario puts
in on one side becomes an input of that side's target, starting from the
state the scenario's included pieces lead to. A few inputs of our own cover
the frames and every starting state. The dictionary holds the library's
words: the vocabulary, the engine events, the call signals, and the quoted
words of the sources.

Run it from anywhere after the scenarios or the vocabulary change:
    python3 fuzz/make_corpus.py
"""
import hashlib
import json
import os
import re
import shutil

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
SCENARIOS = os.path.join(ROOT, "tests", "data", "scenarios")
OUT = os.path.join(ROOT, "fuzz", "corpus")

# The starting states of fuzz/world.h, by number.
UNREGISTERED, WAIT_REGISTER, REGISTERED, INVITING, JOINING_OUT, WAIT_CONFINFO, RINGING, JOINING_IN, \
    WAIT_ACK, IN_MEETING, HOSTING, IN_LOBBY = range(12)
QV, OWN_WINDOW, GUEST, ENGINE_HOST, TIME_PASSES, JOIN_REFUSED, ANSWER_RINGING, SYNCING = (1 << i for i in range(8))

# Where each piece of the scenarios leaves the call.
PIECES = {
    "_registered.scn": REGISTERED,
    "_inviting.scn": INVITING,
    "_call_joining.scn": JOINING_OUT,
    "_call_ext_qv.scn": IN_MEETING,
    "_in_meeting.scn": IN_MEETING,
    "_hosting.scn": HOSTING,
    "_ringing.scn": RINGING,
    "_ringing_again.scn": RINGING,
    "_incoming_joining.scn": JOINING_IN,
    "_waiting_for_ack.scn": WAIT_ACK,
}

EVENT_KINDS = ["confmanager_event", "callmaster_event", "devicemgr_event", "trans_server_autonomy",
               "callmaster_ctrl_cmd"]
RS, TIME = b"\x1e", b"\x1f"


def read(path):
    with open(path, encoding="utf-8") as f:
        return f.read()


def vocabulary():
    text = read(os.path.join(ROOT, "src", "vocabulary.cpp"))
    return re.findall(r'X\((CONF|CONFNOTIFY), (\w+), "([^"]*)"\)', text)


def engine_events():
    text = read(os.path.join(ROOT, "src", "NotificationFilter", "av_msg_filter.cpp"))
    return re.findall(r'\n *\{"(\w+)", \{', text)


COMMANDS = [value for space, _, value in vocabulary() if space == "CONF"]
EVENTS = engine_events()


def next_token(rest):
    """The first JSON value or bare word of `rest`, and what follows it."""
    rest = rest.lstrip(" ")
    if not rest:
        return "", ""
    if rest[0] in "{[\"":
        depth, in_string, i = 0, False, 0
        while i < len(rest):
            c = rest[i]
            if in_string:
                if c == "\\":
                    i += 1
                elif c == '"':
                    in_string = False
            elif c == '"':
                in_string = True
            elif c in "{[":
                depth += 1
            elif c in "}]":
                depth -= 1
            i += 1
            if not in_string and depth == 0:
                break
        return rest[:i], rest[i:]
    end = rest.find(" ")
    if end < 0:
        return rest, ""
    return rest[:end], rest[end:]


def merge_patch(target, patch):
    if not isinstance(patch, dict):
        return patch
    if not isinstance(target, dict):
        target = {}
    for k, v in patch.items():
        if v is None:
            target.pop(k, None)
        else:
            target[k] = merge_patch(target.get(k), v)
    return target


def compact(value):
    return json.dumps(value, separators=(",", ":"), ensure_ascii=False)


def server_event(kind, element_text):
    return ('{"msg":"changed","collection":"stream-quelmar-notify-device","fields":{"eventName":"0/' + kind +
            '","args":[' + element_text + ']}}')


def signal_text(command, cseq, body, patch):
    s = {"startLine": {"command": command},
         "signalHeader": {"from": {"dialNumber": "2002"}, "to": {"dialNumber": "1001"},
                          "cseq": "123456789 " + cseq, "callId": "$CALLID", "contact": {"route": "cm-1"}},
         "signalBody": json.loads(body) if body else {}}
    if patch:
        s = merge_patch(s, json.loads(patch))
    return compact(s)


class Scenario:
    """The inputs of one scenario file, per side, after its last piece."""

    def __init__(self, path):
        self.start = UNREGISTERED
        self.flags = 0
        self.records = {"transport": [], "engine": [], "commands": [], "confinfo": []}
        self.read(path, top=True)

    def read(self, path, top):
        for line in read(path).splitlines():
            line = line.strip()
            if not line or line[0] in "#>=?!":
                continue
            verb, rest = next_token(line)
            if verb == "include":
                name = rest.strip()
                self.read(os.path.join(os.path.dirname(path), name), top=False)
                if top and name in PIECES:
                    self.start = PIECES[name]
                    for r in self.records.values():
                        r.clear()
                continue
            self.line(verb, rest)

    def line(self, verb, rest):
        r = self.records
        if verb == "platform" and rest.strip() == "QV":
            self.flags |= QV
        elif verb == "uitype" and rest.strip() == "CUSTOMIZE":
            self.flags |= OWN_WINDOW
        elif verb == "guest" and rest.strip() == "true":
            self.flags |= GUEST
        elif verb == "answer" and rest.split()[:2] == ["isHostUser", "true"]:
            self.flags |= ENGINE_HOST
        elif verb == "app":
            cmd, data = next_token(rest)
            data = data.strip()
            if cmd in COMMANDS:
                r["commands"].append(bytes([COMMANDS.index(cmd)]) + data.encode())
            if cmd == "startconf":
                r["confinfo"].append(data.encode())
        elif verb == "event":
            kind, element = next_token(rest)
            kind = kind.split("/")[-1]
            element = element.strip()
            if kind in EVENT_KINDS:
                r["transport"].append(bytes([EVENT_KINDS.index(kind) + 1]) + element.encode())
            else:
                r["transport"].append(server_event(kind, element).encode())
        elif verb == "signal":
            command, rest = next_token(rest)
            cseq, rest = next_token(rest)
            body, rest = next_token(rest)
            patch, _ = next_token(rest)
            if patch:
                r["transport"].append(server_event("callmaster_event", signal_text(command, cseq, body, patch)).encode())
            else:
                r["transport"].append(b"\x06" + f"{command} {cseq} {body or '{}'}".encode())
        elif verb == "result":
            rid, data = next_token(rest)
            r["transport"].append(b"\x07" + f"{rid} {data.strip() or 'null'}".encode())
        elif verb == "server":
            r["transport"].append(rest.strip().encode())
        elif verb == "engine":
            cmd, data = next_token(rest)
            if cmd in EVENTS:
                r["engine"].append(bytes([EVENTS.index(cmd)]) + data.strip().encode())
        elif verb == "wait":
            seconds = min(255, max(1, int(float(rest.strip()) + 0.5)))
            for records in r.values():
                records.append(TIME + bytes([seconds]))


def write(target, data, corpus):
    name = hashlib.sha1(data).hexdigest()[:16]
    corpus.setdefault(target, {})[name] = data


def own_seeds(corpus):
    meeting_signals = [
        b'\x06BYE BYE {"conferenceId":"$CONFID","signalMessage":{"messageCode":"CONF_END_BY_HOST"}}',
        b'\x06UPDATE UPDATE {"conferenceId":"$CONFID","externalDialNumber":"99011"}',
        b'\x06UPDATE UPDATE {"conferenceId":"$CONFID","externalDialNumber":"LOBBY-1"}',
        b'\x06ERROR INVITE {"conferenceId":"$CONFID","signalMessage":{"messageCode":"X"}}',
        b'\x06OK REGISTER {}',
        b'\x06CANCEL CANCEL {}',
        b'\x06ACK ACK {}',
        b'\x06ACCEPTED INVITE {"conferenceId":"$CONFID","externalDialNumber":"99001"}',
        b'\x06INVITE INVITE {"conferenceId":"conf-9","externalDialNumber":"99009"}',
        b'\x01{"event":"ctrl_cmd_start_sync_control_panel","cmdId":"c1","syncing":true}',
        b'\x01{"event":"ctrl_cmd_block_video","cmdId":"c2","blockVideo":true,"deviceIds":["dev-b","$DEVID"]}',
        b'\x01{"event":"confmgr_endpoint_change","operation":"confmgr_participant_join","endpoint":'
        b'{"deviceId":"$DEVID","externalGuid":"$USERID","externalDeviceId":"$DEVID","name":"Room A"}}',
        b'\x01{"event":"confmgr_endpoint_change","operation":"confmgr_participant_leave","endpoint":'
        b'{"externalGuid":"16778301"}}',
        b'\x05{"event":"ctrl_cmd_hang_up_h323","cmdId":"c3","sdkUserId":"16778301"}',
        b'\x04{"event":"trans_autonomic_action","action":"BE_LOGOUT"}',
        b'\x03{"event":"devicemgr_device_change_device_name","deviceId":"$DEVID","deviceName":"Room B"}',
        b'\x07confControlendpoints {"type":"SUCCESS","data":{"syncing":true,"endpoints":'
        b'[{"externalGuid":"16778301","externalDeviceId":"ext-b"}]}}',
        b'\x07confUpdatedevicename {"result":{"data":{"deviceName":"Room C"}}}',
        b'{"msg":"internal_info","userid":"u-1","fileserver":"ws://f"}',
        TIME + b"\x10",
    ]
    for start in range(12):
        for flags in (0, QV, OWN_WINDOW | ENGINE_HOST, TIME_PASSES | SYNCING | ANSWER_RINGING):
            head = bytes([start, flags])
            write("transport", head + RS.join(meeting_signals[start % 4::4]), corpus)
            write("engine", head + bytes([EVENTS.index("onCallConnected")]) +
                  b'{"userid":"16778240","is_host":true}' + RS + bytes([EVENTS.index("onCallEnd")]) +
                  b'{"result":0}', corpus)
            write("commands", head + bytes([COMMANDS.index("leaveconf")]) + RS +
                  bytes([COMMANDS.index("confSyncdata")]) + b'{"synctype":"conference"}', corpus)
            write("confinfo", head + b'{"conferenceDialNumber":"8001","conferenceId":"conf-1","passcode":"1",'
                  b'"dispname":"D","zak":"z","force":true,"muteAll":true,"extension":"ext"}', corpus)
    for i, signal in enumerate(meeting_signals):
        write("transport", bytes([IN_MEETING, i & 1]) + signal, corpus)
    status = {
        "onCallStatusChanged": b'{"status":"MEETING_STATUS_IN_WAITING_ROOM"}',
        "onCallFailed": b'{"reason":"MEETING_FAIL_PASSWORD_ERR","result":3}',
        "onUserJoin": b'{"userid":"16778301","username":"Bob","participantID":"x","isH323User":true}',
        "onUserLeft": b'{"userid":"16778301"}',
        "onUserAudioStatusChange": b'{"change_list":[{"userid":"$USERID","audio_status":"Audio_Muted"}]}',
        "onUserVideoStatusChange": b'{"userid":"16778301","muted":true}',
        "onHostChangeNotification": b'{"new_host_userid":"$USERID"}',
        "onCoHostChangeNotification": b'{"userid":"16778301","is_cohost":true}',
        "onActiveSpeakerVideoUserChanged": b'{"userid":"16778301"}',
        "onSharingStatus": b'{"userid":"16778301","status":"on"}',
        "onMeetingLocked": b'{"lock":true}',
        "onCloudRecordingStatus": b'{"is_cloud_record":true}',
        "onEndReason": b'{"reason":"EndMeetingReason_KickByHost"}',
        "onLogin": b'{"result":1}',
        "onSdkReady": b'{"result":0}',
        "onEndMeetingBtnClicked": b'{"userrole":"host"}',
        "onInviteBtnClicked": b'{"onInviteBtnClicked":false}',
        "onComputerCamDeviceChanged": b'{"camera":true}',
    }
    for i, (event, data) in enumerate(status.items()):
        for start in (IN_MEETING, HOSTING, JOINING_OUT):
            write("engine", bytes([start, (i % 4) * 2]) + bytes([EVENTS.index(event)]) + data, corpus)
    for cmd in COMMANDS:
        write("commands", bytes([HOSTING, 0]) + bytes([COMMANDS.index(cmd)]) + b'{"confid":"$CONFID","mute":true,'
              b'"guid":"dev-b","externalDeviceId":"dev-b","bCohost":true,"lock":true,"allowUnmute":false}', corpus)
    write("confinfo", bytes([WAIT_CONFINFO, 0]) + b'{"conferenceId":"conf-2","conferenceDialNumber":"2002",'
          b'"externalDialNumber":"LOBBY-2","subject":"S"}', corpus)
    write("confinfo", bytes([RINGING, QV]) + b'{"conferenceId":"conf-2","externalDialNumber":"LOBBY-9"}', corpus)


def scenario_seeds(corpus):
    for name in sorted(os.listdir(SCENARIOS)):
        if not name.endswith(".scn") or name.startswith("_"):
            continue
        s = Scenario(os.path.join(SCENARIOS, name))
        for target, records in s.records.items():
            if not records:
                continue
            if target == "confinfo":
                for data in records:
                    write(target, bytes([s.start, s.flags]) + data, corpus)
            else:
                write(target, bytes([s.start, s.flags]) + RS.join(records[:16]), corpus)


def dict_entry(word):
    out = []
    for b in word.encode():
        c = chr(b)
        if c in '\\"':
            out.append("\\" + c)
        elif 0x20 <= b < 0x7f:
            out.append(c)
        else:
            out.append("\\x%02x" % b)
    return '"' + "".join(out) + '"'


def dictionary():
    words = set()
    for _, _, value in vocabulary():
        words.add(value)
    words.update(EVENTS)
    words.update(["REGISTER", "UNREGISTER", "INVITE", "ACCEPTED", "ACK", "BYE", "OK", "ERROR", "CANCEL", "UPDATE",
                  "RINGING", "CONNECTING", "123456789 "])
    words.update(["$CALLID", "$CONFID", "$DEVID", "$USERID", "$DIAL", "\x1e", "\x1f", "LOBBY", "ext_qv"])
    words.update(['{"', '":"', '":', '","', '},"', "null", "true", "false", "[]", "{}", "[{", "}]"])
    # The quoted words of the library's sources: keys, events, reasons.
    for folder, _, files in os.walk(os.path.join(ROOT, "src")):
        for f in files:
            if f.endswith((".cpp", ".h", ".def")):
                words.update(re.findall(r'"([A-Za-z_][A-Za-z0-9_]{2,60})"', read(os.path.join(folder, f))))
    lines = ["# The library's words, for the fuzz targets. Written by fuzz/make_corpus.py."]
    for i, word in enumerate(sorted(words)):
        lines.append(f"w{i}={dict_entry(word)}")
    return "\n".join(lines) + "\n"


def main():
    corpus = {}
    scenario_seeds(corpus)
    own_seeds(corpus)
    for target, files in corpus.items():
        folder = os.path.join(OUT, target)
        shutil.rmtree(folder, ignore_errors=True)
        os.makedirs(folder)
        for name, data in files.items():
            with open(os.path.join(folder, name), "wb") as f:
                f.write(data)
        print(f"{target}: {len(files)} seeds")
    with open(os.path.join(ROOT, "fuzz", "orvane.dict"), "w", encoding="utf-8") as f:
        f.write(dictionary())


if __name__ == "__main__":
    main()
