#pragma once
// Applies the appearance setting to the whole application: the Fusion style with
// Ringfold's light or dark palette. "system" follows the desktop's colour-scheme
// preference from the freedesktop settings portal (org.freedesktop.appearance
// color-scheme: 1 prefers dark, 2 prefers light) and its SettingChanged signal; with
// no portal, or no preference, it follows the lightness of the palette the platform
// gave the application at start-up. Changes to the setting apply at once.
//
// The desktop's "enable-animations" switch (org.gnome.desktop.interface, through the
// same portal) is kept as the reduced-motion preference; Qt 6.4 has no API for it.
//
// Threads: GUI thread. The portal is asked asynchronously, so start-up never waits
// on the session bus.

#include "ui/Palettes.h"

#include <QObject>
#include <QPalette>

#include <optional>

class QDBusMessage;

namespace ringfold {

class SettingsStore;

class Appearance : public QObject {
    Q_OBJECT

public:
    /// Call after QApplication exists and before any other palette is set.
    explicit Appearance(SettingsStore& settings, QObject* parent = nullptr);

    /// The scheme now in effect.
    ColorScheme scheme() const { return m_applied; }
    /// Forces a scheme regardless of the setting (the screenshot run); none restores
    /// the setting. Not saved.
    void setOverride(std::optional<ColorScheme> scheme);
    /// The desktop's preference as last reported by the portal; none when it has no
    /// preference or there is no portal.
    std::optional<ColorScheme> desktopPreference() const { return m_desktop; }
    /// The desktop turned animations off (false when nobody said so).
    static bool prefersReducedMotion();

signals:
    void schemeChanged();

private slots:
    // The whole message: a slot with typed arguments is refused by the bus connection
    // when one of them is a variant.
    void onPortalSettingChanged(const QDBusMessage& message);

private:
    void watchPortal();
    void readPortal(const char* group, const char* key);
    void portalValue(const QString& group, const QString& key, const QVariant& value);
    void setDesktopPreference(const QVariant& colorScheme);
    void apply();

    SettingsStore& m_settings;
    QPalette m_platformPalette;
    std::optional<ColorScheme> m_desktop;
    std::optional<ColorScheme> m_override;
    ColorScheme m_applied = ColorScheme::light;
    bool m_appliedOnce = false;
};

} // namespace ringfold
