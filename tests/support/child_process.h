#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "inbox.h"

namespace orvtest {

// A program run for a test, its standard input fed by the test and its
// standard output read line by line. It is killed when the object goes, so
// no test leaves a process behind.
class ChildProcess {
public:
    explicit ChildProcess(std::vector<std::string> argv) {
        int in[2], out[2];
        // Close-on-exec, so that no other child holds these pipes open.
        if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0) return;
        pid_ = fork();
        if (pid_ == 0) {
            dup2(in[0], STDIN_FILENO);
            dup2(out[1], STDOUT_FILENO);
            const int null = open("/dev/null", O_WRONLY);
            if (null >= 0) dup2(null, STDERR_FILENO);
            for (int fd : {in[0], in[1], out[0], out[1]}) close(fd);
            std::vector<char*> args;
            for (auto& a : argv) args.push_back(a.data());
            args.push_back(nullptr);
            execv(args[0], args.data());
            _exit(127);
        }
        close(in[0]);
        close(out[1]);
        input_ = in[1];
        output_ = out[0];
        reader_ = std::thread([this] { readLines(); });
    }
    ~ChildProcess() {
        kill(SIGKILL);
        wait();
        if (input_ >= 0) ::close(input_);
        if (reader_.joinable()) reader_.join();
        if (output_ >= 0) ::close(output_);
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    bool running() const { return pid_ > 0 && !exited_; }

    // One line to the program's standard input.
    void type(const std::string& line) {
        const std::string text = line + "\n";
        if (input_ >= 0) (void)!::write(input_, text.data(), text.size());
    }
    void closeInput() {
        if (input_ >= 0) ::close(input_);
        input_ = -1;
    }
    void kill(int signal) {
        if (running()) ::kill(pid_, signal);
    }
    // The exit status, or -1 when it has not ended within `limit`.
    int wait(std::chrono::milliseconds limit = std::chrono::seconds(10)) {
        if (pid_ <= 0) return -1;
        if (exited_) return status_;
        const auto end = std::chrono::steady_clock::now() + limit;
        for (;;) {
            int status = 0;
            if (waitpid(pid_, &status, WNOHANG) == pid_) {
                exited_ = true;
                status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
                return status_;
            }
            if (std::chrono::steady_clock::now() > end) return -1;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }

    // The first line from `from` on (a count of lines) that matches
    // `pattern`: its index, or -1 when none came within `limit`.
    int expect(const std::string& pattern, std::size_t from = 0,
               std::chrono::milliseconds limit = std::chrono::seconds(15)) {
        const std::regex re(pattern);
        int found = -1;
        lines.waitUntil(
            [&](const std::vector<std::string>& all) {
                for (std::size_t i = from; i < all.size(); ++i)
                    if (std::regex_search(all[i], re)) {
                        found = static_cast<int>(i);
                        return true;
                    }
                return false;
            },
            limit);
        return found;
    }
    std::size_t lineCount() const { return lines.items().size(); }
    std::string text() const {
        std::string all;
        for (const auto& l : lines.items()) all += l + "\n";
        return all;
    }

    Inbox<std::string> lines;

private:
    void readLines() {
        std::string pending;
        char buffer[4096];
        for (;;) {
            const ssize_t n = ::read(output_, buffer, sizeof buffer);
            if (n <= 0) break;
            pending.append(buffer, static_cast<std::size_t>(n));
            for (std::size_t nl; (nl = pending.find('\n')) != std::string::npos;) {
                lines.add(pending.substr(0, nl));
                pending.erase(0, nl + 1);
            }
        }
        if (!pending.empty()) lines.add(pending);
    }

    pid_t pid_ = -1;
    int input_ = -1;
    int output_ = -1;
    bool exited_ = false;
    int status_ = -1;
    std::thread reader_;
};

}  // namespace orvtest
