#include "core/model/FileCategory.h"

#include <gtest/gtest.h>

namespace ringfold {
namespace {

TEST(FileCategory, NamesMapToTheirCategoryAndEverythingElseIsOther) {
    // Where a misplaced entry is most likely: packages, overlapping image and disk-image
    // names, one-letter extensions, compound names.
    const std::pair<const char*, FileCategory> cases[] = {
        {"Xcode.APP", FileCategory::applications},
        {"photo.JPG", FileCategory::photos},
        {"x.fcpbundle", FileCategory::videos},
        {"song.logicx", FileCategory::audio},
        {"notes.md", FileCategory::documents},
        {"backup.tar.gz", FileCategory::archives},
        {"disk.img", FileCategory::archives},
        {"a.z", FileCategory::archives},
        {"main.m", FileCategory::developer},
        {"data.sqlite3", FileCategory::system},
        {"Makefile", FileCategory::other},
        {"Photos.photoslibrary", FileCategory::other},
        {"..gz", FileCategory::archives},
        {".zip", FileCategory::other},
        {"a.b.", FileCategory::other}};
    for (const auto& [name, category] : cases)
        EXPECT_EQ(categoryForExtension(lowercasedExtension(name)), category) << name;
    // The caller lowercases, and there is no prefix or compound matching.
    for (const char* ext : {"JPG", "jp", "jpgx", "tar.gz", ""})
        EXPECT_EQ(categoryForExtension(ext), FileCategory::other) << ext;
}

TEST(FileCategory, PackageExtensionsAndRawValuesAreExact) {
    for (const char* p : {"app", "photoslibrary", "sparsebundle"})
        EXPECT_TRUE(isPackageExtension(p)) << p;
    for (const char* p : {"", "d", "zip", "APP"})
        EXPECT_FALSE(isPackageExtension(p)) << p;
    for (FileCategory c : kAllFileCategories)
        EXPECT_EQ(fileCategoryFromRawValue(rawValue(c)), c);
    for (const char* bad : {"Photos", "", "photos "})
        EXPECT_EQ(fileCategoryFromRawValue(bad), std::nullopt) << bad;
}

} // namespace
} // namespace ringfold
