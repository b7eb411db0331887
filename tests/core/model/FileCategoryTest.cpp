#include "core/model/FileCategory.h"

#include <gtest/gtest.h>

namespace ringfold {
namespace {

using enum FileCategory;

TEST(FileCategory, NamesMapToTheirCategoryAndEverythingElseIsOther) {
    // Packages, image and disk-image names, one-letter and compound ones, dots at the ends.
    // clang-format off
    const std::pair<const char*, FileCategory> cases[] = {
        {"Xcode.APP", applications}, {"photo.JPG", photos}, {"x.fcpbundle", videos},
        {"song.logicx", audio}, {"notes.md", documents}, {"backup.tar.gz", archives},
        {"disk.img", archives}, {"a.z", archives}, {"main.m", developer},
        {"data.sqlite3", system}, {"Makefile", other}, {"Photos.photoslibrary", other},
        {"..gz", archives}, {".zip", other}, {"a.b.", other}};
    // clang-format on
    for (const auto& [name, category] : cases)
        EXPECT_EQ(categoryForExtension(lowercasedExtension(name)), category) << name;
    // The caller lowercases, and there is no prefix or compound matching.
    for (const char* ext : {"JPG", "jp", "jpgx", "tar.gz", ""})
        EXPECT_EQ(categoryForExtension(ext), other) << ext;
}

TEST(FileCategory, PackageExtensionsAndRawValuesAreExact) {
    EXPECT_TRUE(isPackageExtension("sparsebundle"));
    for (const char* p : {"", "d", "zip", "APP"})
        EXPECT_FALSE(isPackageExtension(p)) << p;
    for (FileCategory c : kAllFileCategories)
        EXPECT_EQ(fileCategoryFromRawValue(rawValue(c)), c);
    for (const char* bad : {"Photos", "", "photos "})
        EXPECT_EQ(fileCategoryFromRawValue(bad), std::nullopt) << bad;
}

} // namespace
} // namespace ringfold
