#include "cli/SavedScanFile.h"

#include "core/io/NcduExport.h"
#include "core/io/NcduImport.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <sys/stat.h>
#include <unistd.h>

namespace ringfold::cli {

std::optional<std::string> loadSavedScan(const std::string& file, std::optional<ScanResult>& result,
                                         ScanCounts& counts) {
    std::FILE* in = file == "-" ? stdin : std::fopen(file.c_str(), "rb");
    if (!in)
        return "cannot read '" + file + "': " + std::strerror(errno);
    NcduImport r = NcduImport::read(in);
    if (in != stdin)
        std::fclose(in);
    if (!r.result)
        return (file == "-" ? std::string("standard input") : "'" + file + "'") + ": byte " +
               std::to_string(r.errorOffset) + ": " + r.error;
    result = std::move(r.result);
    counts = r.counts;
    return std::nullopt;
}

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
        m_file = std::fopen(target.c_str(), "wb");
        if (!m_file)
            return "cannot write '" + target + "': " + std::strerror(errno);
        return std::nullopt;
    }
    std::string name = target + ".XXXXXX";
    const int fd = ::mkstemp(name.data());
    if (fd < 0)
        return "cannot write '" + target + "': " + std::strerror(errno);
    m_temporary = name;
    m_file = ::fdopen(fd, "wb");
    if (!m_file) {
        ::close(fd);
        return "cannot write '" + target + "': " + std::strerror(errno);
    }
    // mkstemp makes the file private; the export gets the mode a new file would.
    const mode_t mask = ::umask(0);
    ::umask(mask);
    m_mode = 0666 & ~mask;
    return std::nullopt;
}

std::optional<std::string> ExportFile::write(const FileNode& root) {
    NcduExportInfo info;
    info.progver = RINGFOLD_VERSION;
    info.timestamp = static_cast<Timestamp>(std::time(nullptr));
    bool ok = writeNcduExport(root, m_file, info);
    int err = ok ? 0 : errno;
    if (m_temporary.empty()) {
        ok = (m_file == stdout || std::fclose(m_file) == 0) && ok;
        m_file = nullptr;
    } else {
        ok = ok && ::fchmod(::fileno(m_file), m_mode) == 0;
        const bool closed = std::fclose(m_file) == 0;
        m_file = nullptr;
        if (ok && !closed)
            err = errno;
        ok = ok && closed && ::rename(m_temporary.c_str(), m_target.c_str()) == 0;
        if (ok)
            m_temporary.clear();
    }
    if (!ok)
        return "cannot write '" + m_target + "': " + std::strerror(err ? err : errno);
    return std::nullopt;
}

} // namespace ringfold::cli
