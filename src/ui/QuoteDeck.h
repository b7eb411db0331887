#pragma once
// The quotations shown while a scan runs, read from the bundled "quotes.md": one
// candidate per line, `"Text" — Attribution`. A line counts only when, trimmed, it
// starts with a double quote and holds the separator `" — ` (split at its last
// occurrence); the text loses its surrounding quotes and spaces, the attribution its
// spaces. Empty parts and the template attribution "Author Name" are skipped.

#include <QString>

#include <vector>

namespace ringfold {

struct Quote {
    QString text;
    QString attribution;
    friend bool operator==(const Quote&, const Quote&) = default;
};

std::vector<Quote> parseQuotes(const QString& markdown);
/// The deck bundled with the program.
std::vector<Quote> bundledQuotes();

} // namespace ringfold
