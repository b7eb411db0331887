// The map widget offscreen over a scan of a small fixture folder shown as a volume:
// hit testing in both modes, clicks, double clicks, the hub, Ctrl+click reveal, the
// two cards, when layout runs, and where the picture lands. ctest runs it at device
// pixel ratio 1 and 2.
#include "app/stores/CleanupListStore.h"
#include "app/stores/SettingsStore.h"
#include "app/viewmodels/ChartViewModel.h"
#include "core/model/ByteFormat.h"
#include "core/scan/ScanEngine.h"
#include "support/FixtureTree.h"
#include "support/MemoryTree.h"
#include "ui/ChartView.h"
#include "ui/MapInfoCard.h"
#include "ui/MapScene.h"
#include "ui/SunburstPainter.h"

#include <QFontMetricsF>

#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>
#include <functional>
#include <tuple>

using namespace ringfold;

namespace {

// A scan of vol/: docs/{report 400k, notes 200k}, movie 280k, two small hidden files
// (grouped), shown as a 2 MB volume with 800k free, so that the used space the scan
// did not reach shows as inaccessible.
NodePtr scanVolume(test::FixtureTree& fx) {
    fx.writeFiles({{"vol/docs/report.pdf", 400'000}, {"vol/docs/notes.txt", 200'000},
                   {"vol/movie.mkv", 280'000}, {"vol/.cache", 10'000}, {"vol/.profile", 7'000}});
    ScanEngine engine(ScanSourceKind::favoriteFolder, 2, {.threads = 2, .diagnostics = nullptr});
    return engine.scan(fx.fullPath("vol"))->root;
}

struct Fixture {
    test::FixtureTree fx;
    QSettings ini{QString::fromStdString(fx.fullPath("settings.conf")), QSettings::IniFormat};
    SettingsStore settings{&ini};
    ChartViewModel model;
    CleanupListStore cleanup{&settings};
    NodePtr root = scanVolume(fx);
    FileNode* docs = test::at(root.get(), "docs");
    FileNode* movie = test::at(root.get(), "movie.mkv");
    // Used space the scan did not reach: the volume's used bytes less the tree's.
    std::int64_t inaccessible = 2'000'000 - 800'000 - root->allocatedSize();
    std::vector<const FileNode*> revealed;
    ChartView view{model, cleanup, settings};

    explicit Fixture(QSize size = {600, 600}) {
        model.setRoot(root, SpaceAccounting{2'000'000, 800'000, root->allocatedSize(), 3}, true);
        view.setRevealHandler([this](const FileNode& n) { revealed.push_back(&n); });
        view.resize(size);
        view.show();
        QCoreApplication::processEvents();
    }

    int find(const std::function<bool(const MapSegment&)>& pred) {
        const auto& segs = view.segments();
        for (std::size_t i = 0; i < segs.size(); ++i)
            if (pred(segs[i]))
                return static_cast<int>(i);
        return -1;
    }
    int find(const FileNode* node) {
        return find([node](const MapSegment& s) { return s.isPlainItem() && s.node.get() == node; });
    }
    // The middle of a segment: its rectangle's centre, or its middle angle and radius.
    QPoint at(int index) {
        const MapSegment& s = view.segments().at(static_cast<std::size_t>(index));
        if (s.rect)
            return QPointF(s.rect->x + s.rect->width / 2, s.rect->y + s.rect->height / 2).toPoint();
        const double a = (s.startAngle + s.endAngle) / 2, r = (s.innerRadius + s.outerRadius) / 2;
        return (centre() + QPointF(r * std::cos(a), r * std::sin(a))).toPoint();
    }
    QPointF centre() const { return QPointF(view.width() / 2.0, view.height() / 2.0); }
    void click(QPoint p, Qt::KeyboardModifiers mods = {}) {
        QTest::mouseClick(&view, Qt::LeftButton, mods, p);
    }
    void move(QPoint p) {
        QMouseEvent e(QEvent::MouseMove, p, view.mapToGlobal(p), Qt::NoButton, Qt::NoButton, {});
        QCoreApplication::sendEvent(&view, &e);
    }
};

} // namespace

class ChartViewTest : public QObject {
    Q_OBJECT

private slots:
    void hitTestFindsEverySegmentTheHubAndTheGaps_data() {
        QTest::addColumn<VisualizationMode>("mode");
        QTest::newRow("sunburst") << VisualizationMode::sunburst;
        QTest::newRow("treemap") << VisualizationMode::treemap;
    }
    void hitTestFindsEverySegmentTheHubAndTheGaps() {
        QFETCH(VisualizationMode, mode);
        Fixture f;
        f.model.setVisualizationMode(mode);
        const auto& segs = f.view.segments();
        QVERIFY(segs.size() >= 4); // docs, movie, hidden, inaccessible (+ report, notes)
        for (std::size_t i = 0; i < segs.size(); ++i)
            QCOMPARE(f.view.hitTest(f.at(static_cast<int>(i))).index, static_cast<int>(i));
        const auto none = [&](QPointF p) {
            const auto hit = f.view.hitTest(p);
            return hit.index == -1 && !hit.hub;
        };
        QVERIFY(none(QPointF(3, 3))); // beyond the rings; inside the treemap's inset
        const MapSegment& movie = segs[static_cast<std::size_t>(f.find(f.movie))];
        if (mode == VisualizationMode::sunburst) {
            QVERIFY(f.view.hitTest(f.centre()).hub);
            // Between ring 1 and ring 2 (the ring gap), and outside a file on ring 2.
            const double a = (movie.startAngle + movie.endAngle) / 2;
            for (double r : {movie.outerRadius + 0.3, movie.outerRadius + 30})
                QVERIFY(none(f.centre() + QPointF(r * std::cos(a), r * std::sin(a))));
        } else {
            QVERIFY(!f.view.hitTest(f.centre()).hub);
            const MapRect& r = *movie.rect; // half a gap beside it belongs to nobody
            QVERIFY(none(QPointF(r.x - 1.3, r.y + r.height / 2)));
        }
    }

    // The picture is drawn in device pixels: whatever is placed there by hand must land
    // where the map is hit-tested, at any pixel ratio. A dark backdrop makes the hub's
    // light rim stand out.
    void picturePutsHubRingsAndBackdropWhereTheyBelong_data() {
        hitTestFindsEverySegmentTheHubAndTheGaps_data();
    }
    void picturePutsHubRingsAndBackdropWhereTheyBelong() {
        QFETCH(VisualizationMode, mode);
        Fixture f;
        QPalette dark = f.view.palette();
        const QColor window(30, 31, 34);
        dark.setColor(QPalette::Window, window);
        f.view.setPalette(dark);
        f.model.setVisualizationMode(mode);
        const QImage image = f.view.grab().toImage();
        QCOMPARE(image.size(), f.view.size() * f.view.devicePixelRatioF());
        using Check = std::function<bool(const QColor&)>;
        const auto is = [](const QColor& want, int tolerance) -> Check {
            return [=](const QColor& got) {
                return std::abs(got.red() - want.red()) <= tolerance &&
                       std::abs(got.green() - want.green()) <= tolerance &&
                       std::abs(got.blue() - want.blue()) <= tolerance;
            };
        };
        const MapSegment& movie = f.view.segments()[static_cast<std::size_t>(f.find(f.movie))];
        // The rim is 1.75 wide over the hole's edge: white at 0.6 over anything is light.
        const Check light = [](const QColor& got) { return got.lightness() > 120; };
        const double hole = MapStyle{}.centerHoleRatio * 300;
        const bool sunburst = mode == VisualizationMode::sunburst;
        for (const auto& [at, check, sunburstOnly] : {
                 std::tuple{QPointF(3, 3), is(window, 2), false}, // corner: plain backdrop
                 {QPointF(f.at(f.find(f.movie))), is(mapdraw::fillColor(movie), 16), false},
                 {f.centre() + QPointF(0, 0.7 * hole), is(window, 2), true}, // the hub
                 {f.centre() - QPointF(hole - 0.25, 0), light, true},        // its rim
                 {f.centre() + QPointF(0, hole - 0.25), light, true},
             }) {
            if (sunburstOnly && !sunburst)
                continue;
            const QPointF pixel = at * image.devicePixelRatio();
            const QColor got =
                image.pixelColor(static_cast<int>(pixel.x()), static_cast<int>(pixel.y()));
            QVERIFY2(
                check(got),
                qPrintable(QStringLiteral("%1 at %2,%3").arg(got.name()).arg(at.x()).arg(at.y())));
        }
    }

    void clickSelectsAndCtrlClickRevealsWithoutSelecting() {
        Fixture f;
        QSignalSpy selected(&f.view, &ChartView::fileSelected);
        f.click(f.at(f.find(f.movie)));
        QCOMPARE(f.model.mapSelectionID(), f.movie->id());
        QCOMPARE(selected.size(), 1);
        QCOMPARE(selected[0][0].value<FileNode*>(), f.movie);

        f.click(f.at(f.find(f.docs)), Qt::ControlModifier);
        QCOMPARE(f.revealed, std::vector<const FileNode*>{f.docs});
        QCOMPARE(f.model.mapSelectionID(), f.movie->id());
        QCOMPARE(selected.size(), 1);

        f.click(QPoint(3, 3)); // nothing there: the selection stays
        QCOMPARE(f.model.mapSelectionID(), f.movie->id());
    }

    void doubleClickDrillsIntoFoldersOnly() {
        Fixture f;
        QTest::mouseDClick(&f.view, Qt::LeftButton, {}, f.at(f.find(f.movie)));
        QCOMPARE(f.model.focusedNode().get(), f.root.get());
        QTest::mouseDClick(&f.view, Qt::LeftButton, {}, f.at(f.find(f.docs)));
        QCOMPARE(f.model.focusedNode().get(), f.docs);
        QCOMPARE(f.model.history().size(), 2u);
        QTRY_VERIFY(!f.model.mapSelectionID()); // cleared after the focus moved
        QVERIFY(f.find(f.movie) < 0 && !f.view.segments().empty());
    }

    void hubTogglesFreeSpaceAtTheVolumeRootAndGoesUpElsewhere() {
        Fixture f;
        const auto freeSegment = [&] { return f.find([](auto& s) { return s.isFreeSpace; }); };
        QCOMPARE(freeSegment(), -1);
        f.click(f.centre().toPoint());
        QVERIFY(f.model.showFreeSpace());
        QVERIFY(freeSegment() >= 0);
        f.click(f.centre().toPoint());
        QVERIFY(!f.model.showFreeSpace());

        f.model.focus(f.docs);
        f.click(f.centre().toPoint());
        QCOMPARE(f.model.focusedNode().get(), f.root.get());
        QCOMPARE(f.model.history().size(), 3u); // root, docs, root
        QCOMPARE(f.model.historyIndex(), 2);
        QVERIFY(!f.model.showFreeSpace());
    }

    void cardsOpenAndCloseOnTheirSegments() {
        Fixture f;
        const int inaccessible = f.find([](auto& s) { return s.isInaccessibleSpace; });
        const int hidden = f.find([](auto& s) { return s.isHiddenAggregate; });
        QVERIFY(inaccessible >= 0 && hidden >= 0);
        MapInfoCard* card = f.view.inaccessibleCard();
        f.click(f.at(inaccessible));
        QVERIFY(card->isVisible());
        QCOMPARE(card->lines(), (QStringList{"Inaccessible Space",
                                             QString::fromStdString(formatByteCount(f.inaccessible)),
                                             "(3 items inaccessible due to permissions)"}));
        f.click(f.at(inaccessible));
        QVERIFY(!card->isVisible());

        MapInfoCard* hiddenCard = f.view.hiddenItemsCard();
        f.click(f.at(hidden));
        QVERIFY(hiddenCard->isVisible() && f.view.hiddenInfoParent() == f.root.get());
        const QStringList lines = hiddenCard->lines();
        QCOMPARE(lines.value(1),
                 "2 hidden items · " +
                     QString::fromStdString(formatByteCount(
                         test::at(f.root.get(), ".cache")->allocatedSize() +
                         test::at(f.root.get(), ".profile")->allocatedSize())));
        QVERIFY(lines.value(2).startsWith(".cache\t")); // largest first
        f.click(f.at(hidden));
        QVERIFY(!hiddenCard->isVisible());

        f.click(f.at(inaccessible)); // opening one closes the other; so does a click elsewhere
        f.click(f.at(hidden));
        QVERIFY(!card->isVisible() && hiddenCard->isVisible());
        f.click(QPoint(3, 3));
        QVERIFY(!hiddenCard->isVisible());
        f.click(f.at(inaccessible)); // and a change of focus
        f.model.focus(f.docs);
        QVERIFY(!card->isVisible());
    }

    void layoutRunsOnlyOnTheListedChanges() {
        Fixture f;
        QSignalSpy painted(&f.view, &ChartView::mapPainted);
        f.view.segments();
        const int initial = f.view.layoutCount();
        QCOMPARE(initial, 1);
        const QPoint movie = f.at(f.find(f.movie)), docs = f.at(f.find(f.docs));
        f.move(movie);
        QCOMPARE(f.model.highlightedNodeID(), f.movie->id());
        f.move(docs);
        f.click(docs);
        f.cleanup.add(f.movie->shared());
        f.view.grab();
        QVERIFY(!painted.isEmpty());
        QCOMPARE(painted.last()[0].toInt(), static_cast<int>(f.view.segments().size()));
        QCOMPARE(f.view.layoutCount(), initial);
        QEvent leave(QEvent::Leave);
        QCoreApplication::sendEvent(&f.view, &leave);
        QVERIFY(!f.model.highlightedNodeID());

        f.model.bumpTreeRevision();
        f.settings.setGroupHiddenItems(false); // two changes before the next paint: one layout
        f.view.grab();
        QCOMPARE(f.view.layoutCount(), initial + 1);
        QCOMPARE(f.find([](auto& s) { return s.isHiddenAggregate; }), -1);
        f.settings.setSmallerObjectsThresholdPercent(0.05);
        f.view.segments();
        f.model.setVisualizationMode(VisualizationMode::treemap);
        f.view.segments();
        QCOMPARE(f.view.layoutCount(), initial + 3);
    }

    // A narrow callout column shrinks the font before it cuts; cut names keep what
    // tells them apart (a file's extension, the start of the map's own labels).
    void calloutNamesShrinkBeforeTheyAreCut() {
        const SegmentLabel smaller{QStringLiteral("Smaller objects"), std::nullopt, true};
        const SegmentLabel file{QStringLiteral("holiday-photos-archive-2019.tar.gz"), {}, false};
        QFont font;
        QCOMPARE(SunburstPainter::fitCalloutName(smaller, 500, font), smaller.name);
        QCOMPARE(font.pixelSize(), 13);
        const double at11 = QFontMetricsF(mapdraw::font(11, QFont::Medium))
                                .horizontalAdvance(smaller.name);
        QCOMPARE(SunburstPainter::fitCalloutName(smaller, at11 + 0.5, font), smaller.name);
        QVERIFY(font.pixelSize() < 13);
        const QString cutLabel = SunburstPainter::fitCalloutName(smaller, at11 * 0.6, font);
        QVERIFY2(cutLabel.startsWith(QStringLiteral("Small")) && cutLabel.endsWith(QChar(0x2026)),
                 qPrintable(cutLabel));
        const QString cutFile = SunburstPainter::fitCalloutName(file, 80, font);
        QVERIFY2(cutFile.contains(QChar(0x2026)) && cutFile.endsWith(QStringLiteral(".gz")),
                 qPrintable(cutFile));
        QVERIFY(QFontMetricsF(font).horizontalAdvance(cutFile) <= 80);
    }

    void zeroWidthViewComputesNoLayoutUntilItGrows() {
        Fixture f(QSize(0, 400));
        f.model.focus(f.docs);
        QVERIFY(f.view.segments().empty());
        QCOMPARE(f.view.layoutCount(), 0);
        f.view.resize(400, 400);
        QCoreApplication::processEvents();
        QCOMPARE(f.view.segments().size(), 2u); // report and notes
        QCOMPARE(f.view.layoutCount(), 1);
        f.view.resize(0, 400); // the last segments stay
        QCOMPARE(f.view.segments().size(), 2u);
    }
};

QTEST_MAIN(ChartViewTest)
#include "ChartViewTest.moc"
