// Time of the list panels under the map on an in-memory tree of 1,000,000 entries with
// one folder of 100,000 files: focusing that folder with the folder list showing,
// sorting it by name and back by size, switching panels, and opening Biggest Files of
// the whole tree (its rebuild included). Each figure runs from the user's action to
// the end of the panel's repaint, offscreen at 1100 x 300; median and best of 7.
//
//   ringfold_list_panels_bench [--png OUTDIR]   (OUTDIR: screenshots of both panels)

#include "app/coordination/AppState.h"
#include "app/stores/FavoritesStore.h"
#include "app/viewmodels/BiggestFilesViewModel.h"
#include "app/viewmodels/FileListViewModel.h"
#include "app/window/MainWindowModel.h"
#include "core/model/Tree.h"
#include "ui/FileListModel.h"
#include "ui/FileListView.h"
#include "ui/NodeTableView.h"
#include "ui/PanelStack.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QSettings>
#include <QStyleFactory>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

using namespace ringfold;

namespace {

std::uint64_t g_state = 0x9E3779B97F4A7C15ull;
std::uint64_t nextRandom() {
    g_state ^= g_state >> 12;
    g_state ^= g_state << 25;
    g_state ^= g_state >> 27;
    return g_state * 0x2545F4914F6CDD1Dull;
}

struct BenchTree {
    NodePtr root;
    NodePtr huge; // the folder of 100,000 files
};

// 9 areas x 30 folders x ~3,300 files, plus "huge" with 100,000 files: 1,000,000 entries.
BenchTree makeTree() {
    auto tree = Tree::create();
    NodeAllocator alloc(*tree);
    char name[64];
    auto file = [&](int i) {
        const std::uint64_t r = nextRandom();
        std::snprintf(name, sizeof name, "%sitem %d.%s", r % 41 == 0 ? "." : "", i,
                      r % 3 == 0 ? "txt" : (r % 3 == 1 ? "jpg" : "dat"));
        const auto size = static_cast<std::int64_t>(r % 100 < 90 ? nextRandom() % 40000
                                                                 : nextRandom() % (64u << 20));
        NodeInit init;
        init.name = name;
        init.logicalSize = size;
        init.allocatedSize = (size + 4095) / 4096 * 4096;
        init.isHidden = name[0] == '.';
        init.modificationDate = 1'500'000'000 + static_cast<Timestamp>(nextRandom() % 300'000'000);
        return alloc.create(init);
    };
    auto folder = [&](FileNode* parent, const std::string& n) {
        NodeInit init;
        init.name = n;
        init.isDirectory = true;
        FileNode* f = alloc.create(init);
        if (parent)
            tree->appendChild(parent, f);
        return f;
    };
    FileNode* root = folder(nullptr, "bench");
    tree->setUrl(root, "/tmp/ringfold-panels-bench");
    long made = 1;
    std::vector<FileNode*> files;
    FileNode* huge = folder(root, "huge");
    for (int i = 0; i < 100'000; ++i, ++made)
        files.push_back(file(i));
    tree->linkChildren(huge, files);
    for (int a = 0; made < 1'000'000; ++a) {
        FileNode* area = folder(root, "area" + std::to_string(a));
        ++made;
        for (int b = 0; b < 30 && made < 1'000'000; ++b) {
            FileNode* set = folder(area, "set" + std::to_string(b));
            files.clear();
            for (int f = 0; f < 3300 && made < 1'000'000; ++f, ++made)
                files.push_back(file(f));
            tree->linkChildren(set, files);
            ++made;
        }
    }
    std::function<std::int64_t(FileNode*)> total = [&](FileNode* f) {
        std::int64_t a = 0, l = 0;
        for (FileNode* c : f->children()) {
            if (c->isDirectory())
                total(c);
            a += c->allocatedSize();
            l += c->logicalSize();
        }
        f->setAllocatedSize(a);
        f->setLogicalSize(l);
        return a;
    };
    total(root);
    std::printf("tree: %ld entries, %zu in the big folder\n", made, huge->childCount());
    return {tree->share(root), tree->share(huge)};
}

void report(const char* what, std::vector<double> ms, double budget) {
    std::sort(ms.begin(), ms.end());
    std::printf("%-46s median %7.1f ms  best %7.1f ms  (budget %3.0f ms)\n", what,
                ms[ms.size() / 2], ms.front(), budget);
}

} // namespace

int main(int argc, char** argv) {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    const char* pngDir = argc > 2 && std::strcmp(argv[1], "--png") == 0 ? argv[2] : nullptr;

    QTemporaryDir dir;
    QSettings settings(dir.filePath(QStringLiteral("bench.conf")), QSettings::IniFormat);
    QFile(dir.filePath(QStringLiteral("mountinfo"))).open(QIODevice::WriteOnly);
    AppState state(AppState::Options{
        std::make_unique<FavoritesStore>(dir.filePath(QStringLiteral("fav.json"))),
        {.mountInfoPath = dir.filePath(QStringLiteral("mountinfo")).toStdString(),
         .systemPaths = {},
         .watchVolumes = false},
        &settings});
    MainWindowModel model(state);
    PanelStack panels(model);
    panels.resize(1100, 300);
    panels.show();

    QElapsedTimer clock;
    clock.start();
    const BenchTree tree = makeTree();
    std::printf("tree built in %.0f ms\n", double(clock.elapsed()));
    state.chart().setRoot(tree.root, std::nullopt, false);
    QCoreApplication::processEvents();

    auto timed = [&](auto&& action) {
        clock.restart();
        action();
        QCoreApplication::processEvents();
        panels.repaint();
        return double(clock.nsecsElapsed()) / 1e6;
    };
    auto* list = static_cast<FileListView*>(panels.panel(MainWindowModel::Panel::folder));
    QHeaderView* header = list->table()->header();
    std::vector<double> focus, byName, bySize, toBiggest, toFolder, biggest;
    for (int i = 0; i < 7; ++i) {
        state.chart().focus(tree.root);
        QCoreApplication::processEvents();
        focus.push_back(timed([&] { state.chart().focus(tree.huge); }));
        byName.push_back(timed(
            [&] { header->setSortIndicator(FileListModel::NameColumn, Qt::AscendingOrder); }));
        bySize.push_back(timed(
            [&] { header->setSortIndicator(FileListModel::SizeColumn, Qt::DescendingOrder); }));
        toBiggest.push_back(
            timed([&] { model.setActivePanel(MainWindowModel::Panel::biggestFiles); }));
        toFolder.push_back(timed([&] { model.setActivePanel(MainWindowModel::Panel::folder); }));
        model.biggestFiles().rebuild(nullptr, 200);
        biggest.push_back(timed([&] {
            model.biggestFiles().rebuild(tree.root, state.settings().biggestFilesLimit());
            model.setActivePanel(MainWindowModel::Panel::biggestFiles);
        }));
        model.setActivePanel(MainWindowModel::Panel::folder);
    }
    {
        // The view model alone, without a table attached: what the sort itself costs.
        FileListViewModel alone;
        alone.update(tree.huge, 0.0, true, true);
        std::vector<double> name, size;
        for (int i = 0; i < 7; ++i) {
            clock.restart();
            alone.setSortOrder({{FileSortDescriptor::Key::name, true}});
            name.push_back(double(clock.nsecsElapsed()) / 1e6);
            clock.restart();
            alone.setSortOrder({{FileSortDescriptor::Key::size, false}});
            size.push_back(double(clock.nsecsElapsed()) / 1e6);
        }
        report("  view model only: sort by name", name, 100);
        report("  view model only: sort by size", size, 100);
    }
    report("focus a 100,000-child folder (folder list)", focus, 100);
    report("sort it by name", byName, 100);
    report("sort it by size", bySize, 100);
    report("switch to Biggest Files", toBiggest, 100);
    report("switch to Folder", toFolder, 100);
    report("open Biggest Files of 1M entries (rebuild)", biggest, 150);

    if (pngDir) {
        const QString out = QString::fromLocal8Bit(pngDir);
        panels.resize(1100, 420);
        state.chart().focus(tree.root);
        state.settings().setSmallerObjectsThresholdPercent(0.01);
        model.setActivePanel(MainWindowModel::Panel::folder);
        QCoreApplication::processEvents();
        panels.grab().save(out + QStringLiteral("/panel-folder.png"));
        model.setActivePanel(MainWindowModel::Panel::biggestFiles);
        QCoreApplication::processEvents();
        panels.grab().save(out + QStringLiteral("/panel-biggest.png"));
    }
    return 0;
}
