// The floor for the benchmark: a walker that only makes the system calls a scanner
// cannot avoid (open, getdents64, statx per entry) on a fixed number of threads, and
// totals what Ringfold totals (allocated size with hard links once, folders' own
// entries not counted; logical size; items). No tree is built.
//   ringfold_bare_walker [--threads N] DIR      prints: items allocated logical
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <set>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

struct Dirent64 {
    std::uint64_t ino;
    std::int64_t off;
    unsigned short reclen;
    unsigned char type;
    char name[1];
};

std::mutex g_mutex;
std::condition_variable g_cv;
std::vector<std::string> g_stack;
int g_busy = 0;
std::atomic<std::int64_t> g_items{0}, g_allocated{0}, g_logical{0};
std::mutex g_linkMutex;
std::set<std::pair<std::uint64_t, std::uint64_t>> g_links;

void worker() {
    std::vector<char> buf(262144);
    std::vector<std::string> found;
    for (;;) {
        std::string dir;
        {
            std::unique_lock lock(g_mutex);
            g_cv.wait(lock, [] { return !g_stack.empty() || g_busy == 0; });
            if (g_stack.empty())
                return;
            dir = std::move(g_stack.back());
            g_stack.pop_back();
            ++g_busy;
        }
        std::int64_t items = 0, allocated = 0, logical = 0;
        int fd = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (fd >= 0) {
            for (;;) {
                long n = ::syscall(SYS_getdents64, fd, buf.data(), buf.size());
                if (n <= 0)
                    break;
                for (long pos = 0; pos < n;) {
                    auto* d = reinterpret_cast<Dirent64*>(buf.data() + pos);
                    pos += d->reclen;
                    const char* name = d->name;
                    if (name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0)))
                        continue;
                    struct statx sx;
                    if (::statx(fd, name, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | AT_STATX_DONT_SYNC,
                                STATX_TYPE | STATX_MODE | STATX_NLINK | STATX_INO | STATX_SIZE |
                                    STATX_BLOCKS,
                                &sx) != 0)
                        continue;
                    ++items;
                    if (S_ISDIR(sx.stx_mode)) {
                        found.push_back(dir + "/" + name);
                        continue;
                    }
                    logical += static_cast<std::int64_t>(sx.stx_size);
                    std::int64_t bytes = static_cast<std::int64_t>(sx.stx_blocks) * 512;
                    if (sx.stx_nlink > 1 && bytes > 0) {
                        std::lock_guard lock(g_linkMutex);
                        auto dev = (std::uint64_t(sx.stx_dev_major) << 32) | sx.stx_dev_minor;
                        if (!g_links.insert({dev, sx.stx_ino}).second)
                            bytes = 0;
                    }
                    allocated += bytes;
                }
            }
            ::close(fd);
        }
        g_items += items;
        g_allocated += allocated;
        g_logical += logical;
        {
            std::lock_guard lock(g_mutex);
            for (auto& f : found)
                g_stack.push_back(std::move(f));
            --g_busy;
        }
        found.clear();
        g_cv.notify_all();
    }
}

} // namespace

int main(int argc, char** argv) {
    int threads = 2;
    std::string root;
    for (int i = 1; i < argc; ++i) {
        if (!std::strcmp(argv[i], "--threads") && i + 1 < argc)
            threads = std::max(1, std::atoi(argv[++i]));
        else
            root = argv[i];
    }
    if (root.empty()) {
        std::fprintf(stderr, "usage: ringfold_bare_walker [--threads N] DIR\n");
        return 2;
    }
    while (root.size() > 1 && root.back() == '/')
        root.pop_back();
    g_stack.push_back(root);
    std::vector<std::thread> pool;
    for (int i = 0; i < threads; ++i)
        pool.emplace_back(worker);
    for (auto& t : pool)
        t.join();
    // The root itself is an item too, as in Ringfold's count.
    std::printf("%lld %lld %lld\n", static_cast<long long>(g_items.load() + 1),
                static_cast<long long>(g_allocated.load()),
                static_cast<long long>(g_logical.load()));
    return 0;
}
