#pragma once
// The program's options: `ringfold [PATH]` opens the window with PATH selected for
// this run and scans it; `-f FILE` opens a saved scan instead (an ncdu JSON export,
// as `ringfold-scan -f` reads); `--screenshot FILE` scans PATH (or reads the saved scan), saves a picture of the whole
// window once the finished scan's map is painted, and exits (without PATH it pictures
// the drive gallery). `--view`, `--theme` and
// `--size` set the map mode, the palette and the window size for this run only.

#include "app/viewmodels/ChartViewModel.h"
#include "ui/Palettes.h"

#include <QSize>
#include <QString>

#include <optional>
#include <string>

namespace ringfold {

struct CommandLine {
    /// The folder to open, as the bytes the system calls take.
    std::optional<std::string> path;
    /// A saved scan to open instead, as the bytes the system calls take.
    std::optional<std::string> savedScan;
    QString screenshotFile;
    std::optional<VisualizationMode> view;
    std::optional<ColorScheme> theme;
    std::optional<QSize> size;

    enum class Outcome { run, exitSuccess, usageError };
    /// Parses argv (program name first). PATH keeps argv's own bytes: a file name need
    /// not be valid in the locale's encoding. On a usage error `error` holds the
    /// message; help and version texts are printed here and end with exitSuccess.
    static Outcome parse(int argc, const char* const* argv, CommandLine& out, QString& error);
};

} // namespace ringfold
