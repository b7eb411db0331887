#include "core/model/Types.h"

#include <cstdio>
#include <fcntl.h>
#include <random>
#include <unistd.h>

namespace ringfold {

const char* toString(CloudStatus status) {
    switch (status) {
    case CloudStatus::notApplicable: return "notApplicable";
    case CloudStatus::cloudPlaceholder: return "cloudPlaceholder";
    case CloudStatus::cloudDownloaded: return "cloudDownloaded";
    }
    return "notApplicable";
}

const char* toString(ScanSourceKind kind) {
    switch (kind) {
    case ScanSourceKind::internalVolume: return "internalVolume";
    case ScanSourceKind::externalVolume: return "externalVolume";
    case ScanSourceKind::networkVolume: return "networkVolume";
    case ScanSourceKind::favoriteFolder: return "favoriteFolder";
    case ScanSourceKind::savedScan: return "savedScan";
    }
    return "favoriteFolder";
}

Uuid Uuid::generate() {
    Uuid u;
    bool filled = false;
    int fd = ::open("/dev/urandom", O_RDONLY | O_CLOEXEC);
    if (fd >= 0) {
        filled = ::read(fd, u.bytes.data(), u.bytes.size()) == ssize_t(u.bytes.size());
        ::close(fd);
    }
    if (!filled) {
        std::random_device rd;
        for (auto& b : u.bytes)
            b = static_cast<std::uint8_t>(rd());
    }
    u.bytes[6] = static_cast<std::uint8_t>((u.bytes[6] & 0x0F) | 0x40); // version 4
    u.bytes[8] = static_cast<std::uint8_t>((u.bytes[8] & 0x3F) | 0x80); // RFC 4122 variant
    return u;
}

static int hexValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

std::optional<Uuid> Uuid::parse(const std::string& text) {
    if (text.size() != 36)
        return std::nullopt;
    Uuid u;
    std::size_t byte = 0;
    for (std::size_t i = 0; i < text.size();) {
        if (i == 8 || i == 13 || i == 18 || i == 23) {
            if (text[i] != '-')
                return std::nullopt;
            ++i;
            continue;
        }
        int hi = hexValue(text[i]);
        int lo = hexValue(text[i + 1]);
        if (hi < 0 || lo < 0)
            return std::nullopt;
        u.bytes[byte++] = static_cast<std::uint8_t>(hi * 16 + lo);
        i += 2;
    }
    return u;
}

std::string Uuid::toString() const {
    char out[37];
    std::snprintf(out, sizeof out,
                  "%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X", bytes[0],
                  bytes[1], bytes[2], bytes[3], bytes[4], bytes[5], bytes[6], bytes[7], bytes[8],
                  bytes[9], bytes[10], bytes[11], bytes[12], bytes[13], bytes[14], bytes[15]);
    return out;
}

bool Uuid::isNull() const {
    for (auto b : bytes)
        if (b)
            return false;
    return true;
}

} // namespace ringfold
