#include "app/stores/SettingsStore.h"

#include <QSettings>
#include <QVariant>

#include <algorithm>
#include <climits>
#include <cmath>

namespace ringfold {

namespace {

constexpr const char* kAppearanceMode = "appearanceMode";
constexpr const char* kAllowDeletingHiddenFiles = "allowDeletingHiddenFiles";
constexpr const char* kSmallerObjectsThreshold = "smallerObjectsThresholdPercent";
constexpr const char* kGroupHiddenItems = "groupHiddenItems";
constexpr const char* kBiggestFilesLimit = "biggestFilesLimit";
constexpr const char* kDiagnosticReportsAgeDays = "diagnosticReportsAgeDays";
constexpr const char* kCacheStalenessAgeDays = "cacheStalenessAgeDays";
constexpr const char* kSortFoldersToTop = "sortFoldersToTop";
constexpr const char* kAutomaticallyChecksForUpdates = "automaticallyChecksForUpdates";
constexpr const char* kFdaOnboardingDismissed = "fdaOnboardingDismissed";
constexpr const char* kPreviewPaneWidth = "previewPaneWidth";

// The INI backend hands every value back as a string, so conversions are by text:
// a boolean is true only for "true"/"yes" or a non-zero number, anything else is false.
bool readBool(const QVariant& v) {
    if (v.typeId() == QMetaType::Bool)
        return v.toBool();
    const QString text = v.toString().trimmed();
    if (text.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0 ||
        text.compare(QLatin1String("yes"), Qt::CaseInsensitive) == 0)
        return true;
    bool ok = false;
    const double number = text.toDouble(&ok);
    return ok && number != 0.0;
}

// A non-numeric value reads as 0; a fractional one is truncated.
int readInt(const QVariant& v) {
    bool ok = false;
    const qlonglong whole = v.toString().trimmed().toLongLong(&ok);
    if (ok)
        return static_cast<int>(std::clamp<qlonglong>(whole, INT_MIN, INT_MAX));
    const double number = v.toString().trimmed().toDouble(&ok);
    if (ok && std::isfinite(number))
        return static_cast<int>(std::clamp(std::trunc(number), double(INT_MIN), double(INT_MAX)));
    return 0;
}

} // namespace

QString rawValue(AppearanceMode mode) {
    switch (mode) {
    case AppearanceMode::light:
        return QStringLiteral("light");
    case AppearanceMode::dark:
        return QStringLiteral("dark");
    case AppearanceMode::system:
        break;
    }
    return QStringLiteral("system");
}

std::optional<AppearanceMode> appearanceModeFromString(const QString& raw) {
    for (auto mode : {AppearanceMode::system, AppearanceMode::light, AppearanceMode::dark})
        if (raw == rawValue(mode))
            return mode;
    return std::nullopt;
}

SettingsStore::SettingsStore(QObject* parent)
    : QObject(parent),
      m_settings(new QSettings(QStringLiteral("Ringfold"), QStringLiteral("Ringfold"), this)) {
    load();
}

SettingsStore::SettingsStore(QSettings* settings, QObject* parent)
    : QObject(parent), m_settings(settings) {
    load();
}

void SettingsStore::load() {
    QSettings& s = *m_settings;
    m_appearanceMode = appearanceModeFromString(s.value(kAppearanceMode).toString())
                           .value_or(AppearanceMode::system);
    m_allowDeletingHiddenFiles = readBool(s.value(kAllowDeletingHiddenFiles));

    // Both sliders offer 0 ... 5 %, so every value they can store survives a restart;
    // anything else did not come from them and is dropped for good.
    m_smallerObjectsThresholdPercent = 0.0;
    if (s.contains(kSmallerObjectsThreshold)) {
        bool ok = false;
        const double v = s.value(kSmallerObjectsThreshold).toString().trimmed().toDouble(&ok);
        if (ok && v >= kThresholdMin && v <= kThresholdMax)
            m_smallerObjectsThresholdPercent = v;
        else
            s.remove(kSmallerObjectsThreshold);
    }

    m_groupHiddenItems =
        s.contains(kGroupHiddenItems) ? readBool(s.value(kGroupHiddenItems)) : true;
    m_biggestFilesLimit =
        s.contains(kBiggestFilesLimit) ? readInt(s.value(kBiggestFilesLimit)) : 200;
    m_diagnosticReportsAgeDays =
        s.contains(kDiagnosticReportsAgeDays) ? readInt(s.value(kDiagnosticReportsAgeDays)) : 30;
    m_cacheStalenessAgeDays =
        s.contains(kCacheStalenessAgeDays) ? readInt(s.value(kCacheStalenessAgeDays)) : 14;
    m_sortFoldersToTop =
        s.contains(kSortFoldersToTop) ? readBool(s.value(kSortFoldersToTop)) : true;
    m_fdaOnboardingDismissed = readBool(s.value(kFdaOnboardingDismissed));
    m_automaticallyChecksForUpdates = readBool(s.value(kAutomaticallyChecksForUpdates));
}

void SettingsStore::write(const char* key, const QVariant& value) {
    m_settings->setValue(QLatin1String(key), value);
    m_settings->sync();
}

// Each setter writes even an unchanged value (the store always mirrors the property)
// but signals only a real change.
void SettingsStore::setAppearanceMode(AppearanceMode mode) {
    const bool changed = m_appearanceMode != mode;
    m_appearanceMode = mode;
    if (changed)
        emit appearanceModeChanged();
    write(kAppearanceMode, rawValue(mode));
}

void SettingsStore::setAllowDeletingHiddenFiles(bool value) {
    const bool changed = m_allowDeletingHiddenFiles != value;
    m_allowDeletingHiddenFiles = value;
    if (changed)
        emit allowDeletingHiddenFilesChanged();
    write(kAllowDeletingHiddenFiles, value);
}

void SettingsStore::setSmallerObjectsThresholdPercent(double value) {
    const bool changed = m_smallerObjectsThresholdPercent != value;
    m_smallerObjectsThresholdPercent = value;
    if (changed)
        emit smallerObjectsThresholdPercentChanged();
    write(kSmallerObjectsThreshold, value);
}

void SettingsStore::setGroupHiddenItems(bool value) {
    const bool changed = m_groupHiddenItems != value;
    m_groupHiddenItems = value;
    if (changed)
        emit groupHiddenItemsChanged();
    write(kGroupHiddenItems, value);
}

void SettingsStore::setBiggestFilesLimit(int value) {
    const bool changed = m_biggestFilesLimit != value;
    m_biggestFilesLimit = value;
    if (changed)
        emit biggestFilesLimitChanged();
    write(kBiggestFilesLimit, value);
}

void SettingsStore::setDiagnosticReportsAgeDays(int value) {
    const bool changed = m_diagnosticReportsAgeDays != value;
    m_diagnosticReportsAgeDays = value;
    if (changed)
        emit diagnosticReportsAgeDaysChanged();
    write(kDiagnosticReportsAgeDays, value);
}

void SettingsStore::setCacheStalenessAgeDays(int value) {
    const bool changed = m_cacheStalenessAgeDays != value;
    m_cacheStalenessAgeDays = value;
    if (changed)
        emit cacheStalenessAgeDaysChanged();
    write(kCacheStalenessAgeDays, value);
}

void SettingsStore::setSortFoldersToTop(bool value) {
    const bool changed = m_sortFoldersToTop != value;
    m_sortFoldersToTop = value;
    if (changed)
        emit sortFoldersToTopChanged();
    write(kSortFoldersToTop, value);
}

void SettingsStore::setFdaOnboardingDismissed(bool value) {
    const bool changed = m_fdaOnboardingDismissed != value;
    m_fdaOnboardingDismissed = value;
    if (changed)
        emit fdaOnboardingDismissedChanged();
    write(kFdaOnboardingDismissed, value);
}

void SettingsStore::setAutomaticallyChecksForUpdates(bool value) {
    const bool changed = m_automaticallyChecksForUpdates != value;
    m_automaticallyChecksForUpdates = value;
    if (changed)
        emit automaticallyChecksForUpdatesChanged();
    write(kAutomaticallyChecksForUpdates, value);
}

double SettingsStore::previewPaneWidth() const {
    if (!m_settings->contains(kPreviewPaneWidth))
        return kDefaultPreviewPaneWidth;
    bool ok = false;
    const double v = m_settings->value(kPreviewPaneWidth).toString().trimmed().toDouble(&ok);
    return ok && std::isfinite(v) ? v : kDefaultPreviewPaneWidth;
}

void SettingsStore::setPreviewPaneWidth(double width) {
    write(kPreviewPaneWidth, width);
}

} // namespace ringfold
