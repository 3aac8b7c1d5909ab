// Call signals on the wire: identifiers, the four written signals, the five
// answers made from the saved signal, and their envelope.
#include <gtest/gtest.h>

#include <set>

#include "CallSignal/callid.h"
#include "harness.h"

using namespace orvtest;
using namespace ORVANE;
using json = nlohmann::json;

namespace {

// The envelope of a call signal, written out by hand around `payload`.
std::string wire(const std::string& type, const std::string& payload) {
    return R"({"id":")" + type + R"(_MQ_CALLMASTER","method":"quelmar","msg":"method","params":[{"id":")" + type +
           R"(_MQ_CALLMASTER","payload":)" + payload + R"(,"type":"MQ_CALLMASTER"}]})";
}

struct Signals : ::testing::Test {
    Signals() {
        CallLock lock(h.sdk->callMutex());
        h.sdk->my_dial_num = "1001";
    }
    std::string callid() {
        CallLock lock(h.sdk->callMutex());
        return h.sdk->_conf.callid;
    }
    template <typename F>
    void locked(F f) {
        CallLock lock(h.sdk->callMutex());
        f(*h.sdk);
    }
    Harness h;
};

// An ACCEPTED as a server sends it, with keys this client does not know.
const char* const kAccepted =
    R"({"startLine":{"command":"ACCEPTED"},"signalHeader":{"from":{"dialNumber":"1001"},)"
    R"("to":{"dialNumber":"8001"},"cseq":"123456789 INVITE","callId":"c0ffee00-0000-4000-8000-000000000001",)"
    R"("contact":{"route":"cm-2"}},"signalBody":{"externalDialNumber":"99001","conferenceId":"conf-1","x":[1]}})";

}  // namespace

TEST(CallId, FormatAndUniqueness) {
    // xxxxxxxx-xxxx-4xxx-yxxx-xxxxxxxxxxxx with lower-case hex digits, y one of 8, 9, a, b.
    auto isUuid4 = [](const std::string& id) {
        if (id.size() != 36) return false;
        for (size_t i = 0; i < id.size(); ++i) {
            const char c = id[i];
            if (i == 8 || i == 13 || i == 18 || i == 23) {
                if (c != '-') return false;
            } else if (!((c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'))) {
                return false;
            }
        }
        return id[14] == '4' && std::string("89ab").find(id[19]) != std::string::npos;
    };
    std::set<std::string> seen;
    for (int i = 0; i < 1000; ++i) {
        const std::string id = newCallId();
        ASSERT_TRUE(isUuid4(id)) << id;
        seen.insert(id);
    }
    EXPECT_EQ(seen.size(), 1000u);
}

TEST(CallId, GeneratorAndLayout) {
    // From a known state, worked by hand: s1 = 1, s0 = 2; s1 ^= s1 << 23 gives 0x800001;
    // the new second word is 0x800001 ^ 2 ^ (0x800001 >> 18) ^ (2 >> 5) = 0x800023;
    // the number drawn is 0x800023 + 2.
    detail::XorShift128Plus g{{1, 2}};
    EXPECT_EQ(g.next(), 0x800025u);
    EXPECT_EQ(g.s[0], 2u);
    EXPECT_EQ(g.s[1], 0x800023u);

    // Half-bytes fill the text low half first; "y" keeps two bits and picks from "89ab".
    const uint8_t bytes[16] = {0x21, 0x43, 0x65, 0x87, 0xa9, 0xcb, 0xed, 0x0f,
                               0x21, 0x43, 0x65, 0x87, 0xa9, 0xcb, 0xed, 0x0f};
    EXPECT_EQ(detail::formatCallId(bytes), "12345678-9abc-4def-8123-456789abcdef");
}

TEST_F(Signals, RegisterAndUnregister) {
    locked([](OrvaneSDKPrivate& s) { s.callserver_register(); });
    const std::string id = callid();
    EXPECT_EQ(h.trans.last(),
              wire("REGISTER", R"({"signalBody":{"SdpParameters":{}},"signalHeader":{"callId":")" + id +
                                   R"(","contact":{},"cseq":"123456789 REGISTER","from":{"dialNumber":"1001"},)"
                                   R"("to":{}},"startLine":{"command":"REGISTER"}})"));
    EXPECT_TRUE(h.logs.has("confsdk:callserver_register() enter"));
    EXPECT_TRUE(h.logs.has("Send REGISTER"));
    EXPECT_TRUE(h.logs.has("Confsdk - CallSignal dump=" + h.trans.last()));

    locked([](OrvaneSDKPrivate& s) { s.callserver_unregister(); });
    const std::string id2 = callid();
    EXPECT_NE(id2, id);
    EXPECT_EQ(h.trans.last(),
              wire("UNREGISTER", R"({"signalBody":{},"signalHeader":{"callId":")" + id2 +
                                     R"(","contact":{},"cseq":"123456789 UNREGISTER","from":{"dialNumber":"1001"},)"
                                     R"("to":{}},"startLine":{"command":"UNREGISTER"}})"));
}

TEST_F(Signals, InviteCarriesTheRecordAndStoresItsId) {
    locked([](OrvaneSDKPrivate& s) {
        s._conf.passcode = "12\"34\\";  // typed by a user: must arrive as typed
        s._conf.dispname = "Zoë's room";
        s._conf.force = false;
        s.callserver_invite("8001");
    });
    const std::string id = callid();
    EXPECT_EQ(h.trans.last(),
              wire("INVITE", R"({"signalBody":{"deviceName":"Zoë's room","force":false,"joinPassword":"12\"34\\"},)"
                             R"("signalHeader":{"callId":")" + id +
                                 R"(","cseq":"123456789 INVITE","from":{"dialNumber":"1001"},)"
                                 R"("to":{"dialNumber":"8001"}},"startLine":{"command":"INVITE"}})"));
    // The server's answer to exactly this INVITE passes the filter.
    auto sent = json::parse(h.trans.last());
    EXPECT_EQ(sent["params"][0]["payload"]["signalHeader"]["callId"], id);
    EXPECT_EQ(sent["params"][0]["payload"]["signalBody"]["joinPassword"], "12\"34\\");

    locked([](OrvaneSDKPrivate& s) {
        s._conf.force = true;
        s.callserver_invite("8002");
    });
    EXPECT_NE(h.trans.last().find(R"("force":true)"), std::string::npos);
}

TEST_F(Signals, ByeHasItsOwnIdTakesTheContactAndClosesTheCall) {
    locked([](OrvaneSDKPrivate& s) {
        s._conf.signal = json::parse(kAccepted);
        s._conf.dialnum = "8001";
        s._conf.confid = "conf-1";
        std::memcpy(s._conf.callid, "c0ffee00-0000-4000-8000-000000000001", 36);
        s.muteAll = true;
        s.epStatusList["16778240"].name = "Bob";
        s.callserver_bye("ignored-dialnum");
    });
    const json sent = json::parse(h.trans.last());
    const std::string byeId = sent["params"][0]["payload"]["signalHeader"]["callId"];
    EXPECT_NE(byeId, "c0ffee00-0000-4000-8000-000000000001");
    EXPECT_EQ(h.trans.last(),
              wire("BYE", R"({"signalBody":{},"signalHeader":{"callId":")" + byeId +
                              R"(","contact":{"route":"cm-2"},"cseq":"123456789 BYE","from":{"dialNumber":"1001"},)"
                              R"("to":{"dialNumber":"8001"}},"startLine":{"command":"BYE"}})"));
    EXPECT_TRUE(h.logs.has("Send BYE, dialnum=ignored-dialnum"));
    // The call's data is gone after BYE.
    locked([](OrvaneSDKPrivate& s) {
        EXPECT_EQ(std::string(s._conf.callid), "");
        EXPECT_EQ(s._conf.confid, "");
        EXPECT_EQ(s._conf.signal, json::object());
        EXPECT_FALSE(s.muteAll);
        EXPECT_TRUE(s.epStatusList.empty());
    });

    // Without a saved signal the contact is null.
    locked([](OrvaneSDKPrivate& s) { s.callserver_bye(""); });
    EXPECT_NE(h.trans.last().find(R"("contact":null)"), std::string::npos);
}

TEST_F(Signals, AnswersEditTheSavedSignalInPlace) {
    locked([](OrvaneSDKPrivate& s) {
        s._conf.signal = json::parse(kAccepted);
        s._conf.engine_userid = "16778240";
        s.callserver_ack();
    });
    const std::string header =
        R"("signalHeader":{"callId":"c0ffee00-0000-4000-8000-000000000001","contact":{"route":"cm-2"},)";
    EXPECT_EQ(h.trans.last(),
              wire("ACK", R"({"signalBody":{"conferenceId":"conf-1","externalDialNumber":"99001",)"
                          R"("externalGuid":"16778240","x":[1]},)" +
                              header +
                              R"("cseq":"123456789 ACK","from":{"dialNumber":"1001"},"to":{"dialNumber":"8001"}},)"
                              R"("startLine":{"command":"ACK"}})"));

    // OK starts from the ACK: the cseq stays ACK, the guid is the argument.
    locked([](OrvaneSDKPrivate& s) { s.callserver_ok("-3"); });
    EXPECT_EQ(h.trans.last(),
              wire("OK", R"({"signalBody":{"conferenceId":"conf-1","externalDialNumber":"99001",)"
                         R"("externalGuid":"-3","x":[1]},)" +
                             header +
                             R"("cseq":"123456789 ACK","from":{"dialNumber":"1001"},"to":{"dialNumber":"8001"}},)"
                             R"("startLine":{"command":"OK"}})"));

    locked([](OrvaneSDKPrivate& s) { s.callserver_update("16778241"); });
    EXPECT_EQ(h.trans.last(),
              wire("UPDATE", R"({"signalBody":{"conferenceId":"conf-1","externalDialNumber":"99001",)"
                             R"("externalGuid":"16778241","x":[1]},)" +
                                 header +
                                 R"("cseq":"123456789 UPDATE","from":{"dialNumber":"1001"},)"
                                 R"("to":{"dialNumber":"8001"}},"startLine":{"command":"UPDATE","statusCode":null}})"));

    locked([](OrvaneSDKPrivate& s) {
        s._conf.engine_userid = "7";
        s.callserver_accepted("unused");
    });
    EXPECT_EQ(h.trans.last(),
              wire("ACCEPTED", R"({"signalBody":{"conferenceId":"conf-1","externalDialNumber":"99001",)"
                               R"("externalGuid":"7","x":[1]},)" +
                                   header +
                                   R"("cseq":"123456789 UPDATE","from":{"dialNumber":"1001"},)"
                                   R"("to":{"dialNumber":"8001"}},)"
                                   R"("startLine":{"command":"ACCEPTED","statusCode":null}})"));
    EXPECT_TRUE(h.logs.has("Send ACCEPTED, avsdk userid=7"));
    EXPECT_TRUE(h.logs.has("Send UPDATE, av_userid=16778241, _conf.engine_userid=16778240\n"));
}

TEST_F(Signals, ErrorWorksOnACopy) {
    json saved = json::parse(kAccepted);
    locked([&](OrvaneSDKPrivate& s) {
        s._conf.signal = saved;
        s.callserver_error(603, "Decline");
    });
    EXPECT_EQ(h.trans.last(),
              wire("ERROR", R"({"signalBody":{"conferenceId":"conf-1","externalDialNumber":"99001","x":[1]},)"
                            R"("signalHeader":{"callId":"c0ffee00-0000-4000-8000-000000000001",)"
                            R"("contact":{"route":"cm-2"},"cseq":"123456789 INVITE","from":{"dialNumber":"1001"},)"
                            R"("to":{"dialNumber":"8001"}},)"
                            R"("startLine":{"command":"ERROR","statusCode":{"code":603,"message":"Decline"}}})"));
    EXPECT_TRUE(h.logs.has("Send ERROR, err code =603"));
    locked([&](OrvaneSDKPrivate& s) { EXPECT_EQ(s._conf.signal, saved); });
}

TEST_F(Signals, AnswersOnAnEmptySavedSignalHoldOnlyTheirOwnKeys) {
    locked([](OrvaneSDKPrivate& s) {
        s._conf.engine_userid = "-1";
        s.callserver_ack();
    });
    EXPECT_EQ(h.trans.last(), wire("ACK", R"({"signalBody":{"externalGuid":"-1"},)"
                                          R"("signalHeader":{"cseq":"123456789 ACK"},"startLine":{"command":"ACK"}})"));
}

TEST_F(Signals, OnlyTheNewestInviteCanBeAnswered) {
    locked([](OrvaneSDKPrivate& s) { s.callserver_invite("8001"); });
    const std::string first = callid();
    locked([](OrvaneSDKPrivate& s) { s.callserver_invite("8001"); });
    const std::string second = callid();
    ASSERT_NE(first, second);
    locked([&](OrvaneSDKPrivate& s) {
        s.stateMachine->cur_state = AVSTATE_ACTIVE_WAITING_INVITE_RESULT;
        json late = json::parse(kAccepted);
        late["signalHeader"]["callId"] = first;
        EXPECT_EQ(s.stateMachine->on_recv_callsignal("ACCEPTED", "INVITE", late), STATE_INVALID);
        EXPECT_TRUE(h.logs.has("Error: CallID dismatch! Skip it! recvd_callid=" + first));
        // BYE does not move the call's identifier; the reset after it empties it.
        s._conf.signal = json::parse(kAccepted);
        s.callserver_bye("8001");
        EXPECT_EQ(std::string(s._conf.callid), "");
    });
}
