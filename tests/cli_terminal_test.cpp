// orvane-cli at a terminal: a prompt, line editing, history, and Ctrl-C,
// which leaves the meeting and ends the program. The client runs on a
// pseudo-terminal of its own, typed at as a user would.
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <string>

namespace {

using namespace std::chrono_literals;

class Terminal {
public:
    Terminal() {
        winsize size{};
        size.ws_row = 40;
        size.ws_col = 120;
        pid_ = forkpty(&master_, nullptr, nullptr, &size);
        if (pid_ == 0) {
            setenv("TERM", "xterm", 1);
            execl(ORVANE_CLI, ORVANE_CLI, static_cast<char*>(nullptr));
            _exit(127);
        }
    }
    ~Terminal() {
        if (pid_ > 0 && !exited_) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
        }
        if (master_ >= 0) close(master_);
    }
    bool started() const { return pid_ > 0; }

    void type(const std::string& keys) { ASSERT_EQ(write(master_, keys.data(), keys.size()), ssize_t(keys.size())); }

    // Reads until `text` has appeared `times` times in all that was shown.
    bool shows(const std::string& text, int times = 1, std::chrono::seconds limit = 15s) {
        const auto deadline = std::chrono::steady_clock::now() + limit;
        while (count(text) < times) {
            if (std::chrono::steady_clock::now() > deadline || !readSome(100)) {
                if (std::chrono::steady_clock::now() > deadline) return false;
            }
        }
        return true;
    }
    int count(const std::string& text) const {
        int n = 0;
        for (size_t at = shown_.find(text); at != std::string::npos; at = shown_.find(text, at + 1)) ++n;
        return n;
    }
    // The exit status, -1 if it has not ended in time.
    int exitStatus(std::chrono::seconds limit = 15s) {
        const auto deadline = std::chrono::steady_clock::now() + limit;
        while (std::chrono::steady_clock::now() < deadline) {
            readSome(50);
            int status = 0;
            if (waitpid(pid_, &status, WNOHANG) == pid_) {
                exited_ = true;
                return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
            }
        }
        return -1;
    }
    const std::string& shown() const { return shown_; }

private:
    bool readSome(int ms) {
        pollfd fd{master_, POLLIN, 0};
        if (poll(&fd, 1, ms) <= 0) return false;
        char buffer[4096];
        const ssize_t n = read(master_, buffer, sizeof buffer);
        if (n <= 0) return false;
        shown_.append(buffer, static_cast<size_t>(n));
        return true;
    }

    int master_ = -1;
    pid_t pid_ = -1;
    bool exited_ = false;
    std::string shown_;
};

}  // namespace

TEST(CliAtATerminal, PromptLineEditingHistoryAndCtrlCLeaves) {
    Terminal t;
    ASSERT_TRUE(t.started());
    ASSERT_TRUE(t.shows("orvane> ")) << t.shown();
    ASSERT_TRUE(t.shows("AVSTATE_IDLE")) << t.shown();

    // "call 8001" typed with a slip that is rubbed out.
    t.type("call 80011\x7f\r");
    ASSERT_TRUE(t.shows("AVSTATE_IN_MEETING")) << t.shown();
    EXPECT_TRUE(t.shows("startconf {\"conferenceDialNumber\":\"8001\"}")) << t.shown();

    // The previous line again, with the arrow key.
    t.type("state\r");
    ASSERT_TRUE(t.shows("conference running: yes")) << t.shown();
    t.type("\x1b[A\r");
    EXPECT_TRUE(t.shows("conference running: yes", 2)) << t.shown();

    // A bad line is refused with its usage; the prompt comes back.
    t.type("mute maybe\r");
    EXPECT_TRUE(t.shows("mute: maybe is not on or off")) << t.shown();
    EXPECT_TRUE(t.shows("usage: mute on|off")) << t.shown();

    // Ctrl-C: the meeting is left, the servers hear BYE, the program ends.
    t.type("\x03");
    EXPECT_TRUE(t.shows("interrupted")) << t.shown();
    EXPECT_TRUE(t.shows("leaveconf")) << t.shown();
    EXPECT_TRUE(t.shows("wire>    BYE")) << t.shown();
    EXPECT_EQ(t.exitStatus(), 130) << t.shown();
}

TEST(CliAtATerminal, EndOfInputEndsWithoutAMeeting) {
    Terminal t;
    ASSERT_TRUE(t.started());
    ASSERT_TRUE(t.shows("orvane> ")) << t.shown();
    t.type("\x04");
    EXPECT_EQ(t.exitStatus(), 0) << t.shown();
    EXPECT_EQ(t.count("leaveconf"), 0);
}
