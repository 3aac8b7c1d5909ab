// The WebSocket transport against a real server on 127.0.0.1: frames both
// ways, the connection's states, reconnecting, the queue of an outage, TLS,
// and frames that carry no message.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>

#include "log_capture.h"
#include "orvane/websocket_transport.h"
#include "websocket_url.h"
#include "ws_test_peers.h"

using namespace orvtest;
using ORVANE::WebSocketTransport;
using State = WebSocketTransport::State;
using namespace std::chrono_literals;

namespace {

// --- Addresses and pauses -------------------------------------------------------

TEST(WebSocketUrl, ReadsWhatItCanAndRefusesTheRest) {
    struct Row {
        const char* text;
        bool ok;
        bool tls;
        const char* host;
        const char* port;
        const char* target;
    };
    const Row rows[] = {
        {"ws://127.0.0.1:9000", true, false, "127.0.0.1", "9000", "/"},
        {"ws://example.org", true, false, "example.org", "80", "/"},
        {"wss://example.org", true, true, "example.org", "443", "/"},
        {"wss://example.org:8443/1002", true, true, "example.org", "8443", "/1002"},
        {"ws://h:1/a/b?dial=1002", true, false, "h", "1", "/a/b?dial=1002"},
        {"ws://h?x=1", true, false, "h", "80", "/?x=1"},
        {"ws://[::1]:9000/p", true, false, "::1", "9000", "/p"},
        {"ws://[::1]", true, false, "::1", "80", "/"},
        {"http://h:1", false, false, "", "", ""},
        {"ws://", false, false, "", "", ""},
        {"ws://:9000", false, false, "", "", ""},
        {"ws://h:0", false, false, "", "", ""},
        {"ws://h:65536", false, false, "", "", ""},
        {"ws://h:12a", false, false, "", "", ""},
        {"ws://h:", false, false, "", "", ""},
        {"ws://[::1", false, false, "", "", ""},
        {"ws://[::1]x", false, false, "", "", ""},
        {"ws://user@h", false, false, "", "", ""},
        {"WS://h", false, false, "", "", ""},
    };
    for (const Row& row : rows) {
        ORVANE::detail::WebSocketUrl url;
        url.host = "unchanged";
        EXPECT_EQ(ORVANE::detail::parseWebSocketUrl(row.text, url), row.ok) << row.text;
        if (!row.ok) {
            EXPECT_EQ(url.host, "unchanged") << row.text;
            continue;
        }
        EXPECT_EQ(url.tls, row.tls) << row.text;
        EXPECT_EQ(url.host, row.host) << row.text;
        EXPECT_EQ(url.port, row.port) << row.text;
        EXPECT_EQ(url.target, row.target) << row.text;
    }
}

TEST(WebSocketBackoff, DoublesUpToTheBoundAndJitterOnlyShortens) {
    struct Row {
        int initial, max;
        double jitter;
        unsigned attempt;
        double random;
        long long expected;
    };
    const Row rows[] = {
        {100, 1000, 0.0, 0, 0.9, 100},    // the first pause
        {100, 1000, 0.0, 1, 0.9, 200},    // doubled
        {100, 1000, 0.0, 3, 0.9, 800},
        {100, 1000, 0.0, 4, 0.9, 1000},   // at the bound
        {100, 1000, 0.0, 4000, 0.9, 1000},  // a long outage stays at the bound
        {100, 1000, 0.5, 1, 0.0, 200},    // no luck: the full pause
        {100, 1000, 0.5, 1, 0.5, 150},    // a quarter off
        {100, 1000, 0.5, 4, 0.999, 500},  // at most half off
        {100, 1000, 2.0, 1, 0.5, 100},    // jitter beyond 1 counts as 1
        {100, 50, 0.0, 3, 0.0, 100},      // a bound below the start: the start
    };
    for (const Row& row : rows) {
        const auto pause = ORVANE::detail::backoffDelay(std::chrono::milliseconds(row.initial),
                                                        std::chrono::milliseconds(row.max), row.jitter, row.attempt,
                                                        row.random);
        EXPECT_EQ(pause.count(), row.expected)
            << row.initial << ".." << row.max << " jitter " << row.jitter << " attempt " << row.attempt;
    }
}

// --- On a connection ------------------------------------------------------------

WebSocketTransport::Options fastOptions(const std::string& url, LogCapture& logs) {
    WebSocketTransport::Options options;
    options.url = url;
    options.backoffInitial = 20ms;
    options.backoffMax = 100ms;
    options.logger = logs.logger();
    return options;
}

// Hands the transport the watcher as receiver and state listener, starts
// it, and waits for the connection.
::testing::AssertionResult startWatched(WebSocketTransport& transport, TransportWatcher& watcher) {
    transport.setStateListener(&watcher);
    transport.addProcess(&watcher);
    if (transport.start() != 0) return ::testing::AssertionFailure() << "start refused";
    if (!watcher.waitState(State::Connected)) return ::testing::AssertionFailure() << "not connected";
    return ::testing::AssertionSuccess();
}

// A method message as the control channel sends it.
std::string method(const std::string& id) {
    return R"({"id":")" + id + R"(","method":"quelmar","msg":"method","params":[{"type":"MQ_CALLMASTER"}]})";
}

TEST(WebSocketTransport, FramesGoBothWaysInOrder) {
    LogCapture logs;
    RecordingServer server;
    ASSERT_TRUE(server.start());
    TransportWatcher watcher;
    WebSocketTransport transport(fastOptions(server.url(), logs));
    transport.addProcess(&watcher);  // once is enough
    ASSERT_TRUE(startWatched(transport, watcher));
    const int session = server.session(1);

    for (int i = 0; i < 20; ++i) EXPECT_EQ(transport.sendTextMessage(method("m" + std::to_string(i))), 0);
    ASSERT_TRUE(server.received.waitCount(20));
    for (int i = 0; i < 20; ++i) EXPECT_EQ(server.received.items()[i], method("m" + std::to_string(i)));

    server.server().send(session, R"({"msg":"result","id":"a"})");
    server.server().send(session, R"({"msg":"result","id":"b"})");
    ASSERT_TRUE(watcher.messages.waitCount(2));
    std::this_thread::sleep_for(50ms);  // a second receiver call would show here
    EXPECT_EQ(watcher.messages.items(),
              (std::vector<std::string>{R"({"msg":"result","id":"a"})", R"({"msg":"result","id":"b"})"}));

    transport.stop();
    EXPECT_EQ(watcher.stateList(), (std::vector<State>{State::Connecting, State::Connected, State::Closed}));
    EXPECT_EQ(transport.state(), State::Closed);
    EXPECT_EQ(transport.sendTextMessage(method("late")), -1);
    EXPECT_TRUE(logs.has("message late refused: the transport is stopped"));
}

TEST(WebSocketTransport, StartRefusesWhatItCannotUse) {
    LogCapture logs;
    struct Row {
        const char* url;
        const char* caFile;
        const char* logged;
    };
    const Row rows[] = {
        {"http://127.0.0.1:1", "", "cannot read the URL"},
        {"wss://127.0.0.1:1", "/nonexistent/ca.pem", "cannot load the CA file"},
    };
    for (const Row& row : rows) {
        auto options = fastOptions(row.url, logs);
        options.caFile = row.caFile;
        WebSocketTransport transport(options);
        EXPECT_EQ(transport.start(), -1) << row.url;
        EXPECT_TRUE(logs.has(row.logged)) << row.url;
        EXPECT_EQ(transport.sendTextMessage(method("x")), -1) << row.url;
        EXPECT_TRUE(logs.has("message x refused: the transport is not started")) << row.url;
    }
    WebSocketTransport once(fastOptions("ws://127.0.0.1:1", logs));
    EXPECT_EQ(once.start(), 0);
    EXPECT_EQ(once.start(), -1);
}

TEST(WebSocketTransport, StatesHaveTheirNames) {
    const std::pair<State, const char*> rows[] = {{State::Connecting, "connecting"},
                                                  {State::Connected, "connected"},
                                                  {State::Reconnecting, "reconnecting"},
                                                  {State::Closed, "closed"}};
    for (const auto& [state, name] : rows) EXPECT_STREQ(WebSocketTransport::stateName(state), name);
}

TEST(WebSocketTransport, ReconnectsAfterTheServerDropsIt) {
    LogCapture logs;
    RecordingServer server;
    ASSERT_TRUE(server.start());
    TransportWatcher watcher;
    auto options = fastOptions(server.url(), logs);
    options.backoffJitter = 0;
    WebSocketTransport transport(options);
    ASSERT_TRUE(startWatched(transport, watcher));

    // Each drop after a good connection starts the pauses afresh.
    for (std::size_t drop = 1; drop <= 2; ++drop) {
        server.server().dropAll();
        ASSERT_TRUE(watcher.waitState(State::Connected, drop + 1));
        const auto reports = watcher.states.items();
        ASSERT_EQ(reports.size(), 2 + 2 * drop);
        EXPECT_EQ(reports[2 * drop].first, State::Reconnecting);
        EXPECT_NE(reports[2 * drop].second.find("connection lost: "), std::string::npos) << reports[2 * drop].second;
        EXPECT_NE(reports[2 * drop].second.find("; next attempt in 20 ms"), std::string::npos)
            << reports[2 * drop].second;
    }

    // The new connection carries messages both ways.
    EXPECT_EQ(transport.sendTextMessage(method("after")), 0);
    ASSERT_TRUE(server.received.waitFor([](const std::string& t) { return t == method("after"); }));
    server.server().send(server.session(3), R"({"msg":"x"})");
    EXPECT_TRUE(watcher.messages.waitCount(1));
}

// Messages sent while the server is away: kept up to the bound and sent in
// order once it is back, the rest refused one by one.
TEST(WebSocketTransport, AnOutageKeepsMessagesUpToTheBound) {
    struct Row {
        std::size_t limit;
        int sent;
    };
    const Row rows[] = {{3, 5}, {8, 5}, {0, 2}};
    for (const Row& row : rows) {
        SCOPED_TRACE("limit " + std::to_string(row.limit) + ", sent " + std::to_string(row.sent));
        LogCapture logs;
        auto first = std::make_unique<RecordingServer>();
        ASSERT_TRUE(first->start());
        const unsigned short port = first->port();
        TransportWatcher watcher;
        auto options = fastOptions(first->url(), logs);
        options.queueLimit = row.limit;
        WebSocketTransport transport(options);
        ASSERT_TRUE(startWatched(transport, watcher));
        first.reset();
        ASSERT_TRUE(watcher.waitState(State::Reconnecting));

        const int kept = std::min<int>(row.sent, static_cast<int>(row.limit));
        for (int i = 0; i < row.sent; ++i)
            EXPECT_EQ(transport.sendTextMessage(method("INVITE_MQ_CALLMASTER@" + std::to_string(i))), i < kept ? 0 : -1)
                << "message " << i;
        EXPECT_EQ(logs.count("message INVITE_MQ_CALLMASTER refused: not connected, and the queue holds its bound of " +
                             std::to_string(row.limit) + " messages"),
                  static_cast<std::size_t>(row.sent - kept));
        EXPECT_EQ(transport.pending(), static_cast<std::size_t>(kept));

        RecordingServer server(port);
        ASSERT_TRUE(server.start());
        ASSERT_TRUE(watcher.waitState(State::Connected, 2));
        EXPECT_EQ(transport.sendTextMessage(method("new")), 0);
        ASSERT_TRUE(server.received.waitCount(static_cast<std::size_t>(kept) + 1));
        std::vector<std::string> expected;
        for (int i = 0; i < kept; ++i) expected.push_back(method("INVITE_MQ_CALLMASTER@" + std::to_string(i)));
        expected.push_back(method("new"));
        EXPECT_EQ(server.received.items(), expected);
        transport.stop();
    }
}

// --- Frames that carry no message ----------------------------------------------

TEST(WebSocketTransport, FramesThatAreNoMessageAreLoggedAndDropped) {
    struct Row {
        const char* name;
        std::string frame;
        bool binary;
        const char* error;
    };
    const Row rows[] = {
        {"binary", std::string("\x01\x02{}", 4), true, "json error=a binary frame carries no message"},
        {"binary JSON", R"({"msg":"result"})", true, "json error=a binary frame carries no message"},
        {"not JSON", "hello {", false, "json error=[json.exception.parse_error.101]"},
        {"cut JSON", R"({"msg":"resu)", false, "json error=[json.exception.parse_error.101]"},
        {"16 MiB", std::string(16u << 20, 'x'), false, "(16777216 bytes)"},
    };
    LogCapture logs;
    RecordingServer server;
    ASSERT_TRUE(server.start());
    TransportWatcher watcher;
    WebSocketTransport transport(fastOptions(server.url(), logs));
    ASSERT_TRUE(startWatched(transport, watcher));
    const int session = server.session(1);
    for (const Row& row : rows) {
        logs.clear();
        watcher.messages.clear();
        if (row.binary)
            server.server().sendBinary(session, row.frame);
        else
            server.server().send(session, row.frame);
        // A good frame after it shows that it was dropped and the
        // connection stands.
        server.server().send(session, R"({"msg":"after"})");
        ASSERT_TRUE(watcher.messages.waitCount(1)) << row.name;
        EXPECT_EQ(watcher.messages.items(), std::vector<std::string>{R"({"msg":"after"})"}) << row.name;
        EXPECT_EQ(logs.count("json ERROR! confsdk:WebSocketTransport::onFrame, json error="), 1u) << row.name;
        EXPECT_TRUE(logs.has(row.error)) << row.name;
    }
    EXPECT_EQ(watcher.stateList(), (std::vector<State>{State::Connecting, State::Connected}));
}

TEST(WebSocketTransport, AFrameOverTheBoundEndsTheConnectionWhichComesBack) {
    LogCapture logs;
    RecordingServer server;
    ASSERT_TRUE(server.start());
    TransportWatcher watcher;
    auto options = fastOptions(server.url(), logs);
    options.maxMessageBytes = 1u << 20;
    WebSocketTransport transport(options);
    ASSERT_TRUE(startWatched(transport, watcher));
    server.server().send(server.session(1), std::string(2u << 20, ' '));
    ASSERT_TRUE(watcher.waitState(State::Connected, 2));
    EXPECT_TRUE(logs.has("json ERROR! confsdk:WebSocketTransport::onFrame, json error=a frame longer than 1048576 bytes"));
    server.server().send(server.session(2), R"({"msg":"after"})");
    ASSERT_TRUE(watcher.messages.waitCount(1));
    EXPECT_EQ(watcher.messages.items()[0], R"({"msg":"after"})");
}

// --- TLS ------------------------------------------------------------------------

// A self-signed certificate for `subjectAltName`, made with the openssl tool.
bool makeCertificate(const std::string& dir, const std::string& name, const std::string& altName) {
    const std::string cmd = "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 1"
                            " -subj /CN=orvane-test -addext subjectAltName=" +
                            altName + " -keyout " + dir + "/" + name + ".key -out " + dir + "/" + name +
                            ".pem >/dev/null 2>&1";
    return std::system(cmd.c_str()) == 0;
}

class WebSocketTls : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        char pattern[] = "/tmp/orvane-tls-XXXXXX";
        dir_ = mkdtemp(pattern) ? pattern : "";
        ok_ = !dir_.empty() && makeCertificate(dir_, "good", "IP:127.0.0.1") &&
              makeCertificate(dir_, "other", "DNS:other.example");
    }
    static void TearDownTestSuite() {
        if (!dir_.empty()) std::system(("rm -rf " + dir_).c_str());
    }
    static std::string dir_;
    static bool ok_;
};
std::string WebSocketTls::dir_;
bool WebSocketTls::ok_ = false;

TEST_F(WebSocketTls, TrustedCertificateConnectsAndBadOnesFailClearly) {
    ASSERT_TRUE(ok_) << "openssl could not make the test certificates";
    struct Row {
        const char* name;
        const char* serverCert;  // the server's certificate and key
        const char* caFile;      // what the client trusts besides the system
        bool verify;
        const char* failure;     // empty: it connects
    };
    const Row rows[] = {
        {"trusted", "good", "good", true, ""},
        {"unknown issuer", "good", "", true, "TLS handshake with 127.0.0.1: certificate verify failed (self-signed certificate)"},
        {"another name", "other", "other", true, "TLS handshake with 127.0.0.1: certificate verify failed"},
        {"checks off", "other", "", false, ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        LogCapture logs;
        RecordingServer server(0, dir_ + "/" + row.serverCert + ".pem", dir_ + "/" + row.serverCert + ".key");
        ASSERT_TRUE(server.start());
        EXPECT_EQ(server.url().rfind("wss://127.0.0.1:", 0), 0u);
        TransportWatcher watcher;
        auto options = fastOptions(server.url(), logs);
        options.caFile = *row.caFile ? dir_ + "/" + row.caFile + ".pem" : "";
        options.verifyPeer = row.verify;
        WebSocketTransport transport(options);
        transport.setStateListener(&watcher);
        transport.addProcess(&watcher);
        ASSERT_EQ(transport.start(), 0);
        if (*row.failure == '\0') {
            ASSERT_TRUE(watcher.waitState(State::Connected));
            EXPECT_EQ(transport.sendTextMessage(method("tls")), 0);
            EXPECT_TRUE(server.received.waitCount(1));
            server.server().send(server.session(1), R"({"msg":"tls"})");
            EXPECT_TRUE(watcher.messages.waitCount(1));
        } else {
            ASSERT_TRUE(watcher.waitState(State::Reconnecting));
            const std::string detail = watcher.states.items()[1].second;
            EXPECT_EQ(detail.rfind(row.failure, 0), 0u) << detail;
            EXPECT_TRUE(logs.has(row.failure));
            EXPECT_EQ(server.opened.items().size(), 0u);
        }
    }
}

}  // namespace
