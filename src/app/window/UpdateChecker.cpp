#include "app/window/UpdateChecker.h"

#include "app/stores/SettingsStore.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTimer>
#include <QVersionNumber>

namespace ringfold {

namespace {

constexpr int kTimeoutMs = 15000;
constexpr qint64 kMaxFeedBytes = 64 * 1024;

} // namespace

UpdateChecker::UpdateChecker(SettingsStore& settings, QString currentVersion, QUrl feed,
                             std::chrono::milliseconds startupDelay, QObject* parent)
    : QObject(parent), m_settings(settings), m_currentVersion(std::move(currentVersion)),
      m_feed(std::move(feed)), m_network(new QNetworkAccessManager(this)) {
    if (m_settings.automaticallyChecksForUpdates())
        QTimer::singleShot(startupDelay, this, [this] {
            if (m_settings.automaticallyChecksForUpdates())
                checkForUpdates(false);
        });
}

bool UpdateChecker::isNewer(const QString& candidate, const QString& current) {
    const QVersionNumber a = QVersionNumber::fromString(candidate.trimmed());
    const QVersionNumber b = QVersionNumber::fromString(current.trimmed());
    return !a.isNull() && QVersionNumber::compare(a, b) > 0;
}

void UpdateChecker::checkForUpdates(bool manual) {
    if (m_checking)
        return;
    m_checking = true;
    emit canCheckForUpdatesChanged();
    QNetworkRequest request(m_feed);
    request.setTransferTimeout(kTimeoutMs);
    request.setHeader(QNetworkRequest::UserAgentHeader, QStringLiteral("Ringfold"));
    QNetworkReply* reply = m_network->get(request);
    connect(reply, &QNetworkReply::finished, this, [this, reply, manual] {
        reply->deleteLater();
        m_checking = false;
        emit canCheckForUpdatesChanged();
        if (reply->error() != QNetworkReply::NoError) {
            if (manual)
                emit checkFailed(reply->errorString());
            return;
        }
        QJsonParseError error{};
        const QJsonObject feed =
            QJsonDocument::fromJson(reply->read(kMaxFeedBytes), &error).object();
        const QString version = feed.value(QStringLiteral("version")).toString();
        QUrl page(feed.value(QStringLiteral("url")).toString());
        // Only a web page becomes a link the user may click, never a file or a script.
        if ((page.scheme() != u"http" && page.scheme() != u"https") || page.host().isEmpty())
            page.clear();
        if (error.error != QJsonParseError::NoError || version.isEmpty()) {
            if (manual)
                emit checkFailed(QStringLiteral("The update feed could not be read."));
            return;
        }
        if (isNewer(version, m_currentVersion))
            emit updateAvailable(version, page);
        else if (manual)
            emit upToDate();
    });
}

} // namespace ringfold
