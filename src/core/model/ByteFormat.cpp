#include "core/model/ByteFormat.h"

#include <atomic>
#include <cmath>
#include <cstdio>

namespace ringfold {

namespace {
std::atomic<ByteCountFormatter> g_formatter{nullptr};

std::string printf1(const char* fmt, double v, const char* unit) {
    char buf[64];
    std::snprintf(buf, sizeof buf, fmt, v, unit);
    return buf;
}
} // namespace

std::string formatByteCount(std::int64_t bytes) {
    if (auto f = g_formatter.load(std::memory_order_acquire))
        return f(bytes);
    return formatFileStyle(bytes);
}

void setByteCountFormatter(ByteCountFormatter formatter) {
    g_formatter.store(formatter, std::memory_order_release);
}

std::string formatFileStyle(std::int64_t bytes) {
    if (bytes == 0)
        return "Zero KB";
    const char* sign = bytes < 0 ? "-" : "";
    double v = std::fabs(static_cast<double>(bytes));
    if (v < 1000) {
        char buf[48];
        std::snprintf(buf, sizeof buf, "%s%.0f %s", sign, v, v == 1 ? "byte" : "bytes");
        return buf;
    }
    static const char* units[] = {"KB", "MB", "GB", "TB", "PB", "EB"};
    int u = -1;
    do {
        v /= 1000;
        ++u;
    } while (v >= 999.5 && u < 5);
    // KB whole, MB one decimal, larger units two decimals, trailing zeros dropped.
    int decimals = u == 0 ? 0 : (u == 1 ? 1 : 2);
    char num[48];
    std::snprintf(num, sizeof num, "%.*f", decimals, v);
    std::string s = num;
    if (s.find('.') != std::string::npos) {
        while (!s.empty() && s.back() == '0')
            s.pop_back();
        if (!s.empty() && s.back() == '.')
            s.pop_back();
    }
    return std::string(sign) + s + " " + units[u];
}

std::string formatBinary(std::int64_t bytes) {
    double v = static_cast<double>(bytes);
    // Compared on both sides: the magnitude of INT64_MIN does not fit an int64_t.
    if (bytes > -1024 && bytes < 1024)
        return printf1("%.0f %s", v, "B");
    static const char* units[] = {"KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    int u = -1;
    do {
        v /= 1024;
        ++u;
    } while (std::fabs(v) >= 1024 && u < 5);
    return printf1(std::fabs(v) < 10 ? "%.2f %s" : (std::fabs(v) < 100 ? "%.1f %s" : "%.0f %s"), v,
                   units[u]);
}

} // namespace ringfold
