#pragma once
// Runs another program for tests (the ringfold-scan binary, du, find, setpriv, sh) to its
// end, with its standard output and standard error captured through pipes.

#include <chrono>
#include <string>
#include <vector>

namespace ringfold::test {

struct CommandResult {
    /// Exit status when the child exited normally, else -1.
    int exitCode = -1;
    bool timedOut = false;
    std::string out;
    std::string err;
};

/// Spawns `argv` (argv[0] searched in PATH) with every signal disposition at its default
/// and `blockedSignals` blocked (a signal sent to such a child stays pending until it
/// unblocks it), reads both pipes to their end and reaps the child; after `timeout` the
/// child is killed with SIGKILL and the result says so. Throws std::runtime_error when
/// the program cannot be started.
CommandResult runCommand(const std::vector<std::string>& argv,
                         std::chrono::milliseconds timeout = std::chrono::seconds(120),
                         const std::vector<int>& blockedSignals = {});

} // namespace ringfold::test
