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
#include <utility>

extern char** environ;

namespace ringfold::test {

CommandResult runCommand(const std::vector<std::string>& argv, std::chrono::milliseconds timeout,
                         const std::vector<int>& blockedSignals) {
    int pipes[2][2] = {{-1, -1}, {-1, -1}}; // standard output, standard error
    if (argv.empty() || ::pipe2(pipes[0], O_CLOEXEC) != 0 || ::pipe2(pipes[1], O_CLOEXEC) != 0)
        throw std::runtime_error("runCommand: nothing to run, or no pipes");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, pipes[0][1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, pipes[1][1], STDERR_FILENO);
    posix_spawnattr_t attr;
    posix_spawnattr_init(&attr);
    sigset_t all, blocked;
    sigfillset(&all);
    sigemptyset(&blocked);
    for (int signal : blockedSignals)
        sigaddset(&blocked, signal);
    posix_spawnattr_setsigdefault(&attr, &all);
    posix_spawnattr_setsigmask(&attr, &blocked);
    posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    std::vector<char*> args;
    for (const auto& a : argv)
        args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    pid_t pid = -1;
    const int rc = ::posix_spawnp(&pid, args[0], &actions, &attr, args.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attr);
    int fds[2] = {pipes[0][0], pipes[1][0]};
    for (int fd : {pipes[0][1], pipes[1][1], rc ? fds[0] : -1, rc ? fds[1] : -1})
        fd < 0 || ::close(fd);
    if (rc != 0)
        throw std::runtime_error("cannot run " + argv[0] + ": " + std::strerror(rc));

    CommandResult result;
    std::string* text[2] = {&result.out, &result.err};
    const auto until = std::chrono::steady_clock::now() + timeout;
    while (fds[0] >= 0 || fds[1] >= 0) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            until - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            result.timedOut = true;
            ::kill(pid, SIGKILL);
            break;
        }
        pollfd polled[2] = {{fds[0], POLLIN, 0}, {fds[1], POLLIN, 0}}; // poll skips fd -1
        if (::poll(polled, 2, static_cast<int>(std::min<long long>(left.count(), 1000))) < 0)
            continue; // interrupted: poll again
        for (int i = 0; i < 2; ++i) {
            char buf[65536];
            if (!(polled[i].revents & (POLLIN | POLLHUP | POLLERR)))
                continue;
            const ssize_t got = ::read(fds[i], buf, sizeof buf);
            if (got > 0)
                text[i]->append(buf, static_cast<std::size_t>(got));
            else if (got == 0 || errno != EINTR)
                ::close(std::exchange(fds[i], -1));
        }
    }
    for (int fd : fds)
        if (fd >= 0)
            ::close(fd);
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status))
        result.exitCode = WEXITSTATUS(status);
    return result;
}

} // namespace ringfold::test
