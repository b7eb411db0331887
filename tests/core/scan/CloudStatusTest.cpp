#include "core/scan/CloudStatusDetector.h"

#include "ScanTestSupport.h"
#include "support/FixtureTree.h"

#include <gtest/gtest.h>

namespace ringfold {
namespace {

using test::at;
using test::FixtureTree;

TEST(CloudStatusRules, StatusFollowsTheDatalessBitThenThePathPrefix) {
    const auto roots = CloudStatusDetector::cloudRoots("/home/ann");
    EXPECT_EQ(roots, (std::vector<std::string>{"/home/ann/Library/Mobile Documents/",
                                               "/home/ann/Library/CloudStorage/"}));
    const struct {
        std::uint32_t flags;
        const char* path;
        CloudStatus expected;
    } cases[] = {
        {0x40000000u, "/media/usb/file", CloudStatus::cloudPlaceholder},
        {0xFFFFFFFFu, "/home/ann/Library/CloudStorage/x", CloudStatus::cloudPlaceholder},
        {0xBFFFFFFFu, "/media/usb/file", CloudStatus::notApplicable}, // neighbouring bits
        {0, "/home/ann/Library/CloudStorage/Prov/a.txt", CloudStatus::cloudDownloaded},
        {0, "/home/ann/Library/Mobile Documents/x", CloudStatus::cloudDownloaded},
        // The roots themselves are not cloud items; the prefix is plain and case-sensitive.
        {0, "/home/ann/Library/CloudStorage", CloudStatus::notApplicable},
        {0, "/home/ann/library/CloudStorage/a", CloudStatus::notApplicable},
        {0, "/home/ann/Library/CloudStorageX/a", CloudStatus::notApplicable},
        {0, "/home/bob/Library/CloudStorage/a", CloudStatus::notApplicable},
    };
    for (const auto& c : cases)
        EXPECT_EQ(CloudStatusDetector::status(c.flags, c.path, roots), c.expected) << c.path;
    EXPECT_EQ(CloudStatusDetector::status(0, "/home/ann/Library/CloudStorage/a", {}),
              CloudStatus::notApplicable);
}

// The per-folder scope the scanners use must answer like the full-path rule.
TEST(CloudStatusRules, FolderScopesAgreeWithThePathRule) {
    const std::vector<std::string> roots = {"/home/ann/Library/CloudStorage/",
                                            "/home/ann/Library/Mobile Documents/", "/mnt/c/"};
    for (const char* path : {"/", "/home", "/home/ann/Library", "/home/ann/Library/CloudStorage",
                             "/home/ann/Library/CloudStorageX", "/home/ann/Library/CloudStorage/P",
                             "/home/ann/Library/Mobile Documents", "/mnt", "/mnt/c", "/mnt/cc"}) {
        for (const char* name : {"CloudStorage", "Mobile Documents", "c", "Library", "ann", "x"}) {
            const std::string folder = path;
            const std::string item = childPath(folder, name);
            auto scope = CloudScope::ofFolder(folder, roots);
            EXPECT_EQ(scope.status(0), CloudStatusDetector::status(0, item, roots)) << item;
            // One level down, reached from the parent's scope.
            const std::string below = childPath(item, "f");
            EXPECT_EQ(scope.child(name, roots).status(0),
                      CloudStatusDetector::status(0, below, roots))
                << below;
        }
    }
    EXPECT_EQ(CloudScope::ofFolder("/tmp", roots).status(kDatalessFlag),
              CloudStatus::cloudPlaceholder);
}

TEST(CloudStatusRules, LinuxPlaceholdersAreVirtualFilesBySuffix) {
    EXPECT_EQ(CloudStatusDetector::linuxFlags("report.pdf.nextcloud", true), kDatalessFlag);
    EXPECT_EQ(CloudStatusDetector::linuxFlags("a.owncloud", true), kDatalessFlag);
    for (auto [name, isFile] :
         {std::pair{"folder.nextcloud", false}, {"nextcloud", true}, {"a.nextcloud.txt", true}})
        EXPECT_EQ(CloudStatusDetector::linuxFlags(name, isFile), 0u) << name;
}

// A scanned home folder with cloud items: both back-ends must agree.
class CloudScan : public ::testing::TestWithParam<test::Backend> {};

TEST_P(CloudScan, StatusFollowsFlagsAndLocation) {
    FixtureTree fx;
    fx.writeFiles({{"Library/CloudStorage/Prov/doc.txt", 100},
                   {"Library/CloudStorage/Prov/remote.pdf.nextcloud", 0},
                   {"Library/Mobile Documents/notes.txt", 100},
                   {"library/CloudStorage/lower.txt", 100},
                   {"elsewhere/away.owncloud", 0},
                   {"elsewhere/plain.txt", 100}});
    test::ScanSetup setup;
    setup.homePath = fx.root();
    auto scan = [&](const std::string& path) { return test::scanWith(GetParam(), path, setup).result; };
    auto r = scan(fx.root());
    ASSERT_TRUE(r);
    const FileNode* root = r->root.get();
    auto status = [&](const char* rel) {
        const FileNode* n = at(root, rel);
        EXPECT_NE(n, nullptr) << rel;
        return n ? n->cloudStatus() : CloudStatus::notApplicable;
    };
    EXPECT_EQ(status("Library"), CloudStatus::notApplicable);
    EXPECT_EQ(status("Library/CloudStorage"), CloudStatus::notApplicable);
    EXPECT_EQ(status("Library/CloudStorage/Prov"), CloudStatus::cloudDownloaded);
    EXPECT_EQ(status("Library/CloudStorage/Prov/doc.txt"), CloudStatus::cloudDownloaded);
    EXPECT_EQ(status("Library/CloudStorage/Prov/remote.pdf.nextcloud"),
              CloudStatus::cloudPlaceholder);
    EXPECT_EQ(status("Library/Mobile Documents"), CloudStatus::notApplicable);
    EXPECT_EQ(status("Library/Mobile Documents/notes.txt"), CloudStatus::cloudDownloaded);
    EXPECT_EQ(status("library/CloudStorage/lower.txt"), CloudStatus::notApplicable);
    EXPECT_EQ(status("elsewhere/away.owncloud"), CloudStatus::cloudPlaceholder);
    EXPECT_EQ(status("elsewhere/plain.txt"), CloudStatus::notApplicable);
    EXPECT_EQ(root->cloudStatus(), CloudStatus::notApplicable);

    // A scan root inside a cloud root is itself a downloaded cloud item.
    auto inside = scan(fx.fullPath("Library/CloudStorage/Prov"));
    ASSERT_TRUE(inside);
    EXPECT_EQ(inside->root->cloudStatus(), CloudStatus::cloudDownloaded);
    EXPECT_EQ(at(inside->root.get(), "doc.txt")->cloudStatus(), CloudStatus::cloudDownloaded);
}

INSTANTIATE_TEST_SUITE_P(BothBackends, CloudScan,
                         ::testing::Values(test::Backend::bulk, test::Backend::enumeration),
                         test::backendName);

} // namespace
} // namespace ringfold
