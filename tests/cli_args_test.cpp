// orvane-cli's command line, read strictly: each bad argument is refused
// with a message that names it; good ones land where they belong.
#include <gtest/gtest.h>

#include "cli_args.h"

using orvcli::Options;
using orvcli::UsageError;

namespace {

struct BadRow {
    std::vector<std::string> args;
    const char* error;
};

const BadRow kBad[] = {
    {{"--platform", "XX"}, "--platform: XX is not QV or QC"},
    {{"--platform"}, "--platform: QV|QC is missing"},
    {{"--script"}, "--script: FILE is missing"},
    {{"--trace", ""}, "--trace: the value is empty"},
    {{"--ignore", "REGISTR"},
     "--ignore: REGISTR is not one of REGISTER, UNREGISTER, INVITE, ACCEPTED, ACK, OK, UPDATE, BYE or ERROR"},
    {{"--wire"}, "unknown option --wire"},
    {{"--verbose", "demo.orv"}, "unexpected argument demo.orv"},
};

}  // namespace

TEST(CliOptions, EveryBadArgumentIsNamed) {
    for (const BadRow& row : kBad) {
        SCOPED_TRACE(row.error);
        try {
            orvcli::parseOptions(row.args);
            ADD_FAILURE() << "accepted";
        } catch (const UsageError& e) {
            EXPECT_EQ(std::string(e.what()), row.error);
        }
    }
}

TEST(CliOptions, GoodArgumentsAreTaken) {
    const Options o = orvcli::parseOptions({"--platform", "QC", "--ignore", "REGISTER", "--script", "s.orv",
                                            "--trace", "w.jsonl", "--record", "r.session", "--log", "l.log",
                                            "--ignore", "ACK", "--verbose"});
    EXPECT_EQ(o.platform, "QC");
    EXPECT_EQ(o.ignore, (std::vector<std::string>{"REGISTER", "ACK"}));
    EXPECT_EQ(o.script, "s.orv");
    EXPECT_EQ(o.traceFile, "w.jsonl");
    EXPECT_EQ(o.recordFile, "r.session");
    EXPECT_EQ(o.logFile, "l.log");
    EXPECT_TRUE(o.verbose);
    EXPECT_FALSE(o.help);
    EXPECT_TRUE(orvcli::parseOptions({"--help"}).help);
    const Options plain = orvcli::parseOptions({});
    EXPECT_EQ(plain.platform, "QV");
    EXPECT_FALSE(plain.verbose);
}

TEST(CliOptions, UsageShowsEveryOption) {
    EXPECT_EQ(orvcli::usageLine(),
              "usage: orvane-cli [--script FILE] [--trace FILE] [--record FILE] [--log FILE] [--verbose] "
              "[--platform QV|QC] [--ignore SIGNAL]... [--server URL] [--ca FILE] [--help]");
    EXPECT_EQ(orvcli::usageOf("mute"), "usage: mute on|off");
    EXPECT_EQ(orvcli::usageOf("portal"), "usage: portal sync on|off\nusage: portal mute NAME on|off\n"
                                         "usage: portal lock on|off");
}
