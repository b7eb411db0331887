#pragma once
// Shared helpers of the scanner tests (with the fixture builders and gtest): either back-end run
// one way, lookups by name, iterative whole-tree walks, the size invariant, scans without root's
// powers.

#include "core/model/Tree.h"
#include "core/scan/BulkScanEngine.h"
#include "core/scan/FileManagerScanEngine.h"
#include "support/FixtureTree.h"
#include "support/MemoryTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <grp.h>
#include <string>
#include <string_view>
#include <sys/wait.h>
#include <type_traits>
#include <unistd.h>
#include <vector>

namespace ringfold::test {

enum class Backend { bulk, enumeration };
inline std::string backendName(const ::testing::TestParamInfo<Backend>& info) {
    return info.param == Backend::bulk ? "bulk" : "enumeration";
}

/// What a scan by either back-end produced, with its closing line.
struct Scanned {
    std::optional<ScanResult> result;
    std::int64_t items = 0;
    std::string diagnostics;
    const FileNode* root() const { return result->root.get(); }
};

/// Settings of either back-end for one scan.
struct ScanSetup {
    int threads = 3;
    std::string homePath = "/nonexistent-home-for-tests";
    SystemRootTest isSystemRoot = isFileSystemRoot;
    DeviceIDProvider deviceID = defaultDeviceID;
    std::function<void(const FileNode&)> beforeFolderRead;
    ScanProgress* progress = nullptr;
    std::stop_token stop;
};

template <typename Config> Config configFor(const ScanSetup& s, std::FILE* diag) {
    Config c;
    c.diagnostics = diag;
    c.homePath = s.homePath;
    c.isSystemRoot = s.isSystemRoot;
    c.deviceIDProvider = s.deviceID;
    c.beforeFolderRead = s.beforeFolderRead;
    if constexpr (std::is_same_v<Config, BulkScanEngine::Config>)
        c.maxConcurrentDirScans = s.threads;
    return c;
}

inline std::unique_ptr<ScanBackend> makeBackend(Backend b, const ScanSetup& s, std::FILE* diag) {
    if (b == Backend::bulk)
        return std::make_unique<BulkScanEngine>(configFor<BulkScanEngine::Config>(s, diag));
    return std::make_unique<FileManagerScanEngine>(
        configFor<FileManagerScanEngine::Config>(s, diag));
}

/// Everything written to a tmpfile() so far.
inline std::string readAll(std::FILE* f) {
    std::fflush(f);
    std::rewind(f);
    std::string text;
    char buf[4096];
    while (std::size_t n = std::fread(buf, 1, sizeof buf, f))
        text.append(buf, n);
    return text;
}

inline Scanned scanWith(Backend b, const std::string& path, const ScanSetup& setup = {}) {
    std::FILE* diag = std::tmpfile();
    auto engine = makeBackend(b, setup, diag);
    Scanned s;
    s.result = engine->scan(path, setup.stop, setup.progress);
    auto* bulk = dynamic_cast<BulkScanEngine*>(engine.get());
    s.items = bulk ? bulk->lastStats().itemCount
                   : dynamic_cast<FileManagerScanEngine&>(*engine).lastItemCount();
    s.diagnostics = readAll(diag);
    std::fclose(diag);
    return s;
}

inline void forEachNode(const FileNode* root, const std::function<void(const FileNode*)>& f) {
    std::vector<const FileNode*> stack{root};
    while (!stack.empty()) {
        const FileNode* n = stack.back();
        stack.pop_back();
        f(n);
        for (FileNode* c : n->children())
            stack.push_back(c);
    }
}

inline std::int64_t nodeCount(const FileNode* root) {
    std::int64_t n = 0;
    forEachNode(root, [&](const FileNode*) { ++n; });
    return n;
}

/// Every folder's sizes are the (saturating) sums of its children's; returns the first
/// folder where that fails, as a message, or an empty string.
inline std::string sumsMismatch(const FileNode* root) {
    std::string problem;
    forEachNode(root, [&](const FileNode* n) {
        if (!problem.empty() || !n->isDirectory() || !n->hasChildren())
            return;
        std::int64_t logical = 0, allocated = 0;
        for (FileNode* c : n->children()) {
            logical = addBytes(logical, c->logicalSize());
            allocated = addBytes(allocated, c->allocatedSize());
        }
        if (logical != n->logicalSize() || allocated != n->allocatedSize())
            problem = n->url() + ": its sizes are not its children's sums";
    });
    return problem;
}

/// Runs `body` without the power to read what permissions forbid and returns what it
/// returned (by convention: failed checks as text). As root (CI), it runs in a forked
/// child that has become "nobody"; `dropped` says whether that worked.
inline std::string runUnprivileged(const std::function<std::string()>& body, bool& dropped) {
    dropped = ::geteuid() != 0;
    if (dropped)
        return body();
    int fds[2];
    if (::pipe(fds) != 0)
        return "pipe failed";
    std::fflush(nullptr);
    const pid_t pid = ::fork();
    if (pid == 0) {
        const bool ok =
            ::setgroups(0, nullptr) == 0 && ::setgid(65534) == 0 && ::setuid(65534) == 0;
        const std::string out = ok ? "ran\n" + body() : "could not drop privileges\n";
        ::_exit(::write(fds[1], out.data(), out.size()) < 0 ? 3 : 0);
    }
    ::close(fds[1]);
    std::string got;
    char buf[4096];
    for (ssize_t n; pid > 0 && (n = ::read(fds[0], buf, sizeof buf)) > 0;)
        got.append(buf, static_cast<std::size_t>(n));
    ::close(fds[0]);
    int status = 0;
    if (pid < 0 || ::waitpid(pid, &status, 0) != pid || status != 0)
        return "the unprivileged child failed: " + got;
    dropped = got.starts_with("ran\n");
    return dropped ? got.substr(4) : got;
}

} // namespace ringfold::test
