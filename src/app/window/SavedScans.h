#pragma once
// The window's saved-scan commands.
//
// - "Open Scan File…" lists a file written by `ringfold-scan -o`, `ncdu -o` or
//   `gdu -o` as a source of its own and selects it; the scan coordinator reads it like
//   a scan. A file that can't be read leaves the list again, with the reason.
// - "Save Scan As…" writes the shown tree as an ncdu JSON export on a worker thread.
//   File operations wait meanwhile (the tree must not change under the writer), and a
//   save waits for a running operation.
// - "Scan as Administrator…" scans a source again through the elevation command
//   (`pkexec`, or the words of RINGFOLD_ELEVATE_COMMAND) running the command-line
//   scanner installed beside this program; the tree shown stays until the new one is
//   in, and for good when the helper is refused.
//
// Each outcome ends as one message for the window: an error for a file the user asked
// to open or write, a quiet note for the rest.
//
// Threads: main thread; the writer runs on its own thread and reports back queued.

#include "core/model/Types.h"

#include <QObject>
#include <QString>

#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace ringfold {

class AppState;
class ScanCoordinator;

/// Why file operations, Rescan and Show in File Manager are off for a saved scan.
QString savedScanReason();

class SavedScans : public QObject {
    Q_OBJECT

public:
    struct Message {
        QString text;
        bool error = false;
    };

    SavedScans(AppState& app, ScanCoordinator& coordinator, QObject* parent = nullptr);
    /// Waits for a save in progress: the file is finished or removed, never half there.
    ~SavedScans() override;

    /// The elevation command and the scanner it runs, as found for this program.
    static std::vector<std::string> defaultElevationCommand();
    static std::string defaultScanner();

    void open(const std::string& file);

    /// A finished tree is shown, no save runs and the files are left alone meanwhile.
    bool canSave() const;
    bool saving() const { return m_writer.joinable(); }
    /// What Save Scan As offers as the file name: the source's name and the scan's date.
    QString suggestedFileName() const;
    void saveAs(const std::string& file);
    /// Whether the file operations may start: not while a save reads the tree.
    void setOperationRunning(std::function<bool()> running) { m_operationRunning = std::move(running); }

    /// A listed source that is not itself a saved scan.
    bool canScanAsAdministrator(const Uuid& id) const;
    void scanAsAdministrator(const Uuid& id);

    const std::optional<Message>& message() const { return m_message; }
    void dismissMessage();

signals:
    void savingChanged();
    void messageChanged();

private:
    void scanFailed(const Uuid& id, const QString& reason, bool elevated);
    void saveEnded(const QString& file, const std::optional<std::string>& error);
    void setMessage(std::optional<Message> message);

    AppState& m_app;
    ScanCoordinator& m_coordinator;
    std::function<bool()> m_operationRunning;
    std::optional<Message> m_message;
    std::thread m_writer;
};

} // namespace ringfold
