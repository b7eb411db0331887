// Unreadable folders. Root reads everything, so when the tests run as root (as in CI)
// the scans run in a forked child that has given up its privileges for the
// "nobody" account; the child reports what it found through a pipe.

#include "core/scan/BulkScanEngine.h"
#include "core/scan/FileManagerScanEngine.h"

#include "ScanTestSupport.h"
#include "support/FixtureTree.h"

#include <gtest/gtest.h>

#include <functional>
#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ringfold {
namespace {

using test::at;
using test::child;
using test::FixtureTree;

constexpr uid_t kNobody = 65534;

// Collects failed checks as text, so they can cross a process boundary.
struct Findings {
    std::string prefix;
    std::string text;
    void check(bool ok, const std::string& what) {
        if (!ok)
            text += prefix + what + "\n";
    }
};

// Runs `body` without the power to read what permissions forbid; returns its findings.
std::string runUnprivileged(const std::function<std::string()>& body) {
    if (::geteuid() != 0)
        return body();
    int fds[2];
    if (::pipe(fds) != 0)
        return "pipe failed";
    std::fflush(nullptr);
    pid_t pid = ::fork();
    if (pid < 0)
        return "fork failed";
    if (pid == 0) {
        ::close(fds[0]);
        std::string out;
        if (::setgroups(0, nullptr) != 0 || ::setgid(kNobody) != 0 || ::setuid(kNobody) != 0)
            out = "could not drop privileges\n";
        else
            out = body();
        out = "done\n" + out;
        if (::write(fds[1], out.data(), out.size()) < 0)
            ::_exit(3);
        ::_exit(0);
    }
    ::close(fds[1]);
    std::string got;
    char buf[4096];
    ssize_t n;
    while ((n = ::read(fds[0], buf, sizeof buf)) > 0)
        got.append(buf, static_cast<std::size_t>(n));
    ::close(fds[0]);
    int status = 0;
    ::waitpid(pid, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0 || !got.starts_with("done\n"))
        return "the unprivileged child failed (status " + std::to_string(status) + "): " + got;
    return got.substr(5);
}

// root (0755) / outer / {locked (0000) / {a, b/c}, visible/{x, y}, file}
void buildLockedTree(FixtureTree& fx) {
    fx.chmod("", 0755);
    fx.writeFiles({{"outer/locked/a", 5000},
                   {"outer/locked/b/c", 5000},
                   {"outer/visible/x", 3000},
                   {"outer/visible/y", 4000},
                   {"outer/file", 2000}});
    fx.chmod("outer/locked", 0);
}

std::string checkLockedScan(const FixtureTree& fx, const std::optional<ScanResult>& r,
                            const std::string& diagnostics, const std::string& engine) {
    Findings f{engine + ": ", {}};
    f.check(r.has_value(), "no result");
    if (!r)
        return f.text;
    const FileNode* root = r->root.get();
    const FileNode* locked = at(root, "outer/locked");
    f.check(locked && locked->isRestricted() && locked->isDirectory() && !locked->hasChildren() &&
                locked->allocatedSize() == 0 && locked->logicalSize() == 0,
            "locked folder missing, not restricted, not an empty folder, or sized");
    f.check(!root->isRestricted() && !at(root, "outer")->isRestricted(),
            "restriction spread to the ancestors");
    const FileNode* visible = at(root, "outer/visible");
    f.check(visible && visible->childCount() == 2 && !visible->isRestricted(),
            "sibling folder incomplete");
    f.check(root->logicalSize() == 9000,
            "root logical size " + std::to_string(root->logicalSize()));
    f.check(root->allocatedSize() == fx.allocatedSizeOf("outer/visible/x") +
                                         fx.allocatedSizeOf("outer/visible/y") +
                                         fx.allocatedSizeOf("outer/file"),
            "root allocated size " + std::to_string(root->allocatedSize()));
    f.check(r->accounting.restrictedPathCount == 1,
            "restricted count " + std::to_string(r->accounting.restrictedPathCount));
    f.check(diagnostics.starts_with("[" + engine + "] scan complete: ") &&
                diagnostics.find(", 1 restricted") != std::string::npos,
            "closing line: " + diagnostics);
    return f.text;
}

// Runs one back-end on `path` and checks the locked tree's result and closing line.
template <class Engine, class Config>
std::string scanLocked(const FixtureTree& fx, Config config, const std::string& engine) {
    std::FILE* diag = std::tmpfile();
    config.diagnostics = diag;
    auto r = Engine(config).scan(fx.root());
    const std::string text = test::readAll(diag);
    std::fclose(diag);
    return checkLockedScan(fx, r, text, engine);
}

TEST(RestrictedFolders, BothBackendsMarkTheUnreadableFolderAndCompleteItsSiblings) {
    FixtureTree fx;
    buildLockedTree(fx);
    EXPECT_EQ(runUnprivileged([&] {
                  return scanLocked<BulkScanEngine>(fx, test::bulkConfig(2), "BulkScanEngine") +
                         scanLocked<FileManagerScanEngine>(fx, test::enumerationConfig(),
                                                           "FileManagerScanEngine");
              }),
              "");
}

TEST(RestrictedFolders, AnUnreadableScanTargetIsARestrictedEmptyRoot) {
    FixtureTree fx;
    fx.chmod("", 0755);
    fx.writeFile("target/inside", 5000);
    fx.chmod("target", 0);
    EXPECT_EQ(runUnprivileged([&] {
                  Findings f;
                  auto b = BulkScanEngine(test::bulkConfig(2)).scan(fx.fullPath("target"));
                  auto e =
                      FileManagerScanEngine(test::enumerationConfig()).scan(fx.fullPath("target"));
                  for (const auto* r : {&b, &e})
                      f.check(*r && (*r)->root->isRestricted() && !(*r)->root->hasChildren() &&
                                  (*r)->accounting.restrictedPathCount == 1,
                              std::string(r == &b ? "bulk" : "enumeration") +
                                  ": not a restricted empty root");
                  return f.text;
              }),
              "");
}

} // namespace
} // namespace ringfold
