// The drive gallery and the sidebar in the real window, over real scans of a fixture
// folder: the "% full" of a card at the capacities' edges, a card, a chip or a sidebar
// row selecting its source, the junk button opening This Computer on its System Junk
// panel, and removing the selected favourite going back to the gallery.

#include "app/AppTestSupport.h"
#include "app/coordination/ScanCoordinator.h"
#include "app/window/MainWindowModel.h"
#include "ui/DriveGalleryView.h"
#include "ui/FavoriteChip.h"
#include "ui/MainWindow.h"
#include "ui/WindowTestSupport.h"
#include "ui/PanelStack.h"
#include "ui/SidebarView.h"
#include "ui/SourceText.h"
#include "ui/VolumeCard.h"

#include <QApplication>
#include <QMenu>
#include <QPushButton>
#include <QSettings>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>

using namespace ringfold;

class GalleryAndSidebarTest : public QObject {
    Q_OBJECT

    test::FixtureTree m_fx;
    test::TestWindow m_w;

    SidebarViewModel& sources() { return m_w.app->sidebar(); }
    // The fixture folder, added after the favourites a new store starts with.
    Uuid favourite() { return sources().favorites().back().id; }
    template <typename Button> Button* buttonOf(const QList<Button*>& buttons, const Uuid& id) {
        for (Button* b : buttons)
            if (b->sourceId() == id)
                return b;
        return nullptr;
    }
    bool mapShown() {
        return QTest::qWaitFor(
            [this] { return m_w.app->chart().rootNode() && m_w.window->showsMap(); });
    }

private slots:
    void initTestCase() {
        m_fx.writeFiles({{"home/a/1", 40000}, {"home/b/2", 9000}, {"mountinfo", 0}});
        qputenv("XDG_DATA_HOME", QByteArray::fromStdString(m_fx.fullPath("data")));
    }

    void init() {
        // Every source, This Computer too, scans the fixture folder.
        const QString home = QString::fromStdString(m_fx.fullPath("home"));
        QVERIFY(m_w.open(m_fx, true, [home](MainWindowModel& model) {
            model.coordinator().setBackendFactory(apptest::fakeBackends(
                [home](const std::string&, std::stop_token, ScanProgress*) {
                    return apptest::scanFolder(home);
                }));
        }));
    }

    void percentFullAtTheEdges_data() {
        QTest::addColumn<qint64>("available");
        QTest::addColumn<qint64>("total");
        QTest::addColumn<int>("percent"); // -1: not shown
        QTest::newRow("a quarter free") << 250LL << 1000LL << 75;
        QTest::newRow("nothing free") << 0LL << 1000LL << 100;
        QTest::newRow("total 0") << 0LL << 0LL << -1;
        QTest::newRow("more free than total") << 1500LL << 1000LL << 0;
        QTest::newRow("just under a whole percent") << 11LL << 1000LL << 98;
    }
    void percentFullAtTheEdges() {
        QFETCH(qint64, available);
        QFETCH(qint64, total);
        QFETCH(int, percent);
        ScanSource drive;
        drive.volumeAvailableCapacity = available;
        drive.volumeTotalCapacity = total;
        QCOMPARE(percentFull(drive).value_or(-1), percent);
    }

    void cardsChipsAndRowsSelectTheirSource_data() {
        QTest::addColumn<QString>("what");
        QTest::newRow("card") << "card";
        QTest::newRow("chip") << "chip";
        QTest::newRow("sidebar row") << "row";
    }
    void cardsChipsAndRowsSelectTheirSource() {
        QFETCH(QString, what);
        DriveGalleryView* gallery = m_w.window->gallery();
        const Uuid want = what == "card" ? sources().thisComputer().id : favourite();
        if (what == "card") {
            QVERIFY(buttonOf(gallery->cards(), want));
            QTest::mouseClick(buttonOf(gallery->cards(), want), Qt::LeftButton);
        } else if (what == "chip") {
            QVERIFY(buttonOf(gallery->chips(), want));
            QTest::mouseClick(buttonOf(gallery->chips(), want), Qt::LeftButton);
        } else {
            QTreeWidget* list = m_w.window->sidebar()->list();
            QTreeWidgetItem* row = m_w.window->sidebar()->rowOf(want);
            QVERIFY(row);
            QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                              list->visualItemRect(row).center());
        }
        QCOMPARE(sources().selectedSourceID(), want);
        QVERIFY(mapShown());
    }

    void junkButtonOpensThisComputerOnItsSystemJunk() {
        QTest::mouseClick(m_w.window->gallery()->junkButton(), Qt::LeftButton);
        QCOMPARE(sources().selectedSourceID(), sources().thisComputer().id);
        QVERIFY(mapShown());
        QCOMPARE(m_w.model->activePanel(), MainWindowModel::Panel::systemJunk);
        QCOMPARE(m_w.window->panels()->currentPanel(),
                 m_w.window->panels()->panel(MainWindowModel::Panel::systemJunk));
    }

    void removingTheSelectedFavouriteReturnsToTheGallery() {
        const Uuid id = favourite();
        sources().setSelectedSourceID(id);
        QVERIFY(mapShown());
        QTreeWidget* list = m_w.window->sidebar()->list();
        const QPoint at = list->visualItemRect(m_w.window->sidebar()->rowOf(id)).center();
        QTimer::singleShot(0, this, [] {
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            QVERIFY(menu);
            for (QAction* action : menu->actions())
                if (action->text() == QStringLiteral("Remove from Favorites"))
                    action->trigger();
            menu->close();
        });
        QContextMenuEvent event(QContextMenuEvent::Mouse, at, list->viewport()->mapToGlobal(at));
        QCoreApplication::sendEvent(list->viewport(), &event);
        QVERIFY(!sources().source(id) && !sources().selectedSourceID());
        QTRY_VERIFY(!m_w.window->showsMap());
        QTRY_VERIFY(!buttonOf(m_w.window->gallery()->chips(), id));
    }
};

QTEST_MAIN(GalleryAndSidebarTest)
#include "GalleryAndSidebarTest.moc"
