#pragma once
// The short texts the sidebar and the gallery show about a source: capacity, the
// size of its last scan, how full the volume is, and the restricted-access notice.

#include "core/model/Types.h"

#include <QString>

class QAbstractButton;

#include <optional>

namespace ringfold {

/// "120 GB free of 500 GB"; none when either capacity is unknown.
std::optional<QString> capacityText(const ScanSource& source);
/// "80 GB indexed" after a recorded scan; none before.
std::optional<QString> indexedText(const ScanSource& source);
/// Whole percent full: 100 × min(1, 1 − available ÷ total), floored at 0; none when
/// a capacity is unknown or the total is below 1 byte.
std::optional<int> percentFull(const ScanSource& source);
QString restrictedText();
QString restrictedHelp();
/// The symbol for a source's kind (a drive, a folder, a saved scan), for symbolIcon().
const char* sourceSymbol(const ScanSource& source);
/// A clickable card or chip for the source: hand cursor, keyboard focus, its name
/// as text, its path as tooltip, and repaints on hover (underMouse() tells which).
void setUpSourceButton(QAbstractButton& button, const ScanSource& source);
/// A byte count in the desktop's file style.
QString byteText(std::int64_t bytes);

} // namespace ringfold
