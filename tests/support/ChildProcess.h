#pragma once
// Runs another program for tests (the ringfold-scan binary, du, find, setpriv) with
// its standard output and standard error captured through pipes: start() spawns with
// posix_spawnp (PATH is searched), finish() reads both pipes to their end and reaps
// the child, killing it when the time limit passes. One object per child, one thread.

#include <chrono>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace ringfold::test {

struct CommandResult {
    /// Exit status when the child exited normally, else -1.
    int exitCode = -1;
    bool timedOut = false;
    std::string out;
    std::string err;
};

class ChildProcess {
public:
    ChildProcess() = default;
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Signals the next child starts with blocked (else none): one sent to it stays
    /// pending until the child unblocks it. Every disposition starts as the default.
    void setBlockedSignals(std::vector<int> signals) { m_blocked = std::move(signals); }
    /// Spawns `argv` (argv[0] searched in PATH). Throws std::runtime_error on failure.
    void start(const std::vector<std::string>& argv);
    pid_t pid() const { return m_pid; }
    /// Reads both pipes to their end and waits for the child; after `timeout` the child
    /// is killed with SIGKILL and the result says so.
    CommandResult finish(std::chrono::milliseconds timeout = std::chrono::seconds(120));

private:
    pid_t m_pid = -1;
    std::vector<int> m_blocked;
    int m_fds[2] = {-1, -1}; // read ends of standard output and standard error
};

/// Runs a command to its end and returns what it printed and how it ended.
CommandResult runCommand(const std::vector<std::string>& argv,
                         std::chrono::milliseconds timeout = std::chrono::seconds(120));

} // namespace ringfold::test
