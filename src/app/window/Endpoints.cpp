#include "app/window/Endpoints.h"

#include <QUrlQuery>

namespace ringfold::endpoints {

namespace {

QString setting(const char* variable, const char* fallback) {
    const QString value = qEnvironmentVariable(variable);
    return value.isEmpty() ? QString::fromUtf8(fallback) : value;
}

} // namespace

QUrl donationPage(const QString& src) {
    QUrl url(setting("RINGFOLD_DONATION_URL", "https://ringfold.app/coffee"));
    QUrlQuery query(url);
    query.removeAllQueryItems(QStringLiteral("src"));
    query.addQueryItem(QStringLiteral("src"), src);
    url.setQuery(query);
    return url;
}

QString supportEmail() {
    return setting("RINGFOLD_SUPPORT_EMAIL", "support@ringfold.app");
}

QUrl supportMail(const QString& version, const QString& build, const QString& system) {
    const QString v = version.isEmpty() ? QStringLiteral("?") : version;
    const QString b = build.isEmpty() ? QStringLiteral("?") : build;
    QUrl url;
    url.setScheme(QStringLiteral("mailto"));
    url.setPath(supportEmail());
    QUrlQuery query;
    // Percent-encode everything a mail program could read as syntax, spaces included.
    auto encoded = [](const QString& text) {
        return QString::fromLatin1(QUrl::toPercentEncoding(text));
    };
    query.addQueryItem(QStringLiteral("subject"),
                       encoded(QStringLiteral("Ringfold %1 (%2) \u2014 support").arg(v, b)));
    query.addQueryItem(
        QStringLiteral("body"),
        encoded(QStringLiteral("\n\n\u2014\nRingfold %1 (build %2)\n%3").arg(v, b, system)));
    url.setQuery(query);
    return url;
}

QUrl updateFeed() {
    return QUrl(setting("RINGFOLD_UPDATE_FEED_URL", "https://ringfold.app/updates/latest.json"));
}

} // namespace ringfold::endpoints
