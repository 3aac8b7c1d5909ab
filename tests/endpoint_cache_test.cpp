// The endpoint cache: when it can vouch for an entry without reading the
// engine's users again, and what a reading of them changes.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "endpoint_cache.h"

using namespace ORVANE;

namespace {

AvUserMap usersOf(std::initializer_list<const char*> ids) {
    AvUserMap users;
    for (const char* id : ids) users[id] = AvUserInfo();
    return users;
}

struct Case {
    const char* name;
    std::function<void(EndpointCache&)> steps;
    std::vector<std::string> needRead;  // of "a", "b", "z": those that need it
};

}  // namespace

TEST(EndpointCache, WhenTheEnginesUsersMustBeReadAgain) {
    const Case cases[] = {
        {"nothing read yet", [](EndpointCache&) {}, {"a", "b", "z"}},
        {"read: every entry, and every user missing from both", [](EndpointCache& c) { c.applyEngineUsers(usersOf({"a"})); }, {}},
        {"an entry dropped since",
         [](EndpointCache& c) {
             c.applyEngineUsers(usersOf({"a", "b"}));
             c.erase("a");
         },
         {"a"}},
        {"an older id of a device given to another",
         [](EndpointCache& c) {
             c.applyEngineUsers(usersOf({"a"}));
             c.tieToDevice("a", "dev", "Ann");
             c.tieToDevice("b", "dev", "Ann");
         },
         {"a"}},
        {"the device's older id alone",
         [](EndpointCache& c) {
             c.applyEngineUsers(usersOf({"a"}));
             c.tieToDevice("a", "dev", "Ann");
             c.tieToDevice("", "dev", "");
         },
         {"a"}},
        {"a change of users reported",
         [](EndpointCache& c) {
             c.applyEngineUsers(usersOf({"a"}));
             c.engineUsersChanged();
         },
         {"a", "b", "z"}},
        {"cleared",
         [](EndpointCache& c) {
             c.applyEngineUsers(usersOf({"a"}));
             c.clear();
         },
         {"a", "b", "z"}},
        {"a reading forgets what was dropped before it",
         [](EndpointCache& c) {
             c.applyEngineUsers(usersOf({"a"}));
             c.erase("a");
             c.applyEngineUsers(usersOf({}));
         },
         {}},
    };
    for (const Case& row : cases) {
        EndpointCache cache;
        row.steps(cache);
        for (const char* id : {"a", "b", "z"}) {
            const bool expected = std::count(row.needRead.begin(), row.needRead.end(), id) != 0;
            EXPECT_EQ(cache.needsEngineUsers(id), expected) << row.name << ", user " << id;
        }
    }
}

TEST(EndpointCache, AReadingTakesTheEnginesViewAndKeepsTheRest) {
    EndpointCache cache;
    cache.tieToDevice("b", "dev-b", "Bob");
    cache.tieToDevice("d", "dev-d", "Dan");
    cache.edit([](EndpointCache::Editor& e) { e.entry("d").adminMute = true; });
    AvUserMap users;
    users["a"].audioMuted = true;
    users["b"].isHost = true;
    users["c"].videoMuted = true;
    users["c"].isCohost = true;
    cache.applyEngineUsers(users);

    ASSERT_EQ(cache.size(), 4u);
    cache.edit([](EndpointCache::Editor& e) {
        const EpStatus* a = e.find("a");
        const EpStatus* b = e.find("b");
        const EpStatus* c = e.find("c");
        const EpStatus* d = e.find("d");
        ASSERT_TRUE(a && b && c && d);
        EXPECT_TRUE(a->adminMute && !a->videoMute && !a->isHost);
        EXPECT_TRUE(b->isHost && !b->adminMute);
        EXPECT_EQ(b->name, "Bob");
        EXPECT_TRUE(c->videoMute && c->isCohost && !c->adminMute);
        EXPECT_TRUE(d->adminMute);  // not the engine's: left as it was
    });
    // New entries have no device yet; the first of them in id order answers.
    EXPECT_EQ(cache.userIdOfDevice(""), "a");
    EXPECT_EQ(cache.userIdOfDevice("dev-b"), "b");
    EXPECT_EQ(cache.userIdOfDevice("dev-d"), "d");
    cache.tieToDevice("a", "dev-a", "Ann");
    EXPECT_EQ(cache.userIdOfDevice(""), "c");
}
