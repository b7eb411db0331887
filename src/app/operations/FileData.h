#pragma once
// The data of regular files for a copy, at the same offsets in the copy: by the kernel
// where it can (no trip through user space, and a clone where the file system shares
// blocks), else through one buffer kept for the whole item. Holes stay holes.

#include <cstdint>
#include <functional>
#include <sys/stat.h>
#include <utility>
#include <vector>

namespace ringfold {

/// Tells the caller of the bytes written in steps of a few MiB, so that a progress bar
/// costs nothing next to the copy. Call flush() when the item is done.
class ByteProgress {
public:
    explicit ByteProgress(const std::function<void(std::int64_t)>& report) : m_report(report) {}
    void add(std::int64_t bytes) {
        m_pending += bytes;
        if (m_pending >= kStep)
            flush();
    }
    void flush() {
        if (m_pending > 0 && m_report)
            m_report(std::exchange(m_pending, 0));
    }

private:
    static constexpr std::int64_t kStep = std::int64_t(4) << 20;
    const std::function<void(std::int64_t)>& m_report;
    std::int64_t m_pending = 0;
};

class FileData {
public:
    explicit FileData(ByteProgress& progress) : m_progress(progress) {}

    /// Copies the data of `in` (described by `st`) into the empty `out`; 0 or an errno.
    /// A file whose allocated blocks fall short of its size has holes: only its data
    /// ranges are copied, and the copy is given the full size.
    int copy(int in, int out, const struct stat& st);

private:
    int range(int in, int out, off_t pos, off_t end);

    ByteProgress& m_progress;
    std::vector<char> m_buffer;
    bool m_kernel = true;
};

} // namespace ringfold
