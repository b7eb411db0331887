#include "cli/ScanCommand.h"

#include "cli/JunkReport.h"
#include "cli/Report.h"
#include "cli/SavedScanFile.h"
#include "core/io/ExportFile.h"
#include "core/model/ByteFormat.h"
#include "core/scan/ScanEngine.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <mutex>
#include <optional>
#include <poll.h>
#include <pthread.h>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace ringfold::cli {

namespace {

// The first SIGINT or SIGTERM; the exit status is 128 plus its number, as a shell
// reports a process that the signal ended.
volatile std::sig_atomic_t g_signal = 0;
extern "C" void onStopSignal(int signal) {
    if (!g_signal)
        g_signal = signal;
}

const char* kUsage =
    "Usage: ringfold-scan [options] PATH\n"
    "       ringfold-scan [options] -f FILE\n"
    "Scans the folder PATH (or reads a saved scan) and shows where its space goes.\n"
    "\n"
    "Options:\n"
    "  -o FILE                   save the scan to FILE in the ncdu JSON export format\n"
    "                            (\"-\" for standard output, which then holds only it)\n"
    "  -f FILE                   read a saved scan (from ringfold-scan, ncdu or gdu -o)\n"
    "                            instead of scanning; \"-\" reads standard input\n"
    "  --format=text|json        report format (default text)\n"
    "  --top N                   how many of the largest items to list (default 10)\n"
    "  --backend=bulk|enumeration  scanner back-end (default bulk)\n"
    "  --threads N               scanner threads (default: 8 per processor, 8 to 64)\n"
    "  --progress, --no-progress live progress on standard error (default: on when\n"
    "                            standard error is a terminal)\n"
    "  --junk                    also list the junk under PATH: logs, caches, crash\n"
    "                            reports, leftovers of removed applications\n"
    "  -h, --help                show this help\n";

struct Options {
    std::string path;
    bool json = false;
    int top = 10;
    bool enumeration = false;
    int threads = 0;
    std::optional<bool> progress;
    bool junk = false;
    std::string exportTo;   // -o
    std::string importFrom; // -f
};

int fail(const std::string& message) {
    std::fprintf(stderr, "ringfold-scan: %s\n", message.c_str());
    return 2;
}

bool parseInt(const std::string& text, int minimum, int& out) {
    if (text.empty())
        return false;
    char* end = nullptr;
    errno = 0;
    long v = std::strtol(text.c_str(), &end, 10);
    if (errno || *end || v < minimum || v > 1000000)
        return false;
    out = static_cast<int>(v);
    return true;
}

// Returns an error message, or nothing when the options are good.
std::optional<std::string> parse(int argc, char** argv, Options& o, bool& help) {
    bool onlyPaths = false;
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        auto value = [&](const std::string& flag, std::string& out) -> bool {
            if (a.rfind(flag + "=", 0) == 0) {
                out = a.substr(flag.size() + 1);
                return true;
            }
            if (a == flag && i + 1 < argc) {
                out = argv[++i];
                return true;
            }
            return false;
        };
        std::string v;
        if (onlyPaths || a.empty() || a[0] != '-' || a == "-") {
            if (!o.path.empty())
                return "more than one PATH given (" + o.path + ", " + a + ")";
            o.path = a;
        } else if (a == "--") {
            onlyPaths = true;
        } else if (a == "-h" || a == "--help") {
            help = true;
        } else if (value("--format", v)) {
            if (v != "text" && v != "json")
                return "unknown format '" + v + "' (use text or json)";
            o.json = v == "json";
        } else if (value("--top", v)) {
            if (!parseInt(v, 0, o.top))
                return "--top needs a whole number of 0 or more, not '" + v + "'";
        } else if (value("--backend", v)) {
            if (v != "bulk" && v != "enumeration")
                return "unknown backend '" + v + "' (use bulk or enumeration)";
            o.enumeration = v == "enumeration";
        } else if (value("--threads", v)) {
            if (!parseInt(v, 1, o.threads) || o.threads > 1024)
                return "--threads needs a number from 1 to 1024, not '" + v + "'";
        } else if (a == "--progress") {
            o.progress = true;
        } else if (a == "--no-progress") {
            o.progress = false;
        } else if (a == "--junk") {
            o.junk = true;
        } else if ((a == "-o" || a == "-f") && i + 1 < argc) {
            (a == "-o" ? o.exportTo : o.importFrom) = argv[++i];
            if (argv[i][0] == '\0')
                return a + " needs a file name";
        } else if (a == "--format" || a == "--top" || a == "--backend" || a == "--threads" ||
                   a == "-o" || a == "-f") {
            return a + " needs a value";
        } else {
            return "unknown option '" + a + "' (see --help)";
        }
    }
    if (!o.importFrom.empty() && !o.path.empty())
        return "give either PATH or -f FILE, not both";
    if (!help && o.path.empty() && o.importFrom.empty())
        return "no PATH given (see --help)";
    return std::nullopt;
}

void drawProgress(const ScanProgress& p, double seconds) {
    std::string folder = p.currentFolder();
    if (folder.size() > 50)
        folder = "..." + folder.substr(folder.size() - 47);
    for (char& c : folder)
        if (static_cast<unsigned char>(c) < 0x20)
            c = '?';
    std::fprintf(stderr, "\r\033[K%lld items, %s, %.1f s  %s",
                 static_cast<long long>(p.itemCount()), formatBinary(p.allocatedBytes()).c_str(),
                 seconds, folder.c_str());
    std::fflush(stderr);
}

} // namespace

namespace {

int report(const Options& o, ExportFile& exportFile, const ScanResult& result,
           const ScanCounts& counts, double seconds) {
    if (exportFile.isOpen()) {
        NcduExportInfo info;
        info.progver = RINGFOLD_VERSION;
        info.timestamp = static_cast<Timestamp>(std::time(nullptr));
        if (auto err = exportFile.write(*result.root, info))
            return fail(*err);
        if (exportFile.toStandardOutput())
            return 0;
    }
    ReportData d;
    d.path = result.root->url();
    d.result = &result;
    d.seconds = seconds;
    d.top = o.top;
    d.counts = counts;
    std::vector<JunkItem> junk;
    if (o.junk) {
        junk = findJunk(*result.root, JunkPlaces::fromEnvironment(),
                        static_cast<Timestamp>(std::time(nullptr)));
        d.junk = &junk;
    }
    std::string out = o.json ? jsonReport(d) : textReport(d);
    if (o.junk && !o.json)
        out += junkTextReport(junk);
    std::fwrite(out.data(), 1, out.size(), stdout);
    return std::fflush(stdout) == 0 ? 0 : 1;
}

} // namespace

int runScanCommand(int argc, char** argv) {
    Options o;
    bool help = false;
    if (auto err = parse(argc, argv, o, help))
        return fail(*err);
    if (help) {
        std::fputs(kUsage, stdout);
        return 0;
    }
    ExportFile exportFile;
    if (!o.exportTo.empty())
        if (auto err = exportFile.open(o.exportTo))
            return fail(*err);
    if (!o.importFrom.empty()) {
        const auto start = std::chrono::steady_clock::now();
        std::optional<ScanResult> loaded;
        ScanCounts counts;
        if (auto err = loadSavedScan(o.importFrom, loaded, counts))
            return fail(*err);
        return report(
            o, exportFile, *loaded, counts,
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    struct stat st {};
    if (::stat(o.path.c_str(), &st) != 0)
        return fail("cannot scan '" + o.path + "': " + std::strerror(errno));
    if (!S_ISDIR(st.st_mode))
        return fail("cannot scan '" + o.path + "': not a folder");

    const bool showProgress = o.progress.value_or(::isatty(STDERR_FILENO) == 1);
    struct sigaction sa {};
    sa.sa_handler = onStopSignal;
    sigemptyset(&sa.sa_mask);
    ::sigaction(SIGINT, &sa, nullptr);
    ::sigaction(SIGTERM, &sa, nullptr);
    // A launcher may hand these over blocked; one that arrived meanwhile is delivered
    // here, before the scan thread exists, and the scan stops at its first folder.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    ::pthread_sigmask(SIG_UNBLOCK, &stopSignals, nullptr);

    ScanEngine::Options eo;
    eo.threads = o.threads;
    eo.diagnostics = stderr;
    ScanEngine engine(o.enumeration ? ScanSourceKind::networkVolume
                                    : ScanSourceKind::favoriteFolder,
                      activeProcessorCount(), eo);
    ScanProgress progress;
    std::stop_source stop;
    if (g_signal)
        stop.request_stop();
    std::optional<ScanResult> result;
    std::string failure; // what ended the scan early: out of memory, say
    // The scan thread signals the end at once; polling with a sleep would add up to
    // one poll interval to every scan's wall time.
    std::mutex doneMutex;
    std::condition_variable doneSignal;
    bool done = false;
    const auto start = std::chrono::steady_clock::now();
    std::jthread scanner([&] {
        try {
            result = engine.scan(o.path, stop.get_token(), &progress);
        } catch (const std::exception& e) {
            failure = e.what();
        }
        {
            std::lock_guard lock(doneMutex);
            done = true;
        }
        doneSignal.notify_one();
    });
    auto elapsed = [&] {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    // Scanning into a pipe whose reader has gone (the window that asked for this scan
    // was closed, or its Cancel could not signal a helper that runs as root): nobody
    // will read the result, so stop now rather than after an hour's scan.
    bool readerGone = false;
    auto pipeReaderGone = [&] {
        pollfd p{STDOUT_FILENO, 0, 0};
        return exportFile.toStandardOutput() && ::poll(&p, 1, 0) == 1 &&
               (p.revents & (POLLERR | POLLHUP)) != 0;
    };
    for (;;) {
        {
            std::unique_lock lock(doneMutex);
            if (doneSignal.wait_for(lock, std::chrono::milliseconds(50), [&] { return done; }))
                break;
        }
        if (g_signal && !stop.stop_requested())
            stop.request_stop();
        if (!readerGone && pipeReaderGone()) {
            readerGone = true;
            stop.request_stop();
        }
        if (showProgress && !stop.stop_requested())
            drawProgress(progress, elapsed());
    }
    scanner.join();
    const double seconds = elapsed();
    if (showProgress)
        std::fputs("\r\033[K", stderr);
    if (g_signal) {
        std::fputs("ringfold-scan: interrupted\n", stderr);
        return 128 + g_signal;
    }
    if (readerGone) {
        std::fputs("ringfold-scan: stopped: the output's reader has gone\n", stderr);
        return 128 + SIGPIPE;
    }
    if (!failure.empty()) {
        std::fprintf(stderr, "ringfold-scan: the scan failed: %s\n", failure.c_str());
        return 1;
    }
    if (!result) {
        std::fputs("ringfold-scan: the scan ended without a result\n", stderr);
        return 1;
    }

    return report(o, exportFile, *result, engine.lastCounts(), seconds);
}

} // namespace ringfold::cli
