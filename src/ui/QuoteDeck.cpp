#include "ui/QuoteDeck.h"

#include "ui/Symbols.h"

#include <QFile>
#include <QStringList>

namespace ringfold {

namespace {

QString trimQuotesAndSpaces(const QString& s) {
    qsizetype begin = 0;
    qsizetype end = s.size();
    auto strip = [](QChar c) { return c == QLatin1Char('"') || c.isSpace(); };
    while (begin < end && strip(s[begin]))
        ++begin;
    while (end > begin && strip(s[end - 1]))
        --end;
    return s.mid(begin, end - begin);
}

} // namespace

std::vector<Quote> parseQuotes(const QString& markdown) {
    static const QString separator = QStringLiteral("\" \u2014 ");
    std::vector<Quote> quotes;
    for (const QString& raw : markdown.split(QLatin1Char('\n'))) {
        const QString line = raw.trimmed();
        if (!line.startsWith(QLatin1Char('"')))
            continue;
        const qsizetype at = line.lastIndexOf(separator);
        if (at < 0)
            continue;
        Quote q{trimQuotesAndSpaces(line.left(at)), line.mid(at + separator.size()).trimmed()};
        if (q.text.isEmpty() || q.attribution.isEmpty() ||
            q.attribution == QLatin1String("Author Name"))
            continue;
        quotes.push_back(std::move(q));
    }
    return quotes;
}

std::vector<Quote> bundledQuotes() {
    initUiResources();
    QFile file(QStringLiteral(":/quotes.md"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return parseQuotes(QString::fromUtf8(file.readAll()));
}

} // namespace ringfold
