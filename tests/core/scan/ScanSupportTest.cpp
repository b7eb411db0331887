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
    // clang-format off
    for (auto [in, out] : {std::pair{"/a/./b//c/", "/a/b/c"}, {"/a/b/../c", "/a/c"}, {"//", "/"},
                           {"/home/..", "/"}, {"/..", "/"}, {"/../../x", "/x"},
                           {"/a/.hidden/..x", "/a/.hidden/..x"}})
        EXPECT_EQ(standardizePath(in), out) << in;
    // clang-format on
    char cwd[4096];
    ASSERT_NE(::getcwd(cwd, sizeof cwd), nullptr);
    EXPECT_EQ(standardizePath("rel/../y"), standardizePath(std::string(cwd) + "/y"));
}

TEST(FileSystemRoot, OnlyPathsThatResolveToSlashAndItsPseudoFileSystems) {
    for (const char* p : {"/", "/home/..", "/tmp/../", "//."})
        EXPECT_TRUE(isFileSystemRoot(p)) << p;
    EXPECT_FALSE(isFileSystemRoot("/home/../tmp"));
    EXPECT_EQ(systemRootSkipPaths("/usr/.."),
              (std::set<std::string>{"/proc", "/sys", "/dev", "/run"}));
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

} // namespace
} // namespace ringfold
