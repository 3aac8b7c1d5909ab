// The REST builders as the control channel reaches them: every case of
// data/rest_commands.txt, then what the file can't say.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <atomic>
#include <fstream>
#include <thread>

#include "ServerInteraction/orvanecmdtojson.h"
#include "ctrlsdk_utils.h"
#include "log_capture.h"
#include "orvane/vocabulary.h"

using namespace CtrlSDKUtils::OrvaneCmdToJson;
using orvtest::LogCapture;
namespace CONF = ORVANE::CONF;

namespace {

struct RestCase {
    int line = 0;
    std::string type, data, field, expected, log;
};

// The cases of the data file; a line that fits no case fails the test.
std::vector<RestCase> readCases(const std::string& path) {
    std::ifstream in(path);
    EXPECT_TRUE(in) << path;
    std::vector<RestCase> cases;
    std::string line;
    for (int n = 1; std::getline(in, line); ++n) {
        if (line.empty() || line[0] == '#') continue;
        if (line[0] != ' ') {
            cases.emplace_back();
            cases.back().line = n;
            const size_t space = line.find(' ');
            cases.back().type = line.substr(0, space);
            if (space != std::string::npos) cases.back().data = line.substr(space + 1);
            continue;
        }
        const size_t start = line.find_first_not_of(' ');
        const size_t space = line.find(' ', start);
        const std::string word = line.substr(start, space - start);
        const std::string value = space == std::string::npos ? "" : line.substr(space + 1);
        if (cases.empty()) {
            ADD_FAILURE() << "line " << n << " stands before any case";
        } else if (word == "log") {
            std::string& log = cases.back().log = value;
            for (size_t at; (at = log.find("\\n")) != std::string::npos;) log.replace(at, 2, "\n");
        } else if (word == "wire" || word == "url" || word == "payload") {
            cases.back().field = word;
            cases.back().expected = value;
        } else {
            ADD_FAILURE() << "line " << n << ": no such word " << word;
        }
    }
    return cases;
}

// One field of the request inside a wire text.
std::string param(const std::string& wire, const std::string& key) {
    const auto j = nlohmann::json::parse(wire, nullptr, false);
    return j.is_object() ? j.at("params").at(0).at(key).get<std::string>() : "(no request: " + wire + ")";
}

// A soft client logged in as user-7 on device dev-9.
struct RestTable : ::testing::Test {
    RestTable() { setCmdIdentity(false, "dev-9", "Desk", "user-7", ""); }
    LogCapture logs;
};

}  // namespace

TEST_F(RestTable, EveryCaseOfTheDataFile) {
    const auto cases = readCases(ORVANE_REST_DATA);
    ASSERT_GT(cases.size(), 100u);
    for (const RestCase& c : cases) {
        SCOPED_TRACE("rest_commands.txt:" + std::to_string(c.line) + " " + c.type + " with " + c.data);
        const RestBuilder build = restBuilderFor(c.type);
        if (!build || c.field.empty()) {
            ADD_FAILURE() << (build ? "nothing expected" : "not routed");
            continue;
        }
        logs.clear();
        if (c.expected == "throws") {
            EXPECT_THROW(build(c.type, c.data), nlohmann::json::exception);
        } else {
            std::string wire;
            EXPECT_NO_THROW(wire = build(c.type, c.data));
            if (c.expected == "refused") EXPECT_EQ(wire, "");
            else EXPECT_EQ(c.field == "wire" ? wire : param(wire, c.field), c.expected);
        }
        const auto lines = logs.lines();
        EXPECT_EQ(lines.size(), c.log.empty() ? 0u : 1u) << (lines.empty() ? "" : lines[0].text);
        if (lines.size() != 1 || c.log.empty()) continue;
        EXPECT_EQ(lines[0].text, c.log);
        EXPECT_EQ(lines[0].level, spdlog::level::err);
        // Recorded under the builder the text names.
        const std::string named = c.log.substr(0, c.log.find(": "));
        const std::string& function = lines[0].function;
        EXPECT_EQ(function.substr(function.size() - std::min(function.size(), named.size())), named);
    }
}

// LAYOUT and ROOMCREATE have builders, but the channel sends neither.
TEST_F(RestTable, BuiltButNotRouted) {
    for (const char* type : {CONF::LAYOUT, CONF::ROOMCREATE, CONF::CONTROLCOMMANDRESP, "confsearch@2", ""})
        EXPECT_FALSE(restBuilderFor(type)) << type;
    EXPECT_EQ(confControl_layout(R"({"confid":"c1","layout":"2x2"})"),
              R"({"id":"confControllayout","method":"quelmar","msg":"method","params":[{"payload":"null","type":"put","url":"/api/quelmar/confmgr/1.0/conference/c1/control/layout?layout=2x2"}]})");
    EXPECT_EQ(room_create(R"({"payload":"{\"name\":\"Blue\"}"})"),
              R"({"id":"confRoomcreate","method":"quelmar","msg":"method","params":[{"payload":"{\"name\":\"Blue\"}","type":"put","url":"/api/quelmar/confmgr/1.0/meetingroom/"}]})");
    EXPECT_EQ(room_create("{}"), "");
}

TEST_F(RestTable, SearchesFollowTheIdentity) {
    const auto url = [](const std::string& wire) { return param(wire, "url"); };
    setCmdIdentity(true, "dev-9", "Room", "user-7", "");
    EXPECT_EQ(url(conf_search(CONF::SEARCH, "{}")), "/api/quelmar/confmgr/2.0/conference/search?&participantid=dev-9");
    EXPECT_EQ(url(room_search(CONF::ROOMSEARCH, "")), "/api/quelmar/confmgr/2.0/meetingroom/search?deviceid=dev-9");
    EXPECT_EQ(url(devicemgr_put_extension(R"({"extension":"1"})")), "/api/quelmar/devicemgr/1.0/device/dev-9/extension");
    setCmdIdentity(false, "", "", "", "");
    EXPECT_EQ(url(conf_search(CONF::SEARCH, "{}")), "/api/quelmar/confmgr/2.0/conference/search?&participantid=");
    // The type given is the id, whatever it is.
    EXPECT_EQ(nlohmann::json::parse(conf_search("confsearch@2", "{}")).at("id"), "confsearch@2");
}

TEST(RestEnvelope, SortedCompactAndTolerantOfBadUtf8) {
    EXPECT_EQ(restEnvelope("i", "/u?a=1&b=é", "get", "\"q\""),
              R"({"id":"i","method":"quelmar","msg":"method","params":[{"payload":"\"q\"","type":"get","url":"/u?a=1&b=é"}]})");
    EXPECT_EQ(restEnvelope("i", "/u/\xff", "get", "null"),
              R"({"id":"i","method":"quelmar","msg":"method","params":[{"payload":"null","type":"get","url":"/u/�"}]})");
    // A plain message is written around its url in the url's buffer: short
    // and long urls, with and without the room reserved, come out the same.
    for (const size_t length : {0, 1, 40, 300}) {
        const std::string path(length, 'p');
        for (const size_t room : {0, 1024}) {
            std::string url = path;
            url.reserve(room);
            const nlohmann::json expected = {
                {"id", "confinfo"},
                {"method", "quelmar"},
                {"msg", "method"},
                {"params", {{{"payload", "null"}, {"type", "get"}, {"url", path}}}}};
            EXPECT_EQ(restEnvelope("confinfo", std::move(url), "get", "null"), CtrlSDKUtils::dump(expected))
                << length << " bytes, room " << room;
        }
    }
}

// Messages written from their parts quote their texts exactly as the JSON
// library would: every byte that needs escaping, in each position.
TEST(RestEnvelope, TextsAreQuotedAsTheJsonLibraryQuotesThem) {
    const std::string texts[] = {
        "",
        "plain /api/quelmar/1.0?a=1&b=2",
        "\"quoted\" and back\\slash",
        std::string("nul\0in the middle", 18),
        "\b\f\n\r\t",
        "\x01\x1f\x7f end",
        "é ü 中文",
        "bad \xff\xfe utf-8 \"quoted\"",
        "\"",
        "\x1f",
    };
    for (const std::string& text : texts) {
        std::string written = "prefix";
        CtrlSDKUtils::appendJsonString(written, text);
        EXPECT_EQ(written, "prefix" + CtrlSDKUtils::dump(nlohmann::json(text))) << text;
    }
    // Texts are scanned eight bytes at a time: each byte that needs escaping,
    // and its neighbours that do not, at every place of the first three words.
    const char bytes[] = {'\0', '\x1f', ' ', '!', '"', '#', '[', '\\', ']', '\x7f', '\x80', '\xff'};
    for (const char b : bytes) {
        for (size_t at = 0; at < 24; ++at) {
            std::string text(24, 'a');
            text[at] = b;
            std::string written;
            CtrlSDKUtils::appendJsonString(written, text);
            EXPECT_EQ(written, CtrlSDKUtils::dump(nlohmann::json(text))) << "byte " << int(b) << " at " << at;
        }
    }
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
