#include "core/io/ExportFile.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace ringfold {

namespace {

// The process's umask without setting it (umask() both reads and writes it, which
// would open a window in which another thread creates files without it).
mode_t currentUmask() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind("Umask:", 0) == 0)
            return static_cast<mode_t>(std::strtoul(line.c_str() + 6, nullptr, 8) & 0777);
    return 022;
}

std::string cannotWrite(const std::string& target, int err) {
    return "cannot write '" + target + "': " + std::strerror(err);
}

} // namespace

ExportFile::~ExportFile() {
    if (m_file && m_file != stdout)
        std::fclose(m_file);
    if (!m_temporary.empty())
        ::unlink(m_temporary.c_str());
}

std::optional<std::string> ExportFile::open(const std::string& target) {
    m_target = target;
    if (target == "-") {
        m_file = stdout;
        return std::nullopt;
    }
    struct stat st {};
    if (::stat(target.c_str(), &st) == 0 && !S_ISREG(st.st_mode)) {
        // A pipe or a device (-o /dev/stdout, a shell's >(zstd)): written as it is.
        m_file = std::fopen(target.c_str(), "wbe");
        if (!m_file)
            return cannotWrite(target, errno);
        return std::nullopt;
    }
    std::string name = target + ".XXXXXX";
    const int fd = ::mkostemp(name.data(), O_CLOEXEC);
    if (fd < 0)
        return cannotWrite(target, errno);
    m_temporary = name;
    m_file = ::fdopen(fd, "wb");
    if (!m_file) {
        ::close(fd);
        return cannotWrite(target, errno);
    }
    // mkstemp makes the file private; the export gets the mode a new file would.
    m_mode = 0666 & ~currentUmask();
    return std::nullopt;
}

std::optional<std::string> ExportFile::write(const FileNode& root, const NcduExportInfo& info) {
    bool ok = writeNcduExport(root, m_file, info);
    int err = ok ? 0 : errno;
    if (m_temporary.empty()) {
        ok = (m_file == stdout ? std::fflush(m_file) == 0 : std::fclose(m_file) == 0) && ok;
        m_file = nullptr;
    } else {
        ok = ok && std::fflush(m_file) == 0 && ::fchmod(::fileno(m_file), m_mode) == 0 &&
             ::fsync(::fileno(m_file)) == 0;
        if (!ok && !err)
            err = errno;
        const bool closed = std::fclose(m_file) == 0;
        m_file = nullptr;
        if (ok && !closed)
            err = errno;
        ok = ok && closed && ::rename(m_temporary.c_str(), m_target.c_str()) == 0;
        if (ok)
            m_temporary.clear();
    }
    if (!ok)
        return cannotWrite(m_target, err ? err : errno);
    return std::nullopt;
}

} // namespace ringfold
