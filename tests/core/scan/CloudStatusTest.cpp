#include "core/scan/CloudStatusDetector.h"

#include "ScanTestSupport.h"
#include "support/FixtureTree.h"

#include <gtest/gtest.h>

namespace ringfold {
namespace {

using test::at;
using test::FixtureTree;

const std::vector<std::string> kRoots = CloudStatusDetector::cloudRoots("/home/ann");

TEST(CloudStatusRules, CloudRootsAreTheTwoLibraryFoldersWithTrailingSlashes) {
    EXPECT_EQ(kRoots, (std::vector<std::string>{"/home/ann/Library/Mobile Documents/",
                                                "/home/ann/Library/CloudStorage/"}));
}

TEST(CloudStatusRules, DatalessBitMakesAPlaceholderAnywhere) {
    EXPECT_EQ(CloudStatusDetector::status(0x40000000u, "/media/usb/file", kRoots),
              CloudStatus::cloudPlaceholder);
    EXPECT_EQ(CloudStatusDetector::status(0xFFFFFFFFu, "/home/ann/Library/CloudStorage/x", kRoots),
              CloudStatus::cloudPlaceholder);
    // Neighbouring bits mean nothing.
    EXPECT_EQ(CloudStatusDetector::status(0xBFFFFFFFu, "/media/usb/file", kRoots),
              CloudStatus::notApplicable);
}

TEST(CloudStatusRules, ItemsInsideACloudRootAreDownloaded) {
    EXPECT_EQ(CloudStatusDetector::status(0, "/home/ann/Library/CloudStorage/Prov/a.txt", kRoots),
              CloudStatus::cloudDownloaded);
    EXPECT_EQ(CloudStatusDetector::status(0, "/home/ann/Library/Mobile Documents/x", kRoots),
              CloudStatus::cloudDownloaded);
    // The folders themselves have no trailing slash and are not cloud items.
    EXPECT_EQ(CloudStatusDetector::status(0, "/home/ann/Library/CloudStorage", kRoots),
              CloudStatus::notApplicable);
    EXPECT_EQ(CloudStatusDetector::status(0, "/home/ann/Library/Mobile Documents", kRoots),
              CloudStatus::notApplicable);
    // A plain, case-sensitive prefix: no normalisation, no near misses.
    EXPECT_EQ(CloudStatusDetector::status(0, "/home/ann/library/CloudStorage/a", kRoots),
              CloudStatus::notApplicable);
    EXPECT_EQ(CloudStatusDetector::status(0, "/home/ann/Library/cloudstorage/a", kRoots),
              CloudStatus::notApplicable);
    EXPECT_EQ(CloudStatusDetector::status(0, "/home/ann/Library/CloudStorageX/a", kRoots),
              CloudStatus::notApplicable);
    EXPECT_EQ(CloudStatusDetector::status(0, "/home/bob/Library/CloudStorage/a", kRoots),
              CloudStatus::notApplicable);
    EXPECT_EQ(CloudStatusDetector::status(0, "/home/ann/Library/CloudStorage/a", {}),
              CloudStatus::notApplicable);
}

TEST(CloudStatusRules, LinuxPlaceholdersAreVirtualFilesBySuffix) {
    EXPECT_EQ(CloudStatusDetector::linuxFlags("report.pdf.nextcloud", true), kDatalessFlag);
    EXPECT_EQ(CloudStatusDetector::linuxFlags("a.owncloud", true), kDatalessFlag);
    EXPECT_EQ(CloudStatusDetector::linuxFlags("folder.nextcloud", false), 0u);
    EXPECT_EQ(CloudStatusDetector::linuxFlags("nextcloud", true), 0u);
    EXPECT_EQ(CloudStatusDetector::linuxFlags("a.nextcloud.txt", true), 0u);
}

// A scanned home folder with cloud items: both back-ends must agree.
class CloudScan : public ::testing::TestWithParam<bool> {};

TEST_P(CloudScan, StatusFollowsFlagsAndLocation) {
    FixtureTree fx;
    fx.writeFile("Library/CloudStorage/Prov/doc.txt", 100);
    fx.writeFile("Library/CloudStorage/Prov/remote.pdf.nextcloud", 0);
    fx.writeFile("Library/Mobile Documents/notes.txt", 100);
    fx.writeFile("library/CloudStorage/lower.txt", 100);
    fx.writeFile("elsewhere/away.owncloud", 0);
    fx.writeFile("elsewhere/plain.txt", 100);
    std::optional<ScanResult> r;
    if (GetParam()) {
        auto config = test::bulkConfig(2);
        config.homePath = fx.root();
        BulkScanEngine engine(config);
        r = engine.scan(fx.root());
    } else {
        auto config = test::enumerationConfig();
        config.homePath = fx.root();
        FileManagerScanEngine engine(config);
        r = engine.scan(fx.root());
    }
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
}

INSTANTIATE_TEST_SUITE_P(BothBackends, CloudScan, ::testing::Values(true, false),
                         [](const auto& info) { return info.param ? "bulk" : "enumeration"; });

TEST(CloudScanRoot, AScanRootInsideACloudRootIsDownloaded) {
    FixtureTree fx;
    fx.writeFile("Library/CloudStorage/Prov/doc.txt", 100);
    auto config = test::bulkConfig(1);
    config.homePath = fx.root();
    BulkScanEngine engine(config);
    auto r = engine.scan(fx.fullPath("Library/CloudStorage/Prov"));
    ASSERT_TRUE(r);
    EXPECT_EQ(r->root->cloudStatus(), CloudStatus::cloudDownloaded);
    EXPECT_EQ(at(r->root.get(), "doc.txt")->cloudStatus(), CloudStatus::cloudDownloaded);
}

} // namespace
} // namespace ringfold
