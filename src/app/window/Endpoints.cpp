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

QUrl updateFeed() {
    return QUrl(setting("RINGFOLD_UPDATE_FEED_URL", "https://ringfold.app/updates/latest.json"));
}

} // namespace ringfold::endpoints
