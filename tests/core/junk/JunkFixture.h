#pragma once
// Shared by the junk tests: in-memory trees rooted at an absolute path, a classifier
// for a fixed home and clock, and one line per found item so whole lists compare; with
// the fixture builders and gtest.
#include "core/junk/JunkClassifier.h"
#include "support/FixtureTree.h"
#include "support/MemoryTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace ringfold::test {

inline constexpr Timestamp kNow = 1'700'000'000;
inline constexpr Timestamp kDay = 86400;

/// The whitespace-separated words of a text (paths without spaces, listed compactly).
inline std::vector<std::string> words(std::string_view text) {
    std::vector<std::string> out;
    for (std::size_t end = 0, start; (start = text.find_first_not_of(" \n", end)) != text.npos;) {
        end = std::min(text.find_first_of(" \n", start), text.size());
        out.emplace_back(text.substr(start, end - start));
    }
    return out;
}

struct JunkTree : MemoryTree {
    explicit JunkTree(const std::string& path) : MemoryTree(path.substr(path.rfind('/') + 1)) {
        setRootPath(path);
    }
    /// A file, or with a trailing "/" a folder, at a path below the root.
    FileNode* add(std::string_view rel, std::optional<Timestamp> modified = std::nullopt,
                  std::int64_t size = 1000, bool hidden = false) {
        const bool folder = rel.back() == '/';
        rel.remove_suffix(folder ? 1 : 0);
        const std::size_t slash = rel.rfind('/');
        FileNode* parent = slash == rel.npos ? root() : folderAt(rel.substr(0, slash));
        const NodeOptions options{.hidden = hidden, .modified = modified};
        return folder ? MemoryTree::folder(parent, rel.substr(slash + 1), options)
                      : file(parent, rel.substr(slash + 1), size, options);
    }
    /// Each word of `entries` below `under`: a path as for `add`, undated, or followed
    /// by "@" and its age in days.
    void addAll(std::string_view entries, const std::string& under = "") {
        for (const std::string& entry : words(entries)) {
            const std::size_t at = entry.find('@');
            add(under + entry.substr(0, at),
                at == entry.npos
                    ? std::nullopt
                    : std::optional(kNow - Timestamp(std::stod(entry.substr(at + 1)) * kDay)));
        }
    }
};

/// The names of nodes, or of junk items' nodes.
template <typename Range> std::vector<std::string> names(const Range& range) {
    std::vector<std::string> out;
    for (const auto& entry : range)
        if constexpr (requires { entry.node; })
            out.emplace_back(entry.node->name());
        else
            out.emplace_back(entry->name());
    return out;
}

inline JunkClassifier classifier(const std::string& home, JunkClassifier::Orphans orphans = {}) {
    JunkClassifier c;
    c.places = JunkPlaces::forHome(home);
    c.now = kNow;
    c.orphans = std::move(orphans);
    return c;
}

inline std::vector<std::string> described(const std::vector<JunkItem>& items) {
    std::vector<std::string> out;
    for (const auto& i : items)
        out.push_back(i.node->url() + " " + rawValue(i.category) + " " + label(i.confidence));
    return out;
}

} // namespace ringfold::test
