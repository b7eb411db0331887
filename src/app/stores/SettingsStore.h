#pragma once
// The user's preferences as observable properties, each mirrored into the per-user
// key-value store (QSettings, organisation and application "Ringfold") under a fixed
// key. Every assignment writes through at once, equal values included; a change
// signal fires only when the value really changes. Fractions are plain doubles
// (0.01 = 1 %), ages are days, the biggest-files limit is a count.
//
// Threads: main thread only, like the QSettings object it writes to.

#include <QObject>
#include <QString>

#include <optional>

class QSettings;

namespace ringfold {

enum class AppearanceMode { system, light, dark };

/// The stored raw value: "system", "light" or "dark".
QString rawValue(AppearanceMode mode);
/// Exact, case-sensitive match of a raw value; anything else is none.
std::optional<AppearanceMode> appearanceModeFromString(const QString& raw);

class SettingsStore : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool allowDeletingHiddenFiles READ allowDeletingHiddenFiles WRITE
                   setAllowDeletingHiddenFiles NOTIFY allowDeletingHiddenFilesChanged)
    Q_PROPERTY(double smallerObjectsThresholdPercent READ smallerObjectsThresholdPercent WRITE
                   setSmallerObjectsThresholdPercent NOTIFY smallerObjectsThresholdPercentChanged)
    Q_PROPERTY(bool groupHiddenItems READ groupHiddenItems WRITE setGroupHiddenItems NOTIFY
                   groupHiddenItemsChanged)
    Q_PROPERTY(int biggestFilesLimit READ biggestFilesLimit WRITE setBiggestFilesLimit NOTIFY
                   biggestFilesLimitChanged)
    Q_PROPERTY(int diagnosticReportsAgeDays READ diagnosticReportsAgeDays WRITE
                   setDiagnosticReportsAgeDays NOTIFY diagnosticReportsAgeDaysChanged)
    Q_PROPERTY(int cacheStalenessAgeDays READ cacheStalenessAgeDays WRITE setCacheStalenessAgeDays
                   NOTIFY cacheStalenessAgeDaysChanged)
    Q_PROPERTY(bool sortFoldersToTop READ sortFoldersToTop WRITE setSortFoldersToTop NOTIFY
                   sortFoldersToTopChanged)
    Q_PROPERTY(bool fdaOnboardingDismissed READ fdaOnboardingDismissed WRITE
                   setFdaOnboardingDismissed NOTIFY fdaOnboardingDismissedChanged)

public:
    /// The range both threshold sliders offer; stored values outside it are discarded.
    static constexpr double kThresholdMin = 0.0;
    static constexpr double kThresholdMax = 0.05;
    static constexpr double kDefaultPreviewPaneWidth = 200.0;

    /// Uses the program's own store (organisation and application "Ringfold").
    explicit SettingsStore(QObject* parent = nullptr);
    /// Uses `settings` (not owned; must outlive the store).
    explicit SettingsStore(QSettings* settings, QObject* parent = nullptr);

    AppearanceMode appearanceMode() const { return m_appearanceMode; }
    bool allowDeletingHiddenFiles() const { return m_allowDeletingHiddenFiles; }
    double smallerObjectsThresholdPercent() const { return m_smallerObjectsThresholdPercent; }
    bool groupHiddenItems() const { return m_groupHiddenItems; }
    int biggestFilesLimit() const { return m_biggestFilesLimit; }
    int diagnosticReportsAgeDays() const { return m_diagnosticReportsAgeDays; }
    int cacheStalenessAgeDays() const { return m_cacheStalenessAgeDays; }
    bool sortFoldersToTop() const { return m_sortFoldersToTop; }
    bool fdaOnboardingDismissed() const { return m_fdaOnboardingDismissed; }
    /// The update check's own preference ("automaticallyChecksForUpdates"): off unless
    /// the user turns it on; nothing is fetched while it is off.
    bool automaticallyChecksForUpdates() const { return m_automaticallyChecksForUpdates; }

    void setAppearanceMode(AppearanceMode mode);
    void setAllowDeletingHiddenFiles(bool value);
    void setSmallerObjectsThresholdPercent(double value);
    void setGroupHiddenItems(bool value);
    void setBiggestFilesLimit(int value);
    void setDiagnosticReportsAgeDays(int value);
    void setCacheStalenessAgeDays(int value);
    void setSortFoldersToTop(bool value);
    void setFdaOnboardingDismissed(bool value);
    void setAutomaticallyChecksForUpdates(bool value);

    /// The main window's preview pane width ("previewPaneWidth"), window state kept
    /// beside the preferences: read on demand, 200 when absent or not a number.
    double previewPaneWidth() const;
    void setPreviewPaneWidth(double width);

    QSettings& settings() const { return *m_settings; }

signals:
    void appearanceModeChanged();
    void allowDeletingHiddenFilesChanged();
    void smallerObjectsThresholdPercentChanged();
    void groupHiddenItemsChanged();
    void biggestFilesLimitChanged();
    void diagnosticReportsAgeDaysChanged();
    void cacheStalenessAgeDaysChanged();
    void sortFoldersToTopChanged();
    void fdaOnboardingDismissedChanged();
    void automaticallyChecksForUpdatesChanged();

private:
    void load();
    void write(const char* key, const QVariant& value);

    QSettings* m_settings;
    AppearanceMode m_appearanceMode = AppearanceMode::system;
    bool m_allowDeletingHiddenFiles = false;
    double m_smallerObjectsThresholdPercent = 0.0;
    bool m_groupHiddenItems = true;
    int m_biggestFilesLimit = 200;
    int m_diagnosticReportsAgeDays = 30;
    int m_cacheStalenessAgeDays = 14;
    bool m_sortFoldersToTop = true;
    bool m_automaticallyChecksForUpdates = false;
    bool m_fdaOnboardingDismissed = false;
};

} // namespace ringfold
