#include "core/model/FileCategory.h"
#include "core/model/FileNode.h"

#include <gtest/gtest.h>

#include <utility>

namespace ringfold {
namespace {

TEST(FileCategoryTable, NamesMapToTheirCategoryAndEverythingElseIsOther) {
    // One or two names per list, chosen where a misplaced entry is most likely
    // (packages, overlapping image/disk-image names, one-letter extensions).
    const std::pair<const char*, FileCategory> cases[] = {
        {"Xcode.APP", FileCategory::applications}, {"photo.JPG", FileCategory::photos},
        {"shot.heic", FileCategory::photos},        {"x.fcpbundle", FileCategory::videos},
        {"song.logicx", FileCategory::audio},       {"notes.md", FileCategory::documents},
        {"backup.tar.gz", FileCategory::archives},  {"disk.DMG", FileCategory::archives},
        {"disk.img", FileCategory::archives},       {"a.z", FileCategory::archives},
        {"main.m", FileCategory::developer},        {"Info.plist", FileCategory::developer},
        {"data.sqlite3", FileCategory::system},     {"x.savedstate", FileCategory::system},
        {"Makefile", FileCategory::other},          {"setup.exe", FileCategory::other},
        {"Photos.photoslibrary", FileCategory::other}};
    for (const auto& [name, category] : cases)
        EXPECT_EQ(categoryForExtension(lowercasedExtension(name)), category) << name;
    EXPECT_EQ(extensionTableSize(), 184u);

    EXPECT_EQ(categoryForExtension(""), FileCategory::other);
    EXPECT_EQ(categoryForExtension("tar.gz"), FileCategory::other); // never a compound lookup
    EXPECT_EQ(categoryForExtension("jp"), FileCategory::other);     // no prefix matching
    EXPECT_EQ(categoryForExtension("jpgx"), FileCategory::other);
    EXPECT_EQ(categoryForExtension("JPG"), FileCategory::other); // the caller lowercases
}

TEST(FileCategoryTable, PackageExtensions) {
    for (const char* p : {"app", "framework", "photoslibrary", "tvlibrary", "sparsebundle", "mpkg"})
        EXPECT_TRUE(isPackageExtension(p)) << p;
    EXPECT_EQ(packageExtensionCount(), 22u);
    for (const char* p : {"", "d", "zip", "APP"})
        EXPECT_FALSE(isPackageExtension(p)) << p;
}

TEST(FileCategoryNames, ExtensionIsTheLowercasedTextAfterTheLastDot) {
    EXPECT_EQ(lowercasedExtension("photo.JPG"), "jpg");
    EXPECT_EQ(lowercasedExtension("backup.tar.gz"), "gz");
    EXPECT_EQ(lowercasedExtension("..gz"), "gz");
    // Names that only begin or end with their dot have no extension.
    EXPECT_EQ(lowercasedExtension(".zip"), "");
    EXPECT_EQ(lowercasedExtension("notes."), "");
    EXPECT_EQ(lowercasedExtension("a.b."), "");
}

TEST(FileCategoryRawValues, RoundTripInDeclarationOrder) {
    ASSERT_EQ(kAllFileCategories.size(), 9u);
    for (std::size_t i = 0; i < kAllFileCategories.size(); ++i) {
        EXPECT_EQ(static_cast<std::size_t>(kAllFileCategories[i]), i);
        EXPECT_EQ(fileCategoryFromRawValue(rawValue(kAllFileCategories[i])),
                  kAllFileCategories[i]);
    }
    EXPECT_STREQ(rawValue(FileCategory::photos), "photos");
    for (const char* bad : {"Photos", "", "photos ", "unknown"})
        EXPECT_EQ(fileCategoryFromRawValue(bad), std::nullopt) << bad;
}

} // namespace
} // namespace ringfold
