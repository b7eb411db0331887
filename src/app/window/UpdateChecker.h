#pragma once
// Tells the user when a newer Ringfold is out; it never downloads or installs
// anything, and sends nothing but the request for a small feed
// ({"version": "1.2.0", "url": "https://…"}) from the configured address. Checks only
// when asked (Check for Updates…) or, when the user turned automatic checks on, once
// shortly after start-up.
//
// Threads: main thread; the request runs in Qt's network machinery.

#include <QObject>
#include <QString>
#include <QUrl>

#include <chrono>

class QNetworkAccessManager;

namespace ringfold {

class SettingsStore;

class UpdateChecker : public QObject {
    Q_OBJECT

public:
    /// `currentVersion` is this program's ("0.1.0"); the feed comes from `feed`. The
    /// automatic check waits `startupDelay` so that it stays out of the way of start-up.
    UpdateChecker(SettingsStore& settings, QString currentVersion, QUrl feed,
                  std::chrono::milliseconds startupDelay = std::chrono::seconds(5),
                  QObject* parent = nullptr);

    /// False while a check runs.
    bool canCheckForUpdates() const { return !m_checking; }
    /// Starts a check; `manual` checks also report "up to date" and failures.
    void checkForUpdates(bool manual = true);
    /// Whether `candidate` is newer than `current` (dotted numbers; "1.10" > "1.9").
    static bool isNewer(const QString& candidate, const QString& current);

signals:
    void canCheckForUpdatesChanged();
    /// `page` is the feed's download page, empty unless it is an http(s) address.
    void updateAvailable(const QString& version, const QUrl& page);
    /// A manual check found nothing newer.
    void upToDate();
    /// A manual check could not read the feed.
    void checkFailed(const QString& reason);

private:
    SettingsStore& m_settings;
    QString m_currentVersion;
    QUrl m_feed;
    QNetworkAccessManager* m_network = nullptr;
    bool m_checking = false;
};

} // namespace ringfold
