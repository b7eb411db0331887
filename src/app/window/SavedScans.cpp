#include "app/window/SavedScans.h"

#include "app/coordination/AppState.h"
#include "app/coordination/ScanCoordinator.h"
#include "app/viewmodels/ChartViewModel.h"
#include "app/viewmodels/SidebarViewModel.h"
#include "core/io/ExportFile.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

namespace ringfold {

namespace {

QString decoded(const std::string& bytes) {
    return QFile::decodeName(QByteArray::fromStdString(bytes));
}

} // namespace

QString savedScanReason() {
    return QStringLiteral("This is a saved scan: a record of files, possibly on another "
                          "computer. Scan the folder itself to act on its files.");
}

SavedScans::SavedScans(AppState& app, ScanCoordinator& coordinator, QObject* parent)
    : QObject(parent), m_app(app), m_coordinator(coordinator) {
    m_coordinator.setElevation(defaultElevationCommand(), defaultScanner());
    connect(&m_coordinator, &ScanCoordinator::scanFailed, this, &SavedScans::scanFailed);
}

SavedScans::~SavedScans() {
    if (m_writer.joinable())
        m_writer.join();
}

std::vector<std::string> SavedScans::defaultElevationCommand() {
    const QString configured = qEnvironmentVariable("RINGFOLD_ELEVATE_COMMAND").trimmed();
    std::vector<std::string> words;
    for (const QString& w : QProcess::splitCommand(configured))
        words.push_back(QFile::encodeName(w).toStdString());
    if (words.empty())
        words.push_back("pkexec");
    return words;
}

std::string SavedScans::defaultScanner() {
    // pkexec wants an absolute path; the scanner is installed beside this program.
    const QString beside = QCoreApplication::applicationDirPath() + QStringLiteral("/ringfold-scan");
    if (QFileInfo(beside).isExecutable())
        return QFile::encodeName(beside).toStdString();
    const QString found = QStandardPaths::findExecutable(QStringLiteral("ringfold-scan"));
    return QFile::encodeName(found.isEmpty() ? QStringLiteral("ringfold-scan") : found)
        .toStdString();
}

void SavedScans::open(const std::string& file) {
    SidebarViewModel& sidebar = m_app.sidebar();
    sidebar.setSelectedSourceID(sidebar.openSavedScan(file));
}

bool SavedScans::canSave() const {
    SidebarViewModel& sidebar = m_app.sidebar();
    const auto selected = sidebar.selectedSourceID();
    return selected && sidebar.scanningSourceID() != selected && m_app.chart().rootNode() &&
           !saving() && !(m_operationRunning && m_operationRunning());
}

QString SavedScans::suggestedFileName() const {
    SidebarViewModel& sidebar = m_app.sidebar();
    const auto selected = sidebar.selectedSourceID();
    const ScanSource* source = selected ? sidebar.source(*selected) : nullptr;
    QString name = source ? decoded(source->displayName) : QStringLiteral("scan");
    if (source && source->kind == ScanSourceKind::savedScan)
        name = QFileInfo(name).completeBaseName();
    name.replace(QLatin1Char('/'), QLatin1Char('-'));
    if (name.isEmpty() || name == QStringLiteral("-"))
        name = QStringLiteral("root");
    const QDateTime when = source && source->lastScanDate
                               ? QDateTime::fromSecsSinceEpoch(*source->lastScanDate)
                               : QDateTime::currentDateTime();
    return name + QLatin1Char(' ') + when.toString(QStringLiteral("yyyy-MM-dd")) +
           QStringLiteral(".json");
}

void SavedScans::saveAs(const std::string& file) {
    if (!canSave())
        return;
    NodePtr root = m_app.chart().rootNode();
    NcduExportInfo info;
    info.progver = QCoreApplication::applicationVersion().toStdString();
    const auto selected = m_app.sidebar().selectedSourceID();
    if (const ScanSource* s = m_app.sidebar().source(*selected); s && s->lastScanDate)
        info.timestamp = *s->lastScanDate;
    const QString shown = decoded(file);
    m_writer = std::thread([this, root = std::move(root), info, file, shown] {
        std::optional<std::string> error;
        {
            ExportFile out;
            error = out.open(file);
            if (!error)
                error = out.write(*root, info);
        }
        QMetaObject::invokeMethod(
            this, [this, shown, error] { saveEnded(shown, error); }, Qt::QueuedConnection);
    });
    emit savingChanged();
}

void SavedScans::saveEnded(const QString& file, const std::optional<std::string>& error) {
    if (m_writer.joinable())
        m_writer.join(); // its last act was posting this
    emit savingChanged();
    if (error)
        setMessage(Message{QStringLiteral("Couldn't save the scan: ") +
                               QString::fromStdString(*error),
                           true});
    else
        setMessage(Message{QStringLiteral("Saved the scan to ") + file + QLatin1Char('.'), false});
}

bool SavedScans::canScanAsAdministrator(const Uuid& id) const {
    const ScanSource* source = m_app.sidebar().source(id);
    return source && source->kind != ScanSourceKind::savedScan;
}

void SavedScans::scanAsAdministrator(const Uuid& id) {
    if (!canScanAsAdministrator(id))
        return;
    setMessage(std::nullopt);
    m_coordinator.scanAsAdministrator(id);
}

void SavedScans::scanFailed(const Uuid& id, const QString& reason, bool elevated) {
    SidebarViewModel& sidebar = m_app.sidebar();
    const ScanSource* source = sidebar.source(id);
    if (elevated) {
        setMessage(Message{QStringLiteral("Scan as Administrator didn't run: ") + reason, false});
    } else if (source && source->kind == ScanSourceKind::savedScan) {
        const QString name = decoded(source->displayName);
        sidebar.closeSavedScan(id);
        setMessage(Message{QStringLiteral("Couldn't open \u201C%1\u201D: %2").arg(name, reason), true});
    }
}

void SavedScans::dismissMessage() {
    setMessage(std::nullopt);
}

void SavedScans::setMessage(std::optional<Message> message) {
    if (!message && !m_message)
        return;
    m_message = std::move(message);
    emit messageChanged();
}

} // namespace ringfold
