#pragma once
// The context menu of a node's row in every list panel (folder list, biggest files,
// categories, system junk): show in the file manager, preview, information, drill
// into and favourite a folder, the cleanup list entry, then the file operations,
// which go to the window model (Trash and Move open their confirmation first, Copy
// asks for a destination folder here). Entries for actions the hosting panel does not
// offer are left out; entries that the cleanup list would refuse for a hidden item
// are shown disabled.
//
// Threads: GUI thread only.

#include "core/model/FileNode.h"

#include <QPoint>

#include <functional>

class QMenu;
class QWidget;

namespace ringfold {

class MainWindowModel;

class FileRowContextMenu {
public:
    struct Extras { // entries shown only when provided
        std::function<void(const NodePtr&)> drillInto, addToFavorites, quickPreview;
    };

    /// Shows the menu at `globalPos` and carries out the chosen entry.
    static void exec(MainWindowModel& model, const NodePtr& node, const QPoint& globalPos,
                     QWidget* parent, const Extras& extras = {});
    /// Fills `menu` with the entries for `node`; `parent` hosts the folder chooser and
    /// the file manager request.
    static void populate(QMenu& menu, MainWindowModel& model, const NodePtr& node, QWidget* parent,
                         const Extras& extras = {});
};

} // namespace ringfold
