#pragma once
// The addresses the program opens: the donation page, the support mailbox and the
// update feed. Each has a default and can be replaced through the environment
// (RINGFOLD_DONATION_URL, RINGFOLD_SUPPORT_EMAIL, RINGFOLD_UPDATE_FEED_URL), so
// packagers and test set-ups point them elsewhere without rebuilding.

#include <QString>
#include <QUrl>

namespace ringfold::endpoints {

/// The donation page with `src` telling which entry point opened it ("rf-cleanup",
/// "rf-settings", "rf-help-menu").
QUrl donationPage(const QString& src);
QString supportEmail();
QUrl updateFeed();
/// The "Contact Support…" mail: subject "Ringfold <version> (<build>) — support" and a
/// body that ends with the version and the operating system; a missing version or
/// build reads "?".
QUrl supportMail(const QString& version, const QString& build, const QString& system);

} // namespace ringfold::endpoints
