#pragma once
// The nine kinds of content the categories panel totals, decided by a file's
// extension alone, and the folder extensions that count as one document (packages).
// The tables are built once, on first use, from any thread; reads need no lock.

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace ringfold {

enum class FileCategory {
    applications,
    photos,
    videos,
    audio,
    documents,
    archives,
    developer,
    system,
    other
};

inline constexpr std::array<FileCategory, 9> kAllFileCategories = {
    FileCategory::applications, FileCategory::photos,    FileCategory::videos,
    FileCategory::audio,        FileCategory::documents, FileCategory::archives,
    FileCategory::developer,    FileCategory::system,    FileCategory::other};

/// The raw value: the case name ("photos").
const char* rawValue(FileCategory c);
/// The case for a raw value; nothing for anything but the nine lower-case names.
std::optional<FileCategory> fileCategoryFromRawValue(std::string_view raw);
const char* displayName(FileCategory c);
/// Symbol name of the category's icon.
const char* symbolName(FileCategory c);
/// Name of the category's tint colour ("blue", "green", ...).
const char* tint(FileCategory c);

/// Category of an already lower-cased extension; `other` for "" and unknown ones.
FileCategory categoryForExtension(std::string_view lowercasedExtension);
/// True when a folder with this (lower-cased) extension counts as one item.
bool isPackageExtension(std::string_view lowercasedExtension);
/// The lower-cased extension of a name, by the same rule as the kind labels.
std::string lowercasedExtension(std::string_view name);

/// The table sizes, for checks: 184 extensions, 22 package extensions.
std::size_t extensionTableSize();
std::size_t packageExtensionCount();

} // namespace ringfold
