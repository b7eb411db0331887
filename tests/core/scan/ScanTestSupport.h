#pragma once
// Shared helpers of the scanner tests: engine set-ups without diagnostics, lookups by
// name, whole-tree walks (iterative: some trees are thousands of levels deep) and the
// size invariant every finished tree must satisfy.

#include "core/model/Tree.h"
#include "core/scan/BulkScanEngine.h"
#include "core/scan/FileManagerScanEngine.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace ringfold::test {

inline BulkScanEngine::Config bulkConfig(int threads = 4, std::FILE* diagnostics = nullptr) {
    BulkScanEngine::Config c;
    c.maxConcurrentDirScans = threads;
    c.diagnostics = diagnostics;
    c.homePath = "/nonexistent-home-for-tests";
    return c;
}

inline FileManagerScanEngine::Config enumerationConfig(std::FILE* diagnostics = nullptr) {
    FileManagerScanEngine::Config c;
    c.diagnostics = diagnostics;
    c.homePath = "/nonexistent-home-for-tests";
    return c;
}

inline FileNode* child(const FileNode* folder, std::string_view name) {
    if (!folder)
        return nullptr;
    for (FileNode* c : folder->children())
        if (c->name() == name)
            return c;
    return nullptr;
}

/// Follows a "/"-separated chain of names from `root`; null when a step is missing.
inline FileNode* at(const FileNode* root, std::string_view rel) {
    const FileNode* n = root;
    while (n && !rel.empty()) {
        auto slash = rel.find('/');
        n = child(n, rel.substr(0, slash));
        rel = slash == std::string_view::npos ? std::string_view() : rel.substr(slash + 1);
    }
    return const_cast<FileNode*>(n);
}

inline void forEachNode(const FileNode* root, const std::function<void(const FileNode*)>& f) {
    std::vector<const FileNode*> stack{root};
    while (!stack.empty()) {
        const FileNode* n = stack.back();
        stack.pop_back();
        f(n);
        for (FileNode* c : n->children())
            stack.push_back(c);
    }
}

inline std::int64_t nodeCount(const FileNode* root) {
    std::int64_t n = 0;
    forEachNode(root, [&](const FileNode*) { ++n; });
    return n;
}

/// Every folder's sizes are the sums of its children's; returns the first folder where
/// that fails, as a message, or an empty string.
inline std::string sumsMismatch(const FileNode* root) {
    std::string problem;
    forEachNode(root, [&](const FileNode* n) {
        if (!problem.empty() || !n->isDirectory() || !n->hasChildren())
            return;
        std::int64_t logical = 0, allocated = 0;
        for (FileNode* c : n->children()) {
            logical += c->logicalSize();
            allocated += c->allocatedSize();
        }
        if (logical != n->logicalSize() || allocated != n->allocatedSize())
            problem = std::string(n->name()) + ": children sum to " + std::to_string(allocated) +
                      "/" + std::to_string(logical) + ", folder says " +
                      std::to_string(n->allocatedSize()) + "/" + std::to_string(n->logicalSize());
    });
    return problem;
}

/// Matches `text` against `pattern` exactly, where '#' stands for one or more digits
/// (collected into `numbers`) and every other character for itself. (std::regex trips
/// GCC 12's uninitialised-use warning in sanitizer builds, so it is not used here.)
inline bool matchesPattern(std::string_view text, std::string_view pattern,
                           std::vector<std::int64_t>* numbers = nullptr) {
    std::size_t t = 0;
    for (char p : pattern) {
        if (p != '#') {
            if (t >= text.size() || text[t] != p)
                return false;
            ++t;
            continue;
        }
        std::size_t start = t;
        while (t < text.size() && text[t] >= '0' && text[t] <= '9')
            ++t;
        if (t == start)
            return false;
        if (numbers)
            numbers->push_back(std::stoll(std::string(text.substr(start, t - start))));
    }
    return t == text.size();
}

/// Everything written to a tmpfile() so far.
inline std::string readAll(std::FILE* f) {
    std::fflush(f);
    std::rewind(f);
    std::string text;
    char buf[4096];
    while (std::size_t n = std::fread(buf, 1, sizeof buf, f))
        text.append(buf, n);
    return text;
}

} // namespace ringfold::test
