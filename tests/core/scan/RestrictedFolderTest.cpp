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
    std::string text;
    void check(bool ok, const std::string& what) {
        if (!ok)
            text += what + "\n";
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
    fx.writeFile("outer/locked/a", 5000);
    fx.writeFile("outer/locked/b/c", 5000);
    fx.writeFile("outer/visible/x", 3000);
    fx.writeFile("outer/visible/y", 4000);
    fx.writeFile("outer/file", 2000);
    fx.chmod("outer/locked", 0);
}

std::string checkLockedScan(const FixtureTree& fx, const std::optional<ScanResult>& r,
                            const std::string& diagnostics, const char* closingPrefix) {
    Findings f;
    f.check(r.has_value(), "no result");
    if (!r)
        return f.text;
    const FileNode* root = r->root.get();
    const FileNode* locked = at(root, "outer/locked");
    f.check(locked != nullptr, "locked folder missing");
    if (locked) {
        f.check(locked->isRestricted(), "locked folder not restricted");
        f.check(locked->isDirectory(), "locked folder is not a folder");
        f.check(!locked->hasChildren(), "locked folder has children");
        f.check(locked->allocatedSize() == 0 && locked->logicalSize() == 0,
                "locked folder has a size");
    }
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
    f.check(diagnostics.starts_with(closingPrefix) &&
                diagnostics.find(", 1 restricted") != std::string::npos,
            "closing line: " + diagnostics);
    return f.text;
}

TEST(RestrictedFolders, BulkScanMarksTheUnreadableFolderAndCompletesItsSiblings) {
    FixtureTree fx;
    buildLockedTree(fx);
    std::string findings = runUnprivileged([&] {
        std::FILE* diag = std::tmpfile();
        BulkScanEngine engine(test::bulkConfig(2, diag));
        auto r = engine.scan(fx.root());
        std::string text = test::readAll(diag);
        std::fclose(diag);
        return checkLockedScan(fx, r, text, "[BulkScanEngine] scan complete: ");
    });
    EXPECT_EQ(findings, "");
}

TEST(RestrictedFolders, EnumerationScanMarksTheUnreadableFolderAndCompletesItsSiblings) {
    FixtureTree fx;
    buildLockedTree(fx);
    std::string findings = runUnprivileged([&] {
        std::FILE* diag = std::tmpfile();
        FileManagerScanEngine engine(test::enumerationConfig(diag));
        auto r = engine.scan(fx.root());
        std::string text = test::readAll(diag);
        std::fclose(diag);
        return checkLockedScan(fx, r, text, "[FileManagerScanEngine] scan complete: ");
    });
    EXPECT_EQ(findings, "");
}

TEST(RestrictedFolders, AnUnreadableScanTargetIsARestrictedEmptyRoot) {
    FixtureTree fx;
    fx.chmod("", 0755);
    fx.writeFile("target/inside", 5000);
    fx.chmod("target", 0);
    std::string findings = runUnprivileged([&] {
        Findings f;
        BulkScanEngine bulk(test::bulkConfig(2));
        auto b = bulk.scan(fx.fullPath("target"));
        f.check(b.has_value(), "bulk: no result");
        if (b) {
            f.check(b->root->isRestricted(), "bulk: root not restricted");
            f.check(!b->root->hasChildren(), "bulk: root has children");
            f.check(b->accounting.restrictedPathCount == 1, "bulk: restricted count");
        }
        FileManagerScanEngine enumeration(test::enumerationConfig());
        auto e = enumeration.scan(fx.fullPath("target"));
        f.check(e.has_value(), "enumeration: no result");
        if (e) {
            f.check(e->root->isRestricted(), "enumeration: root not restricted");
            f.check(e->accounting.restrictedPathCount == 1, "enumeration: restricted count");
        }
        return f.text;
    });
    EXPECT_EQ(findings, "");
}

} // namespace
} // namespace ringfold
