#include "app/operations/FileData.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace ringfold {

namespace {
constexpr std::size_t kChunk = std::size_t(8) << 20;
} // namespace

int FileData::copy(int in, int out, const struct stat& st) {
    m_kernel = true;
    if (st.st_blocks * 512 >= st.st_size)
        return range(in, out, 0, -1);
    off_t pos = 0;
    for (;;) {
        const off_t data = ::lseek(in, pos, SEEK_DATA);
        if (data < 0 && errno == ENXIO) // only a hole is left
            break;
        if (data < 0)
            return pos == 0 && errno == EINVAL ? range(in, out, 0, -1) : errno;
        const off_t hole = ::lseek(in, data, SEEK_HOLE);
        if (hole < 0)
            return errno;
        if (int e = range(in, out, data, hole))
            return e;
        pos = hole;
    }
    return ::ftruncate(out, st.st_size) == 0 ? 0 : errno;
}

// Bytes [pos, end) of `in`, or up to its end when `end` is negative.
int FileData::range(int in, int out, off_t pos, off_t end) {
    const auto want = [&](std::size_t most) {
        return end < 0 ? most : std::size_t(std::min<off_t>(off_t(most), end - pos));
    };
    while (m_kernel && (end < 0 || pos < end)) {
        loff_t from = pos, to = pos;
        const ssize_t n = ::copy_file_range(in, &from, out, &to, want(kChunk), 0);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0 && (errno == EXDEV || errno == ENOSYS || errno == EINVAL || errno == EOPNOTSUPP ||
                      errno == EBADF || errno == EPERM)) {
            m_kernel = false; // across file systems, or not offered here
            break;
        }
        if (n < 0)
            return errno;
        if (n == 0)
            return 0;
        pos += n;
        m_progress.add(n);
    }
    m_buffer.resize(std::size_t(1) << 20);
    while (end < 0 || pos < end) {
        const ssize_t n = ::pread(in, m_buffer.data(), want(m_buffer.size()), pos);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return n == 0 ? 0 : errno;
        for (ssize_t done = 0; done < n;) {
            const ssize_t w =
                ::pwrite(out, m_buffer.data() + done, std::size_t(n - done), pos + done);
            if (w < 0 && errno != EINTR)
                return errno;
            done += std::max<ssize_t>(w, 0);
        }
        pos += n;
        m_progress.add(n);
    }
    return 0;
}

} // namespace ringfold
