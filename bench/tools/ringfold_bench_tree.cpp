// Builds the benchmark's deterministic tree: the same folders, names, sizes and hard
// links on every run, so figures from different days compare.
//   ringfold_bench_tree DIR [ENTRIES]   (default 300000 entries)
//   ringfold_bench_tree --flat DIR N     one folder of N small files
//   ringfold_bench_tree --chain DIR N    N nested folders, a small file at the bottom
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

std::uint64_t g_state = 0x2545F4914F6CDD1Dull;
std::uint64_t next() { // xorshift64*: fixed seed, fixed sequence
    g_state ^= g_state >> 12;
    g_state ^= g_state << 25;
    g_state ^= g_state >> 27;
    return g_state * 0x2545F4914F6CDD1Dull;
}

[[noreturn]] void die(const std::string& what) {
    std::fprintf(stderr, "ringfold_bench_tree: %s: %s\n", what.c_str(), std::strerror(errno));
    std::exit(1);
}

char g_data[65536];

void writeFile(const std::string& path, std::uint64_t size) {
    int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0)
        die(path);
    // Small files get real data; larger ones a real head and a sparse tail, which
    // keeps the tree's disk footprint small while sizes still vary widely.
    std::uint64_t dense = size < sizeof g_data ? size : 4096;
    if (dense && ::write(fd, g_data, dense) != static_cast<ssize_t>(dense))
        die(path);
    if (size > dense && ::ftruncate(fd, static_cast<off_t>(size)) != 0)
        die(path);
    ::close(fd);
}

// One folder of `n` files of 0-999 bytes: the shape where a folder's own entries,
// not its subfolders, have to be spread over the threads.
int flat(const std::string& root, long n) {
    if (::mkdir(root.c_str(), 0755) != 0 && errno != EEXIST)
        die(root);
    for (long i = 0; i < n; ++i) {
        char name[32];
        std::snprintf(name, sizeof name, "/f%07ld.dat", i);
        writeFile(root + name, next() % 1000);
    }
    std::printf("%ld files in %s\n", n, root.c_str());
    return 0;
}

// `n` nested folders "d" (far beyond PATH_MAX: built by descending with chdir).
int chain(const std::string& root, long n) {
    if (::mkdir(root.c_str(), 0755) != 0 && errno != EEXIST)
        die(root);
    if (::chdir(root.c_str()) != 0)
        die(root);
    for (long i = 0; i < n; ++i)
        if ((::mkdir("d", 0755) != 0 && errno != EEXIST) || ::chdir("d") != 0)
            die("level " + std::to_string(i));
    writeFile("bottom.dat", 5000);
    std::printf("%ld levels under %s\n", n, root.c_str());
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    std::memset(g_data, 'r', sizeof g_data);
    if (argc == 4 && std::strcmp(argv[1], "--flat") == 0)
        return flat(argv[2], std::atol(argv[3]));
    if (argc == 4 && std::strcmp(argv[1], "--chain") == 0)
        return chain(argv[2], std::atol(argv[3]));
    if (argc < 2) {
        std::fprintf(stderr, "usage: ringfold_bench_tree DIR [ENTRIES]\n");
        return 2;
    }
    const std::string root = argv[1];
    const long entries = argc > 2 ? std::atol(argv[2]) : 300000;
    std::memset(g_data, 'r', sizeof g_data);
    if (::mkdir(root.c_str(), 0755) != 0 && errno != EEXIST)
        die(root);

    // Folders of about 100 entries, three levels of 20 folders at most.
    long made = 0;
    std::vector<std::string> linkTargets;
    for (int a = 0; made < entries; ++a) {
        std::string da = root + "/area" + std::to_string(a);
        if (::mkdir(da.c_str(), 0755) != 0 && errno != EEXIST)
            die(da);
        ++made;
        for (int b = 0; b < 20 && made < entries; ++b) {
            std::string db = da + "/group" + std::to_string(b);
            if (::mkdir(db.c_str(), 0755) != 0 && errno != EEXIST)
                die(db);
            ++made;
            for (int c = 0; c < 8 && made < entries; ++c) {
                std::string dc = db + "/set" + std::to_string(c);
                if (::mkdir(dc.c_str(), 0755) != 0 && errno != EEXIST)
                    die(dc);
                ++made;
                int files = 60 + static_cast<int>(next() % 80);
                for (int f = 0; f < files && made < entries; ++f) {
                    std::uint64_t r = next();
                    std::uint64_t size = (r % 100) < 70   ? next() % 2048
                                         : (r % 100) < 95 ? 2048 + next() % 30000
                                                          : 32768 + next() % (4u << 20);
                    char name[64];
                    std::snprintf(name, sizeof name, "%sfile_%05d.%s", (r % 37 == 0) ? "." : "", f,
                                  (r % 3 == 0) ? "txt" : (r % 3 == 1 ? "jpg" : "dat"));
                    std::string path = dc + "/" + name;
                    if (r % 997 == 0 && !linkTargets.empty()) {
                        const std::string& target = linkTargets[next() % linkTargets.size()];
                        if (::link(target.c_str(), path.c_str()) != 0 && errno != EEXIST)
                            die(path);
                    } else {
                        writeFile(path, size);
                        if (r % 501 == 0)
                            linkTargets.push_back(path);
                    }
                    ++made;
                }
            }
        }
    }
    std::printf("%ld entries under %s\n", made, root.c_str());
    return 0;
}
