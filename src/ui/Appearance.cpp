#include "ui/Appearance.h"

#include "app/stores/SettingsStore.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QStyleFactory>

namespace ringfold {

namespace {

constexpr const char* kPortalService = "org.freedesktop.portal.Desktop";
constexpr const char* kPortalPath = "/org/freedesktop/portal/desktop";
constexpr const char* kPortalSettings = "org.freedesktop.portal.Settings";
constexpr const char* kAppearanceGroup = "org.freedesktop.appearance";
constexpr const char* kColorSchemeKey = "color-scheme";
constexpr const char* kInterfaceGroup = "org.gnome.desktop.interface";
constexpr const char* kAnimationsKey = "enable-animations";

bool g_reducedMotion = false;

// The portal's Read wraps the value in one variant more than SettingChanged does.
QVariant unwrap(QVariant value) {
    while (value.userType() == qMetaTypeId<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value;
}

} // namespace

Appearance::Appearance(SettingsStore& settings, QObject* parent)
    : QObject(parent), m_settings(settings), m_platformPalette(QApplication::palette()) {
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    connect(&m_settings, &SettingsStore::appearanceModeChanged, this, &Appearance::apply);
    apply();
    watchPortal();
}

void Appearance::setOverride(std::optional<ColorScheme> scheme) {
    m_override = scheme;
    apply();
}

void Appearance::watchPortal() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    bus.connect(QString::fromLatin1(kPortalService), QString::fromLatin1(kPortalPath),
                QString::fromLatin1(kPortalSettings), QStringLiteral("SettingChanged"), this,
                SLOT(onPortalSettingChanged(QDBusMessage)));
    readPortal(kAppearanceGroup, kColorSchemeKey);
    readPortal(kInterfaceGroup, kAnimationsKey);
}

void Appearance::readPortal(const char* group, const char* key) {
    QDBusMessage read = QDBusMessage::createMethodCall(
        QString::fromLatin1(kPortalService), QString::fromLatin1(kPortalPath),
        QString::fromLatin1(kPortalSettings), QStringLiteral("Read"));
    const QString g = QString::fromLatin1(group);
    const QString k = QString::fromLatin1(key);
    read << g << k;
    auto* watcher =
        new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(read, 2000), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, g, k](QDBusPendingCallWatcher* w) {
                const QDBusPendingReply<QDBusVariant> reply = *w;
                if (!reply.isError())
                    portalValue(g, k, unwrap(reply.argumentAt(0)));
                w->deleteLater();
            });
}

void Appearance::onPortalSettingChanged(const QDBusMessage& message) {
    const QList<QVariant> args = message.arguments();
    if (args.size() == 3)
        portalValue(args[0].toString(), args[1].toString(), unwrap(args[2]));
}

void Appearance::portalValue(const QString& group, const QString& key, const QVariant& value) {
    if (group == QLatin1String(kAppearanceGroup) && key == QLatin1String(kColorSchemeKey))
        setDesktopPreference(value);
    else if (group == QLatin1String(kInterfaceGroup) && key == QLatin1String(kAnimationsKey))
        g_reducedMotion = !value.toBool();
}

bool Appearance::prefersReducedMotion() {
    return g_reducedMotion;
}

void Appearance::setDesktopPreference(const QVariant& colorScheme) {
    bool ok = false;
    const uint value = colorScheme.toUInt(&ok);
    std::optional<ColorScheme> preference;
    if (ok && value == 1)
        preference = ColorScheme::dark;
    else if (ok && value == 2)
        preference = ColorScheme::light;
    if (preference == m_desktop)
        return;
    m_desktop = preference;
    apply();
}

void Appearance::apply() {
    ColorScheme scheme;
    if (m_override) {
        scheme = *m_override;
    } else {
        switch (m_settings.appearanceMode()) {
        case AppearanceMode::light:
            scheme = ColorScheme::light;
            break;
        case AppearanceMode::dark:
            scheme = ColorScheme::dark;
            break;
        case AppearanceMode::system:
        default:
            scheme = m_desktop.value_or(schemeOf(m_platformPalette));
            break;
        }
    }
    if (m_appliedOnce && scheme == m_applied)
        return;
    m_appliedOnce = true;
    m_applied = scheme;
    QApplication::setPalette(paletteFor(scheme));
    emit schemeChanged();
}

} // namespace ringfold
