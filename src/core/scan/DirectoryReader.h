#pragma once
// The system calls both back-ends read folders with: getdents64 into a pooled 256 KiB
// buffer for the names, then one fd-relative statx per entry. Listing and statting
// are separate steps, so that a huge folder's statx calls can be spread over several
// threads and issued in inode order (on a warm ext4 folder of a million files, inode
// order took 40% less time than directory order, which is hash order there).
//
// Open descriptors: listing uses the caller's; opening a folder by a path longer than
// PATH_MAX holds one transient descriptor per stretch of the path, two at most.

#include "core/model/Types.h"

#include <cerrno>
#include <cstdint>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>

namespace ringfold {

/// Object types in the numbering the rest of the scanner uses.
enum class ObjectType : std::uint8_t {
    none = 0,
    regular = 1,
    directory = 2,
    blockDevice = 3,
    charDevice = 4,
    symlink = 5,
    socket = 6,
    fifo = 7
};

struct BulkEntry {
    std::string_view name;
    ObjectType objType = ObjectType::none;
    std::int64_t logicalSize = 0;
    std::int64_t allocatedSize = 0;
    std::optional<Timestamp> modificationDate;
    std::uint32_t flags = 0;
    bool allocatedSizeEstimated = false;
    std::uint64_t fileID = 0;
    std::uint32_t linkCount = 0;
    std::uint32_t deviceID = 0;
    std::uint64_t cloneID = 0; // Linux reports no clone identity
};

/// An owned descriptor, closed when it goes.
class Fd {
public:
    Fd() = default;
    explicit Fd(int fd) : m_fd(fd) {}
    Fd(Fd&& o) noexcept : m_fd(std::exchange(o.m_fd, -1)) {}
    Fd& operator=(Fd&& o) noexcept {
        if (this != &o) {
            reset();
            m_fd = std::exchange(o.m_fd, -1);
        }
        return *this;
    }
    Fd(const Fd&) = delete;
    Fd& operator=(const Fd&) = delete;
    ~Fd() { reset(); }
    int get() const { return m_fd; }
    bool valid() const { return m_fd >= 0; }
    void reset(int fd = -1);

private:
    int m_fd = -1;
};

/// Opens a folder for reading, also when its path is longer than PATH_MAX (then it is
/// reached by openat over stretches of the path). Returns -1 with errno set.
int openDirectory(const std::string& path);
/// Opens the subfolder `name` of the folder `dirfd`, not following a symlink.
int openSubdirectory(int dirfd, const char* name);

/// Attributes of one path (not following a final symlink), through statx.
std::optional<BulkEntry> statPath(const std::string& path);
/// Attributes of the entry `name` of the folder `dirfd`: 0, or the errno of a failed
/// statx (ENOENT: deleted since it was listed; EACCES: the folder can be listed but
/// not searched). `out.name` points at `name`.
int statEntry(int dirfd, const char* name, BulkEntry& out);
/// The block size that estimated allocated sizes are rounded up to; 0 when unknown.
std::int64_t blockSizeOf(int dirfd);

class DirectoryReader {
public:
    DirectoryReader();
    ~DirectoryReader();
    DirectoryReader(const DirectoryReader&) = delete;
    DirectoryReader& operator=(const DirectoryReader&) = delete;

    /// Calls `onName(const char* name, std::uint64_t inode)` for every entry of the open
    /// folder `fd` but ".",
    /// ".." and names beginning with "._", in directory order; `name` is valid during
    /// the call only. Returns 0, or the errno of a failed read: names read before the
    /// failure have already been handed out, and the caller decides whether they count.
    /// A stop request ends the listing early, with 0.
    template <typename F> int list(int fd, const std::stop_token& stop, F&& onName);

private:
    long fill(int fd);

    char* m_buffer;
};

} // namespace ringfold

#include "core/scan/DirectoryReader.inl"
