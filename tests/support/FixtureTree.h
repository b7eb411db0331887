#pragma once
// Builds trees of real files for tests in a fresh temporary folder, and removes the whole
// folder again in its destructor whatever permissions the test left on it. Paths are
// relative to the root ("" is the root) and reached with openat/mkdirat one component at
// a time, so paths far longer than PATH_MAX work; missing parent folders are created.
// Failures throw std::runtime_error naming the path and errno. One object, one thread.

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/types.h>
#include <utility>

namespace ringfold::test {

class FixtureTree {
public:
    /// A new empty folder under $TMPDIR (else /tmp), mode 0700.
    FixtureTree();
    /// A new empty folder under `baseDir` (for a file system with other limits, such as
    /// a tmpfs), mode 0700.
    explicit FixtureTree(const std::string& baseDir);
    ~FixtureTree();
    FixtureTree(const FixtureTree&) = delete;
    FixtureTree& operator=(const FixtureTree&) = delete;

    /// Absolute path of the root (no trailing slash); fullPath may exceed PATH_MAX.
    const std::string& root() const { return m_root; }
    std::string fullPath(std::string_view rel) const {
        return rel.empty() ? m_root : m_root + "/" + std::string(rel);
    }

    void makeFolder(std::string_view rel);
    /// A regular file of `size` bytes of real data (so its blocks are allocated).
    void writeFile(std::string_view rel, std::int64_t size, char fill = 'x');
    /// A regular file holding exactly `content` (sample system files: mountinfo, sysfs).
    void writeText(std::string_view rel, std::string_view content);
    void writeFiles(std::initializer_list<std::pair<std::string_view, std::int64_t>> files) {
        for (const auto& [rel, size] : files)
            writeFile(rel, size);
    }
    /// Real data in the first `dataBytes` bytes only; the rest up to `logicalSize` a hole.
    void sparseFile(std::string_view rel, std::int64_t logicalSize, std::int64_t dataBytes);
    void hardLink(std::string_view existingRel, std::string_view newRel);
    /// A symbolic link at `rel` whose content is `target` (not resolved here).
    void symlink(std::string_view target, std::string_view rel);
    void fifo(std::string_view rel);
    void chmod(std::string_view rel, mode_t mode);
    /// Removes a file or an empty folder.
    void remove(std::string_view rel);
    /// `depth` nested folders named `segment` under `rel`; returns the deepest's path.
    std::string deepChain(std::string_view rel, int depth, std::string_view segment = "d");

    /// Sizes of an entry (not following a final symlink): st_blocks * 512, st_size.
    std::int64_t allocatedSizeOf(std::string_view rel) const { return statOf(rel).st_blocks * 512; }
    std::int64_t logicalSizeOf(std::string_view rel) const { return statOf(rel).st_size; }

private:
    struct stat statOf(std::string_view rel) const;
    std::string m_root;
};

} // namespace ringfold::test
