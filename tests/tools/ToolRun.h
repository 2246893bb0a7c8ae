// Runs the built fluxgrid tool with its standard output and error caught in
// files, either to the end or started in the background so that a test can
// signal it while it works.
#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace fluxgrid::test {

struct ToolRun {
    /// The exit status, or -1 when a signal ended the run.
    int status = -1;
    /// The signal that ended the run, or 0.
    int signal = 0;
    std::string out;
    std::string err;
};

/// A run of the tool in the background.
class StartedTool {
  public:
    /// Starts `program` with `args`; standard input is /dev/null, standard
    /// output and error go to the files `outPath` and `errPath`.
    StartedTool(const std::string& program, const std::vector<std::string>& args,
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
    ToolRun finish() const {
        ToolRun run;
        if (m_pid <= 0) {
            run.err = "the tool could not be started";
            return run;
        }
        int status = 0;
        ::waitpid(m_pid, &status, 0);
        if (WIFEXITED(status)) {
            run.status = WEXITSTATUS(status);
        } else if (WIFSIGNALED(status)) {
            run.signal = WTERMSIG(status);
        }
        run.out = slurp(m_outPath);
        run.err = slurp(m_errPath);
        return run;
    }

  private:
    static std::string slurp(const std::filesystem::path& path) {
        std::ifstream in(path, std::ios::binary);
        std::ostringstream text;
        text << in.rdbuf();
        return text.str();
    }

    std::filesystem::path m_outPath;
    std::filesystem::path m_errPath;
    pid_t m_pid = -1;
};

}  // namespace fluxgrid::test
