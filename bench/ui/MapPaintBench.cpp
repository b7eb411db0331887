// Paint cost of the map widget at 1400 x 900: a full paint of the sunburst and the
// treemap of a tree's root (layout cached, picture rebuilt), a repaint after a hover
// or selection change (cached picture plus overlay), and a paint after a tree change
// (layout included). One 60 Hz frame is 16.7 ms; hover must stay under 4 ms.
//
// The tree is an in-memory twin of bench/tools/ringfold_bench_tree's (300,000
// entries, same shape, names and sizes), or a real folder scanned with --tree DIR.
//
//   ringfold_map_bench [--tree DIR] [--scale 2] [benchmark flags]
//   ringfold_map_bench [--tree DIR] [--scale 2] --png OUTDIR   (renders screenshots)
//   ringfold_map_bench [--tree DIR] --frames N full|layout|hover   (N paints after one
//       warm-up, for a profiler: perf record, valgrind --tool=callgrind)

#include "app/stores/CleanupListStore.h"
#include "app/stores/SettingsStore.h"
#include "app/viewmodels/ChartViewModel.h"
#include "core/model/DisplayGrouping.h"
#include "core/model/Tree.h"
#include "core/scan/ScanEngine.h"
#include "ui/ChartView.h"

#include <QApplication>
#include <QDir>
#include <QImage>
#include <QPainter>
#include <QSettings>
#include <QStyleFactory>
#include <QTemporaryDir>
#include <QTest>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace ringfold {
namespace {

std::uint64_t g_state = 0x2545F4914F6CDD1Dull;
std::uint64_t nextRandom() { // the same sequence as ringfold_bench_tree
    g_state ^= g_state >> 12;
    g_state ^= g_state << 25;
    g_state ^= g_state >> 27;
    return g_state * 0x2545F4914F6CDD1Dull;
}

std::int64_t totalFolders(FileNode* folder) {
    std::int64_t a = 0, l = 0;
    for (FileNode* c : folder->children()) {
        if (c->isDirectory())
            totalFolders(c);
        a += c->allocatedSize();
        l += c->logicalSize();
    }
    folder->setAllocatedSize(a);
    folder->setLogicalSize(l);
    return a;
}

NodePtr benchTreeTwin(long entries) {
    auto tree = Tree::create();
    NodeAllocator alloc(*tree);
    auto make = [&](const std::string& name, bool dir, std::int64_t size = 0) {
        NodeInit init;
        init.name = name;
        init.isDirectory = dir;
        init.isHidden = name.front() == '.';
        init.logicalSize = size;
        init.allocatedSize = (size + 4095) / 4096 * 4096;
        return alloc.create(init);
    };
    FileNode* root = make("bench-tree", true);
    tree->setUrl(root, "/tmp/bench-tree");
    long made = 0;
    for (int a = 0; made < entries; ++a) {
        FileNode* da = make("area" + std::to_string(a), true);
        tree->appendChild(root, da);
        ++made;
        for (int b = 0; b < 20 && made < entries; ++b) {
            FileNode* db = make("group" + std::to_string(b), true);
            tree->appendChild(da, db);
            ++made;
            for (int c = 0; c < 8 && made < entries; ++c) {
                FileNode* dc = make("set" + std::to_string(c), true);
                tree->appendChild(db, dc);
                ++made;
                std::vector<FileNode*> files;
                const int n = 60 + static_cast<int>(nextRandom() % 80);
                for (int f = 0; f < n && made < entries; ++f, ++made) {
                    const std::uint64_t r = nextRandom();
                    const std::uint64_t size = (r % 100) < 70   ? nextRandom() % 2048
                                               : (r % 100) < 95 ? 2048 + nextRandom() % 30000
                                                                : 32768 + nextRandom() % (4u << 20);
                    char name[64];
                    std::snprintf(name, sizeof name, "%sfile_%05d.%s", (r % 37 == 0) ? "." : "",
                                  f, (r % 3 == 0) ? "txt" : (r % 3 == 1 ? "jpg" : "dat"));
                    files.push_back(make(name, false, static_cast<std::int64_t>(size)));
                }
                tree->linkChildren(dc, files);
            }
        }
    }
    totalFolders(root);
    return tree->share(root);
}

struct Fixture {
    QTemporaryDir settingsDir;
    QSettings settingsFile{settingsDir.filePath("bench.conf"), QSettings::IniFormat};
    SettingsStore settings{&settingsFile};
    ChartViewModel model;
    CleanupListStore cleanup{&settings};
    ChartView view{model, cleanup, settings};
    NodePtr root;
    std::optional<SpaceAccounting> accounting;

    void show(VisualizationMode mode) {
        model.setVisualizationMode(mode);
        model.setRoot(root, accounting, accounting.has_value());
        view.resize(1400, 900);
        view.show();
        QCoreApplication::processEvents();
    }
};

NodePtr g_root;
std::optional<SpaceAccounting> g_accounting;

QImage frame() {
    const qreal dpr = qApp->devicePixelRatio();
    QImage image(QSize(1400, 900) * dpr, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(dpr);
    return image;
}

// A node id on the first ring that a click could select: the hover and selection target.
std::vector<NodeID> plainIDs(ChartView& view) {
    std::vector<NodeID> ids;
    for (const MapSegment& s : view.segments())
        if (s.isPlainItem() && ids.size() < 32)
            ids.push_back(s.node->id());
    return ids;
}

void fullPaint(benchmark::State& state, VisualizationMode mode) {
    Fixture f;
    f.root = g_root;
    f.show(mode);
    QImage image = frame();
    const auto ids = plainIDs(f.view);
    const int layouts = f.view.layoutCount();
    std::size_t i = 0;
    for (auto _ : state) {
        // Marking an item on the cleanup list redraws the whole picture, not the layout.
        f.cleanup.toggle(f.view.segments()[i++ % ids.size()].node);
        f.view.render(&image);
    }
    if (f.view.layoutCount() != layouts)
        state.SkipWithError("a paint ran the layout");
    state.counters["segments"] = static_cast<double>(f.view.segments().size());
}

void hoverPaint(benchmark::State& state, VisualizationMode mode, bool selection) {
    Fixture f;
    f.root = g_root;
    f.show(mode);
    QImage image = frame();
    f.view.render(&image);
    const auto ids = plainIDs(f.view);
    const int layouts = f.view.layoutCount();
    std::size_t i = 0;
    for (auto _ : state) {
        const NodeID id = ids[i++ % ids.size()];
        if (selection)
            f.model.setMapSelectionID(id);
        else
            f.model.setHighlightedNodeID(id);
        f.view.render(&image);
    }
    if (f.view.layoutCount() != layouts)
        state.SkipWithError("a hover ran the layout");
}

void layoutAndPaint(benchmark::State& state, VisualizationMode mode) {
    Fixture f;
    f.root = g_root;
    f.show(mode);
    QImage image = frame();
    for (auto _ : state) {
        f.model.bumpTreeRevision();
        f.view.render(&image);
    }
}

void BM_FullPaint_Sunburst(benchmark::State& s) { fullPaint(s, VisualizationMode::sunburst); }
void BM_FullPaint_Treemap(benchmark::State& s) { fullPaint(s, VisualizationMode::treemap); }
void BM_Hover_Sunburst(benchmark::State& s) { hoverPaint(s, VisualizationMode::sunburst, false); }
void BM_Hover_Treemap(benchmark::State& s) { hoverPaint(s, VisualizationMode::treemap, false); }
void BM_Select_Sunburst(benchmark::State& s) { hoverPaint(s, VisualizationMode::sunburst, true); }
void BM_Select_Treemap(benchmark::State& s) { hoverPaint(s, VisualizationMode::treemap, true); }
void BM_LayoutAndPaint_Sunburst(benchmark::State& s) {
    layoutAndPaint(s, VisualizationMode::sunburst);
}
void BM_LayoutAndPaint_Treemap(benchmark::State& s) {
    layoutAndPaint(s, VisualizationMode::treemap);
}
BENCHMARK(BM_FullPaint_Sunburst)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();
BENCHMARK(BM_FullPaint_Treemap)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();
BENCHMARK(BM_Hover_Sunburst)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();
BENCHMARK(BM_Hover_Treemap)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();
BENCHMARK(BM_Select_Sunburst)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();
BENCHMARK(BM_Select_Treemap)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();
BENCHMARK(BM_LayoutAndPaint_Sunburst)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();
BENCHMARK(BM_LayoutAndPaint_Treemap)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();

QPalette palette(bool dark) {
    QPalette p;
    const QColor window = dark ? QColor(0x1e, 0x1f, 0x22) : QColor(0xf3, 0xf3, 0xf5);
    const QColor text = dark ? QColor(0xf2, 0xf2, 0xf2) : QColor(0x1d, 0x1d, 0x1f);
    p.setColor(QPalette::Window, window);
    p.setColor(QPalette::WindowText, text);
    p.setColor(QPalette::Base, dark ? QColor(0x2a, 0x2b, 0x2f) : QColor(Qt::white));
    p.setColor(QPalette::Text, text);
    p.setColor(QPalette::Highlight, dark ? QColor(0x3d, 0x8b, 0xfd) : QColor(0x0a, 0x64, 0xd8));
    return p;
}

// Screenshots of both modes in both palettes, with a selection, a hover, cleanup
// checkmarks and (where the tree has them) the cards.
int renderPngs(const QString& dir) {
    QDir().mkpath(dir);
    for (bool dark : {false, true}) {
        for (auto mode : {VisualizationMode::sunburst, VisualizationMode::treemap}) {
            Fixture f;
            f.root = g_root;
            f.accounting = g_accounting;
            f.view.setPalette(palette(dark));
            f.model.setShowFreeSpace(true);
            f.show(mode);
            f.model.setShowFreeSpace(true);
            std::vector<const MapSegment*> plain;
            const MapSegment* hidden = nullptr;
            for (const MapSegment& s : f.view.segments()) {
                if (s.isPlainItem() && s.depth == 1)
                    plain.push_back(&s);
                if (s.isHiddenAggregate && !hidden)
                    hidden = &s;
            }
            if (plain.size() > 3) {
                f.cleanup.add(plain[2]->node);
                f.cleanup.add(plain[3]->node);
                f.model.setMapSelectionID(plain[0]->node->id());
                f.model.setHighlightedNodeID(plain[1]->node->id());
            }
            const QString name = QStringLiteral("%1/%2-%3")
                                     .arg(dir, mode == VisualizationMode::sunburst
                                                   ? QStringLiteral("sunburst")
                                                   : QStringLiteral("treemap"),
                                          dark ? QStringLiteral("dark") : QStringLiteral("light"));
            QImage image = frame();
            f.view.render(&image);
            image.save(name + ".png");
            if (hidden) { // the hidden items card over the same map
                f.view.segments();
                QPointF at;
                if (hidden->rect)
                    at = QPointF(hidden->rect->x + 2, hidden->rect->y + 2);
                else {
                    const double mid = (hidden->startAngle + hidden->endAngle) / 2;
                    const double r = (hidden->innerRadius + hidden->outerRadius) / 2;
                    at = QPointF(700 + r * std::cos(mid), 450 + r * std::sin(mid));
                }
                QTest::mouseClick(&f.view, Qt::LeftButton, {}, at.toPoint());
                f.view.render(&image);
                image.save(name + "-card.png");
            }
            std::printf("%s: %zu segments\n", qPrintable(name), f.view.segments().size());
        }
    }
    return 0;
}

// A fixed number of sunburst paints of one kind, with no timing of its own.
int paintFrames(int frames, const std::string& kind) {
    Fixture f;
    f.root = g_root;
    f.show(VisualizationMode::sunburst);
    QImage image = frame();
    f.view.render(&image);
    const auto ids = plainIDs(f.view);
    for (int i = 0; i < frames; ++i) {
        const auto id = ids[static_cast<std::size_t>(i) % ids.size()];
        if (kind == "full")
            f.cleanup.toggle(f.view.segments()[static_cast<std::size_t>(i) % ids.size()].node);
        else if (kind == "layout")
            f.model.bumpTreeRevision();
        else if (kind == "hover")
            f.model.setHighlightedNodeID(id);
        else
            return 2;
        f.view.render(&image);
    }
    return 0;
}

} // namespace
} // namespace ringfold

int main(int argc, char** argv) {
    QString png, treeDir;
    int frames = 0;
    std::string frameKind;
    std::vector<char*> rest{argv[0]};
    for (int i = 1; i < argc; ++i) {
        if (!std::strcmp(argv[i], "--png") && i + 1 < argc)
            png = QString::fromLocal8Bit(argv[++i]);
        else if (!std::strcmp(argv[i], "--tree") && i + 1 < argc)
            treeDir = QString::fromLocal8Bit(argv[++i]);
        else if (!std::strcmp(argv[i], "--frames") && i + 2 < argc) {
            frames = std::atoi(argv[++i]);
            frameKind = argv[++i];
        } else if (!std::strcmp(argv[i], "--scale") && i + 1 < argc)
            qputenv("QT_SCALE_FACTOR", argv[++i]);
        else
            rest.push_back(argv[i]);
    }
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    int qtArgc = 1;
    QApplication app(qtArgc, argv);
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));

    using namespace ringfold;
    if (treeDir.isEmpty()) {
        g_root = benchTreeTwin(300000);
    } else {
        ScanEngine engine(ScanSourceKind::favoriteFolder, activeProcessorCount(),
                          ScanEngine::Options{0, nullptr});
        auto result = engine.scan(QFile::encodeName(treeDir).toStdString());
        if (!result)
            return 1;
        g_root = result->root;
        // Shown as a whole volume, so the first ring also carries inaccessible and
        // free space: what a scan of "/" looks like.
        SpaceAccounting a = result->accounting;
        a.enumeratedAllocatedSize = g_root->allocatedSize();
        a.volumeTotalCapacity = g_root->allocatedSize() * 2;
        a.volumeAvailableCapacity = g_root->allocatedSize() * 3 / 4;
        a.restrictedPathCount = 12;
        g_accounting = a;
    }
    if (!png.isEmpty())
        return renderPngs(png);
    if (frames > 0)
        return paintFrames(frames, frameKind);

    int benchArgc = static_cast<int>(rest.size());
    benchmark::Initialize(&benchArgc, rest.data());
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
