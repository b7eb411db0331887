#include "app/operations/FileOperationsJob.h"

#include "app/operations/FileTransfer.h"
#include "app/operations/Trash.h"

#include <QFile>

#include <cerrno>
#include <unordered_set>

namespace ringfold {

namespace {

std::string destinationFor(const std::string& folder, const std::string& name) {
    std::string path = folder;
    if (path.empty() || path.back() != '/')
        path += '/';
    path += name;
    return path;
}

// A move whose copy is complete but whose source is still partly there: say so, with
// where the copy is and why the rest stayed.
QString halfMovedMessage(const std::string& destination, const FileTransfer::Report& report,
                         int error) {
    const QString reason = error == ENOTEMPTY
                               ? QStringLiteral("added or changed during the move")
                               : QString::fromStdString(FileTransfer::message(error));
    return QStringLiteral("copied to %1; %2 %3 could not be removed from the source: %4")
        .arg(QFile::decodeName(QByteArray::fromStdString(destination)))
        .arg(report.entriesLeft)
        .arg(report.entriesLeft == 1 ? QStringLiteral("item") : QStringLiteral("items"))
        .arg(reason);
}

// The entries of `paths` (relative to a holder's folder) at or below `within`, made
// relative to the folder of the item `within` names.
std::unordered_set<std::string> below(const std::unordered_set<std::string>& paths,
                                      const std::string& within, const std::string& name) {
    std::unordered_set<std::string> out;
    for (const std::string& p : paths)
        if (p.starts_with(within) && (p.size() == within.size() || p[within.size()] == '/'))
            out.insert(name + p.substr(within.size()));
    return out;
}

} // namespace

int FileOperations::Job::run(const std::function<void(ItemResult)>& deliver) {
    // What each item's own step did on disk, for the items listed inside it; for
    // one that moved only in part, what stayed (relative to its folder) and which
    // item's move that was.
    enum class Fate : char { untouched, gone, partlyGone };
    std::vector<Fate> fate(items.size(), Fate::untouched);
    std::vector<std::unordered_set<std::string>> stayed(items.size());
    std::vector<std::size_t> partMove(items.size());
    std::size_t i = 0;
    for (; i < items.size() && !cancelled; ++i) {
        const Item& item = items[i];
        current = int(i);
        ItemResult result;
        result.index = int(i);
        const auto holder = std::size_t(item.holder);
        if (item.refusal) {
            result.error = item.refusal;
        } else if (item.holder >= 0 && fate[holder] == Fate::gone) {
            result.wentWithHolder = true;
            fate[i] = Fate::gone;
        } else if (item.holder >= 0 && fate[holder] == Fate::partlyGone) {
            if (stayed[holder].count(item.pathInHolder)) {
                // On its own it would land at the top of the destination, apart
                // from the rest of its folder's copy.
                result.error = QStringLiteral("not moved: it stayed in the source with what is "
                                              "left of \u201C%1\u201D")
                                   .arg(items[partMove[holder]].displayName);
                fate[i] = Fate::partlyGone;
                partMove[i] = partMove[holder];
                stayed[i] = below(stayed[holder], item.pathInHolder, item.name);
            } else {
                result.wentWithHolder = true;
                fate[i] = Fate::gone;
            }
        } else {
            const std::int64_t before = bytesDone;
            FileTransfer::Report report;
            report.onBytes = [this](std::int64_t n) { bytesDone += n; };
            const std::string destination = destinationFor(folder, item.name);
            int error = 0;
            switch (kind) {
            case Kind::trash:
                result.error = Trash::moveToTrash(item.path);
                break;
            case Kind::removeDownload:
                result.error = evictor(item.path);
                break;
            case Kind::move:
                error = mover(item.path, destination, &report);
                break;
            case Kind::copy:
                error = FileTransfer::copy(item.path, destination, &report);
                break;
            }
            if (error && report.entriesLeft > 0) {
                result.error = halfMovedMessage(destination, report, error);
                result.leftBehind = std::move(report.leftBehind);
                fate[i] = Fate::partlyGone;
                partMove[i] = i;
                stayed[i].insert(result.leftBehind.begin(), result.leftBehind.end());
            } else if (error && !report.blocker.empty()) {
                // Refused before anything was copied: say what stands in the way.
                result.error =
                    QStringLiteral("nothing was moved: %1 can't be removed from the source (%2)")
                        .arg(QFile::decodeName(QByteArray::fromStdString(report.blocker)),
                             QString::fromStdString(FileTransfer::message(error)));
            } else if (error) {
                result.error = QString::fromStdString(FileTransfer::message(error));
            }
            if (item.holder < 0)
                bytesDone = before + item.bytes;
            if (!result.error)
                fate[i] = Fate::gone;
        }
        ++itemsDone;
        deliver(std::move(result));
    }
    return int(items.size() - i);
}

} // namespace ringfold
