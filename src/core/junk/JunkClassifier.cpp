#include "core/junk/JunkClassifier.h"

#include "core/model/Tree.h"

#include <charconv>
#include <clocale>
#include <cwctype>
#include <locale.h>

namespace ringfold {

namespace {

std::vector<std::string_view> pathComponents(std::string_view path) {
    std::vector<std::string_view> parts;
    std::size_t i = 0;
    while (i <= path.size()) {
        std::size_t slash = path.find('/', i);
        if (slash == std::string_view::npos)
            slash = path.size();
        if (slash > i)
            parts.push_back(path.substr(i, slash - i));
        i = slash + 1;
    }
    return parts;
}

// Decodes the first UTF-8 character; a malformed sequence reads as U+FFFD.
char32_t firstCodePoint(std::string_view s) {
    const auto b0 = static_cast<unsigned char>(s[0]);
    int len = b0 < 0x80 ? 1 : (b0 >> 5) == 6 ? 2 : (b0 >> 4) == 14 ? 3 : (b0 >> 3) == 30 ? 4 : 0;
    if (len == 0 || s.size() < std::size_t(len))
        return 0xFFFD;
    char32_t cp = len == 1 ? b0 : len == 2 ? (b0 & 0x1F) : len == 3 ? (b0 & 0x0F) : (b0 & 0x07);
    for (int i = 1; i < len; ++i) {
        const auto b = static_cast<unsigned char>(s[std::size_t(i)]);
        if ((b & 0xC0) != 0x80)
            return 0xFFFD;
        cp = (cp << 6) | (b & 0x3F);
    }
    return cp;
}

// Unicode letter test without a Unicode library: the C library's UTF-8 locale knows
// the letter classes; without one, every non-ASCII character outside the Latin-1
// symbols counts as a letter (identifiers that start that way are rare either way).
bool isLetter(char32_t cp) {
    if (cp < 0x80)
        return (cp >= 'A' && cp <= 'Z') || (cp >= 'a' && cp <= 'z');
    static const locale_t utf8 = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", locale_t(0));
    if (utf8)
        return ::iswalpha_l(static_cast<wint_t>(cp), utf8) != 0;
    return cp >= 0xC0 && cp != 0xD7 && cp != 0xF7 && cp != 0xFFFD;
}

bool endsWith(std::string_view s, std::string_view suffix) {
    return s.size() >= suffix.size() && s.substr(s.size() - suffix.size()) == suffix;
}

// A whole decimal number: one optional sign, at least one digit, within 64 bits.
bool isWholeNumber(std::string_view s) {
    std::string_view digits = s;
    if (!digits.empty() && (digits[0] == '+' || digits[0] == '-'))
        digits.remove_prefix(1);
    if (digits.empty())
        return false;
    for (char c : digits)
        if (c < '0' || c > '9')
            return false;
    // from_chars takes a leading "-" but not "+".
    std::string_view number = s[0] == '+' ? digits : s;
    std::int64_t value = 0;
    auto [end, ec] = std::from_chars(number.data(), number.data() + number.size(), value);
    return ec == std::errc() && end == number.data() + number.size();
}

} // namespace

FileNode* JunkClassifier::findNode(const FileNode& root, std::string_view path) {
    const std::string rootPath = root.url();
    const auto rootParts = pathComponents(rootPath);
    const auto target = pathComponents(path);
    if (rootParts.size() < target.size()) {
        for (std::size_t i = 0; i < rootParts.size(); ++i)
            if (rootParts[i] != target[i])
                return nullptr;
        const FileNode* node = &root;
        for (std::size_t i = rootParts.size(); i < target.size() && node; ++i)
            node = childNamed(*node, target[i]);
        return const_cast<FileNode*>(node);
    }
    return rootParts == target ? const_cast<FileNode*>(&root) : nullptr;
}

FileNode* JunkClassifier::childNamed(const FileNode& folder, std::string_view name) {
    for (FileNode* child : folder.children())
        if (child->name() == name)
            return child;
    return nullptr;
}

JunkConfidence JunkClassifier::logNameConfidence(std::string_view name) {
    if (endsWith(name, ".log.gz") || endsWith(name, ".log.bz2"))
        return JunkConfidence::high;
    // Components split at every ".", empty ones kept: "x.log." is {x, log, ""}.
    const std::size_t last = name.rfind('.');
    if (last == std::string_view::npos)
        return JunkConfidence::medium;
    const std::size_t prev = last == 0 ? std::string_view::npos : name.rfind('.', last - 1);
    if (prev == std::string_view::npos)
        return JunkConfidence::medium; // fewer than three components
    if (name.substr(prev + 1, last - prev - 1) != "log")
        return JunkConfidence::medium;
    return isWholeNumber(name.substr(last + 1)) ? JunkConfidence::high : JunkConfidence::medium;
}

std::optional<JunkConfidence> JunkClassifier::linuxLogConfidence(std::string_view name) {
    std::string_view base = name;
    for (std::string_view suffix : {".gz", ".bz2", ".xz", ".zst"})
        if (endsWith(base, suffix)) {
            base.remove_suffix(suffix.size());
            break;
        }
    const bool compressed = base.size() != name.size();
    if (endsWith(base, ".log"))
        return compressed ? JunkConfidence::high : JunkConfidence::medium;
    if (endsWith(base, ".log.old") || logNameConfidence(base) == JunkConfidence::high)
        return JunkConfidence::high;
    return std::nullopt;
}

bool JunkClassifier::looksLikeBundleID(std::string_view name) {
    if (name.empty() || name[0] == '.')
        return false;
    if (!isLetter(firstCodePoint(name)))
        return false;
    return name.find('.') != std::string_view::npos;
}

bool JunkClassifier::looksLikeApplicationID(std::string_view name) {
    int parts = 0;
    bool partStart = true;
    for (char c : name) {
        const bool letter = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
        if (c == '.') {
            if (partStart)
                return false; // empty part
            partStart = true;
        } else if (partStart) {
            if (!letter)
                return false;
            partStart = false;
            ++parts;
        } else if (!letter && c != '-' && !(c >= '0' && c <= '9')) {
            return false;
        }
    }
    return !partStart && parts >= 3 && name[0] != '_';
}

bool JunkClassifier::isOlder(const FileNode& node, double limit) const {
    const auto date = node.modificationDate();
    return date && static_cast<double>(now - *date) > limit;
}

bool JunkClassifier::isOrphan(std::string_view name) const {
    return !orphans.bundleIDs.empty() && orphans.bundleIDs.count(std::string(name)) > 0;
}

std::vector<JunkItem> JunkClassifier::classify(const FileNode& root) const {
    std::vector<JunkItem> items;
    addLibraryItems(root, items);
    addLinuxItems(root, items);
    return items;
}

void JunkClassifier::addLibraryItems(const FileNode& root, std::vector<JunkItem>& out) const {
    const FileNode* library = findNode(root, places.home + "/Library");
    if (!library)
        return;
    auto add = [&](const FileNode* n, JunkCategory c, JunkConfidence conf) {
        out.push_back(JunkItem{n->shared(), c, conf});
    };

    if (const FileNode* logs = childNamed(*library, "Logs")) {
        for (const FileNode* child : logs->children()) {
            if (child->name() == "DiagnosticReports") {
                for (const FileNode* report : child->children())
                    add(report, JunkCategory::diagnosticReports,
                        isOlder(*report, diagnosticReportsMaxAge) ? JunkConfidence::high
                                                                  : JunkConfidence::medium);
            } else {
                add(child, JunkCategory::appLogs, logNameConfidence(child->name()));
            }
        }
    }
    if (const FileNode* saved = childNamed(*library, "Saved Application State")) {
        for (const FileNode* child : saved->children())
            if (endsWith(child->name(), ".savedState"))
                add(child, JunkCategory::savedAppState, JunkConfidence::high);
    }
    if (const FileNode* caches = childNamed(*library, "Caches")) {
        for (const FileNode* child : caches->children()) {
            if (isOrphan(child->name()))
                add(child, JunkCategory::orphanedAppSupport, JunkConfidence::orphaned);
            else if (isOlder(*child, cachesDerivedDataMaxAge))
                add(child, JunkCategory::appCaches, JunkConfidence::medium);
        }
    }
    if (const FileNode* containers = childNamed(*library, "Containers")) {
        for (const FileNode* child : containers->children())
            if (looksLikeBundleID(child->name()) && isOrphan(child->name()))
                add(child, JunkCategory::orphanedAppSupport, JunkConfidence::orphaned);
    }
    if (const FileNode* developer = childNamed(*library, "Developer")) {
        if (const FileNode* xcode = childNamed(*developer, "Xcode")) {
            if (const FileNode* derived = childNamed(*xcode, "DerivedData"))
                for (const FileNode* child : derived->children())
                    if (isOlder(*child, cachesDerivedDataMaxAge))
                        add(child, JunkCategory::xcodeDerivedData, JunkConfidence::medium);
            for (const char* name :
                 {"iOS DeviceSupport", "watchOS DeviceSupport", "tvOS DeviceSupport"}) {
                if (const FileNode* support = childNamed(*xcode, name))
                    for (const FileNode* child : support->children())
                        add(child, JunkCategory::xcodeDeviceSupport, JunkConfidence::medium);
            }
        }
        if (const FileNode* simulator = childNamed(*developer, "CoreSimulator"))
            if (const FileNode* caches = childNamed(*simulator, "Caches"))
                for (const FileNode* child : caches->children())
                    add(child, JunkCategory::coreSimulatorCaches, JunkConfidence::high);
    }
}

std::vector<std::string> JunkClassifier::candidateBundleIDs(const FileNode& root,
                                                            const JunkPlaces& places) {
    std::vector<std::string> out;
    if (const FileNode* library = findNode(root, places.home + "/Library")) {
        for (const char* name : {"Containers", "Caches"})
            if (const FileNode* folder = childNamed(*library, name))
                for (const FileNode* child : folder->children())
                    if (looksLikeBundleID(child->name()))
                        out.emplace_back(child->name());
    }
    for (const std::string& path :
         {places.home + "/.var/app", places.cacheHome, places.configHome, places.dataHome})
        if (const FileNode* folder = findNode(root, path))
            for (const FileNode* child : folder->children())
                if (child->isDirectory() && looksLikeApplicationID(child->name()))
                    out.emplace_back(child->name());
    return out;
}

JunkClassifier::Orphans JunkClassifier::findOrphans(const std::vector<std::string>& candidates,
                                                    const InstallationQuery& installation) {
    Orphans out;
    std::unordered_set<std::string> asked;
    for (const std::string& id : candidates) {
        if (!asked.insert(id).second)
            continue;
        const Installation found = installation(id);
        if (found == Installation::none)
            out.bundleIDs.insert(id);
        if (found != Installation::flatpak)
            out.flatpakIDs.insert(id);
    }
    return out;
}

} // namespace ringfold
