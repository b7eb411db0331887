#include "core/scan/ScanSupport.h"

#include "core/scan/BulkScanEngine.h"
#include "core/scan/FileManagerScanEngine.h"
#include "core/scan/ScanEngine.h"

#include "support/FixtureTree.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace ringfold {
namespace {

TEST(StandardizePath, ResolvesDotsAndSlashesLexically) {
    for (auto [in, out] : {std::pair{"/a/./b//c/", "/a/b/c"},
                           {"/a/b/../c", "/a/c"},
                           {"/home/..", "/"},
                           {"/..", "/"},
                           {"/../../x", "/x"},
                           {"//", "/"},
                           {"/a/.hidden/..x", "/a/.hidden/..x"}})
        EXPECT_EQ(standardizePath(in), out) << in;
    char cwd[4096];
    ASSERT_NE(::getcwd(cwd, sizeof cwd), nullptr);
    EXPECT_EQ(standardizePath("rel/../y"), standardizePath(std::string(cwd) + "/y"));
}

TEST(FileSystemRoot, OnlyPathsThatResolveToSlash) {
    for (const char* p : {"/", "/home/..", "/tmp/../", "//."})
        EXPECT_TRUE(isFileSystemRoot(p)) << p;
    EXPECT_FALSE(isFileSystemRoot("/home"));
    EXPECT_FALSE(isFileSystemRoot("/home/../tmp"));
}

TEST(FileSystemRoot, SkipsThePseudoFileSystems) {
    const std::set<std::string> expected = {"/proc", "/sys", "/dev", "/run"};
    EXPECT_EQ(systemRootSkipPaths("/"), expected);
    EXPECT_EQ(systemRootSkipPaths("/usr/.."), expected);
}

TEST(DeviceProbe, FoldsTheDeviceNumberAndFailsQuietly) {
    test::FixtureTree fx;
    struct stat st {};
    ASSERT_EQ(::stat(fx.root().c_str(), &st), 0);
    EXPECT_EQ(defaultDeviceID(fx.root()), foldDeviceID(major(st.st_dev), minor(st.st_dev)));
    EXPECT_EQ(defaultDeviceID(fx.fullPath("missing")), std::nullopt);
    EXPECT_EQ(foldDeviceID(8, 1), (8u << 20) | 1u);
    EXPECT_EQ(foldDeviceID(0x1FFF, 0x1FFFFF), 0xFFFFFFFFu); // extra bits are dropped
}

TEST(ScanEngineChoice, NetworkVolumesUseTheEnumerationBackEndEverythingElseTheBulkOne) {
    for (auto kind : {ScanSourceKind::internalVolume, ScanSourceKind::externalVolume,
                      ScanSourceKind::favoriteFolder}) {
        ScanEngine engine(kind, 2, ScanEngine::Options{0, nullptr});
        EXPECT_NE(dynamic_cast<BulkScanEngine*>(&engine.backend()), nullptr) << toString(kind);
    }
    ScanEngine network(ScanSourceKind::networkVolume, 2, ScanEngine::Options{0, nullptr});
    EXPECT_NE(dynamic_cast<FileManagerScanEngine*>(&network.backend()), nullptr);
    EXPECT_GE(activeProcessorCount(), 1);
}

TEST(ScanEngineChoice, ScanReturnsTheBackEndsResultUnchanged) {
    test::FixtureTree fx;
    fx.writeFile("a/b.txt", 1234);
    ScanEngine engine(ScanSourceKind::favoriteFolder, 2, ScanEngine::Options{3, nullptr});
    auto r = engine.scan(fx.root());
    ASSERT_TRUE(r);
    EXPECT_EQ(r->root->logicalSize(), 1234);
    EXPECT_EQ(r->accounting.enumeratedAllocatedSize, r->root->allocatedSize());
    std::stop_source stop;
    stop.request_stop();
    EXPECT_FALSE(engine.scan(fx.root(), stop.get_token()));
}

// Every scanner test relies on its fixture disappearing, even after it locked folders
// or built chains no path can name; otherwise CI machines fill up their /tmp.
TEST(FixtureCleanup, LockedFoldersAndChainsBeyondPathMaxAreRemoved) {
    std::string root;
    {
        test::FixtureTree fx;
        root = fx.root();
        const std::string deepest = fx.deepChain("chain", 40, std::string(200, 'z'));
        fx.writeFile(deepest + "/leaf", 10);
        fx.writeFile("locked/inner/file", 10);
        fx.chmod("locked/inner", 0);
        fx.chmod("locked", 0);
        fx.fifo("pipe");
        fx.symlink("chain", "link");
        fx.chmod("", 0500);
    }
    struct stat st {};
    EXPECT_NE(::lstat(root.c_str(), &st), 0) << root << " is still there";
}

} // namespace
} // namespace ringfold
