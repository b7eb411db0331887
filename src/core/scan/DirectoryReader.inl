// Template part of DirectoryReader: the per-entry loop, kept inline so the callback
// is not an indirect call per entry.
#pragma once

#include <cerrno>
#include <dirent.h>
#include <unistd.h>

namespace ringfold {

namespace detail {
struct LinuxDirent64 {
    std::uint64_t d_ino;
    std::int64_t d_off;
    unsigned short d_reclen;
    unsigned char d_type;
    char d_name[1];
};
} // namespace detail

template <typename F>
DirectoryReader::Status DirectoryReader::read(const std::string& path, const std::stop_token& stop,
                                              F&& onEntry, int* err) {
    int fd = openDirectory(path);
    if (fd < 0) {
        if (err)
            *err = errno;
        return Status::openFailed;
    }
    Status status = Status::ok;
    BulkEntry entry;
    std::int64_t bsize = -1;
    for (;;) {
        if (!fill(fd, err)) {
            status = Status::readFailed;
            break;
        }
        if (m_used == 0)
            break;
        while (m_pos < m_used) {
            auto* d = reinterpret_cast<const detail::LinuxDirent64*>(m_buffer + m_pos);
            m_pos += d->d_reclen;
            const char* name = d->d_name;
            if (name[0] == '.' &&
                (name[1] == '\0' || (name[1] == '.' && name[2] == '\0') || name[1] == '_'))
                continue;
            if (stop.stop_requested()) {
                status = Status::cancelled;
                break;
            }
            if (!decode(fd, name, entry))
                continue;
            if (entry.allocatedSizeEstimated && entry.allocatedSize >= 1) {
                if (bsize < 0)
                    bsize = blockSize(fd);
                if (bsize > 0)
                    entry.allocatedSize = (entry.allocatedSize + bsize - 1) / bsize * bsize;
            }
            onEntry(static_cast<const BulkEntry&>(entry));
        }
        if (status != Status::ok)
            break;
    }
    ::close(fd);
    return status;
}

} // namespace ringfold
