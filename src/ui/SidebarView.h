#pragma once
// The sources sidebar: "This Computer", the other volumes, the favourite folders (and
// the folder opened from the command line), the saved scans opened from files, each
// row with its capacity or last scan size and the restricted-access mark, and "Scan
// Startup Disk for Junk" at the bottom. Selecting a row selects the source in the
// sources model; a change of the model's selection is mirrored back. Rows have a
// context menu: Rescan, Show in File Manager, Scan as Administrator for a restricted
// source, Remove from Favorites for favourites, Close for a saved scan.
//
// Threads: GUI thread only.

#include "core/model/Types.h"

#include <QWidget>

#include <functional>

class QTreeWidget;
class QTreeWidgetItem;
class QPushButton;

namespace ringfold {

class SidebarViewModel;

class SidebarView : public QWidget {
    Q_OBJECT

public:
    struct Actions {
        std::function<void(const Uuid&)> rescan;
        std::function<void()> scanStartupJunk;
        /// Shows a folder in the file manager.
        std::function<void(const std::string& path)> reveal;
        /// Asks for a saved scan to open.
        std::function<void()> openScanFile;
        /// Scans the source again as the administrator (offered for restricted sources).
        std::function<void(const Uuid&)> scanAsAdministrator;
    };

    SidebarView(SidebarViewModel& model, Actions actions, QWidget* parent = nullptr);

    QTreeWidget* list() const { return m_list; }
    /// The row of a source, or null.
    QTreeWidgetItem* rowOf(const Uuid& id) const;

private:
    void rebuild();
    void syncSelectionFromModel();
    void onCurrentChanged();
    void showContextMenu(const QPoint& pos);
    void addFavoriteWithChooser();
    void addSection(const QString& title);
    void addSourceRow(const ScanSource& source);

    SidebarViewModel& m_model;
    Actions m_actions;
    QTreeWidget* m_list;
    QPushButton* m_junkButton;
    bool m_syncing = false;
};

} // namespace ringfold
