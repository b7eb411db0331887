#pragma once
// Encoding and decoding of the favourites file. The writer is hand-made because the
// file keeps one exact format: two-space indentation, " : " between key and value,
// keys sorted, every "/" inside a string escaped as "\/", UUIDs upper-case, an empty
// list written as "[\n\n]", no trailing newline. QJsonDocument formats differently.
//
// Threads: pure functions, any thread.

#include "core/model/Types.h"

#include <QByteArray>

#include <optional>
#include <string>
#include <vector>

namespace ringfold {

struct FavoriteEntry {
    Uuid id;
    std::string path;
    std::string displayName;
    friend bool operator==(const FavoriteEntry&, const FavoriteEntry&) = default;
};

/// A JSON string literal, quotes included, with the file's escaping.
std::string encodeJsonString(std::string_view text);
QByteArray encodeFavorites(const std::vector<FavoriteEntry>& entries);
/// None when the data is not a JSON array of objects that each carry a valid "id" and
/// string "path" and "displayName" (one bad entry rejects the whole file).
std::optional<std::vector<FavoriteEntry>> decodeFavorites(const QByteArray& data);

} // namespace ringfold
