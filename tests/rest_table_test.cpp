// The REST builders: the wire text of every command, the queries built from
// optional keys, refusals and their log lines, and wrong JSON types.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <atomic>
#include <thread>

#include "ServerInteraction/orvanecmdtojson.h"
#include "log_capture.h"
#include "orvane/vocabulary.h"

using namespace CtrlSDKUtils::OrvaneCmdToJson;
using orvtest::LogCapture;
namespace CONF = ORVANE::CONF;

namespace {

using Builder = std::string (*)(const std::string&);

struct Case {
    const char* name;
    Builder build;
    const char* data;
    const char* wire;
};

// The builders that take the command type as their id, with the usual type.
std::string search(const std::string& d) { return conf_search(CONF::SEARCH, d); }
std::string roomSearch(const std::string& d) { return room_search(CONF::ROOMSEARCH, d); }
std::string syncPanel(const std::string& d) { return confControl_sync_controlpanel(CONF::SYNCCONTROLPANEL, d); }
std::string devSearch(const std::string& d) { return device_search(CONF::DeviceSearch, d); }
std::string devDetails(const std::string& d) { return device_details(CONF::DeviceDetails, d); }
std::string devMetadata(const std::string& d) { return device_metadata(CONF::DeviceMetadata, d); }
std::string devList(const std::string& d) { return device_list(CONF::DeviceList, d); }

// One field of the request inside a wire text.
std::string param(const std::string& wire, const char* key) {
    return nlohmann::json::parse(wire).at("params").at(0).at(key).get<std::string>();
}
std::string url(const std::string& wire) { return param(wire, "url"); }
std::string payload(const std::string& wire) { return param(wire, "payload"); }

void runTable(const std::vector<Case>& cases) {
    for (const auto& c : cases) EXPECT_EQ(c.build(c.data), c.wire) << c.name << " with " << c.data;
}

// A soft client logged in as user-7 on device dev-9.
struct RestTable : ::testing::Test {
    RestTable() { setCmdIdentity(false, "dev-9", "Desk", "user-7", ""); }
    LogCapture logs;
};

}  // namespace

TEST_F(RestTable, EveryCommand) {
    runTable({
        {"PING", conf_ping, R"({"conferenceid":"c1","externaldeviceid":"e1"})", R"({"id":"confping","method":"quelmar","msg":"method","params":[{"payload":"","type":"get","url":"/api/quelmar/confmgr/1.0/conference/c1/endpoint/e1/ping"}]})"},
        {"INFO", conf_info, R"({"confid":"c1"})", R"({"id":"confinfo","method":"quelmar","msg":"method","params":[{"payload":"null","type":"get","url":"/api/quelmar/confmgr/1.0/conference/c1"}]})"},
        {"SHORTINFO", conf_short_info, R"({"confid":"c1"})", R"({"id":"shortconfinfo","method":"quelmar","msg":"method","params":[{"payload":"null","type":"get","url":"/api/quelmar/confmgr/2.0/conference/c1/short"}]})"},
        {"SEARCH", search, "{}", R"({"id":"confsearch","method":"quelmar","msg":"method","params":[{"payload":"{}","type":"get","url":"/api/quelmar/confmgr/2.0/conference/search?&participantid=user-7"}]})"},
        {"CREATE", conf_create, R"({"payload":"{\"subject\":\"Q3\"}"})", R"({"id":"confcreate","method":"quelmar","msg":"method","params":[{"payload":"{\"subject\":\"Q3\"}","type":"post","url":"/api/quelmar/confmgr/2.0/conference"}]})"},
        {"UPDATE", conf_update, R"({"confid":"c1","payload":"{}"})", R"({"id":"confupdate","method":"quelmar","msg":"method","params":[{"payload":"{}","type":"put","url":"/api/quelmar/confmgr/1.0/conference/c1"}]})"},
        {"CONFDELETE", conf_delete, R"({"confid":"c1"})", R"({"id":"confdelete","method":"quelmar","msg":"method","params":[{"payload":"null","type":"delete","url":"/api/quelmar/confmgr/1.0/conference/c1"}]})"},
        {"CONFEXTEND", conf_extend, R"({"confid":"c1","minutes":30,"refMentionId":"m5","deletedConferences":["a","b"]})", R"({"id":"confextend","method":"quelmar","msg":"method","params":[{"payload":"{\"deletedConferences\":[\"a\",\"b\"]}","type":"put","url":"/api/quelmar/confmgr/2.0/conference/c1/control/extend?minutes=30&refMentionId=m5"}]})"},
        {"CONFINFO_BY_DIALNUM", conf_info_by_dialnum, R"({"dialnum":"8001"})", R"({"id":"confinfo_by_dialnum","method":"quelmar","msg":"method","params":[{"payload":"null","type":"get","url":"/api/quelmar/confmgr/2.0/conference/dialnumber/8001"}]})"},
        {"ROOMSEARCH", roomSearch, "not read", R"({"id":"confRoomsearch","method":"quelmar","msg":"method","params":[{"payload":"{}","type":"get","url":"/api/quelmar/confmgr/2.0/meetingroom/search?userid=user-7"}]})"},
        {"ROOMAVAILABLE", room_available, "{}", R"({"id":"confRoomavailable","method":"quelmar","msg":"method","params":[{"payload":"null","type":"get","url":"/api/quelmar/confmgr/2.0/meetingroom/available"}]})"},
        {"ROOMSHAREDLINK", room_shared_link, R"({"lang":"en","roomid":"r1"})", R"({"id":"confRoomsharedlink","method":"quelmar","msg":"method","params":[{"payload":"null","type":"get","url":"/api/quelmar/confmgr/2.0/meetingroom/sharedlink?l=en&roomid=r1"}]})"},
        {"ROOMINFO", room_info, R"({"roomid":"r1"})", R"({"id":"confRoominfo","method":"quelmar","msg":"method","params":[{"payload":"null","type":"get","url":"/api/quelmar/confmgr/1.0/meetingroom/r1"}]})"},
        {"ROOMCREATE", room_create, R"({"payload":"{\"name\":\"Blue\"}"})", R"({"id":"confRoomcreate","method":"quelmar","msg":"method","params":[{"payload":"{\"name\":\"Blue\"}","type":"put","url":"/api/quelmar/confmgr/1.0/meetingroom/"}]})"},
        {"ROOMUPDATE", room_update, R"({"roomid":"r1","payload":"{}"})", R"({"id":"confRoomupdate","method":"quelmar","msg":"method","params":[{"payload":"{}","type":"put","url":"/api/quelmar/confmgr/1.0/meetingroom/r1"}]})"},
        {"ROOMDELETE", room_delete, R"({"roomid":"r1"})", R"({"id":"confRoomdelete","method":"quelmar","msg":"method","params":[{"payload":"null","type":"delete","url":"/api/quelmar/confmgr/1.0/meetingroom/r1"}]})"},
        {"ROOMOWNER", room_owner, R"({"userid":"u1"})", R"({"id":"confRoomowner","method":"quelmar","msg":"method","params":[{"payload":"null","type":"get","url":"/api/quelmar/confmgr/1.0/meetingroom/?ownerid=u1"}]})"},
        {"LOCALROOMDETAIL", local_room_detail, R"({"localRoomId":"L1"})", R"({"id":"confLocalRoomdetail","method":"quelmar","msg":"method","params":[{"payload":"null","type":"get","url":"/api/quelmar/devicemgr/1.0/localroom/L1"}]})"},
        {"LOCALROOMSEARCH", local_room_search, "{}", R"({"id":"confLocalRoomsearch","method":"quelmar","msg":"method","params":[{"payload":"null","type":"get","url":"/api/quelmar/devicemgr/1.0/localroom/search"}]})"},
        {"TEMPLATEDETAIL", template_detail, R"({"confid":"t1"})", R"({"id":"confTemplatedetail","method":"quelmar","msg":"method","params":[{"payload":"null","type":"get","url":"/api/quelmar/confmgr/2.0/conference/template/t1"}]})"},
        {"TEMPLATEUPDATE", template_update, R"({"templateid":"t1","payload":"{}"})", R"({"id":"confTemplateupdate","method":"quelmar","msg":"method","params":[{"payload":"{}","type":"put","url":"/api/quelmar/confmgr/2.0/conference/template/t1"}]})"},
        {"TEMPLATECREATE", template_create, R"({"payload":"{}"})", R"({"id":"confTemplatecreate","method":"quelmar","msg":"method","params":[{"payload":"{}","type":"post","url":"/api/quelmar/confmgr/2.0/conference/template"}]})"},
        {"TEMPLATEDELETE", template_delete, R"({"templateid":"t1"})", R"({"id":"confTemplatedelete","method":"quelmar","msg":"method","params":[{"payload":"null","type":"delete","url":"/api/quelmar/confmgr/2.0/conference/template/t1"}]})"},
        {"TEMPLATESEARCH", template_search, R"({"userid":"u1"})", R"({"id":"confTemplatesearch","method":"quelmar","msg":"method","params":[{"payload":"null","type":"get","url":"/api/quelmar/confmgr/2.0/conference/template/search?userid=u1"}]})"},
        {"JOIN", confControl_join, R"({"dialnumber":"8001","passcode":"1234"})", R"({"id":"confControljoin","method":"quelmar","msg":"method","params":[{"payload":"null","type":"get","url":"/api/quelmar/confmgr/1.0/conference/invitation?dialnumber=8001&passcode=1234"}]})"},
        {"TERMINATE", confControl_terminate, R"({"confid":"c1"})", R"({"id":"confControlterminate","method":"quelmar","msg":"method","params":[{"payload":"null","type":"put","url":"/api/quelmar/confmgr/2.0/conference/c1/control/terminate"}]})"},
        {"ADDPARTICIPANT", confControl_add_participant, R"({"confid":"c1","participants":[{"id":"p1"}],"enableNotification":false})", R"({"id":"confControlAddParticipant","method":"quelmar","msg":"method","params":[{"payload":"{\"enableNotification\":false,\"participants\":[{\"id\":\"p1\"}]}","type":"post","url":"/api/quelmar/confmgr/2.0/conference/c1/participant"}]})"},
        {"DISCONNECTPARTICIPANT", confControl_disconnect_participant, R"({"confid":"c1","externalDeviceId":"e1"})", R"({"id":"confControldisconnectparticipant","method":"quelmar","msg":"method","params":[{"payload":"null","type":"put","url":"/api/quelmar/confmgr/2.0/conference/c1/endpoint/e1/control/disconnect"}]})"},
        {"MUTEAUDIO", confControl_mute_audio, R"({"confid":"c1","guid":"g1","mute":false})", R"({"id":"confControlmuteaudio","method":"quelmar","msg":"method","params":[{"payload":"null","type":"put","url":"/api/quelmar/confmgr/2.0/conference/c1/endpoint/g1/control/mute?mute=0"}]})"},
        {"MUTEAUDIOLOCAL", confControl_mute_audio_local, R"({"confid":"c1","externaldeviceid":"e1","mute":true})", R"({"id":"confControlmuteaudiolocal","method":"quelmar","msg":"method","params":[{"payload":"null","type":"put","url":"/api/quelmar/confmgr/2.0/conference/c1/endpoint/e1/status/mute/?mute=1"}]})"},
        {"ADMINALLOWUNMUTE", confControl_admin_allow_unmute, R"({"confid":"c1","allow":true})", R"({"id":"confControladminallowunmute","method":"quelmar","msg":"method","params":[{"payload":"null","type":"put","url":"/api/quelmar/confmgr/1.0/conference/c1/control/allowunmute?allow=1"}]})"},
        {"MUTEALL", confControl_mute_all, R"({"confid":"4711","mute":true})", R"({"id":"confControlmuteAll","method":"quelmar","msg":"method","params":[{"payload":"null","type":"put","url":"/api/quelmar/confmgr/2.0/conference/4711/control/muteall?mute=1"}]})"},
        {"AUTHORITY", confControl_authority, R"({"confid":"c1","participantid":"p1","authority":false})", R"({"id":"confControlauthority","method":"quelmar","msg":"method","params":[{"payload":"null","type":"put","url":"/api/quelmar/confmgr/1.0/conference/c1/participant/p1/control/authority?authority=0"}]})"},
        {"RECLAIMHOST", confControl_reclaim_host, R"({"confid":"c1","externalDeviceId":"e1"})", R"({"id":"confControlreclaimhost","method":"quelmar","msg":"method","params":[{"payload":"null","type":"put","url":"/api/quelmar/confmgr/2.0/conference/c1/endpoint/e1/control/authority?authority=true&host=true"}]})"},
        {"HANDUP", confControl_handup, R"({"confid":"c1","guid":"g1","ishandup":true})", R"({"id":"confControlhandup","method":"quelmar","msg":"method","params":[{"payload":"null","type":"put","url":"/api/quelmar/confmgr/2.0/conference/c1/endpoint/g1/handup?handup=1"}]})"},
        {"SIGNCONTROL", confControl_sign_control, R"({"confid":"c1","signConfig":{"duration":60}})", R"({"id":"confControlsigncontrol","method":"quelmar","msg":"method","params":[{"payload":"{\"signConfig\":{\"duration\":60}}","type":"put","url":"/api/quelmar/confmgr/2.0/conference/c1/control/sign"}]})"},
        {"SIGNING", confControl_signing, R"({"confid":"c1","starttime":1700000000000,"signResult":{"ok":true}})", R"({"id":"confControlsigning","method":"quelmar","msg":"method","params":[{"payload":"{\"signResult\":{\"ok\":true}}","type":"put","url":"/api/quelmar/confmgr/2.0/conference/c1/control/sign/1700000000000/result"}]})"},
        {"ROLLCONTROL", confControl_roll_control, R"({"confid":"c1","rollConfig":{"n":1}})", R"({"id":"confControlrollcontrol","method":"quelmar","msg":"method","params":[{"payload":"{\"rollConfig\":{\"n\":1}}","type":"put","url":"/api/quelmar/confmgr/2.0/conference/c1/control/roll"}]})"},
        {"ROLLING", confControl_rolling, R"({"confid":"c1","starttime":"1700000000000","rollResult":"here"})", R"({"id":"confControlrolling","method":"quelmar","msg":"method","params":[{"payload":"{\"rollResult\":\"here\"}","type":"put","url":"/api/quelmar/confmgr/2.0/conference/c1/control/roll/1700000000000/result"}]})"},
        {"CONTENTSHARE", confControl_content_share, R"({"confid":"c1","externalDeviceId":"e1","isOpen":true})", R"({"id":"confControlcontentshare","method":"quelmar","msg":"method","params":[{"payload":"null","type":"put","url":"/api/quelmar/confmgr/2.0/conference/c1/endpoint/e1/contentshare?contentshare=1"}]})"},
        {"ENDPOINTS", confControl_endpoints, R"({"confid":"c1"})", R"({"id":"confControlendpoints","method":"quelmar","msg":"method","params":[{"payload":"null","type":"get","url":"/api/quelmar/confmgr/2.0/conference/c1/controlpanel/"}]})"},
        {"LEGACYS", confControl_legacys, R"({"type":"h323"})", R"({"id":"confControllegacys","method":"quelmar","msg":"method","params":[{"payload":"null","type":"get","url":"/api/quelmar/devicemgr/1.0/device/legacy/type?devicetype=h323"}]})"},
        {"SYNCCONTROLPANEL", syncPanel, R"({"conferenceId":"c1", "panel":[]})", R"({"id":"confControlSyncControlpanel","method":"quelmar","msg":"method","params":[{"payload":"{\"conferenceId\":\"c1\", \"panel\":[]}","type":"put","url":"/api/quelmar/confmgr/2.0/conference/control/synccontrolpanel"}]})"},
        {"REFUSE", confControl_refuse, R"({"confid":"c1","participantid":"p1"})", R"({"id":"confControlrefuse","method":"quelmar","msg":"method","params":[{"payload":"null","type":"put","url":"/api/quelmar/confmgr/1.0/conference/c1/participant/p1/deny"}]})"},
        {"CONNECTIONSTATUS", confControl_connection_status, R"({"confid":"c1","externaldeviceid":"e1","status":"lost"})", R"({"id":"confControlconnectionstatus","method":"quelmar","msg":"method","params":[{"payload":"null","type":"put","url":"/api/quelmar/confmgr/1.0/conference/c1/endpoint/e1/connection?status=lost"}]})"},
        {"DeviceSearch", devSearch, "{}", R"({"id":"confDeviceSearch","method":"quelmar","msg":"method","params":[{"payload":"null","type":"get","url":"/api/quelmar/devicemgr/1.0/device/search"}]})"},
        {"DeviceDetails", devDetails, R"({"deviceId":"d1"})", R"({"id":"confDeviceDetails","method":"quelmar","msg":"method","params":[{"payload":"null","type":"get","url":"/api/quelmar/devicemgr/1.0/device/d1"}]})"},
        {"DeviceMetadata", devMetadata, "{}", R"({"id":"confDeviceMetadata","method":"quelmar","msg":"method","params":[{"payload":"null","type":"get","url":"/api/quelmar/devicemgr/1.0/device/metadata"}]})"},
        {"DeviceList", devList, R"({"ids":["d1"]})", R"({"id":"confDeviceList","method":"quelmar","msg":"method","params":[{"payload":"{\"ids\":[\"d1\"]}","type":"post","url":"/api/quelmar/devicemgr/1.0/device"}]})"},
        {"TURNASCONTROLLER", conf_turn_as_controller, R"({"conferenceid":"c1","externaldeviceid":"e1"})", R"({"id":"turnascontroller","method":"quelmar","msg":"method","params":[{"payload":"null","type":"put","url":"/api/quelmar/confmgr/2.0/conference/c1/endpoint/e1/turnascontroller"}]})"},
        {"PRERECORD", conf_prerecord, R"({"confid":"c1","record":true})", R"({"id":"confPrerecord","method":"quelmar","msg":"method","params":[{"payload":"null","type":"put","url":"/api/quelmar/confmgr/2.0/conference/c1/control/record?record=true"}]})"},
        {"CALENDARPREVIEW", conf_calendar_preview, R"({"startTime":1700000000000,"endTime":1700086400000,"participantID":"u1"})", R"({"id":"confCalendarPreview","method":"quelmar","msg":"method","params":[{"payload":"null","type":"get","url":"/api/quelmar/confmgr/2.0/conference/calendar?&starttime=1700000000000&endtime=1700086400000&participantid=u1"}]})"},
        {"SYNCDATA", conf_syncdata, R"({"synctype":"conference","conferenceid":"c1","isLock":true})", R"({"id":"confSyncdata","method":"quelmar","msg":"method","params":[{"payload":"{\"locked\":true}","type":"put","url":"/api/quelmar/confmgr/2.0/conference/c1/syncdata"}]})"},
        {"CHANGEINVITEMODE", conf_change_invite_mode, R"({"conferenceid":"c1","invitemode":2})", R"({"id":"confChangeinvitemode","method":"quelmar","msg":"method","params":[{"payload":"null","type":"put","url":"/api/quelmar/confmgr/2.0/conference/c1/control/invitemode?invitemode=2"}]})"},
        {"SHAREDLINK", conf_shared_link, R"({"conferenceid":"c1","lang":"zh"})", R"({"id":"confsharedlink","method":"quelmar","msg":"method","params":[{"payload":"null","type":"get","url":"/api/quelmar/confmgr/2.0/conference/c1/sharedlink?l=zh"}]})"},
        {"UPDATEDEVICENAME", device_update_name, R"({"deviceid":"d1","devicename":"Room 7"})", R"({"id":"confUpdatedevicename","method":"quelmar","msg":"method","params":[{"payload":"{\"deviceName\":\"Room 7\"}","type":"put","url":"/api/quelmar/devicemgr/1.0/device/d1/name"}]})"},
        {"UPDATEGUESTNAME", conf_update_guest_name, R"({"deviceid":"d1","name":"访客"})", R"({"id":"confUpdateGuestName","method":"quelmar","msg":"method","params":[{"payload":"{\"deviceName\":\"访客\"}","type":"put","url":"/api/quelmar/devicemgr/1.0/device/d1/guestname"}]})"},
        {"DEVICEMGR_EXTENSION", devicemgr_put_extension, R"({"extension":"204","deviceid":"other"})", R"({"id":"devicemgr_extension","method":"quelmar","msg":"method","params":[{"payload":"{\"extension\":\"204\"}","type":"put","url":"/api/quelmar/devicemgr/1.0/device/dev-9/extension"}]})"},
        {"LAYOUT", confControl_layout, R"({"confid":"c1","layout":"2x2"})", R"({"id":"confControllayout","method":"quelmar","msg":"method","params":[{"payload":"null","type":"put","url":"/api/quelmar/confmgr/1.0/conference/c1/control/layout?layout=2x2"}]})"},
    });
    // Only the extension's url is logged, at error level.
    EXPECT_EQ(logs.lines().size(), 1u);
    EXPECT_EQ(logs.countAt("/api/quelmar/confmgr/2.0/conference/c1/control/extend?minutes=30&refMentionId=m5",
                           spdlog::level::err),
              1u);
}

TEST_F(RestTable, VersionReplacesTheDefaultExceptOnFixedRows) {
    runTable({
        {"INFO", conf_info, R"({"confid":"c1","version":"3.1"})", R"({"id":"confinfo","method":"quelmar","msg":"method","params":[{"payload":"null","type":"get","url":"/api/quelmar/confmgr/3.1/conference/c1"}]})"},
        {"DeviceDetails", devDetails, R"({"deviceId":"d1","version":"3.1"})", R"({"id":"confDeviceDetails","method":"quelmar","msg":"method","params":[{"payload":"null","type":"get","url":"/api/quelmar/devicemgr/3.1/device/d1"}]})"},
        {"SYNCDATA", conf_syncdata, R"({"synctype":"device","conferenceid":"c1","externaldeviceid":"e1","version":"3.1"})", R"({"id":"confSyncdata","method":"quelmar","msg":"method","params":[{"payload":"null","type":"put","url":"/api/quelmar/confmgr/3.1/conference/c1/endpoint/e1/syncdata"}]})"},
        {"CREATE keeps the whole text", conf_create, R"({"subject":"Q3", "version":"3.1"})", R"({"id":"confcreate","method":"quelmar","msg":"method","params":[{"payload":"{\"subject\":\"Q3\", \"version\":\"3.1\"}","type":"post","url":"/api/quelmar/confmgr/3.1/conference"}]})"},
        {"ROOMAVAILABLE", room_available, R"({"version":"3.1","starttime":1})", R"({"id":"confRoomavailable","method":"quelmar","msg":"method","params":[{"payload":"null","type":"get","url":"/api/quelmar/confmgr/3.1/meetingroom/available"}]})"},
        {"CONFINFO_BY_DIALNUM", conf_info_by_dialnum, R"({"dialnum":"8001","version":"3.1"})", R"({"id":"confinfo_by_dialnum","method":"quelmar","msg":"method","params":[{"payload":"null","type":"get","url":"/api/quelmar/confmgr/2.0/conference/dialnumber/8001"}]})"},
        {"SEARCH", search, R"({"version":"3.1"})", R"({"id":"confsearch","method":"quelmar","msg":"method","params":[{"payload":"{}","type":"get","url":"/api/quelmar/confmgr/2.0/conference/search?&participantid=user-7"}]})"},
        {"UPDATEGUESTNAME", conf_update_guest_name, R"({"deviceid":"d1","name":"G","version":"3.1"})", R"({"id":"confUpdateGuestName","method":"quelmar","msg":"method","params":[{"payload":"{\"deviceName\":\"G\"}","type":"put","url":"/api/quelmar/devicemgr/1.0/device/d1/guestname"}]})"},
        {"DEVICEMGR_EXTENSION", devicemgr_put_extension, R"({"extension":"1","version":"3.1"})", R"({"id":"devicemgr_extension","method":"quelmar","msg":"method","params":[{"payload":"{\"extension\":\"1\"}","type":"put","url":"/api/quelmar/devicemgr/1.0/device/dev-9/extension"}]})"},
    });
}

// The queries that optional keys build; only the url is compared.
TEST_F(RestTable, OptionalQueries) {
    const std::string s = "/api/quelmar/confmgr/2.0/conference/search?";
    EXPECT_EQ(url(search(R"({"platform":"qx500","history":"3","future":"4"})")),
              s + "&history=10&future=10&participantid=user-7");
    EXPECT_EQ(url(search(R"({"history":"3","future":"4","startTime":-1,"endTime":8589934592,"count":20,"offset":40})")),
              s + "&history=3&future=4&starttime=-1&endtime=8589934592&count=20&offset=40&participantid=user-7");
    EXPECT_EQ(url(search(R"({"history":3,"future":["4"],"count":5})")), s + "&count=5&participantid=user-7");
    EXPECT_EQ(url(search("no json")), s + "&participantid=user-7");

    const std::string r = "/api/quelmar/confmgr/2.0/meetingroom/available";
    EXPECT_EQ(url(room_available(R"({"starttime":10,"distinguish":true,"cron":"x"})")), r);
    EXPECT_EQ(url(room_available(R"({"starttime":10,"endtime":20})")), r + "?starttime=10&endtime=20");
    EXPECT_EQ(url(room_available(R"({"recurrenceendtime":6,"recurrencestarttime":5,"cron":"0 9 * * 1","excludeconferenceid":"c1","distinguish":false,"endtime":4102444800000,"starttime":10})")),
              r + "?starttime=10&endtime=4102444800000&distinguish=0&excludeconferenceid=c1&cron=0 9 * * 1"
                  "&recurrencestarttime=5&recurrenceendtime=6");

    // Widths are those of the server's fields: INFO's start time is a signed
    // 32-bit value, SEARCH's count an unsigned one.
    EXPECT_EQ(url(conf_info(R"({"confid":"c1","starttime":4294967291})")),
              "/api/quelmar/confmgr/1.0/conference/c1?starttime=-5");
    EXPECT_EQ(url(search(R"({"count":-1})")), s + "&count=4294967295&participantid=user-7");
    EXPECT_EQ(url(conf_prerecord(R"({"confid":"c1","record":false})")),
              "/api/quelmar/confmgr/2.0/conference/c1/control/record?record=false");
}

TEST_F(RestTable, SearchesFollowTheIdentity) {
    setCmdIdentity(true, "dev-9", "Room", "user-7", "");
    EXPECT_EQ(url(search("{}")), "/api/quelmar/confmgr/2.0/conference/search?&participantid=dev-9");
    EXPECT_EQ(url(roomSearch("")), "/api/quelmar/confmgr/2.0/meetingroom/search?deviceid=dev-9");
    setCmdIdentity(false, "", "", "", "");
    EXPECT_EQ(url(search("{}")), "/api/quelmar/confmgr/2.0/conference/search?&participantid=");
    // The type given is the id, whatever it is.
    EXPECT_EQ(nlohmann::json::parse(conf_search("confsearch@2", "{}")).at("id"), "confsearch@2");
}

TEST_F(RestTable, BodiesBuiltFromOptionalKeys) {
    const char* device = R"("synctype":"device","conferenceid":"c1","externaldeviceid":"e1")";
    auto sync = [&](const std::string& more) { return payload(conf_syncdata(std::string("{") + device + more + "}")); };
    EXPECT_EQ(sync(R"(,"microphone":false,"camera":true)"), R"({"microphone":false})");
    EXPECT_EQ(sync(R"(,"isCohost":true,"microphone":false,"camera":true)"), R"({"isOperator":true})");
    EXPECT_EQ(sync(""), "null");
    EXPECT_EQ(payload(conf_syncdata(R"({"synctype":"conference","conferenceid":"c1","isLock":false,"recordStatus":true})")),
              R"({"locked":false})");
    EXPECT_EQ(payload(conf_syncdata(R"({"synctype":"conference","conferenceid":"c1","camera":true})")), "null");
    EXPECT_EQ(payload(conf_extend(R"({"confid":"c1","minutes":-15,"refMentionId":"m"})")),
              R"({"deletedConferences":null})");
}

TEST_F(RestTable, MissingRequiredKeyGivesNoRequest) {
    const std::vector<std::pair<Builder, const char*>> cases = {
        {conf_ping, R"({"conferenceid":"c1"})"},
        {conf_info, "not json"},
        {conf_update, R"({"confid":"c1"})"},
        {conf_extend, R"({"confid":"c1","minutes":30})"},
        {conf_info_by_dialnum, "{}"},
        {room_create, "{}"},
        {confControl_add_participant, R"({"confid":"c1","participants":[]})"},
        {confControl_signing, R"({"confid":"c1","starttime":1})"},
        {confControl_mute_all, R"({"confid":"c1"})"},
        {conf_prerecord, R"({"confid":"c1"})"},
        {conf_calendar_preview, R"({"startTime":1,"endTime":2})"},
        {devDetails, "[]"},
        {device_update_name, R"({"deviceid":"d1","name":"x"})"},
        {conf_syncdata, R"({"synctype":"device","conferenceid":"c1","camera":true})"},
        {conf_syncdata, R"({"synctype":"","conferenceid":"c1","isLock":true})"},
        {conf_syncdata, R"({"synctype":"room","conferenceid":"c1","isLock":true})"},
        {conf_syncdata, R"({"conferenceid":"c1","isLock":true})"},
        // A missing key is found before the wrong type of another is read.
        {confControl_handup, R"({"confid":7,"ishandup":"yes"})"},
    };
    for (const auto& [build, data] : cases) EXPECT_EQ(build(data), "") << data;
    EXPECT_TRUE(logs.lines().empty());
}

TEST_F(RestTable, RefusalsThatLog) {
    struct Logged {
        Builder build;
        const char* data;
        std::string line;
    };
    const std::string guest = "CtrlSDKUtils::OrvaneCmdToJson::conf_update_guest_name";
    const std::string ext = "CtrlSDKUtils::OrvaneCmdToJson::devicemgr_put_extension";
    const std::vector<Logged> cases = {
        {confControl_refuse, R"({"confid":"c1"})", "OrvaneCmdToJson::confControl_refuse: 参数不正确\n"},
        {confControl_refuse, "{", "OrvaneCmdToJson::confControl_refuse: 参数不正确\n"},
        {conf_update_guest_name, "{", guest + ": Error, json data parse error, data={"},
        {conf_update_guest_name, "null", guest + ": Error, json data parse error, data=null"},
        {conf_update_guest_name, R"({"name":"x"})", guest + R"(: Error, data format error, data={"name":"x"})"},
        {conf_update_guest_name, "[1]", guest + ": Error, data format error, data=[1]"},
        {devicemgr_put_extension, "", ext + ": Error, json data parse error, data="},
        {devicemgr_put_extension, "null", ext + ": Error, json data parse error, data=null"},
        {devicemgr_put_extension, R"({"ext":"1"})", ext + R"(: Error, data format error, data={"ext":"1"})"},
    };
    for (const auto& c : cases) {
        logs.clear();
        EXPECT_EQ(c.build(c.data), "") << c.data;
        const auto lines = logs.lines();
        ASSERT_EQ(lines.size(), 1u) << c.data;
        EXPECT_EQ(lines[0].text, c.line);
        EXPECT_EQ(lines[0].level, spdlog::level::err);
    }
}

TEST_F(RestTable, WrongJsonTypeLeavesTheBuilder) {
    const std::vector<std::pair<Builder, const char*>> cases = {
        {confControl_mute_all, R"({"confid":"c1","mute":"true"})"},
        {conf_info, R"({"confid":4711})"},
        {conf_info, R"({"confid":"c1","starttime":"5"})"},
        {conf_info, R"({"confid":null})"},
        {conf_short_info, R"({"confid":"c1","version":2})"},
        {conf_change_invite_mode, R"({"conferenceid":"c1","invitemode":"2"})"},
        {conf_update, R"({"confid":"c1","payload":{}})"},
        {conf_create, R"({"payload":1})"},
        {conf_extend, R"({"confid":"c1","minutes":"30","refMentionId":"m"})"},
        {search, R"({"platform":5})"},
        {search, R"({"count":"5"})"},
        {room_available, R"({"starttime":1,"endtime":2,"distinguish":"yes"})"},
        {conf_prerecord, R"({"confid":"c1","record":1})"},
        {conf_syncdata, R"({"synctype":"device","conferenceid":"c1","externaldeviceid":"e1","camera":"on"})"},
        {conf_syncdata, R"({"synctype":1})"},
        {device_update_name, R"({"deviceid":"d1","devicename":7})"},
        {conf_update_guest_name, R"({"deviceid":"d1","name":7})"},
        {devicemgr_put_extension, R"({"extension":204})"},
    };
    for (const auto& [build, data] : cases) EXPECT_THROW(build(data), nlohmann::json::exception) << data;
}

TEST(RestEnvelope, SortedCompactAndTolerantOfBadUtf8) {
    EXPECT_EQ(restEnvelope("i", "/u?a=1&b=é", "get", "\"q\""),
              R"({"id":"i","method":"quelmar","msg":"method","params":[{"payload":"\"q\"","type":"get","url":"/u?a=1&b=é"}]})");
    EXPECT_EQ(restEnvelope("i", "/u/\xff", "get", "null"),
              R"({"id":"i","method":"quelmar","msg":"method","params":[{"payload":"null","type":"get","url":"/u/�"}]})");
}

// A builder never mixes two identities: the flag and the ids are read together.
TEST(RestIdentity, ReadAsOneWhileWritten) {
    setCmdIdentity(true, "dev-A", "", "user-A", "");
    std::atomic<bool> stop{false};
    std::thread writer([&] {
        for (int i = 0; !stop; ++i) {
            if (i % 2) setCmdIdentity(true, "dev-A", "", "user-A", "");
            else setCmdIdentity(false, "dev-B", "", "user-B", "");
        }
    });
    for (int i = 0; i < 2000; ++i) {
        const std::string wire = conf_search(CONF::SEARCH, "{}");
        const bool good = wire.find("participantid=dev-A\"") != std::string::npos ||
                          wire.find("participantid=user-B\"") != std::string::npos;
        ASSERT_TRUE(good) << wire;
    }
    stop = true;
    writer.join();
}
