// Runs a program as a child with its standard streams where a test wants
// them: standard input from a file, a FIFO or bytes handed through a pipe,
// standard output into a file or a device such as /dev/full. The child is
// killed if it outlives a deadline, so that a tool that never stops fails
// the test instead of hanging it, and its peak memory is reported.
#pragma once

#include "support/ScratchDir.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace fluxgrid::test {

struct ChildRun {
    /// The exit status, or -1 when a signal ended the child.
    int status = -1;
    int signal = 0;
    /// Killed for outliving the deadline.
    bool timedOut = false;
    std::string out;
    std::string err;
    /// The child's peak resident memory in KiB.
    long maxResidentKiB = 0;
};

/// Where the child's standard streams go, set one by one:
/// `ChildStreams().input("/dev/zero").within(std::chrono::seconds(5))`.
struct ChildStreams {
    /// A file to read standard input from; /dev/null if neither this nor
    /// `stdinBytes` is given.
    std::optional<std::string> stdinPath;
    /// Bytes handed to standard input through a pipe.
    std::optional<std::string> stdinBytes;
    /// Where standard output goes instead of a file that is read back.
    std::optional<std::string> stdoutPath;
    std::chrono::seconds deadline{30};
    /// A limit on the child's address space, in bytes.
    std::optional<rlim_t> addressSpace;

    ChildStreams& input(std::string path) {
        stdinPath = std::move(path);
        return *this;
    }
    ChildStreams& piped(std::string bytes) {
        stdinBytes = std::move(bytes);
        return *this;
    }
    ChildStreams& output(std::string path) {
        stdoutPath = std::move(path);
        return *this;
    }
    ChildStreams& within(std::chrono::seconds limit) {
        deadline = limit;
        return *this;
    }
    ChildStreams& memoryLimit(rlim_t bytes) {
        addressSpace = bytes;
        return *this;
    }
};

inline std::string slurpText(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

inline ChildRun runChild(const std::string& program, const std::vector<std::string>& args,
                         const ChildStreams& streams = {}) {
    ScratchDir scratch;
    const std::string outPath = streams.stdoutPath.value_or(scratch.file("out"));
    const std::string errPath = scratch.file("err");
    int pipeEnds[2] = {-1, -1};
    ChildRun run;
    if (streams.stdinBytes && ::pipe(pipeEnds) != 0) {
        run.err = "cannot make a pipe";
        return run;
    }
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(program.c_str()));
    for (const std::string& arg : args) {
        argv.push_back(const_cast<char*>(arg.c_str()));
    }
    argv.push_back(nullptr);

    const pid_t pid = ::fork();
    if (pid == 0) {
        int in = -1;
        if (streams.stdinBytes) {
            ::close(pipeEnds[1]);
            in = pipeEnds[0];
        } else {
            in = ::open(streams.stdinPath.value_or("/dev/null").c_str(), O_RDONLY);
        }
        const int out = ::open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        const int err = ::open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (in < 0 || out < 0 || err < 0 || ::dup2(in, 0) < 0 || ::dup2(out, 1) < 0 ||
            ::dup2(err, 2) < 0) {
            ::_exit(127);
        }
        if (streams.addressSpace) {
            const rlimit limit{*streams.addressSpace, *streams.addressSpace};
            if (::setrlimit(RLIMIT_AS, &limit) != 0) {
                ::_exit(127);
            }
        }
        ::signal(SIGPIPE, SIG_DFL);
        ::execv(program.c_str(), argv.data());
        ::_exit(127);
    }
    if (pid < 0) {
        run.err = "cannot start " + program;
        return run;
    }
    std::thread writer;
    if (streams.stdinBytes) {
        ::close(pipeEnds[0]);
        // Written from a thread, so that a child that stops reading cannot
        // block the test: once it is gone, the writes fail.
        ::signal(SIGPIPE, SIG_IGN);
        writer = std::thread([fd = pipeEnds[1], bytes = *streams.stdinBytes] {
            std::size_t done = 0;
            while (done < bytes.size()) {
                const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
                if (n <= 0) {
                    break;
                }
                done += static_cast<std::size_t>(n);
            }
            ::close(fd);
        });
    }
    const auto deadline = std::chrono::steady_clock::now() + streams.deadline;
    int wstatus = 0;
    rusage usage{};
    while (::wait4(pid, &wstatus, WNOHANG, &usage) == 0) {
        if (std::chrono::steady_clock::now() > deadline) {
            ::kill(pid, SIGKILL);
            ::wait4(pid, &wstatus, 0, &usage);
            run.timedOut = true;
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    if (WIFEXITED(wstatus)) {
        run.status = WEXITSTATUS(wstatus);
    } else if (WIFSIGNALED(wstatus)) {
        run.signal = WTERMSIG(wstatus);
    }
    if (writer.joinable()) {
        writer.join();
    }
    run.maxResidentKiB = usage.ru_maxrss;
    if (!streams.stdoutPath) {
        run.out = slurpText(outPath);
    }
    run.err = slurpText(errPath);
    return run;
}

/// A process that writes "y" lines into a FIFO until it is stopped, as
/// `yes > fifo` does; stopped and reaped when it goes.
class FifoFeeder {
  public:
    explicit FifoFeeder(const std::string& fifo) {
        m_pid = ::fork();
        if (m_pid == 0) {
            ::signal(SIGPIPE, SIG_DFL);
            const int fd = ::open(fifo.c_str(), O_WRONLY);
            if (fd < 0) {
                ::_exit(127);
            }
            static const char kLines[] = "y\ny\ny\ny\ny\ny\ny\ny\n";
            while (::write(fd, kLines, sizeof kLines - 1) > 0) {
            }
            ::_exit(0);
        }
    }
    ~FifoFeeder() {
        if (m_pid > 0) {
            ::kill(m_pid, SIGKILL);
            ::waitpid(m_pid, nullptr, 0);
        }
    }
    FifoFeeder(const FifoFeeder&) = delete;
    FifoFeeder& operator=(const FifoFeeder&) = delete;

  private:
    pid_t m_pid = -1;
};

/// A program run in the background, for tests that signal it midway.
class StartedChild {
  public:
    /// Starts `program` with `args`; standard input is /dev/null, standard
    /// output and error go to the files `outPath` and `errPath`.
    StartedChild(const std::string& program, const std::vector<std::string>& args,
                 std::filesystem::path outPath, std::filesystem::path errPath)
        : m_outPath(std::move(outPath)), m_errPath(std::move(errPath)) {
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions, 1, m_outPath.c_str(),
                                         O_WRONLY | O_CREAT | O_TRUNC, 0644);
        posix_spawn_file_actions_addopen(&actions, 2, m_errPath.c_str(),
                                         O_WRONLY | O_CREAT | O_TRUNC, 0644);
        std::vector<char*> argv;
        argv.push_back(const_cast<char*>(program.c_str()));
        for (const std::string& arg : args) {
            argv.push_back(const_cast<char*>(arg.c_str()));
        }
        argv.push_back(nullptr);
        if (posix_spawn(&m_pid, program.c_str(), &actions, nullptr, argv.data(), environ) != 0) {
            m_pid = -1;
        }
        posix_spawn_file_actions_destroy(&actions);
    }

    pid_t pid() const { return m_pid; }

    /// Waits until the run stops itself (SIGSTOP); false if it ended instead.
    bool waitUntilStopped() const {
        int status = 0;
        return m_pid > 0 && ::waitpid(m_pid, &status, WUNTRACED) == m_pid && WIFSTOPPED(status);
    }

    /// Waits for the end of the run and collects what it printed.
    ChildRun finish() const {
        ChildRun run;
        if (m_pid <= 0) {
            run.err = "the program could not be started";
            return run;
        }
        int status = 0;
        ::waitpid(m_pid, &status, 0);
        if (WIFEXITED(status)) {
            run.status = WEXITSTATUS(status);
        } else if (WIFSIGNALED(status)) {
            run.signal = WTERMSIG(status);
        }
        run.out = slurpText(m_outPath);
        run.err = slurpText(m_errPath);
        return run;
    }

  private:
    std::filesystem::path m_outPath;
    std::filesystem::path m_errPath;
    pid_t m_pid = -1;
};

}  // namespace fluxgrid::test
