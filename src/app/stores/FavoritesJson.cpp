#include "app/stores/FavoritesJson.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>

#include <cstdio>

namespace ringfold {

std::string encodeJsonString(std::string_view text) {
    std::string out;
    out.reserve(text.size() + 2);
    out.push_back('"');
    for (char c : text) {
        switch (c) {
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        case '/':
            out += "\\/";
            break;
        case '\b':
            out += "\\b";
            break;
        case '\f':
            out += "\\f";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            if (static_cast<unsigned char>(c) < 0x20) {
                char buf[8];
                std::snprintf(buf, sizeof buf, "\\u%04x", static_cast<unsigned>(c));
                out += buf;
            } else {
                out.push_back(c); // UTF-8 passes through unescaped
            }
        }
    }
    out.push_back('"');
    return out;
}

QByteArray encodeFavorites(const std::vector<FavoriteEntry>& entries) {
    if (entries.empty())
        return QByteArrayLiteral("[\n\n]");
    std::string out = "[\n";
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const FavoriteEntry& e = entries[i];
        out += "  {\n";
        out += "    \"displayName\" : " + encodeJsonString(e.displayName) + ",\n";
        out += "    \"id\" : " + encodeJsonString(e.id.toString()) + ",\n";
        out += "    \"path\" : " + encodeJsonString(e.path) + "\n";
        out += i + 1 < entries.size() ? "  },\n" : "  }\n";
    }
    out += "]";
    return QByteArray::fromStdString(out);
}

std::optional<std::vector<FavoriteEntry>> decodeFavorites(const QByteArray& data) {
    QJsonParseError error{};
    const QJsonDocument doc = QJsonDocument::fromJson(data, &error);
    if (error.error != QJsonParseError::NoError || !doc.isArray())
        return std::nullopt;
    std::vector<FavoriteEntry> entries;
    for (const QJsonValue& value : doc.array()) {
        if (!value.isObject())
            return std::nullopt;
        const QJsonObject object = value.toObject();
        const QJsonValue id = object.value(QLatin1String("id"));
        const QJsonValue path = object.value(QLatin1String("path"));
        const QJsonValue name = object.value(QLatin1String("displayName"));
        if (!id.isString() || !path.isString() || !name.isString())
            return std::nullopt;
        auto uuid = Uuid::parse(id.toString().toStdString());
        if (!uuid)
            return std::nullopt;
        entries.push_back({*uuid, path.toString().toStdString(), name.toString().toStdString()});
    }
    return entries;
}

} // namespace ringfold
