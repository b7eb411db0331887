#include "ui/SourceText.h"

#include "core/model/ByteFormat.h"

#include <QAbstractButton>
#include <QFile>

#include <algorithm>

namespace ringfold {

QString byteText(std::int64_t bytes) {
    return QString::fromStdString(formatByteCount(bytes));
}

std::optional<QString> capacityText(const ScanSource& source) {
    if (!source.volumeAvailableCapacity || !source.volumeTotalCapacity)
        return std::nullopt;
    return byteText(*source.volumeAvailableCapacity) + QStringLiteral(" free of ") +
           byteText(*source.volumeTotalCapacity);
}

std::optional<QString> indexedText(const ScanSource& source) {
    if (!source.lastScanAllocatedSize)
        return std::nullopt;
    return byteText(*source.lastScanAllocatedSize) + QStringLiteral(" indexed");
}

std::optional<int> percentFull(const ScanSource& source) {
    if (!source.volumeAvailableCapacity || !source.volumeTotalCapacity ||
        *source.volumeTotalCapacity < 1)
        return std::nullopt;
    const double available = double(*source.volumeAvailableCapacity);
    const double fraction = std::min(1.0, 1.0 - available / double(*source.volumeTotalCapacity));
    return int(100.0 * std::max(0.0, fraction));
}

QString restrictedText() {
    return QStringLiteral("No access — some folders couldn't be read");
}

QString restrictedHelp() {
    return QStringLiteral(
        "Your account couldn't read this folder on the last scan. Give Ringfold access to it "
        "(for a Flatpak install: allow it to read your files), then rescan.");
}

const char* sourceSymbol(const ScanSource& source) {
    switch (source.kind) {
    case ScanSourceKind::internalVolume:
        return "internaldrive";
    case ScanSourceKind::externalVolume:
        return "externaldrive";
    case ScanSourceKind::networkVolume:
        return "network";
    case ScanSourceKind::savedScan:
        return "doc";
    case ScanSourceKind::favoriteFolder:
        break;
    }
    return "folder";
}

void setUpSourceButton(QAbstractButton& button, const ScanSource& source) {
    button.setCursor(Qt::PointingHandCursor);
    button.setFocusPolicy(Qt::StrongFocus);
    button.setAttribute(Qt::WA_Hover);
    const QString name = QFile::decodeName(QByteArray::fromStdString(source.displayName));
    button.setText(name);
    button.setAccessibleName(name);
    button.setToolTip(QFile::decodeName(QByteArray::fromStdString(source.url)));
}

} // namespace ringfold
