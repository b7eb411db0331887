#include "core/io/SavedScanBackend.h"

#include "core/io/NcduImport.h"
#include "core/model/Tree.h"
#include "core/scan/ScanSupport.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace ringfold {

namespace {

// The helper's pipes as seen from our side, read through a FILE so that the importer
// needs no other kind of stream. Standard error is collected on the way (its last
// few KiB: the reason a refused or failed helper gives), and a stop wakes the reader
// at once instead of waiting for the helper's next byte.
struct HelperPipes {
    int out = -1, err = -1, wake = -1;
    std::string errTail;

    void readErr() {
        char buf[1024];
        const ssize_t n = ::read(err, buf, sizeof buf);
        if (n > 0) {
            errTail.append(buf, std::size_t(n));
            if (errTail.size() > 4096)
                errTail.erase(0, errTail.size() - 4096);
        } else if (n == 0 || errno != EINTR) {
            ::close(err);
            err = -1;
        }
    }

    static ssize_t read(void* cookie, char* buf, std::size_t size) {
        auto& p = *static_cast<HelperPipes*>(cookie);
        for (;;) {
            pollfd fds[3] = {{p.wake, POLLIN, 0}, {p.out, POLLIN, 0}, {p.err, POLLIN, 0}};
            if (::poll(fds, p.err >= 0 ? 3 : 2, -1) < 0) {
                if (errno == EINTR)
                    continue;
                return -1;
            }
            if (fds[0].revents) {
                errno = ECANCELED;
                return -1;
            }
            if (p.err >= 0 && fds[2].revents)
                p.readErr();
            if (fds[1].revents) {
                const ssize_t n = ::read(p.out, buf, size);
                if (n >= 0 || errno != EINTR)
                    return n;
            }
        }
    }

    // After the export: whatever else the helper says before it exits, for a while.
    void drainErr(int milliseconds) {
        while (err >= 0) {
            pollfd fd{err, POLLIN, 0};
            if (::poll(&fd, 1, milliseconds) <= 0)
                return;
            readErr();
        }
    }

    std::string lastErrLine() const {
        std::string_view s = errTail;
        while (!s.empty() && (s.back() == '\n' || s.back() == ' '))
            s.remove_suffix(1);
        const auto nl = s.rfind('\n');
        return std::string(nl == s.npos ? s : s.substr(nl + 1));
    }
};

struct FileDescriptors {
    int fds[2] = {-1, -1};
    ~FileDescriptors() {
        for (int fd : fds)
            if (fd >= 0)
                ::close(fd);
    }
};

} // namespace

std::optional<ScanResult> SavedScanBackend::scan(const std::string& file, std::stop_token stop,
                                                 ScanProgress* progress) {
    m_counts = {};
    m_timestamp.reset();
    std::FILE* in = std::fopen(file.c_str(), "rbe");
    if (!in)
        throw std::runtime_error("cannot read '" + file + "': " + std::strerror(errno));
    NcduImport r = NcduImport::read(in, stop, progress);
    std::fclose(in);
    if (r.cancelled)
        return std::nullopt;
    if (!r.result)
        throw std::runtime_error(r.describeError("'" + file + "'"));
    m_counts = r.counts;
    m_timestamp = r.timestamp;
    r.result->root->tree().setRecord(true);
    return std::move(r.result);
}

ElevatedScanBackend::ElevatedScanBackend(std::vector<std::string> command, std::string scanner)
    : m_command(std::move(command)), m_scanner(std::move(scanner)) {}

std::optional<ScanResult> ElevatedScanBackend::scan(const std::string& path, std::stop_token stop,
                                                    ScanProgress* progress) {
    m_counts = {};
    FileDescriptors out, err;
    if (::pipe2(out.fds, O_CLOEXEC) != 0 || ::pipe2(err.fds, O_CLOEXEC) != 0)
        throw std::runtime_error(std::string("cannot make a pipe: ") + std::strerror(errno));
    const int wake = ::eventfd(0, EFD_CLOEXEC);
    if (wake < 0)
        throw std::runtime_error(std::string("cannot make an event: ") + std::strerror(errno));

    std::vector<std::string> args = m_command;
    for (const char* a : {m_scanner.c_str(), "-o", "-", "--no-progress", path.c_str()})
        args.emplace_back(a);
    std::vector<char*> argv;
    for (std::string& a : args)
        argv.push_back(a.data());
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, out.fds[1], 1);
    posix_spawn_file_actions_adddup2(&actions, err.fds[1], 2);
    posix_spawnattr_t attr;
    posix_spawnattr_init(&attr);
    // The helper starts with the default SIGPIPE and SIGTERM, whatever we ignore.
    sigset_t defaults, none;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    sigaddset(&defaults, SIGTERM);
    sigemptyset(&none);
    posix_spawnattr_setsigdefault(&attr, &defaults);
    posix_spawnattr_setsigmask(&attr, &none);
    posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    pid_t pid = -1;
    const int spawned = ::posix_spawnp(&pid, argv[0], &actions, &attr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attr);
    if (spawned != 0) {
        ::close(wake);
        throw std::runtime_error("cannot run " + args.front() + ": " + std::strerror(spawned));
    }
    ::close(out.fds[1]);
    ::close(err.fds[1]);
    out.fds[1] = err.fds[1] = -1;

    HelperPipes pipes{out.fds[0], err.fds[0], wake, {}};
    err.fds[0] = -1; // the pipes own it now
    NcduImport r;
    {
        cookie_io_functions_t io{&HelperPipes::read, nullptr, nullptr, nullptr};
        std::FILE* in = ::fopencookie(&pipes, "r", io);
        std::stop_callback onStop(stop, [&] {
            const std::uint64_t one = 1;
            [[maybe_unused]] ssize_t w = ::write(wake, &one, sizeof one);
            ::kill(pid, SIGTERM); // refused for a helper that became root; the pipe tells it
        });
        r = NcduImport::read(in, stop, progress);
        std::fclose(in);
    }
    // Gone before the wait, so that a helper still writing, or still scanning, learns
    // that nobody reads any more.
    ::close(out.fds[0]);
    out.fds[0] = -1;
    pipes.drainErr(r.result ? 2000 : 200);
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    pipes.drainErr(0);
    if (pipes.err >= 0)
        ::close(pipes.err);
    ::close(wake);

    if (r.cancelled || stop.stop_requested())
        return std::nullopt;
    if (!r.result) {
        const bool helperFailed = !WIFEXITED(status) || WEXITSTATUS(status) != 0;
        std::string why = pipes.lastErrLine();
        if (helperFailed && why.empty())
            why = WIFEXITED(status)
                      ? args.front() + " ended with status " + std::to_string(WEXITSTATUS(status))
                      : args.front() + " was stopped by signal " + std::to_string(WTERMSIG(status));
        throw std::runtime_error(helperFailed ? why
                                              : r.describeError("the scanner's output"));
    }
    m_counts = r.counts;
    ScanResult result = std::move(*r.result);
    // The export carries no volume figures; this side can read them as well as root.
    result.accounting = makeSpaceAccounting(path, *result.root, result.accounting.restrictedPathCount);
    return result;
}

} // namespace ringfold
