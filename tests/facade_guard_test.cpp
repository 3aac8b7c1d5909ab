// The exported services and the control channel reach the engine's and the
// transport's code: whatever that throws must stop at the interface, and
// what it answers must come through unchanged. Linked against the shared
// library, one library instance in this process.
#include <gtest/gtest.h>
#include <orvane/orvane.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using ORVANE::ConfSDK;

// How the engine's services behave.
enum class Mode { Answer, Throw };
Mode g_mode = Mode::Answer;
bool g_throwOnGet = false;
constexpr int kAnswer = 7;

int answer() {
    if (g_mode == Mode::Throw) throw std::runtime_error("engine failure");
    return kAnswer;
}

class Interpretation : public ORVANE::AvInterpretationService {
public:
    std::vector<std::string> interpretationList() override { return {std::to_string(answer())}; }
    int interpretationUserSet(const std::string&, int, int) override { return answer(); }
    int interpretationUserClear(const std::string&) override { return answer(); }
    int interpretationUserChange(const std::string&, int, int) override { return answer(); }
    int interpretationStart() override { return answer(); }
    int interpretationStop() override { return answer(); }
};

class UiControl : public ORVANE::AvUiControlService {
public:
    int uiControlCall() override { return answer(); }
};

class Engine : public ORVANE::AVSDKBase {
public:
    ORVANE::AvInterpretationService* getInterpretationService() override {
        if (g_throwOnGet) throw std::runtime_error("no service today");
        return &interpretation;
    }
    ORVANE::AvUiControlService* getUiControlService() override {
        if (g_throwOnGet) throw std::runtime_error("no service today");
        return &ui;
    }
    int setLayout(std::vector<ORVANE::AvLayoutItem>& items, int, int) override {
        layoutCells = items.size();
        return answer();
    }
    Interpretation interpretation;
    UiControl ui;
    size_t layoutCells = 0;
};

class Transport : public ORVANE::TransSDK {
public:
    int addProcess(Process*) override { throw std::runtime_error("cannot register"); }
    int sendTextMessage(const std::string& text) override {
        sent.push_back(text);
        throw std::runtime_error("connection lost");
    }
    bool isGuestLogined() override { return false; }
    std::string getErrMsgFromId(std::string) override { return {}; }
    std::vector<std::string> sent;
};

// The engine and the library live until the process ends.
Engine g_engine;

ConfSDK& library() {
    static ConfSDK* sdk = [] {
        ConfSDK* s = ORVANE::OrvaneSDK_Factory::createInstance("QC", "");
        s->setOrvaneLogger(std::make_shared<spdlog::logger>("quiet", std::make_shared<spdlog::sinks::null_sink_mt>()));
        ORVANE::AVSDK_Factory::setCreator([](const std::string&, const std::string&) { return &g_engine; });
        s->initMediaService("QC", "");
        return s;
    }();
    return *sdk;
}

// One engine service call through the library, and what it gives when the
// engine answers kAnswer and when the engine throws.
struct ServiceRow {
    const char* name;
    std::function<int(ConfSDK&)> call;
    int answered;
    int thrown;
};

ConfSDK::ConfInterpretationService& interpretation(ConfSDK& sdk) {
    return *sdk.getConfControlService().getConfInterpretationService();
}

int listSize(ConfSDK& sdk) {
    auto list = interpretation(sdk).interpretationList();
    return list.empty() ? -1 : std::stoi(list.front());
}

const ServiceRow kServiceRows[] = {
    {"interpretationList", listSize, kAnswer, -1},
    {"interpretationUserSet", [](ConfSDK& s) { return interpretation(s).interpretationUserSet("dev-1", 1, 2); },
     kAnswer, -1},
    {"interpretationUserClear", [](ConfSDK& s) { return interpretation(s).interpretationUserClear("dev-1"); },
     kAnswer, -1},
    {"interpretationUserChange",
     [](ConfSDK& s) { return interpretation(s).interpretationUserChange("dev-1", 1, 2); }, kAnswer, -1},
    {"interpretationStart", [](ConfSDK& s) { return interpretation(s).interpretationStart(); }, kAnswer, -1},
    {"interpretationStop", [](ConfSDK& s) { return interpretation(s).interpretationStop(); }, kAnswer, -1},
    {"uiControlCall",
     [](ConfSDK& s) { return s.getConfControlService().getConfUiControlService()->uiControlCall(); }, kAnswer, -1},
    // The engine's answer to a layout is not read: 0 either way.
    {"setLayout",
     [](ConfSDK& s) {
         return s.getConfControlService().setLayout({ORVANE::LayoutItem{}, ORVANE::LayoutItem{}}, 0, 0);
     },
     0, 0},
};

}  // namespace

TEST(FacadeGuard, EngineServicesPassAnswersAndStopExceptions) {
    ConfSDK& sdk = library();
    g_throwOnGet = false;
    ASSERT_NE(sdk.getConfControlService().getConfInterpretationService(), nullptr);
    ASSERT_NE(sdk.getConfControlService().getConfUiControlService(), nullptr);
    for (Mode mode : {Mode::Answer, Mode::Throw}) {
        g_mode = mode;
        for (const ServiceRow& row : kServiceRows) {
            SCOPED_TRACE(std::string(row.name) + (mode == Mode::Throw ? ", engine throws" : ", engine answers"));
            int got = 0;
            EXPECT_NO_THROW(got = row.call(sdk));
            EXPECT_EQ(got, mode == Mode::Throw ? row.thrown : row.answered);
        }
    }
    g_mode = Mode::Answer;
    EXPECT_EQ(g_engine.layoutCells, 2u) << "the layout reached the engine";
}

TEST(FacadeGuard, AServiceTheEngineFailsToGiveIsNone) {
    ConfSDK& sdk = library();
    // Start from the services the engine does give, so a null below is the library's answer.
    g_throwOnGet = false;
    ConfSDK::ConfInterpretationService* interp = sdk.getConfControlService().getConfInterpretationService();
    ConfSDK::ConfUiControlService* ui = sdk.getConfControlService().getConfUiControlService();
    ASSERT_NE(interp, nullptr);
    ASSERT_NE(ui, nullptr);
    g_throwOnGet = true;
    EXPECT_NO_THROW(interp = sdk.getConfControlService().getConfInterpretationService());
    EXPECT_NO_THROW(ui = sdk.getConfControlService().getConfUiControlService());
    EXPECT_EQ(interp, nullptr);
    EXPECT_EQ(ui, nullptr);
    g_throwOnGet = false;
}

TEST(FacadeGuard, LayoutCatalogueAndOrdersComeThrough) {
    ConfSDK::ConfControlService& control = library().getConfControlService();
    EXPECT_FALSE(control.isRunning());

    // A 16:9 picture in a 1600 x 1000 container: full width, centred.
    const ORVANE::Rect fitted = control.fitRect({0, 0, 1600, 1000}, 16, 9);
    EXPECT_EQ(fitted, (ORVANE::Rect{0, 50, 1600, 950}));
    // The one participant of a gallery fills a cell inside the container.
    const ORVANE::Rect cell = control.getCellRect({0, 0, 1600, 900}, 20, 1, 0);
    EXPECT_GT(cell.right - cell.left, 0);
    EXPECT_GT(cell.bottom - cell.top, 0);
    int width = 0, height = 0;
    control.getLayoutSize({}, 20, 1, &width, &height);
    EXPECT_GT(width, 0);
    EXPECT_GT(height, 0);
    EXPECT_NE(control.computeCellRect({0, 0, 1000, 1000}, 0, 0, 2, 2, 0, 0, 0, 1, 0, 1), ORVANE::Rect{});

    control.setLayoutOrder("guard", {"b", "a"});
    EXPECT_EQ(control.getLayoutOrder("guard"), (std::vector<std::string>{"b", "a"}));
    EXPECT_EQ(control.mergeLayoutOrder("guard", {"a", "c", "b"}), (std::vector<std::string>{"b", "a", "c"}));
}

TEST(FacadeGuard, ControlChannelStopsTheTransportsExceptions) {
    Transport transport;
    ORVANE::ControlSDK channel;
    EXPECT_NO_THROW(channel.setOrvaneTrans(&transport));
    EXPECT_NO_THROW(channel.sendCommand(ORVANE::CONF::INFO, R"({"confid":"c1"})"));
    ASSERT_EQ(transport.sent.size(), 1u) << "the request reached the transport";
    EXPECT_NE(transport.sent[0].find("/conference/c1"), std::string::npos);
}
