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
        int status = 0;
        ::waitpid(m_pid, &status, 0);
    }
    if (m_out >= 0)
        ::close(m_out);
    if (m_err >= 0)
        ::close(m_err);
}

void ChildProcess::start(const std::vector<std::string>& argv) {
    if (argv.empty() || m_pid > 0)
        throw std::runtime_error("ChildProcess::start: nothing to run or already running");
    int outPipe[2], errPipe[2];
    if (::pipe2(outPipe, O_CLOEXEC) != 0)
        throw std::runtime_error(std::string("pipe: ") + std::strerror(errno));
    if (::pipe2(errPipe, O_CLOEXEC) != 0) {
        ::close(outPipe[0]);
        ::close(outPipe[1]);
        throw std::runtime_error(std::string("pipe: ") + std::strerror(errno));
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, outPipe[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errPipe[1], STDERR_FILENO);

    // The child starts with default signal handling whatever the test runner set.
    posix_spawnattr_t attr;
    posix_spawnattr_init(&attr);
    sigset_t all, none;
    sigfillset(&all);
    sigemptyset(&none);
    posix_spawnattr_setsigdefault(&attr, &all);
    posix_spawnattr_setsigmask(&attr, &none);
    posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);

    std::vector<char*> args;
    for (const auto& a : argv)
        args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    pid_t pid = -1;
    int rc = ::posix_spawnp(&pid, args[0], &actions, &attr, args.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attr);
    ::close(outPipe[1]);
    ::close(errPipe[1]);
    if (rc != 0) {
        ::close(outPipe[0]);
        ::close(errPipe[0]);
        throw std::runtime_error("cannot run " + argv[0] + ": " + std::strerror(rc));
    }
    m_pid = pid;
    m_out = outPipe[0];
    m_err = errPipe[0];
}

bool ChildProcess::pump(std::chrono::steady_clock::time_point until) {
    pollfd fds[2];
    int n = 0;
    if (m_out >= 0)
        fds[n++] = {m_out, POLLIN, 0};
    if (m_err >= 0)
        fds[n++] = {m_err, POLLIN, 0};
    if (n == 0)
        return false;
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        until - std::chrono::steady_clock::now());
    if (left.count() <= 0)
        return false;
    int r = ::poll(fds, static_cast<nfds_t>(n),
                   static_cast<int>(std::min<long long>(left.count(), 1000)));
    if (r < 0)
        return errno == EINTR;
    for (int i = 0; i < n; ++i) {
        if (!(fds[i].revents & (POLLIN | POLLHUP | POLLERR)))
            continue;
        char buf[65536];
        ssize_t got = ::read(fds[i].fd, buf, sizeof buf);
        if (got < 0 && errno == EINTR)
            continue;
        int& fd = fds[i].fd == m_out ? m_out : m_err;
        std::string& text = fds[i].fd == m_out ? m_outText : m_errText;
        if (got <= 0) {
            ::close(fd);
            fd = -1;
        } else {
            text.append(buf, static_cast<std::size_t>(got));
        }
    }
    return true;
}

bool ChildProcess::waitForOutput(std::string_view needle, std::chrono::milliseconds timeout,
                                 bool fromStdout) {
    const auto until = std::chrono::steady_clock::now() + timeout;
    const std::string& text = fromStdout ? m_outText : m_errText;
    while (text.find(needle) == std::string::npos) {
        if (!pump(until))
            return text.find(needle) != std::string::npos;
    }
    return true;
}

CommandResult ChildProcess::finish(std::chrono::milliseconds timeout) {
    CommandResult result;
    const auto until = std::chrono::steady_clock::now() + timeout;
    while (m_out >= 0 || m_err >= 0) {
        if (!pump(until)) {
            if (std::chrono::steady_clock::now() >= until) {
                result.timedOut = true;
                ::kill(m_pid, SIGKILL);
                break;
            }
        }
    }
    int status = 0;
    if (m_pid > 0) {
        while (::waitpid(m_pid, &status, 0) < 0 && errno == EINTR) {
        }
        m_pid = -1;
    }
    if (WIFEXITED(status))
        result.exitCode = WEXITSTATUS(status);
    else if (WIFSIGNALED(status))
        result.signal = WTERMSIG(status);
    result.out = std::move(m_outText);
    result.err = std::move(m_errText);
    return result;
}

CommandResult runCommand(const std::vector<std::string>& argv, std::chrono::milliseconds timeout) {
    ChildProcess child;
    child.start(argv);
    return child.finish(timeout);
}

} // namespace ringfold::test
