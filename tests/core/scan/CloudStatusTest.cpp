#include "core/scan/CloudStatusDetector.h"

#include "ScanTestSupport.h"

namespace ringfold {
namespace {

using namespace test;

TEST(CloudStatusRules, StatusFollowsTheDatalessBitThenThePathPrefix) {
    const auto roots = CloudStatusDetector::cloudRoots("/home/ann");
    using enum CloudStatus;
    const struct {
        std::uint32_t flags;
        const char* path;
        CloudStatus expected;
    } cases[] = {
        {kDatalessFlag, "/media/usb/file", cloudPlaceholder},
        {~kDatalessFlag, "/media/usb/file", notApplicable}, // neighbouring bits
        {0, "/home/ann/Library/CloudStorage/Prov/a.txt", cloudDownloaded},
        {0, "/home/ann/Library/Mobile Documents/x", cloudDownloaded},
        // The roots themselves are not cloud items; the prefix is plain and case-sensitive.
        {0, "/home/ann/Library/CloudStorage", notApplicable},
        {0, "/home/ann/library/CloudStorage/a", notApplicable},
        {0, "/home/ann/Library/CloudStorageX/a", notApplicable},
    };
    for (const auto& c : cases)
        EXPECT_EQ(CloudStatusDetector::status(c.flags, c.path, roots), c.expected) << c.path;
    // Linux placeholders: virtual files by suffix.
    EXPECT_EQ(CloudStatusDetector::linuxFlags("report.pdf.nextcloud", true), kDatalessFlag);
    EXPECT_EQ(CloudStatusDetector::linuxFlags("a.owncloud", true), kDatalessFlag);
    EXPECT_EQ(CloudStatusDetector::linuxFlags("folder.nextcloud", false), 0u);
    EXPECT_EQ(CloudStatusDetector::linuxFlags("a.nextcloud.txt", true), 0u);
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
    auto scan = [&](const std::string& path) {
        return test::scanWith(GetParam(), path, setup).result;
    };
    auto r = scan(fx.root());
    ASSERT_TRUE(r);
    using enum CloudStatus;
    const std::pair<const char*, CloudStatus> expected[] = {
        {"", notApplicable},
        {"Library/CloudStorage", notApplicable}, // the root itself is not inside
        {"Library/CloudStorage/Prov", cloudDownloaded},
        {"Library/CloudStorage/Prov/doc.txt", cloudDownloaded},
        {"Library/CloudStorage/Prov/remote.pdf.nextcloud", cloudPlaceholder},
        {"Library/Mobile Documents/notes.txt", cloudDownloaded},
        {"library/CloudStorage/lower.txt", notApplicable},
        {"elsewhere/away.owncloud", cloudPlaceholder},
        {"elsewhere/plain.txt", notApplicable}};
    for (auto [rel, status] : expected) {
        const FileNode* n = at(r->root.get(), rel);
        ASSERT_NE(n, nullptr) << rel;
        EXPECT_EQ(n->cloudStatus(), status) << rel;
    }
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
