// The folder list and biggest files panels inside the real window, over a real scan of
// a fixture tree: rows, groups, locks and sorting; the selection and hover links to
// the map; rows that follow a trash in place; the row menu; the panel picker.

#include "app/AppTestSupport.h"
#include "app/window/MainWindowModel.h"
#include "core/model/DisplayGrouping.h"
#include "ui/BiggestFilesModel.h"
#include "ui/BiggestFilesView.h"
#include "ui/ChartView.h"
#include "ui/EmptyStateView.h"
#include "ui/FileListModel.h"
#include "ui/FileListView.h"
#include "ui/FileRowContextMenu.h"
#include "ui/MainWindow.h"
#include "ui/WindowTestSupport.h"
#include "ui/NodeTableView.h"
#include "ui/PanelStack.h"
#include "ui/PreviewPane.h"

#include <QAbstractButton>
#include <QHeaderView>
#include <QMenu>
#include <QSettings>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

using namespace ringfold;
using Panel = MainWindowModel::Panel;

class ListPanelsTest : public QObject {
    Q_OBJECT

    test::FixtureTree m_fx;
    test::TestWindow m_w;

    ChartViewModel& chart() { return m_w.app->chart(); }
    FileListView* folderView() {
        return static_cast<FileListView*>(m_w.window->panels()->panel(Panel::folder));
    }
    BiggestFilesView* biggestView() {
        return static_cast<BiggestFilesView*>(m_w.window->panels()->panel(Panel::biggestFiles));
    }
    FileListModel& rows() { return *folderView()->tableModel(); }
    FileNode* node(std::string_view rel) { return test::at(chart().rootNode().get(), rel); }
    QStringList names() { // the folder list's rows as shown, group rows included
        QStringList out;
        for (int r = 0; r < rows().rowCount(); ++r)
            out << rows().index(r, 1).data().toString();
        return out;
    }
    QPoint centreOf(int row) {
        return folderView()->table()->visualRect(rows().index(row, 1)).center();
    }
    // Clicks the map where it draws `target`; false when it draws it nowhere.
    bool clickOnMap(const FileNode* target) {
        ChartView* map = m_w.window->chartView();
        for (int y = 0; y < map->height(); y += 2)
            for (int x = 0; x < map->width(); x += 2)
                if (const int i = map->hitTest(QPointF(x, y)).index;
                    i >= 0 && map->segments()[std::size_t(i)].node.get() == target) {
                    QTest::mouseClick(map, Qt::LeftButton, {}, QPoint(x, y));
                    return true;
                }
        return false;
    }
    // A menu's entries, "|" for a divider, " (off)" when disabled.
    static QStringList texts(const QMenu& menu) {
        QStringList out;
        for (QAction* a : menu.actions())
            out << (a->isSeparator() ? "|" : a->text() + (a->isEnabled() ? "" : " (off)"));
        return out;
    }
    // The row menu of a node; triggers the entry `choose` when given.
    QStringList menu(const NodePtr& n, const QString& choose = {}) {
        QMenu menu;
        FileRowContextMenu::populate(menu, *m_w.model, n, nullptr);
        for (QAction* a : menu.actions())
            if (a->text() == choose)
                a->trigger();
        return texts(menu);
    }

private slots:
    void initTestCase() {
        // clang-format off
        m_fx.writeFiles({{"home/big.bin", 300000}, {"home/file10.txt", 30000},
                         {"home/file2.txt", 20000}, {"home/sub/inner.dat", 100000},
                         {"home/sub/deeper/x.log", 50000}, {"home/.hidden", 4000},
                         {"home/tiny", 100}, {"mountinfo", 0}});
        // clang-format on
        m_fx.hardLink("home/big.bin", "home/copy.bin");
        m_fx.makeFolder("home/empty");
        qputenv("XDG_DATA_HOME", QByteArray::fromStdString(m_fx.fullPath("data")));
    }

    void init() {
        QVERIFY(m_w.open(m_fx, true));
        m_w.app->sidebar().setSelectedSourceID(m_w.home());
        QVERIFY(QTest::qWaitFor([this] { return chart().rootNode() && m_w.window->showsMap(); }));
    }

    void folderRowsGroupsLocksAndSorting() {
        // Folders first, then files, each largest first; of the two names of one file,
        // the one counted second holds no extra space and is tagged.
        QCOMPARE(names().mid(0, 2), QStringList({"sub", "empty"}));
        const int copy =
            rows().rowOf(node(node("big.bin")->allocatedSize() ? "copy.bin" : "big.bin"));
        QVERIFY(rows().index(copy, 1).data(NodeTableModel::kSharedRole).toBool());
        QCOMPARE(rows().index(copy, 4).data().toString(), QStringLiteral("no extra space"));

        // Listed as a row, the hidden file shows a lock until hidden items may be deleted.
        m_w.app->settings().setGroupHiddenItems(false);
        const QModelIndex lock = rows().index(rows().rowOf(node(".hidden")), 0);
        QVERIFY(!lock.data(Qt::CheckStateRole).isValid() &&
                !rows().setData(lock, Qt::Checked, Qt::CheckStateRole) &&
                lock.data(Qt::ToolTipRole).toString().startsWith("Hidden items cannot be added"));
        m_w.app->settings().setAllowDeletingHiddenFiles(true);
        QCOMPARE(lock.data(Qt::CheckStateRole), Qt::Unchecked);

        // Small children gather in a group row below the threshold, hidden ones in theirs.
        m_w.app->settings().setGroupHiddenItems(true);
        m_w.app->settings().setSmallerObjectsThresholdPercent(0.02);
        QCOMPARE(names().mid(names().size() - 2),
                 QStringList({"Smaller objects (3 items)", "Hidden items (1 items)"}));
        QVERIFY(!(rows().flags(rows().index(rows().rowCount() - 1, 1)) & Qt::ItemIsSelectable));

        // A header click sorts through the view model, names by value of their digits;
        // the selected row stays selected across the new order.
        NodeTableView* table = folderView()->table();
        m_w.model->setSelectedNode(node("sub")->shared());
        QSignalSpy resets(&rows(), &QAbstractItemModel::modelReset);
        table->header()->setSortIndicator(FileListModel::NameColumn, Qt::AscendingOrder);
        QCOMPARE(names().indexOf("file2.txt") + 1, names().indexOf("file10.txt"));
        QVERIFY(table->selectedRowNode() == node("sub") && resets.isEmpty());
    }

    void selectionHoverAndActivation() {
        NodeTableView* table = folderView()->table();
        // A row click selects the node for the window, the map and the preview.
        const int sub = rows().rowOf(node("sub")), file10 = rows().rowOf(node("file10.txt"));
        QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, centreOf(sub));
        QVERIFY(m_w.model->selectedNode().get() == node("sub") &&
                chart().mapSelectionID() == node("sub")->id() &&
                m_w.window->previewPane()->node().get() == node("sub"));
        // A click on the map selects the row in both lists and shows it in the preview.
        FileNode* big = node(node("big.bin")->allocatedSize() ? "big.bin" : "copy.bin");
        QVERIFY(clickOnMap(big));
        QVERIFY(chart().mapSelectionID() == big->id() && table->selectedRowNode() == big &&
                biggestView()->table()->selectedRowNode() == big &&
                m_w.window->previewPane()->node().get() == big);
        // A node selected elsewhere (another panel) selects its row in both lists.
        m_w.model->setSelectedNode(node("file10.txt")->shared());
        QVERIFY(table->selectedRowNode() == node("file10.txt") &&
                biggestView()->table()->selectedRowNode() == node("file10.txt") &&
                chart().mapSelectionID() == node("file10.txt")->id());

        // Hover emphasises the row's segment, a group its aggregate; leaving clears.
        QTest::mouseMove(table->viewport(), centreOf(file10));
        QCOMPARE(chart().highlightedNodeID(), node("file10.txt")->id());
        m_w.app->settings().setSmallerObjectsThresholdPercent(0.02);
        QTest::mouseMove(table->viewport(), centreOf(rows().rowCount() - 2));
        QCOMPARE(chart().highlightedNodeID(), smallerObjectsAggregateID(chart().rootNode()->id()));
        QEvent leave(QEvent::Leave);
        QCoreApplication::sendEvent(table->viewport(), &leave);
        QCOMPARE(chart().highlightedNodeID(), std::nullopt);

        // Double-clicking a folder drills into it; an empty folder shows its empty state.
        QTest::mouseDClick(table->viewport(), Qt::LeftButton, {}, centreOf(sub));
        QCOMPARE(chart().focusedNode().get(), node("sub"));
        chart().focus(node("empty"));
        QVERIFY(folderView()->emptyState()->isVisible() && !table->isVisible() &&
                folderView()->emptyState()->text() == "This folder is empty");

        // Activating a biggest file focuses its folder on the map and selects it.
        NodeTableView* biggest = biggestView()->table();
        const int x = biggestView()->tableModel()->rowOf(node("sub/deeper/x.log"));
        QCOMPARE(biggest->model()->index(x, BiggestFilesModel::PathColumn).data().toString(),
                 QStringLiteral("sub/deeper"));
        emit biggest->activated(biggest->model()->index(x, 1));
        QVERIFY(chart().focusedNode().get() == node("sub/deeper") &&
                m_w.model->selectedNode().get() == node("sub/deeper/x.log"));
    }

    void checkboxesAndTrashUpdateRowsInPlace() {
        NodeTableView* table = folderView()->table();
        const NodePtr small = node("file2.txt")->shared();
        QVERIFY(rows().setData(rows().index(rows().rowOf(small.get()), 0), Qt::Checked,
                               Qt::CheckStateRole));
        BiggestFilesModel* biggest = biggestView()->tableModel();
        QVERIFY(m_w.app->cleanupList().contains(*small) &&
                biggest->index(biggest->rowOf(small.get()), 0).data(Qt::CheckStateRole) ==
                    Qt::Checked);

        m_w.model->setSelectedNode(node("sub")->shared());
        QSignalSpy resets(&rows(), &QAbstractItemModel::modelReset);
        QSignalSpy removed(&rows(), &QAbstractItemModel::rowsRemoved);
        QSignalSpy biggestResets(biggest, &QAbstractItemModel::modelReset);
        m_w.model->requestTrash(small);
        m_w.model->confirmTrash();
        QTRY_COMPARE(removed.count(), 1);
        QVERIFY(!names().contains("file2.txt") && resets.isEmpty() && biggestResets.isEmpty());
        QVERIFY(biggest->rowOf(small.get()) == -1 && table->selectedRowNode() == node("sub"));
    }

    void rowMenuAndPanelPicker() {
        const NodePtr sub = node("sub")->shared(), hidden = node(".hidden")->shared();
        // The menu key on a folder's row: the shared menu with the folder panel's entries.
        QStringList shown;
        QTimer::singleShot(0, [&] {
            if (auto* popup = qobject_cast<QMenu*>(QApplication::activePopupWidget()))
                shown = texts(*popup), popup->close();
        });
        NodeTableView* table = folderView()->table();
        table->setCurrentIndex(rows().index(rows().rowOf(sub.get()), 1));
        QContextMenuEvent key(QContextMenuEvent::Keyboard, {}, {});
        QCoreApplication::sendEvent(table->viewport(), &key);
        QCOMPARE(shown,
                 QStringList({"Show in File Manager", "Quick Preview", "Get Info",
                              "Drill Into Folder", "Add to Favorites", "|", "Add to Cleanup List",
                              "|", "Move to Trash", "Move to…", "Copy to…"}));
        // A hidden item may be looked at, not marked or trashed.
        QCOMPARE(menu(hidden).mid(2), QStringList({"|", "Add to Cleanup List (off)", "|",
                                                   "Move to Trash (off)", "Move to…", "Copy to…"}));

        menu(sub, "Add to Cleanup List");
        QVERIFY(m_w.app->cleanupList().contains(*sub));
        QCOMPARE(menu(sub, "Move to Trash").at(3), QStringLiteral("Remove from Cleanup List"));
        QCOMPARE(m_w.model->activeSheet()->kind, MainWindowModel::Sheet::Kind::trash);
        m_w.model->dismissSheet(); // closes the confirmation, which holds the keyboard

        // The picker and the commands switch panels.
        PanelStack* panels = m_w.window->panels();
        QTest::mouseClick(panels->pickerButton(Panel::biggestFiles), Qt::LeftButton);
        QVERIFY(m_w.model->activePanel() == Panel::biggestFiles &&
                panels->currentPanel() == biggestView());
        // In a window of ordinary width the path shrinks before any column goes.
        m_w.window->resize(1300, 720);
        NodeTableView* biggest = biggestView()->table();
        QTRY_COMPARE(biggest->viewport()->width() > 800, true);
        for (int c = 0; c < biggest->model()->columnCount(); ++c)
            QVERIFY2(!biggest->isColumnHidden(c), qPrintable(QString::number(c)));

        m_w.window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_w.window.get()));
        QTest::keyClick(m_w.window.get(), Qt::Key_3, Qt::ControlModifier);
        QCOMPARE(m_w.model->activePanel(), Panel::systemJunk);
        QTest::keyClick(m_w.window.get(), Qt::Key_4, Qt::ControlModifier);
        QCOMPARE(m_w.model->activePanel(), Panel::categories);
        m_w.model->setActivePanel(Panel::folder);
        QVERIFY(panels->pickerButton(Panel::folder)->isChecked() && folderView()->isVisible());
    }
};

QTEST_MAIN(ListPanelsTest)
#include "ListPanelsTest.moc"
