#!/usr/bin/env bash
# The scripted demo runs to its end and its timeline shows each key moment
# in the step of the script that causes it:
#   demo_timeline_test.sh ORVANE_CLI DEMO_SCRIPT
# Within one step, lines from the wire, the engine and the library may come
# in either order; the steps themselves follow one another.
set -euo pipefail
cli=$1
script=$2
out=$("$cli" --script "$script")

# Each step: the line that starts it, then what must happen before the next.
steps=(
  "sim      the servers attach|notify   REGINFO|wire>    REGISTER|state    AVSTATE_IDLE|notify   confsdknotify_callsignal_ok"
  "app      startconf {\"conferenceDialNumber\":\"8001\"}|wire>    INVITE to 8001|wire<    ACCEPTED meeting 99001|engine   join 99001|state    AVSTATE_IN_MEETING|wire>    ACK externalGuid=|media    onCallConnected"
  "sim      Bob joins|notify   0/confmanager_event confmgr_endpoint_change confmgr_participant_join Bob"
  "sim      Carol joins|notify   0/confmanager_event confmgr_endpoint_change confmgr_participant_join Carol"
  "app      confControlmuteaudiolocal|engine   muteLocalAudio|notify   confsdknotify_endpoint_change dev-1001 adminMute=true"
  "app      confControllockmeeting|engine   lockMeeting on|notify   confsdknotify_endpoint_change {\"action\":\"meetingLocked\",\"isLock\":true}|wire>    PUT /api/quelmar/confmgr/2.0/conference/conf-8001/syncdata"
  "sim      the server moves the call to meeting 99011|wire<    UPDATE meeting 99011|engine   join 99011|wire>    UPDATE externalGuid="
  # The live meeting. A participant's own mute reaches the application.
  "sim      Carol mutes their microphone|notify   confsdknotify_endpoint_change dev-Carol adminMute=true"
  # The portal follows the meeting: the client answers with the whole panel.
  "sim      the portal starts following the meeting|wire<    ctrl_cmd_start_sync_control_panel {\"syncing\":true} (cmd-1)|wire>    MQ_CONFMGR answer to cmd-1: OK, control panel conf-8001: "
  # The portal's mute: a host request that the application carries out on
  # the engine, and the change goes back to the conference manager.
  "sim      the portal mutes Bob|wire<    ctrl_cmd_mute {\"deviceId\":\"dev-Bob\",\"mute\":true} (cmd-2)|notify   confsdknotify_host_request {\"action\":\"muteAttendeeAudio\",\"deviceId\":\"dev-Bob\",\"mute\":true}|wire>    MQ_CONFMGR answer to cmd-2: OK|app      confControlmuteaudio {\"guid\":\"dev-Bob\",\"mute\":true}|engine   muteAudio|notify   confsdknotify_endpoint_change dev-Bob adminMute=true|wire>    PUT /api/quelmar/confmgr/2.0/conference/control/synccontrolpanel  confControlSyncControlpanel conf-8001: dev-Bob adminMute=true;"
  "sim      the portal locks the meeting|wire<    ctrl_cmd_lock_meeting {\"lock\":true} (cmd-3)|notify   confsdknotify_host_request {\"action\":\"lockMeeting\",\"lock\":true}|wire>    MQ_CONFMGR answer to cmd-3: OK|app      confControllockmeeting {\"lock\":true}|engine   lockMeeting on|notify   confsdknotify_endpoint_change {\"action\":\"meetingLocked\",\"isLock\":true}|wire>    PUT /api/quelmar/confmgr/2.0/conference/conf-8001/syncdata  confSyncdata {\"locked\":true}"
  "app      confControlmakehost {\"externalDeviceId\":\"dev-Bob\"}|engine   setHost|notify   confsdknotify_endpoint_change dev-Bob isHost=true, dev-1001 isHost=false|wire>    PUT /api/quelmar/confmgr/2.0/conference/control/synccontrolpanel  confControlSyncControlpanel conf-8001: dev-Bob isHost=true, dev-1001 isHost=false; locked=true"
  "app      confControlendpoints {\"confid\":\"conf-8001\"}|reply    confControlendpoints|  name       device     user id   audio  video  role|  Bob        dev-Bob    16779001  muted  on     host|  Carol      dev-Carol  16779002  muted  on     -|  Room 1001  dev-1001   16778241  on     on     -"
  # The host leaves: the role comes back to this device, which tells the
  # conference manager.
  "sim      Bob leaves|notify   0/confmanager_event confmgr_endpoint_change confmgr_participant_leave Bob|wire>    device event LEAVE sdkUserId=16779001|notify   confsdknotify_endpoint_change dev-1001 isHost=true|wire>    PUT /api/quelmar/confmgr/2.0/conference/control/synccontrolpanel  confControlSyncControlpanel conf-8001: dev-1001 isHost=true;"
  # Room systems over H.323: both ordered at once, called one at a time,
  # each answered under its command id; a hang-up goes to the engine.
  "sim      the server orders a call-out to Atrium at 10.0.0.21|wire<    ctrl_cmd_call_out_h323 Atrium at 10.0.0.21 (h323-cmd-1)|wire<    ctrl_cmd_call_out_h323 Boardroom at 10.0.0.22 (h323-cmd-2)|engine   callH323device Atrium at 10.0.0.21|engine   changeUserName 16779003 to Atrium|wire>    call-out answer to h323-cmd-1: OK 16779003|engine   callH323device Boardroom at 10.0.0.22|wire>    call-out answer to h323-cmd-2: FAILED \"H323Callout_Failed\""
  "sim      the server orders Atrium hung up|wire<    ctrl_cmd_hang_up_h323 {\"sdkUserId\":\"16779003\"} (h323-cmd-3)|engine   hangupH323device 16779003|wire>    device event LEAVE sdkUserId=16779003"
  "app      leaveconf|state    AVSTATE_IDLE|wire>    BYE|engine   leave|media    onCallEnd"
  "sim      the server calls from 8003|wire<    INVITE meeting 99003|state    AVSTATE_PASSIVE_WAITING_UI_CONFIRM|notify   0/confmanager_event confsdknotify_recv_invite \"Board\" 8003"
  "app      startconf {|engine   join 99003|wire>    ACCEPTED externalGuid=|wire<    ACK|state    AVSTATE_IN_MEETING"
  "sim      the server ends the call|wire<    BYE|state    AVSTATE_IDLE|engine   endMeeting|notify   confsdknotify_event_reason|media    onCallEnd"
  "  conference running: no|  portal:             syncing no, locked no, recording no; 3 control-panel reports, 3 answers to its commands"
)

fail() {
  echo "$1"
  echo "---- timeline ----"
  echo "$out"
  exit 1
}

rest=$out
for ((i = 0; i < ${#steps[@]}; i++)); do
  IFS='|' read -r -a moments <<<"${steps[$i]}"
  start=${moments[0]}
  # The text of this step: from its start line up to the next step's start.
  rest=$(awk -v w="$start" 'found { print } !found && index($0, w) { found = 1; print }' <<<"$rest")
  [ -n "$rest" ] || fail "step not found, or out of order: $start"
  next=""
  [ $((i + 1)) -lt ${#steps[@]} ] && { IFS='|' read -r -a following <<<"${steps[$((i + 1))]}"; next=${following[0]}; }
  step=$rest
  [ -n "$next" ] && step=$(awk -v w="$next" 'index($0, w) { exit } { print }' <<<"$rest")
  for want in "${moments[@]:1}"; do
    grep -qF -- "$want" <<<"$step" || fail "missing in the step \"$start\": $want"
  done
done
echo "demo timeline: $(wc -l <<<"$out") lines, ${#steps[@]} steps as expected"
