#include "support/ChildProcess.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace ringfold::test {

ChildProcess::~ChildProcess() {
    if (m_pid > 0) {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
    for (int fd : m_fds)
        if (fd >= 0)
            ::close(fd);
}

void ChildProcess::start(const std::vector<std::string>& argv) {
    if (argv.empty() || m_pid > 0)
        throw std::runtime_error("ChildProcess::start: nothing to run or already running");
    int pipes[2][2] = {{-1, -1}, {-1, -1}};
    if (::pipe2(pipes[0], O_CLOEXEC) != 0 || ::pipe2(pipes[1], O_CLOEXEC) != 0)
        throw std::runtime_error(std::string("pipe: ") + std::strerror(errno));
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, pipes[0][1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, pipes[1][1], STDERR_FILENO);
    // The child starts with default signal handling whatever the test runner set.
    posix_spawnattr_t attr;
    posix_spawnattr_init(&attr);
    sigset_t all, blocked;
    sigfillset(&all);
    sigemptyset(&blocked);
    for (int signal : m_blocked)
        sigaddset(&blocked, signal);
    posix_spawnattr_setsigdefault(&attr, &all);
    posix_spawnattr_setsigmask(&attr, &blocked);
    posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    std::vector<char*> args;
    for (const auto& a : argv)
        args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    const int rc = ::posix_spawnp(&m_pid, args[0], &actions, &attr, args.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attr);
    for (int i = 0; i < 2; ++i) {
        ::close(pipes[i][1]);
        m_fds[i] = pipes[i][0];
    }
    if (rc != 0) {
        m_pid = -1;
        throw std::runtime_error("cannot run " + argv[0] + ": " + std::strerror(rc));
    }
}

CommandResult ChildProcess::finish(std::chrono::milliseconds timeout) {
    CommandResult result;
    std::string* text[2] = {&result.out, &result.err};
    const auto until = std::chrono::steady_clock::now() + timeout;
    while (m_fds[0] >= 0 || m_fds[1] >= 0) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            until - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            result.timedOut = true;
            ::kill(m_pid, SIGKILL);
            break;
        }
        pollfd fds[2] = {{m_fds[0], POLLIN, 0}, {m_fds[1], POLLIN, 0}}; // poll skips fd -1
        if (::poll(fds, 2, static_cast<int>(std::min<long long>(left.count(), 1000))) < 0)
            continue; // EINTR: try again
        for (int i = 0; i < 2; ++i) {
            char buf[65536];
            const ssize_t got = fds[i].revents & (POLLIN | POLLHUP | POLLERR)
                                    ? ::read(m_fds[i], buf, sizeof buf)
                                    : -1;
            if (got > 0)
                text[i]->append(buf, static_cast<std::size_t>(got));
            else if (got == 0 || (fds[i].revents && errno != EINTR))
                ::close(std::exchange(m_fds[i], -1));
        }
    }
    int status = 0;
    while (m_pid > 0 && ::waitpid(m_pid, &status, 0) < 0 && errno == EINTR) {
    }
    m_pid = -1;
    if (WIFEXITED(status))
        result.exitCode = WEXITSTATUS(status);
    return result;
}

CommandResult runCommand(const std::vector<std::string>& argv, std::chrono::milliseconds timeout) {
    ChildProcess child;
    child.start(argv);
    return child.finish(timeout);
}

} // namespace ringfold::test
