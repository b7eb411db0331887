#pragma once
// Shared helpers of the scanner tests: one way to run either back-end, lookups by
// name, whole-tree walks (iterative: some trees are thousands of levels deep), the
// size invariant of finished trees, and running a scan without root's powers.

#include "core/model/Tree.h"
#include "core/scan/BulkScanEngine.h"
#include "core/scan/FileManagerScanEngine.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <grp.h>
#include <string>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace ringfold::test {

inline BulkScanEngine::Config bulkConfig(int threads = 4, std::FILE* diagnostics = nullptr) {
    BulkScanEngine::Config c;
    c.maxConcurrentDirScans = threads;
    c.diagnostics = diagnostics;
    c.homePath = "/nonexistent-home-for-tests";
    return c;
}

inline FileManagerScanEngine::Config enumerationConfig(std::FILE* diagnostics = nullptr) {
    FileManagerScanEngine::Config c;
    c.diagnostics = diagnostics;
    c.homePath = "/nonexistent-home-for-tests";
    return c;
}

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

/// Settings both back-ends share; `tune` may adjust a bulk config further.
struct ScanSetup {
    int threads = 3;
    std::string homePath = "/nonexistent-home-for-tests";
    SystemRootTest isSystemRoot = isFileSystemRoot;
    DeviceIDProvider deviceID = defaultDeviceID;
    std::function<void(const FileNode&)> beforeFolderRead;
    ScanProgress* progress = nullptr;
    std::stop_token stop;
};

inline std::unique_ptr<ScanBackend> makeBackend(Backend b, const ScanSetup& s, std::FILE* diag) {
    if (b == Backend::bulk) {
        auto c = bulkConfig(s.threads, diag);
        c.homePath = s.homePath;
        c.isSystemRoot = s.isSystemRoot;
        c.deviceIDProvider = s.deviceID;
        c.beforeFolderRead = s.beforeFolderRead;
        return std::make_unique<BulkScanEngine>(c);
    }
    auto c = enumerationConfig(diag);
    c.homePath = s.homePath;
    c.isSystemRoot = s.isSystemRoot;
    c.deviceIDProvider = s.deviceID;
    c.beforeFolderRead = s.beforeFolderRead;
    return std::make_unique<FileManagerScanEngine>(c);
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

inline std::int64_t itemCountOf(ScanBackend& engine) {
    if (auto* bulk = dynamic_cast<BulkScanEngine*>(&engine))
        return bulk->lastStats().itemCount;
    return dynamic_cast<FileManagerScanEngine&>(engine).lastItemCount();
}

inline Scanned scanWith(Backend b, const std::string& path, const ScanSetup& setup = {}) {
    std::FILE* diag = std::tmpfile();
    auto engine = makeBackend(b, setup, diag);
    Scanned s;
    s.result = engine->scan(path, setup.stop, setup.progress);
    s.items = itemCountOf(*engine);
    s.diagnostics = readAll(diag);
    std::fclose(diag);
    return s;
}

inline FileNode* child(const FileNode* folder, std::string_view name) {
    if (!folder)
        return nullptr;
    for (FileNode* c : folder->children())
        if (c->name() == name)
            return c;
    return nullptr;
}

/// Follows a "/"-separated chain of names from `root`; null when a step is missing.
inline FileNode* at(const FileNode* root, std::string_view rel) {
    const FileNode* n = root;
    while (n && !rel.empty()) {
        auto slash = rel.find('/');
        n = child(n, rel.substr(0, slash));
        rel = slash == std::string_view::npos ? std::string_view() : rel.substr(slash + 1);
    }
    return const_cast<FileNode*>(n);
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
            problem = std::string(n->name()) + ": children sum to " + std::to_string(allocated) +
                      "/" + std::to_string(logical) + ", folder says " +
                      std::to_string(n->allocatedSize()) + "/" + std::to_string(n->logicalSize());
    });
    return problem;
}

/// Matches `text` against `pattern` exactly, where '#' stands for one or more digits
/// (collected into `numbers`) and every other character for itself. (std::regex trips
/// GCC 12's uninitialised-use warning in sanitizer builds, so it is not used here.)
inline bool matchesPattern(std::string_view text, std::string_view pattern,
                           std::vector<std::int64_t>* numbers = nullptr) {
    std::size_t t = 0;
    for (char p : pattern) {
        if (p != '#') {
            if (t >= text.size() || text[t] != p)
                return false;
            ++t;
            continue;
        }
        std::size_t start = t;
        while (t < text.size() && text[t] >= '0' && text[t] <= '9')
            ++t;
        if (t == start)
            return false;
        if (numbers)
            numbers->push_back(std::stoll(std::string(text.substr(start, t - start))));
    }
    return t == text.size();
}

/// Runs `body` without the power to read what permissions forbid and returns what it
/// returned (by convention: failed checks as text). As root (CI), it runs in a forked
/// child that has become "nobody"; `dropped` says whether that worked.
inline std::string runUnprivileged(const std::function<std::string()>& body, bool& dropped) {
    dropped = true;
    if (::geteuid() != 0)
        return body();
    int fds[2];
    if (::pipe(fds) != 0)
        return "pipe failed";
    std::fflush(nullptr);
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::close(fds[0]);
        std::string out = ::setgroups(0, nullptr) == 0 && ::setgid(65534) == 0 &&
                                  ::setuid(65534) == 0
                              ? "ran\n" + body()
                              : "could not drop privileges\n";
        ::_exit(::write(fds[1], out.data(), out.size()) < 0 ? 3 : 0);
    }
    ::close(fds[1]);
    std::string got;
    char buf[4096];
    for (ssize_t n; pid > 0 && (n = ::read(fds[0], buf, sizeof buf)) > 0;)
        got.append(buf, static_cast<std::size_t>(n));
    ::close(fds[0]);
    int status = 0;
    if (pid < 0 || ::waitpid(pid, &status, 0) != pid || !WIFEXITED(status) ||
        WEXITSTATUS(status) != 0)
        return "the unprivileged child failed: " + got;
    dropped = got.starts_with("ran\n");
    return dropped ? got.substr(4) : got;
}

} // namespace ringfold::test
