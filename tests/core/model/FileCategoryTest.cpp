#include "core/model/FileCategory.h"
#include "core/model/FileNode.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace ringfold {
namespace {

struct CategoryList {
    FileCategory category;
    std::vector<std::string> extensions;
};

// The published table, list by list. A typo or a moved extension in the code's table
// shows up here as a wrong category for one named extension.
const std::vector<CategoryList>& publishedTable() {
    static const std::vector<CategoryList> lists = {
        {FileCategory::applications, {"app", "appex", "pkg", "mpkg"}},
        {FileCategory::photos,
         {"jpg",  "jpeg", "png", "gif",    "heic", "heif", "tiff", "tif", "bmp",
          "webp", "raw",  "cr2", "cr3",    "nef",  "arw",  "dng",  "orf", "svg",
          "eps",  "ai",   "psd", "sketch", "icns", "ico",  "avif"}},
        {FileCategory::videos,
         {"mov", "mp4", "m4v", "avi", "mkv", "webm", "wmv", "flv", "mpg", "mpeg", "mts", "m2ts",
          "vob", "3gp", "fcpbundle", "imovielibrary"}},
        {FileCategory::audio,
         {"mp3", "m4a", "aac", "wav", "aiff", "aif", "flac", "ogg", "opus", "wma", "mid", "midi",
          "logicx", "band", "als", "caf"}},
        {FileCategory::documents,
         {"pdf",     "doc", "docx", "xls", "xlsx",     "ppt", "pptx", "key",  "pages",
          "numbers", "txt", "rtf",  "md",  "markdown", "csv", "tsv",  "epub", "mobi",
          "odt",     "ods", "odp",  "tex", "eml",      "ics", "vcf",  "note"}},
        {FileCategory::archives,
         {"zip", "tar", "gz", "tgz", "bz2", "xz", "7z", "rar", "dmg", "iso", "img", "sparsebundle",
          "sparseimage", "war", "sit", "sitx", "z", "lz4", "zst"}},
        {FileCategory::developer,
         {"swift",  "m",         "mm",           "h",          "hpp",        "c",     "cc",
          "cpp",    "cs",        "java",         "kt",         "js",         "jsx",   "ts",
          "tsx",    "py",        "rb",           "go",         "rs",         "php",   "sh",
          "zsh",    "bash",      "pl",           "lua",        "sql",        "html",  "htm",
          "css",    "scss",      "json",         "yaml",       "yml",        "toml",  "xml",
          "plist",  "xcodeproj", "xcworkspace",  "playground", "framework",  "a",     "dylib",
          "so",     "o",         "jar",          "class",      "wasm",       "ipynb", "lock",
          "gradle", "pbxproj",   "entitlements", "xcassets",   "storyboard", "xib",   "git"}},
        {FileCategory::system,
         {"log",    "cache",    "db",    "sqlite",      "sqlite3",    "wal",       "shm", "kext",
          "bundle", "prefpane", "saver", "qlgenerator", "mdimporter", "cachedmsg", "tmp", "swap",
          "crash",  "diag",     "spin",  "ips",         "asl",        "savedstate"}},
    };
    return lists;
}

TEST(FileCategoryTable, EveryPublishedExtensionMapsToItsListAndNothingElseIsInTheTable) {
    std::set<std::string> seen;
    for (const auto& list : publishedTable()) {
        for (const auto& ext : list.extensions) {
            EXPECT_TRUE(seen.insert(ext).second) << ext << " is listed twice";
            EXPECT_EQ(categoryForExtension(ext), list.category)
                << ext << " should be " << rawValue(list.category);
        }
    }
    EXPECT_EQ(seen.size(), 184u);
    EXPECT_EQ(extensionTableSize(), 184u);
}

TEST(FileCategoryTable, UnknownEmptyAndUnloweredExtensionsAreOther) {
    EXPECT_EQ(categoryForExtension(""), FileCategory::other);
    EXPECT_EQ(categoryForExtension("exe"), FileCategory::other);
    EXPECT_EQ(categoryForExtension("tar.gz"), FileCategory::other); // never a compound lookup
    EXPECT_EQ(categoryForExtension("jp"), FileCategory::other);     // no prefix matching
    EXPECT_EQ(categoryForExtension("jpgx"), FileCategory::other);
    // The caller lowercases; the table itself is exact.
    EXPECT_EQ(categoryForExtension("JPG"), FileCategory::other);
    // The three libraries are packages but have no category of their own.
    for (const char* ext : {"photoslibrary", "musiclibrary", "tvlibrary"}) {
        EXPECT_TRUE(isPackageExtension(ext)) << ext;
        EXPECT_EQ(categoryForExtension(ext), FileCategory::other) << ext;
    }
}

TEST(FileCategoryTable, PackageExtensionsAreTheTwentyTwoFolderDocuments) {
    const std::vector<std::string> packages = {
        "app",       "appex",         "framework",   "photoslibrary", "musiclibrary",
        "tvlibrary", "imovielibrary", "fcpbundle",   "logicx",        "band",
        "xcodeproj", "xcworkspace",   "playground",  "sparsebundle",  "prefpane",
        "saver",     "kext",          "qlgenerator", "mdimporter",    "bundle",
        "pkg",       "mpkg"};
    for (const auto& p : packages)
        EXPECT_TRUE(isPackageExtension(p)) << p;
    EXPECT_EQ(packageExtensionCount(), 22u);
    EXPECT_FALSE(isPackageExtension(""));
    EXPECT_FALSE(isPackageExtension("d"));
    EXPECT_FALSE(isPackageExtension("zip"));
    EXPECT_FALSE(isPackageExtension("APP"));
}

TEST(FileCategoryNames, ExtensionIsTheLowercasedTextAfterTheLastDot) {
    EXPECT_EQ(lowercasedExtension("photo.JPG"), "jpg");
    EXPECT_EQ(categoryForExtension(lowercasedExtension("photo.JPG")), FileCategory::photos);
    EXPECT_EQ(categoryForExtension(lowercasedExtension("photo.jpg")), FileCategory::photos);
    EXPECT_EQ(categoryForExtension(lowercasedExtension("backup.tar.gz")), FileCategory::archives);
    EXPECT_EQ(categoryForExtension(lowercasedExtension("Makefile")), FileCategory::other);
    EXPECT_EQ(categoryForExtension(lowercasedExtension("Info.plist")), FileCategory::developer);
    EXPECT_EQ(categoryForExtension(lowercasedExtension("data.sqlite3")), FileCategory::system);
    EXPECT_EQ(categoryForExtension(lowercasedExtension("disk.DMG")), FileCategory::archives);
    EXPECT_EQ(lowercasedExtension("Xcode.APP"), "app");
    // Names that only begin or end with their dot have no extension.
    EXPECT_EQ(lowercasedExtension(".zip"), "");
    EXPECT_EQ(lowercasedExtension("notes."), "");
    EXPECT_EQ(lowercasedExtension("a.b."), "");
    EXPECT_EQ(lowercasedExtension("..gz"), "gz");
}

TEST(FileCategoryRawValues, AreTheLowerCaseCaseNamesInDeclarationOrder) {
    const char* expected[] = {"applications", "photos",    "videos", "audio", "documents",
                              "archives",     "developer", "system", "other"};
    ASSERT_EQ(kAllFileCategories.size(), 9u);
    for (std::size_t i = 0; i < kAllFileCategories.size(); ++i) {
        EXPECT_EQ(static_cast<std::size_t>(kAllFileCategories[i]), i);
        EXPECT_STREQ(rawValue(kAllFileCategories[i]), expected[i]);
        EXPECT_EQ(fileCategoryFromRawValue(expected[i]), kAllFileCategories[i]);
    }
    EXPECT_EQ(fileCategoryFromRawValue("Photos"), std::nullopt);
    EXPECT_EQ(fileCategoryFromRawValue(""), std::nullopt);
    EXPECT_EQ(fileCategoryFromRawValue("photos "), std::nullopt);
    EXPECT_EQ(fileCategoryFromRawValue("unknown"), std::nullopt);
}

TEST(FileCategoryRawValues, PresentationAttributes) {
    EXPECT_STREQ(displayName(FileCategory::photos), "Photos & Images");
    EXPECT_STREQ(displayName(FileCategory::archives), "Archives & Disk Images");
    EXPECT_STREQ(displayName(FileCategory::system), "System & Support");
    EXPECT_STREQ(symbolName(FileCategory::other), "questionmark.folder");
    EXPECT_STREQ(symbolName(FileCategory::system), "gearshape.2");
    EXPECT_STREQ(tint(FileCategory::archives), "brown");
    EXPECT_STREQ(tint(FileCategory::other), "indigo");
}

} // namespace
} // namespace ringfold
