// The categories and system junk panels offscreen over real scans of fixture trees:
// what each panel lists and how its rows, checkboxes and headers act on the cleanup
// list, the window's selection and the map, and that rows follow the tree after a
// trash. The junk lookups are answered by hand so the panel's waiting state shows.

#include "app/AppTestSupport.h"
#include "app/coordination/ScanCoordinator.h"
#include "app/viewmodels/SystemJunkViewModel.h"
#include "app/window/MainWindowModel.h"
#include "ui/CategoriesItemModel.h"
#include "ui/CategoriesRowDelegate.h"
#include "ui/CategoriesView.h"
#include "ui/JunkHeaderView.h"
#include "ui/PanelChrome.h"
#include "ui/SystemJunkItemModel.h"
#include "ui/SystemJunkView.h"

#include <QContextMenuEvent>
#include <QPromise>
#include <QPushButton>
#include <QSettings>
#include <QSignalSpy>
#include <QTest>
#include <QTreeView>

#include <ctime>

using namespace ringfold;
using Orphans = SystemJunkViewModel::Orphans;

class JunkAndCategoriesPanelsTest : public QObject {
    Q_OBJECT

    test::FixtureTree m_fx;
    std::unique_ptr<QSettings> m_settings;
    std::unique_ptr<AppState> m_app;
    std::unique_ptr<MainWindowModel> m_model;
    std::shared_ptr<QPromise<Orphans>> m_lookup; // the running junk lookup, ended by hand

    CleanupListStore& cleanup() { return m_app->cleanupList(); }
    void select(const Uuid& source) {
        m_app->sidebar().setSelectedSourceID(source);
        QVERIFY(QTest::qWaitFor([this] { return m_app->chart().rootNode() != nullptr; }));
    }
    static void click(QTreeView* list, const QModelIndex& index, QPoint at = {},
                      Qt::KeyboardModifiers modifiers = {}) {
        const QRect r = list->visualRect(index);
        QTest::mouseClick(list->viewport(), Qt::LeftButton, modifiers,
                          at.isNull() ? r.center() : at);
    }
    // The node a row's context menu asks for, null unless exactly one request came.
    static FileNode* menuNode(QWidget& view, QTreeView* list, const QModelIndex& index) {
        QSignalSpy spy(&view, SIGNAL(contextMenuRequested(ringfold::NodePtr, QPoint)));
        const QPoint at = list->visualRect(index).center();
        QContextMenuEvent event(QContextMenuEvent::Mouse, at, list->viewport()->mapToGlobal(at));
        QCoreApplication::sendEvent(list->viewport(), &event);
        return spy.size() == 1 ? spy.at(0).at(0).value<NodePtr>().get() : nullptr;
    }
    static QStringList column(const QAbstractItemModel& m, int col,
                              const QModelIndex& parent = {}) {
        QStringList out;
        for (int row = 0; row < m.rowCount(parent); ++row)
            out << m.index(row, col, parent).data().toString();
        return out;
    }

private slots:
    void initTestCase() {
        for (int i = 1; i <= 30; ++i)
            m_fx.writeFile("home/photos/p" + std::to_string(100 + i) + ".jpg", i * 8192);
        // The package counts as one item of its total size: second after the photos.
        m_fx.writeFiles({{"home/Tool.app/bin/tool", 300000},
                         {"home/Tool.app/lib.so", 4096},
                         {"home/docs/a.pdf", 20000},
                         {"home/.cache/pip/wheel", 9000},
                         {"home/.cache/thumbnails/t.db", 70000},
                         {"mountinfo", 0},
                         {"home/.local/state/app.log.1", 40000},
                         {"home/.local/state/app.log", 500},
                         {"home/.local/state/.old.log.2", 100000}});
        qputenv("XDG_DATA_HOME", QByteArray::fromStdString(m_fx.fullPath("data")));
    }

    void init() {
        m_model.reset();
        m_lookup.reset();
        m_settings = std::make_unique<QSettings>(QString::fromStdString(m_fx.fullPath("s.conf")),
                                                 QSettings::IniFormat);
        m_app = apptest::makeAppState(m_settings.get(),
                                      QString::fromStdString(m_fx.fullPath("fav.json")),
                                      m_fx.fullPath("mountinfo"));
        m_app->sidebar().addFavorite(m_fx.fullPath("home"));
        const std::string home = m_fx.fullPath("home");
        auto junk = std::make_unique<SystemJunkViewModel>(
            [this](std::vector<std::string>) {
                m_lookup = std::make_shared<QPromise<Orphans>>();
                m_lookup->start();
                return m_lookup->future();
            },
            [home] { return JunkPlaces::forHome(home); },
            [] { return Timestamp(std::time(nullptr)); });
        m_model =
            std::make_unique<MainWindowModel>(*m_app, MainWindowModel::Options{std::move(junk)});
        m_model->coordinator().setDiagnostics(nullptr);
        // Every source, the startup disk too, scans the fixture home for real.
        m_model->coordinator().setBackendFactory(
            apptest::fakeBackends([home](const std::string&, std::stop_token, ScanProgress*) {
                return apptest::scanFolder(QString::fromStdString(home));
            }));
    }

    void categoriesListExpandsTogglesSelectsAndFollowsTheTree() {
        CategoriesView view(*m_model);
        view.resize(700, 900);
        view.show();
        QVERIFY(view.showsEmptyState());
        select(m_app->sidebar().favorites().back().id);
        QVERIFY(!view.showsEmptyState());
        const CategoriesItemModel& rows = *view.itemModel();
        QCOMPARE(column(rows, 0).mid(0, 2), (QStringList{"Photos & Images", "Applications"}));

        // A click expands a category to its 25 largest items and the footer.
        const QModelIndex photos = rows.index(0, 0);
        click(view.list(), photos);
        QVERIFY(view.list()->isExpanded(photos));
        QCOMPARE(rows.rowCount(photos), 26);
        QCOMPARE(rows.index(0, 0, photos).data().toString(), "p130.jpg");
        QCOMPARE(rows.index(25, 0, photos).data().toString(), "…and 5 more — largest 25 shown");

        // The checkbox toggles the cleanup list; the rest of the row selects the node
        // (for the map too), and a selection made elsewhere selects the row.
        const QModelIndex first = rows.index(0, 0, photos);
        FileNode* p130 = rows.node(first);
        click(view.list(), first,
              CategoriesRowDelegate::checkBoxRect(view.list()->visualRect(first)).center());
        QVERIFY(cleanup().contains(*p130));
        click(view.list(), rows.index(1, 0, photos));
        QCOMPARE(m_model->selectedNode().get(), rows.node(rows.index(1, 0, photos)));
        QCOMPARE(m_app->chart().mapSelectionID(), m_model->selectedNode()->id());
        QVERIFY(cleanup().contains(*p130) && cleanup().count() == 1);
        m_model->setSelectedNode(p130->shared());
        QCOMPARE(view.list()->currentIndex(), first);

        // Hovering a row emphasises its segment until the pointer leaves the list.
        QTest::mouseMove(view.list()->viewport(), view.list()->visualRect(first).center());
        QTRY_VERIFY(m_app->chart().highlightedNodeID() == p130->id());
        QEvent leave(QEvent::Leave);
        QCoreApplication::sendEvent(view.list()->viewport(), &leave);
        QVERIFY(!m_app->chart().highlightedNodeID());

        QCOMPARE(menuNode(view, view.list(), first), p130);

        // Trashing the largest photo rebuilds the rows in place; the category stays open.
        m_model->requestTrash(p130->shared());
        m_model->confirmTrash();
        QTRY_COMPARE(rows.index(0, 0, rows.index(0, 0)).data().toString(), "p129.jpg");
        QVERIFY(view.list()->isExpanded(rows.index(0, 0)));
    }

    void junkPanelStatesCheckboxesSortAndRanges() {
        SystemJunkView view(*m_model);
        view.resize(700, 600);
        view.show();
        select(m_app->sidebar().favorites().back().id);
        QCOMPARE(view.page(), SystemJunkView::Page::notStartupDisk);

        const NodePtr favouriteRoot = m_app->chart().rootNode();
        QTest::mouseClick(view.scanStartupDiskButton(), Qt::LeftButton);
        QTRY_VERIFY(m_app->chart().rootNode() != favouriteRoot);
        QCOMPARE(view.page(), SystemJunkView::Page::looking);
        m_lookup->addResult(Orphans{}), m_lookup->finish();
        QTRY_COMPARE(view.page(), SystemJunkView::Page::junk);

        // Sections in category order, items by size, largest first.
        const SystemJunkItemModel& rows = *view.itemModel();
        const int name = SystemJunkItemModel::nameColumn;
        QCOMPARE(column(rows, name),
                 (QStringList{"App Logs", ".old.log.2", "app.log.1", "app.log", "Thumbnails",
                              "thumbnails", "Developer Caches", "pip"}));
        auto check = [&](int row) {
            return panel::Check(rows.index(row, 0).data(SystemJunkItemModel::CheckRole).toInt());
        };
        auto headerClick = [&](int section) {
            const int x = view.header()->sectionViewportPosition(section) + 8;
            QTest::mouseClick(view.header()->viewport(), Qt::LeftButton, {},
                              QPoint(x, view.header()->height() / 2));
        };

        // Pre-selected high items make the header mixed; it then adds all eligible items,
        // and removes them again. The hidden log stays locked throughout.
        QCOMPARE(apptest::names(cleanup().items()), (QStringList{"app.log.1", "thumbnails"}));
        QCOMPARE(check(1), panel::Check::locked);
        headerClick(SystemJunkItemModel::checkColumn);
        QCOMPARE(cleanup().count(), std::size_t(4));
        QVERIFY(check(0) == panel::Check::on && check(7) == panel::Check::on);
        click(view.list(), rows.index(7, 0));  // the pip item's own checkbox
        QCOMPARE(check(6), panel::Check::off); // its group
        headerClick(SystemJunkItemModel::checkColumn);
        QCOMPARE(cleanup().count(), std::size_t(4));
        headerClick(SystemJunkItemModel::checkColumn);
        QVERIFY(cleanup().isEmpty());

        // "Name" sorts ascending inside each group; a second click descends.
        headerClick(name);
        QCOMPARE(column(rows, name).mid(1, 3), (QStringList{".old.log.2", "app.log", "app.log.1"}));
        headerClick(name);
        QCOMPARE(column(rows, name).mid(1, 3), (QStringList{"app.log.1", "app.log", ".old.log.2"}));

        // A row click toggles and selects; Shift adds the range from the last clicked
        // item of the group, skipping the hidden one.
        click(view.list(), rows.index(1, name));
        QCOMPARE(apptest::names(cleanup().items()), (QStringList{"app.log.1"}));
        click(view.list(), rows.index(3, name), {}, Qt::ShiftModifier);
        QCOMPARE(apptest::names(cleanup().items()), (QStringList{"app.log.1", "app.log"}));
        QCOMPARE(m_model->selectedNode()->name(), ".old.log.2");
        QCOMPARE(m_app->chart().mapSelectionID(), m_model->selectedNode()->id());
        QCOMPARE(view.list()->currentIndex().row(), 3);

        QCOMPARE(menuNode(view, view.list(), rows.index(7, name)), rows.item(7)->node.get());

        // A trashed item leaves its group before the next classification, and a group
        // left empty leaves with it.
        m_model->requestTrash(rows.item(7)->node);
        m_model->confirmTrash();
        QTRY_COMPARE(column(rows, name).size(), 6);
        QCOMPARE(column(rows, name).last(), "thumbnails");
    }
};

QTEST_MAIN(JunkAndCategoriesPanelsTest)
#include "JunkAndCategoriesPanelsTest.moc"
