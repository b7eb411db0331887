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
    // List the whole folder first.
    m_names.clear();
    m_listed.clear();
    for (;;) {
        if (!fill(fd, err)) {
            ::close(fd);
            return Status::readFailed;
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
            auto offset = static_cast<std::uint32_t>(m_names.size());
            m_names.append(name, std::char_traits<char>::length(name) + 1);
            m_listed.push_back({offset, static_cast<std::uint32_t>(m_listed.size())});
        }
    }
    // Then stat them all and hand the good ones out.
    m_stated.resize(m_listed.size());
    Status status = Status::ok;
    bool estimated = false;
    for (const Listed& l : m_listed) {
        if (stop.stop_requested()) {
            status = Status::cancelled;
            break;
        }
        Stated& s = m_stated[l.index];
        s.ok = decode(fd, m_names.data() + l.nameOffset, s.entry);
        estimated = estimated || (s.ok && s.entry.allocatedSizeEstimated);
    }
    std::int64_t bsize = estimated && status == Status::ok ? blockSize(fd) : 0;
    ::close(fd);
    if (status != Status::ok)
        return status;
    for (Stated& s : m_stated) {
        if (!s.ok)
            continue;
        if (stop.stop_requested())
            return Status::cancelled;
        BulkEntry& e = s.entry;
        if (e.allocatedSizeEstimated && e.allocatedSize >= 1 && bsize > 0)
            e.allocatedSize = (e.allocatedSize + bsize - 1) / bsize * bsize;
        onEntry(static_cast<const BulkEntry&>(e));
    }
    return status;
}

} // namespace ringfold
