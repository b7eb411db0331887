#pragma once
// What a copy read from each source entry (by device and inode): its size and
// modification and change times, so that a move compares and removes only what it
// copied unchanged. The change time catches a rewrite of the same size within one tick
// of a coarse modification time (2 s on FAT), or one whose time was set back. Sizes
// are bytes, times as the file system keeps them. Filled by one copy and read after
// it by the same thread.

#include <map>
#include <sys/stat.h>
#include <utility>

namespace ringfold {

class CopyManifest {
public:
    /// Notes the entry `s` describes as copied as it is now.
    void record(const struct stat& s);
    /// The entry is one the copy recorded and has not changed since: same inode, and
    /// for anything but a folder the same size and times. `withCtime` false leaves the
    /// change time out where we changed it ourselves: renaming or unlinking a name of a
    /// file sets it.
    bool matches(const struct stat& s, bool withCtime = true) const;

private:
    struct Fingerprint {
        off_t size;
        timespec mtime;
        timespec ctime;
    };
    std::map<std::pair<dev_t, ino_t>, Fingerprint> m_entries;
};

} // namespace ringfold
