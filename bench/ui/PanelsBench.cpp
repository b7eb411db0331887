// Cost of opening the categories panel over a large tree: the summary walk a new root
// triggers (the whole tree, once per root), building and showing the panel with its
// first frame, and both together as a user meets them the first time. The tree is
// built in memory (1,000,000 entries by default, of every category) or scanned from a
// real folder with --tree DIR.
//
//   ringfold_panels_bench [--tree DIR] [--entries N] [benchmark flags]
//   ringfold_panels_bench [--tree DIR] --png OUTDIR   (screenshots of both panels)

#include "app/coordination/AppState.h"
#include "app/viewmodels/CategoriesViewModel.h"
#include "app/viewmodels/SystemJunkViewModel.h"
#include "app/window/MainWindowModel.h"
#include "core/model/Tree.h"
#include "core/scan/ScanEngine.h"
#include "ui/CategoriesItemModel.h"
#include "ui/CategoriesView.h"
#include "ui/Palettes.h"
#include "ui/SystemJunkView.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFuture>
#include <QImage>
#include <QSettings>
#include <QStyleFactory>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>
#include <QTreeView>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

namespace ringfold {
namespace {

std::uint64_t g_state = 0x9E3779B97F4A7C15ull;
std::uint64_t nextRandom() {
    g_state ^= g_state >> 12;
    g_state ^= g_state << 25;
    g_state ^= g_state >> 27;
    return g_state * 0x2545F4914F6CDD1Dull;
}

std::int64_t totalFolders(FileNode* folder) {
    std::int64_t a = 0, l = 0;
    for (FileNode* c : folder->children()) {
        if (c->isDirectory() && c->hasChildren())
            totalFolders(c);
        a += c->allocatedSize();
        l += c->logicalSize();
    }
    folder->setAllocatedSize(a);
    folder->setLogicalSize(l);
    return a;
}

// Folders of 100 files each, extensions from every category, one package folder per
// 50 folders (counted as one item, never entered).
NodePtr benchTree(long entries) {
    static const char* kExtensions[] = {"jpg", "png",  "mp4", "mov", "mp3", "flac",
                                        "pdf", "docx", "zip", "tar", "cpp", "h",
                                        "log", "db",   "dat", "bin", "txt", "json"};
    auto tree = Tree::create();
    NodeAllocator alloc(*tree);
    auto make = [&](const std::string& name, bool dir, std::int64_t size = 0) {
        NodeInit init;
        init.name = name;
        init.isDirectory = dir;
        init.logicalSize = size;
        init.allocatedSize = (size + 4095) / 4096 * 4096;
        return alloc.create(init);
    };
    FileNode* root = make("bench-tree", true);
    tree->setUrl(root, "/tmp/bench-tree");
    long made = 1;
    for (int a = 0; made < entries; ++a) {
        FileNode* area = make("area" + std::to_string(a), true);
        tree->appendChild(root, area);
        ++made;
        for (int d = 0; d < 100 && made < entries; ++d) {
            const bool package = d % 50 == 49;
            FileNode* folder = make("dir" + std::to_string(d) + (package ? ".app" : ""), true);
            tree->appendChild(area, folder);
            ++made;
            std::vector<FileNode*> files;
            for (int f = 0; f < 100 && made < entries; ++f, ++made) {
                const std::uint64_t r = nextRandom();
                const auto size = std::int64_t(r % 100 < 90 ? r % 65536 : r % (64u << 20));
                files.push_back(
                    make("file" + std::to_string(f) + "." + kExtensions[r % std::size(kExtensions)],
                         false, size));
            }
            tree->linkChildren(folder, files);
        }
    }
    totalFolders(root);
    return tree->share(root);
}

NodePtr g_root;

// The window's models over a private settings file and favourites, with junk lookups
// that answer at once: the panels see what they see in the program.
struct Window {
    QTemporaryDir dir;
    QSettings settings{dir.filePath("bench.conf"), QSettings::IniFormat};
    std::unique_ptr<AppState> app;
    std::unique_ptr<MainWindowModel> model;

    explicit Window(std::string home = "/nonexistent-home") {
        QFile(dir.filePath("mountinfo")).open(QIODevice::WriteOnly);
        app = std::make_unique<AppState>(
            AppState::Options{std::make_unique<FavoritesStore>(dir.filePath("favorites.json")),
                              {.mountInfoPath = dir.filePath("mountinfo").toStdString(),
                               .systemPaths = {},
                               .watchVolumes = false},
                              &settings});
        auto junk = std::make_unique<SystemJunkViewModel>(
            [](std::vector<std::string> candidates) {
                SystemJunkViewModel::Orphans gone; // names with "gone" are uninstalled apps
                for (const std::string& c : candidates)
                    if (c.find("gone") != std::string::npos)
                        gone.bundleIDs.insert(c), gone.flatpakIDs.insert(c);
                return QtFuture::makeReadyFuture(gone);
            },
            [home] { return JunkPlaces::forHome(home); },
            [] { return Timestamp(std::time(nullptr)); });
        model = std::make_unique<MainWindowModel>(*app, MainWindowModel::Options{std::move(junk)});
    }
};

void BM_CategorySummaries(benchmark::State& state) {
    CategoriesViewModel vm;
    for (auto _ : state) {
        vm.update(nullptr);
        vm.update(g_root);
    }
    state.counters["categories"] = double(vm.summaries().size());
}

// The panel built, shown and painted once, with its largest category expanded.
void openPanel(Window& w, QImage& image) {
    CategoriesView view(*w.model);
    view.resize(900, 320);
    view.show();
    QTest::mouseClick(view.list()->viewport(), Qt::LeftButton, {},
                      view.list()->visualRect(view.itemModel()->index(0, 0)).center());
    view.render(&image);
}

void BM_OpenCategoriesPanel(benchmark::State& state) {
    Window w;
    w.model->categories().update(g_root);
    QImage image(900, 320, QImage::Format_ARGB32_Premultiplied);
    for (auto _ : state)
        openPanel(w, image);
}

void BM_SummariesAndOpenPanel(benchmark::State& state) {
    Window w;
    QImage image(900, 320, QImage::Format_ARGB32_Premultiplied);
    for (auto _ : state) {
        w.model->categories().update(nullptr);
        w.model->categories().update(g_root);
        openPanel(w, image);
    }
}

BENCHMARK(BM_CategorySummaries)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();
BENCHMARK(BM_OpenCategoriesPanel)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();
BENCHMARK(BM_SummariesAndOpenPanel)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();

std::optional<ScanResult> scan(const std::string& path) {
    ScanEngine engine(ScanSourceKind::favoriteFolder, activeProcessorCount(),
                      ScanEngine::Options{0, nullptr});
    return engine.scan(path);
}

// A home folder with junk of every tier, written to disk and scanned for real.
std::string writeJunkHome(const QString& base) {
    struct Entry {
        const char* path;
        int kib;
        int ageDays;
    };
    const Entry entries[] = {
        {".local/state/gnome-shell/shell.log.1", 420, 3},
        {".local/state/gnome-shell/shell.log.2.gz", 96, 9},
        {".local/state/wireplumber/wireplumber.log", 12, 0},
        {".local/share/xorg/Xorg.0.log.old", 64, 20},
        {".cache/thumbnails/large/a.png", 2400, 1},
        {".cache/thumbnails/normal/b.png", 900, 1},
        {".cache/mesa_shader_cache/index", 5200, 40},
        {".cache/fontconfig/cache-1", 300, 60},
        {".cache/pip/http/wheel", 18000, 2},
        {".cache/go-build/ab/cd", 7400, 2},
        {".config/org.gone.Player/settings.ini", 4, 200},
        {".var/app/org.gone.Editor/cache/blob", 1600, 120},
        {".xsession-errors.old", 32, 5},
    };
    const std::time_t now = std::time(nullptr);
    for (const Entry& e : entries) {
        const QString path = base + QLatin1Char('/') + QString::fromLatin1(e.path);
        QDir().mkpath(QFileInfo(path).path());
        QFile f(path);
        f.open(QIODevice::WriteOnly);
        f.write(QByteArray(e.kib * 1024, 'x'));
        const QDateTime when = QDateTime::fromSecsSinceEpoch(now - e.ageDays * 86400);
        f.setFileTime(when, QFileDevice::FileModificationTime);
        f.close();
        // Folders the rules list as one item carry their newest child's age.
        for (QString dir = QFileInfo(path).path(); dir.startsWith(base) && dir != base;
             dir = QFileInfo(dir).path()) {
            QFile d(dir);
            if (d.open(QIODevice::ReadOnly))
                d.setFileTime(when, QFileDevice::FileModificationTime);
        }
    }
    return QFile::encodeName(base).toStdString();
}

void shoot(QWidget& panel, const QString& name, bool dark) {
    // As the program does it: the whole application switches palettes.
    QApplication::setPalette(paletteFor(dark ? ColorScheme::dark : ColorScheme::light));
    panel.setAutoFillBackground(true);
    panel.resize(900, 360);
    panel.show();
    QCoreApplication::processEvents();
    panel.grab().save(name);
    std::printf("%s\n", qPrintable(name));
}

int renderPngs(const QString& out) {
    QDir().mkpath(out);
    QTemporaryDir homeDir;
    const std::string home = writeJunkHome(homeDir.path());
    for (bool dark : {false, true}) {
        const QString scheme = dark ? QStringLiteral("dark") : QStringLiteral("light");
        {
            Window w;
            w.app->chart().setRoot(g_root, std::nullopt, false);
            CategoriesView view(*w.model);
            shoot(view, out + "/categories-collapsed-" + scheme + ".png", dark);
            QTest::mouseClick(view.list()->viewport(), Qt::LeftButton, {},
                              view.list()->visualRect(view.itemModel()->index(0, 0)).center());
            const QModelIndex first = view.itemModel()->index(0, 0, view.itemModel()->index(0, 0));
            w.app->cleanupList().add(view.itemModel()->node(first)->shared());
            w.model->setSelectedNode(
                view.itemModel()
                    ->node(view.itemModel()->index(2, 0, view.itemModel()->index(0, 0)))
                    ->shared());
            shoot(view, out + "/categories-" + scheme + ".png", dark);
        }
        Window w(home);
        const auto result = scan(home);
        w.app->sidebar().setSelectedSourceID(w.app->sidebar().thisComputer().id);
        w.app->chart().setRoot(result->root, std::nullopt, false);
        SystemJunkView view(*w.model);
        if (!QTest::qWaitFor([&] { return view.page() == SystemJunkView::Page::junk; }, 2000))
            std::printf("the junk panel shows no junk\n");
        view.legendButton()->click();
        shoot(view, out + "/junk-" + scheme + ".png", dark);
        w.app->sidebar().setSelectedSourceID(std::nullopt);
        shoot(view, out + "/junk-other-source-" + scheme + ".png", dark);
    }
    return 0;
}

} // namespace
} // namespace ringfold

int main(int argc, char** argv) {
    QString png, treeDir;
    long entries = 1'000'000;
    std::vector<char*> rest{argv[0]};
    for (int i = 1; i < argc; ++i) {
        if (!std::strcmp(argv[i], "--png") && i + 1 < argc)
            png = QString::fromLocal8Bit(argv[++i]);
        else if (!std::strcmp(argv[i], "--tree") && i + 1 < argc)
            treeDir = QString::fromLocal8Bit(argv[++i]);
        else if (!std::strcmp(argv[i], "--entries") && i + 1 < argc)
            entries = std::atol(argv[++i]);
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
        g_root = benchTree(entries);
    } else if (auto result = scan(QFile::encodeName(treeDir).toStdString())) {
        g_root = result->root;
    } else {
        return 1;
    }
    if (!png.isEmpty())
        return renderPngs(png);

    int benchArgc = static_cast<int>(rest.size());
    benchmark::Initialize(&benchArgc, rest.data());
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
