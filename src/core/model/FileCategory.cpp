#include "core/model/FileCategory.h"

#include "core/model/FileNode.h"

#include <cctype>
#include <initializer_list>

namespace ringfold {

namespace {

struct Info {
    FileCategory category;
    const char* raw;
    const char* display;
    const char* symbol;
    const char* tint;
};

constexpr Info kInfo[] = {
    {FileCategory::applications, "applications", "Applications", "app.badge", "blue"},
    {FileCategory::photos, "photos", "Photos & Images", "photo", "green"},
    {FileCategory::videos, "videos", "Videos", "film", "purple"},
    {FileCategory::audio, "audio", "Audio", "music.note", "pink"},
    {FileCategory::documents, "documents", "Documents", "doc.text", "orange"},
    {FileCategory::archives, "archives", "Archives & Disk Images", "shippingbox", "brown"},
    {FileCategory::developer, "developer", "Developer", "hammer", "teal"},
    {FileCategory::system, "system", "System & Support", "gearshape.2", "gray"},
    {FileCategory::other, "other", "Other", "questionmark.folder", "indigo"},
};

using Table = std::unordered_map<std::string_view, FileCategory>;

const Table& extensionMap() {
    // A function-local static: built by exactly one thread on first use.
    static const Table table = [] {
        Table t;
        auto add = [&t](FileCategory c, std::initializer_list<const char*> exts) {
            for (const char* e : exts)
                t[e] = c;
        };
        add(FileCategory::applications, {"app", "appex", "pkg", "mpkg"});
        add(FileCategory::photos,
            {"jpg", "jpeg", "png", "gif", "heic", "heif", "tiff", "tif", "bmp",
             "webp", "raw", "cr2", "cr3", "nef", "arw", "dng", "orf", "svg",
             "eps", "ai", "psd", "sketch", "icns", "ico", "avif"});
        add(FileCategory::videos, {"mov", "mp4", "m4v", "avi", "mkv", "webm", "wmv", "flv", "mpg",
                                   "mpeg", "mts", "m2ts", "vob", "3gp", "fcpbundle",
                                   "imovielibrary"});
        add(FileCategory::audio, {"mp3", "m4a", "aac", "wav", "aiff", "aif", "flac", "ogg", "opus",
                                  "wma", "mid", "midi", "logicx", "band", "als", "caf"});
        add(FileCategory::documents,
            {"pdf", "doc",  "docx",     "xls", "xlsx", "ppt", "pptx", "key", "pages",
             "numbers", "txt", "rtf", "md", "markdown", "csv", "tsv", "epub", "mobi",
             "odt", "ods", "odp", "tex", "eml", "ics", "vcf", "note"});
        add(FileCategory::archives, {"zip", "tar", "gz", "tgz", "bz2", "xz", "7z", "rar", "dmg",
                                     "iso", "img", "sparsebundle", "sparseimage", "war", "sit",
                                     "sitx", "z", "lz4", "zst"});
        add(FileCategory::developer,
            {"swift", "m",     "mm",       "h",         "hpp",     "c",         "cc",
             "cpp",   "cs",    "java",     "kt",        "js",      "jsx",       "ts",
             "tsx",   "py",    "rb",       "go",        "rs",      "php",       "sh",
             "zsh",   "bash",  "pl",       "lua",       "sql",     "html",      "htm",
             "css",   "scss",  "json",     "yaml",      "yml",     "toml",      "xml",
             "plist", "xcodeproj", "xcworkspace", "playground", "framework", "a", "dylib",
             "so",    "o",     "jar",      "class",     "wasm",    "ipynb",     "lock",
             "gradle", "pbxproj", "entitlements", "xcassets", "storyboard", "xib", "git"});
        add(FileCategory::system,
            {"log", "cache", "db", "sqlite", "sqlite3", "wal", "shm", "kext", "bundle", "prefpane",
             "saver", "qlgenerator", "mdimporter", "cachedmsg", "tmp", "swap", "crash", "diag",
             "spin", "ips", "asl", "savedstate"});
        return t;
    }();
    return table;
}

const std::unordered_set<std::string_view>& packageSet() {
    static const std::unordered_set<std::string_view> set = {
        "app",        "appex",       "framework",    "photoslibrary", "musiclibrary", "tvlibrary",
        "imovielibrary", "fcpbundle", "logicx",      "band",          "xcodeproj",    "xcworkspace",
        "playground", "sparsebundle", "prefpane",    "saver",         "kext",         "qlgenerator",
        "mdimporter", "bundle",      "pkg",          "mpkg"};
    return set;
}

const Info& info(FileCategory c) { return kInfo[static_cast<int>(c)]; }

} // namespace

const char* rawValue(FileCategory c) { return info(c).raw; }
const char* displayName(FileCategory c) { return info(c).display; }
const char* symbolName(FileCategory c) { return info(c).symbol; }
const char* tint(FileCategory c) { return info(c).tint; }

std::optional<FileCategory> fileCategoryFromRawValue(std::string_view raw) {
    for (const auto& i : kInfo)
        if (raw == i.raw)
            return i.category;
    return std::nullopt;
}

FileCategory categoryForExtension(std::string_view ext) {
    if (ext.empty())
        return FileCategory::other;
    const auto& t = extensionMap();
    auto it = t.find(ext);
    return it == t.end() ? FileCategory::other : it->second;
}

bool isPackageExtension(std::string_view ext) { return !ext.empty() && packageSet().count(ext); }

std::string lowercasedExtension(std::string_view name) {
    std::string ext(pathExtension(name));
    for (char& c : ext)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return ext;
}

std::size_t extensionTableSize() { return extensionMap().size(); }
std::size_t packageExtensionCount() { return packageSet().size(); }

} // namespace ringfold
