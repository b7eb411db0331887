// The bulk scanner's totals against GNU du on the same tree.
//
// du and Ringfold count different things in one respect: du adds every folder's own
// blocks (and, with --apparent-size, every folder's st_size), while Ringfold's folder
// sizes are the sums of their children only. Both count a hard-linked file once, both
// count a symlink by its own size without following it, and both count only the
// blocks a sparse file really holds. So the comparable figure is du's total minus the
// folders' own share, which `find -type d -printf` reports per folder (%b in 512-byte
// blocks, %s in bytes) for exactly the folders du walked.
//
// Apparent sizes are compared on a subtree without hard links only: there du counts a
// linked file once while Ringfold keeps every name's logical size.

#include "core/scan/BulkScanEngine.h"

#include "ScanTestSupport.h"
#include "support/ChildProcess.h"
#include "support/FixtureTree.h"

#include <gtest/gtest.h>

#include <sstream>

namespace ringfold {
namespace {

using test::at;
using test::FixtureTree;
using test::runCommand;

// du's total for `path` less the folders' own share.
std::int64_t duLessFolders(const std::string& path, bool apparent) {
    std::vector<std::string> argv = {"du", "-s", "-B1"};
    if (apparent)
        argv.push_back("--apparent-size");
    argv.push_back(path);
    auto du = runCommand(argv);
    auto find = runCommand({"find", path, "-type", "d", "-printf", apparent ? "%s\n" : "%b\n"});
    EXPECT_EQ(du.exitCode, 0) << du.err;
    EXPECT_EQ(find.exitCode, 0) << find.err;
    std::istringstream in(find.out);
    std::int64_t folders = 0, v = 0;
    while (in >> v)
        folders += v;
    return std::stoll(du.out) - (apparent ? folders : folders * 512); // "<bytes>\t<path>"
}

bool toolsPresent() {
    return runCommand({"du", "--version"}).exitCode == 0 &&
           runCommand({"find", "--version"}).exitCode == 0;
}

TEST(DuComparison, AllocatedAndApparentTotalsAgreeWithDuLessFolderBlocks) {
    if (!toolsPresent())
        GTEST_SKIP() << "GNU du and find are needed for this comparison";
    FixtureTree fx;
    int i = 0;
    for (std::int64_t size : {0LL, 1LL, 511LL, 4095LL, 4096LL, 4097LL, 100000LL, 1LL << 20}) {
        fx.writeFile("nolinks/sizes/s" + std::to_string(i++), size);
        fx.writeFile("nolinks/deep/a/b/c/d" + std::to_string(i), size + 3);
    }
    fx.sparseFile("nolinks/vm/disk.img", 256LL << 20, 64 * 1024);
    fx.symlink("sizes", "nolinks/link-to-folder");
    fx.symlink("a/target/that/is/rather/long/for/a/symlink/so/it/has/some/size", "nolinks/dang");
    fx.fifo("nolinks/pipe");
    fx.makeFolder("nolinks/empty");
    for (int f = 0; f < 300; ++f)
        fx.writeFile("nolinks/many/f" + std::to_string(f), f * 37);
    // Hard links only outside "nolinks".
    fx.writeFile("links/original", 50000);
    fx.hardLink("links/original", "links/second");
    fx.hardLink("links/original", "other/third");

    BulkScanEngine engine(test::bulkConfig(4));
    auto r = engine.scan(fx.root());
    ASSERT_TRUE(r);
    const FileNode* root = r->root.get();
    const FileNode* nolinks = at(root, "nolinks");
    ASSERT_NE(nolinks, nullptr);

    EXPECT_EQ(root->allocatedSize(), duLessFolders(fx.root(), false));
    EXPECT_EQ(nolinks->allocatedSize(), duLessFolders(fx.fullPath("nolinks"), false));
    EXPECT_EQ(nolinks->logicalSize(), duLessFolders(fx.fullPath("nolinks"), true));
    // The hard-linked data is in the allocated total once, in the logical total thrice.
    EXPECT_EQ(root->logicalSize() - nolinks->logicalSize(), 3 * 50000);
}

} // namespace
} // namespace ringfold
