// The bulk scanner's totals against GNU du on the same tree. du adds every folder's own
// blocks (and, with --apparent-size, every folder's st_size) where Ringfold's folders
// are only the sums of their children, so the comparable figure is du's total less the
// folders' own share, which `find -type d -printf` reports for the folders du walked.
// Both count a hard-linked file once by blocks, a symlink by its own size, and only the
// blocks a sparse file holds; apparent sizes are compared where nothing is linked.

#include "ScanTestSupport.h"
#include "support/ChildProcess.h"
#include "support/FixtureTree.h"

#include <gtest/gtest.h>

#include <sstream>

namespace ringfold {
namespace {

std::int64_t duLessFolders(const std::string& path, bool apparent) {
    std::vector<std::string> du = {"du", "-s", "-B1", path};
    if (apparent)
        du.insert(du.begin() + 1, "--apparent-size");
    auto total = test::runCommand(du);
    auto find = test::runCommand({"find", path, "-type", "d", "-printf", apparent ? "%s\n" : "%b\n"});
    EXPECT_EQ(total.exitCode, 0) << total.err;
    EXPECT_EQ(find.exitCode, 0) << find.err;
    std::istringstream in(find.out);
    std::int64_t folders = 0, v = 0;
    while (in >> v)
        folders += v;
    return std::stoll(total.out) - (apparent ? folders : folders * 512); // "<bytes>\t<path>"
}

TEST(DuComparison, TotalsAgreeWithDuLessTheFoldersOwnShare) {
    if (test::runCommand({"du", "--version"}).exitCode != 0)
        GTEST_SKIP() << "GNU du is needed for this comparison";
    test::FixtureTree fx;
    int i = 0;
    for (std::int64_t size : {0LL, 1LL, 511LL, 4095LL, 4096LL, 4097LL, 100000LL, 1LL << 20})
        fx.writeFile("nolinks/deep/a/b/s" + std::to_string(i++), size);
    fx.sparseFile("nolinks/vm/disk.img", 256LL << 20, 64 * 1024);
    fx.symlink("a/target/that/is/rather/long/for/a/symlink/so/it/has/some/size", "nolinks/dang");
    fx.fifo("nolinks/pipe");
    fx.makeFolder("nolinks/empty");
    fx.writeFile("links/original", 50000);
    fx.hardLink("links/original", "links/second");
    fx.hardLink("links/original", "other/third");

    auto s = test::scanWith(test::Backend::bulk, fx.root());
    ASSERT_TRUE(s.result);
    const FileNode* nolinks = test::at(s.root(), "nolinks");
    EXPECT_EQ(s.root()->allocatedSize(), duLessFolders(fx.root(), false));
    EXPECT_EQ(nolinks->logicalSize(), duLessFolders(fx.fullPath("nolinks"), true));
}

} // namespace
} // namespace ringfold
