#pragma once
// Builds trees of real files for tests in a fresh temporary folder and removes the
// whole folder again in its destructor, whatever permissions the test left on it.
//
// Every operation takes a path relative to the fixture's root and reaches it with
// openat/mkdirat one component at a time, so paths far longer than PATH_MAX work.
// An empty path is the root itself. Missing parent folders are created. Failures throw
// std::runtime_error naming the path and errno, so a broken fixture ends the test
// instead of producing a misleading tree.
//
// Threads: one object belongs to one thread; deleting entries from another thread
// while a scan runs is done with plain unlink on fullPath().

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

    /// Absolute path of the fixture's root (no trailing slash).
    const std::string& root() const { return m_root; }
    /// root() + "/" + rel; may be longer than PATH_MAX.
    std::string fullPath(std::string_view rel) const;

    /// Creates the folder and any missing parents.
    void makeFolder(std::string_view rel);
    /// A regular file of `size` bytes of real data (so its blocks are allocated).
    void writeFile(std::string_view rel, std::int64_t size, char fill = 'x');
    /// Several files at once: {path, size} pairs.
    void writeFiles(std::initializer_list<std::pair<std::string_view, std::int64_t>> files);
    /// A file of logical size `logicalSize` holding real data only in its first
    /// `dataBytes` bytes; the rest is a hole.
    void sparseFile(std::string_view rel, std::int64_t logicalSize, std::int64_t dataBytes);
    /// A second name for an existing file (both relative to the root).
    void hardLink(std::string_view existingRel, std::string_view newRel);
    /// A symbolic link at `rel` whose content is `target` (not resolved here).
    void symlink(std::string_view target, std::string_view rel);
    /// A named pipe.
    void fifo(std::string_view rel);
    void chmod(std::string_view rel, mode_t mode);
    /// Removes a file or an empty folder.
    void remove(std::string_view rel);
    /// A chain of `depth` nested folders named `segment` under `rel` (which is created
    /// too); returns the relative path of the deepest folder.
    std::string deepChain(std::string_view rel, int depth, std::string_view segment = "d");

    /// Allocated bytes (st_blocks * 512) and logical size of an entry, not following a
    /// final symlink.
    std::int64_t allocatedSizeOf(std::string_view rel) const;
    std::int64_t logicalSizeOf(std::string_view rel) const;

private:
    // Opens the folder holding the last component of `rel` (creating folders on the
    // way when `create`) and returns its descriptor; `leaf` receives the last name.
    int openParent(std::string_view rel, bool create, std::string& leaf) const;
    // Creates or truncates a regular file and returns its descriptor for writing.
    int create(std::string_view rel);
    // Runs op(folder descriptor, last name) in the folder holding `rel` (created with
    // `create`); throws naming `what` when op returns false.
    template <typename Op>
    void inFolderOf(std::string_view rel, bool create, const char* what, Op op) const;
    struct stat statOf(std::string_view rel) const;
    void removeAll();

    std::string m_root;
};

} // namespace ringfold::test
