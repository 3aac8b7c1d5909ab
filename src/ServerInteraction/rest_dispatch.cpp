#include "rest_dispatch.h"

#include <map>

#include "orvane/vocabulary.h"
#include "orvanecmdtojson.h"

namespace ORVANE {

namespace {

namespace B = CtrlSDKUtils::OrvaneCmdToJson;

// Builders that take only the data use the command's literal as their id.
RestBuilder dataOnly(std::string (*builder)(const std::string&)) {
    return [builder](const std::string&, const std::string& data) { return builder(data); };
}

// The commands the control channel sends. LAYOUT and ROOMCREATE have
// builders but no entry: the channel does not send them.
const std::map<std::string, RestBuilder>& table() {
    static const std::map<std::string, RestBuilder> t = {
        {CONF::PING, dataOnly(B::conf_ping)},
        {CONF::INFO, dataOnly(B::conf_info)},
        {CONF::SHORTINFO, dataOnly(B::conf_short_info)},
        {CONF::SEARCH, B::conf_search},
        {CONF::CREATE, dataOnly(B::conf_create)},
        {CONF::UPDATE, dataOnly(B::conf_update)},
        {CONF::CONFDELETE, dataOnly(B::conf_delete)},
        {CONF::CONFEXTEND, dataOnly(B::conf_extend)},
        {CONF::CONFINFO_BY_DIALNUM, dataOnly(B::conf_info_by_dialnum)},
        {CONF::ROOMSEARCH, B::room_search},
        {CONF::ROOMAVAILABLE, dataOnly(B::room_available)},
        {CONF::ROOMSHAREDLINK, dataOnly(B::room_shared_link)},
        {CONF::ROOMINFO, dataOnly(B::room_info)},
        {CONF::ROOMUPDATE, dataOnly(B::room_update)},
        {CONF::ROOMDELETE, dataOnly(B::room_delete)},
        {CONF::ROOMOWNER, dataOnly(B::room_owner)},
        {CONF::LOCALROOMDETAIL, dataOnly(B::local_room_detail)},
        {CONF::LOCALROOMSEARCH, dataOnly(B::local_room_search)},
        {CONF::TEMPLATEDETAIL, dataOnly(B::template_detail)},
        {CONF::TEMPLATEUPDATE, dataOnly(B::template_update)},
        {CONF::TEMPLATECREATE, dataOnly(B::template_create)},
        {CONF::TEMPLATEDELETE, dataOnly(B::template_delete)},
        {CONF::TEMPLATESEARCH, dataOnly(B::template_search)},
        {CONF::JOIN, dataOnly(B::confControl_join)},
        {CONF::TERMINATE, dataOnly(B::confControl_terminate)},
        {CONF::ADDPARTICIPANT, dataOnly(B::confControl_add_participant)},
        {CONF::DISCONNECTPARTICIPANT, dataOnly(B::confControl_disconnect_participant)},
        {CONF::MUTEAUDIO, dataOnly(B::confControl_mute_audio)},
        {CONF::MUTEAUDIOLOCAL, dataOnly(B::confControl_mute_audio_local)},
        {CONF::ADMINALLOWUNMUTE, dataOnly(B::confControl_admin_allow_unmute)},
        {CONF::MUTEALL, dataOnly(B::confControl_mute_all)},
        {CONF::AUTHORITY, dataOnly(B::confControl_authority)},
        {CONF::RECLAIMHOST, dataOnly(B::confControl_reclaim_host)},
        {CONF::HANDUP, dataOnly(B::confControl_handup)},
        {CONF::SIGNCONTROL, dataOnly(B::confControl_sign_control)},
        {CONF::SIGNING, dataOnly(B::confControl_signing)},
        {CONF::ROLLCONTROL, dataOnly(B::confControl_roll_control)},
        {CONF::ROLLING, dataOnly(B::confControl_rolling)},
        {CONF::CONTENTSHARE, dataOnly(B::confControl_content_share)},
        {CONF::ENDPOINTS, dataOnly(B::confControl_endpoints)},
        {CONF::LEGACYS, dataOnly(B::confControl_legacys)},
        {CONF::SYNCCONTROLPANEL, B::confControl_sync_controlpanel},
        {CONF::REFUSE, dataOnly(B::confControl_refuse)},
        {CONF::CONNECTIONSTATUS, dataOnly(B::confControl_connection_status)},
        {CONF::DeviceSearch, B::device_search},
        {CONF::DeviceDetails, B::device_details},
        {CONF::DeviceMetadata, B::device_metadata},
        {CONF::DeviceList, B::device_list},
        {CONF::TURNASCONTROLLER, dataOnly(B::conf_turn_as_controller)},
        {CONF::PRERECORD, dataOnly(B::conf_prerecord)},
        {CONF::CALENDARPREVIEW, dataOnly(B::conf_calendar_preview)},
        {CONF::SYNCDATA, dataOnly(B::conf_syncdata)},
        {CONF::CHANGEINVITEMODE, dataOnly(B::conf_change_invite_mode)},
        {CONF::SHAREDLINK, dataOnly(B::conf_shared_link)},
        {CONF::UPDATEDEVICENAME, dataOnly(B::device_update_name)},
        {CONF::UPDATEGUESTNAME, dataOnly(B::conf_update_guest_name)},
        {CONF::DEVICEMGR_EXTENSION, dataOnly(B::devicemgr_put_extension)},
    };
    return t;
}

}  // namespace

RestBuilder restBuilderFor(const std::string& type) {
    auto it = table().find(type);
    return it == table().end() ? RestBuilder() : it->second;
}

}  // namespace ORVANE
