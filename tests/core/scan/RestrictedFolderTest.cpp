// Folders the scanning user may not read, or may list but not enter. Root reads
// everything, so as root (CI) the scans run in a child that has become "nobody".

#include "ScanTestSupport.h"
#include "support/Privileges.h"

namespace ringfold {
namespace {

using namespace test;

class RestrictedFolders : public ::testing::TestWithParam<Backend> {};

TEST_P(RestrictedFolders, UnreadableAndUnsearchableFoldersAreRestrictedAndEmpty) {
    FixtureTree fx;
    fx.chmod("", 0755);
    // clang-format off
    fx.writeFiles({{"outer/locked/a", 5000}, {"outer/locked/b/c", 5000}, {"outer/file", 2000},
                   {"outer/listable/x", 5000}, {"outer/listable/sub/y", 5000},
                   {"outer/visible/x", 3000}, {"target/inside", 10}});
    // clang-format on
    fx.chmod("outer/locked", 0);      // neither listed nor entered
    fx.chmod("outer/listable", 0444); // listed, but not entered: no entry can be read
    fx.chmod("target", 0444);
    bool dropped = false;
    const std::string failures = test::runUnprivileged(
        [&] {
            std::string failed; // as text, to cross the process boundary
            auto check = [&](bool ok, const std::string& what) { failed += ok ? "" : what + "\n"; };
            auto s = test::scanWith(GetParam(), fx.root());
            check(s.result.has_value(), "no result");
            if (!s.result)
                return failed;
            const FileNode* root = s.root();
            for (const char* rel : {"outer/locked", "outer/listable"}) {
                const FileNode* n = at(root, rel);
                check(n && n->isDirectory() && n->isRestricted() && !n->hasChildren() &&
                          n->allocatedSize() == 0 && n->logicalSize() == 0,
                      std::string(rel) + ": not a restricted, empty, zero-sized folder");
            }
            check(!root->isRestricted() && !at(root, "outer")->isRestricted(),
                  "restriction spread to the ancestors");
            check(at(root, "outer/visible")->childCount() == 1, "sibling incomplete");
            check(root->logicalSize() == 5000 && s.items == 8,
                  "sizes or item count: " + std::to_string(root->logicalSize()) + " bytes, " +
                      std::to_string(s.items) + " items");
            check(s.result->accounting.restrictedPathCount == 3,
                  "restricted count " + std::to_string(s.result->accounting.restrictedPathCount));
            check(s.diagnostics.find(", 3 restricted") != std::string::npos,
                  "closing line: " + s.diagnostics);
            // A scan target that can be listed but not entered is a restricted empty root.
            auto t = test::scanWith(GetParam(), fx.fullPath("target"));
            check(t.result && t.root()->isRestricted() && !t.root()->hasChildren() &&
                      t.result->accounting.restrictedPathCount == 1 && t.items == 1,
                  "target: not a restricted empty root");
            return failed;
        },
        dropped);
    if (!dropped)
        SKIP_OR_FAIL_GTEST("could not scan as an unprivileged user: " + failures);
    EXPECT_EQ(failures, "");
}

INSTANTIATE_TEST_SUITE_P(BothBackends, RestrictedFolders,
                         ::testing::Values(Backend::bulk, Backend::enumeration), test::backendName);

} // namespace
} // namespace ringfold
