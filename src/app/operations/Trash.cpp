#include "app/operations/Trash.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <pwd.h>
#include <stdio.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace ringfold {

namespace {

QString systemMessage(int error) {
    return QString::fromStdString(std::system_category().message(error));
}

QString unsafeTrashMessage() {
    return QStringLiteral("This disk has no trash folder that is safe to use: it belongs to "
                          "another user or is open to others.");
}

struct Fd {
    int fd = -1;
    explicit Fd(int f) : fd(f) {}
    Fd(const Fd&) = delete;
    Fd& operator=(const Fd&) = delete;
    ~Fd() {
        if (fd >= 0)
            ::close(fd);
    }
};

std::string parentOf(const std::string& path) {
    const auto slash = path.find_last_of('/');
    return slash == 0 || slash == std::string::npos ? std::string("/") : path.substr(0, slash);
}

// Creates every missing folder of `path` private to the user, as the XDG base
// directories ask; folders that exist keep their modes.
int makeFolders(const std::string& path) {
    for (std::size_t at = 1; at <= path.size(); ++at) {
        if (at != path.size() && path[at] != '/')
            continue;
        if (::mkdir(path.substr(0, at).c_str(), 0700) != 0 && errno != EEXIST)
            return errno;
    }
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0)
        return errno;
    return S_ISDIR(st.st_mode) ? 0 : ENOTDIR;
}

std::string dataHome() {
    if (const char* xdg = std::getenv("XDG_DATA_HOME"); xdg && xdg[0] == '/')
        return xdg;
    const char* home = std::getenv("HOME");
    if (!home || home[0] != '/') {
        const passwd* pw = ::getpwuid(::geteuid());
        home = pw ? pw->pw_dir : nullptr;
    }
    return home && home[0] == '/' ? std::string(home) + "/.local/share" : std::string();
}

// Not a system failure: the folder is there but someone else could change it.
constexpr int kUnsafe = -1;

// A folder of a shared trash is only used when it is a real folder of this user that
// nobody else can write into; it is created private when missing. Returns 0, kUnsafe,
// or the errno of what failed (a read-only disk, a top folder we may not write in).
int ownPrivateFolder(const std::string& path) {
    if (::mkdir(path.c_str(), 0700) != 0 && errno != EEXIST)
        return errno;
    struct stat st {};
    if (::lstat(path.c_str(), &st) != 0)
        return errno;
    const bool ours = S_ISDIR(st.st_mode) && st.st_uid == ::geteuid() && (st.st_mode & 0077) == 0;
    return ours ? 0 : kUnsafe;
}

int ownPrivateTrash(const std::string& path) {
    for (const std::string& folder : {path, path + "/files", path + "/info"})
        if (const int e = ownPrivateFolder(folder))
            return e;
    return 0;
}

// The highest folder above `path` on the same file system as `device`.
std::string topFolderOf(const std::string& path, dev_t device) {
    std::string top = parentOf(path);
    while (top != "/") {
        const std::string up = parentOf(top);
        struct stat st {};
        if (::stat(up.c_str(), &st) != 0 || st.st_dev != device)
            break;
        top = up;
    }
    return top;
}

struct TrashFolder {
    std::string path;     // holds files/ and info/
    std::string recorded; // the item's Path value, unescaped
    std::optional<QString> failure;
};

TrashFolder chooseTrash(const std::string& item, const struct stat& st) {
    const std::string home = dataHome();
    if (home.empty())
        return {{}, {}, QStringLiteral("There is no home folder to keep the trash in.")};
    if (const int error = makeFolders(home))
        return {{}, {}, systemMessage(error)};
    struct stat homeStat {};
    if (::stat(home.c_str(), &homeStat) == 0 && homeStat.st_dev == st.st_dev) {
        const std::string trash = home + "/Trash";
        for (const char* sub : {"/files", "/info"})
            if (const int error = makeFolders(trash + sub))
                return {{}, {}, systemMessage(error)};
        return {trash, item, std::nullopt};
    }

    const std::string top = topFolderOf(item, st.st_dev);
    const std::string base = top == "/" ? std::string() : top;
    const std::string relative = item.substr(base.size() + 1);
    const std::string uid = std::to_string(::geteuid());
    // An administrator's shared trash: a real folder with the sticky bit, so nobody
    // can remove or replace another user's folder in it.
    struct stat shared {};
    if (::lstat((base + "/.Trash").c_str(), &shared) == 0 && S_ISDIR(shared.st_mode) &&
        (shared.st_mode & S_ISVTX)) {
        const std::string mine = base + "/.Trash/" + uid;
        if (ownPrivateTrash(mine) == 0)
            return {mine, relative, std::nullopt};
    }
    // The last candidate's failure is the one to report.
    const std::string mine = base + "/.Trash-" + uid;
    const int error = ownPrivateTrash(mine);
    if (error == 0)
        return {mine, relative, std::nullopt};
    if (error == kUnsafe)
        return {{}, {}, unsafeTrashMessage()};
    const QString why = QStringLiteral("This disk's trash folder can't be made or opened: ");
    return {{}, {}, why + systemMessage(error)};
}

// The name under files/; its .trashinfo must still fit in one path component.
std::string trashName(const std::string& base, int attempt) {
    const std::string suffix = attempt == 0 ? std::string() : "." + std::to_string(attempt);
    std::size_t keep = std::min(base.size(), std::size_t(NAME_MAX) - 10 - suffix.size());
    while (keep > 0 && keep < base.size() &&
           (static_cast<unsigned char>(base[keep]) & 0xC0) == 0x80)
        --keep; // never split a UTF-8 sequence
    return base.substr(0, keep) + suffix;
}

int writeAll(int fd, const std::string& data) {
    for (std::size_t done = 0; done < data.size();) {
        const ssize_t n = ::write(fd, data.data() + done, data.size() - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return n < 0 ? errno : EIO;
        done += std::size_t(n);
    }
    return ::fsync(fd) == 0 ? 0 : errno;
}

} // namespace

std::string Trash::escapePath(const std::string& path) {
    static const char hex[] = "0123456789ABCDEF";
    std::string out;
    out.reserve(path.size());
    for (const char c : path) {
        const auto b = static_cast<unsigned char>(c);
        if ((b >= 'a' && b <= 'z') || (b >= 'A' && b <= 'Z') || (b >= '0' && b <= '9') ||
            b == '-' || b == '.' || b == '_' || b == '~' || b == '/') {
            out += c;
        } else {
            out += '%';
            out += hex[b >> 4];
            out += hex[b & 15];
        }
    }
    return out;
}

std::optional<QString> Trash::moveToTrash(const std::string& path) {
    std::string item = path;
    while (item.size() > 1 && item.back() == '/')
        item.pop_back();
    if (!item.empty() && item.front() != '/') {
        char cwd[PATH_MAX];
        if (!::getcwd(cwd, sizeof cwd))
            return systemMessage(errno);
        item = std::string(cwd) + "/" + item;
    }
    const std::string base = item.substr(item.find_last_of('/') + 1);
    if (base.empty() || base == "." || base == "..")
        return systemMessage(EINVAL);
    struct stat st {};
    if (::lstat(item.c_str(), &st) != 0)
        return systemMessage(errno);

    const TrashFolder trash = chooseTrash(item, st);
    if (trash.failure)
        return trash.failure;
    const Fd info(::open((trash.path + "/info").c_str(), O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    const Fd files(::open((trash.path + "/files").c_str(), O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (info.fd < 0 || files.fd < 0)
        return systemMessage(errno);

    char date[32];
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &local);
    const std::string record =
        "[Trash Info]\nPath=" + escapePath(trash.recorded) + "\nDeletionDate=" + date + "\n";

    // Bounded: a trash holding a thousand items of one name is not worth waiting for.
    for (int attempt = 0; attempt < 1000; ++attempt) {
        const std::string name = trashName(base, attempt);
        const std::string infoName = name + ".trashinfo";
        const Fd out(::openat(info.fd, infoName.c_str(),
                              O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (out.fd < 0 && errno == EEXIST)
            continue;
        if (out.fd < 0)
            return QStringLiteral("The trash can't record this item: ") + systemMessage(errno);
        struct stat taken {};
        if (::fstatat(files.fd, name.c_str(), &taken, AT_SYMLINK_NOFOLLOW) == 0) {
            ::unlinkat(info.fd, infoName.c_str(), 0);
            continue;
        }
        // The record is complete on disk before the item moves: a trashed item is
        // always restorable, and a failed record leaves the item where it was.
        if (const int error = writeAll(out.fd, record)) {
            ::unlinkat(info.fd, infoName.c_str(), 0);
            return QStringLiteral("The trash can't record this item: ") + systemMessage(error);
        }
        int moved = ::renameat2(AT_FDCWD, item.c_str(), files.fd, name.c_str(), RENAME_NOREPLACE);
        if (moved != 0 && errno == EINVAL)
            moved = ::renameat(AT_FDCWD, item.c_str(), files.fd, name.c_str());
        if (moved != 0) {
            const int error = errno;
            ::unlinkat(info.fd, infoName.c_str(), 0);
            if (error == EEXIST)
                continue;
            return systemMessage(error);
        }
        return std::nullopt;
    }
    return systemMessage(EEXIST);
}

} // namespace ringfold
