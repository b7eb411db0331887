// Template part of DirectoryReader: the per-name loop, kept inline so the callback is
// not an indirect call per entry.
#pragma once

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

template <typename F> int DirectoryReader::list(int fd, const std::stop_token& stop, F&& onName) {
    for (;;) {
        if (stop.stop_requested())
            return 0;
        const long used = fill(fd);
        if (used < 0)
            return errno;
        if (used == 0)
            return 0;
        for (long pos = 0; pos < used;) {
            auto* d = reinterpret_cast<const detail::LinuxDirent64*>(m_buffer + pos);
            pos += d->d_reclen;
            const char* name = d->d_name;
            if (name[0] == '.' &&
                (name[1] == '\0' || (name[1] == '.' && name[2] == '\0') || name[1] == '_'))
                continue;
            onName(name, d->d_ino);
        }
    }
}

} // namespace ringfold
