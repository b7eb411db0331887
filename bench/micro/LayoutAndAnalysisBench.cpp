// Map layouts and whole-tree walks over a synthetic tree of 1,000,000 nodes held in
// memory: 20 x 20 x 20 folders holding about 111 files each, some hidden items and
// packages, plus one folder with 100,000 direct children.
//
//   ringfold_micro_bench --benchmark_filter='Layout|Walk'

#include "core/analysis/BiggestFiles.h"
#include "core/analysis/CategorySummarizer.h"
#include "core/layout/SunburstLayoutEngine.h"
#include "core/layout/TreemapLayoutEngine.h"
#include "core/model/Tree.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace ringfold {
namespace {

constexpr std::size_t kTotalNodes = 1'000'000;
constexpr std::size_t kHugeChildren = 100'000;

struct SyntheticTree {
    std::shared_ptr<Tree> tree;
    FileNode* root = nullptr;
    FileNode* huge = nullptr;
};

std::int64_t totalSizes(FileNode* folder) {
    // Post-order without recursion: children are summed before their folder.
    std::vector<FileNode*> order;
    std::vector<FileNode*> stack{folder};
    while (!stack.empty()) {
        FileNode* n = stack.back();
        stack.pop_back();
        order.push_back(n);
        for (FileNode* c : n->children())
            if (c->isDirectory())
                stack.push_back(c);
    }
    for (auto it = order.rbegin(); it != order.rend(); ++it) {
        std::int64_t a = 0, l = 0;
        for (FileNode* c : (*it)->children()) {
            a += c->allocatedSize();
            l += c->logicalSize();
        }
        (*it)->setAllocatedSize(a);
        (*it)->setLogicalSize(l);
    }
    return folder->allocatedSize();
}

const SyntheticTree& syntheticTree() {
    static const SyntheticTree built = [] {
        SyntheticTree s;
        s.tree = Tree::create();
        NodeAllocator alloc(*s.tree);
        std::mt19937_64 rng(42);
        std::lognormal_distribution<double> sizeDist(9.0, 2.5); // median ~8 KB, long tail
        const std::array<const char*, 10> exts = {".jpg", ".txt", ".mp4", ".cpp", ".log",
                                                  ".zip", ".pdf", ".mp3", "",     ".dat"};
        std::size_t made = 0;
        auto make = [&](std::string_view name, bool dir, bool hidden = false) {
            NodeInit init;
            init.name = name;
            init.isDirectory = dir;
            init.isHidden = hidden;
            if (!dir) {
                const auto size = static_cast<std::int64_t>(sizeDist(rng)) / 4096 * 4096;
                init.allocatedSize = size;
                init.logicalSize = size;
                init.modificationDate = 1'600'000'000 + static_cast<std::int64_t>(made);
            }
            ++made;
            return alloc.create(init);
        };
        auto link = [&](FileNode* parent, const std::vector<FileNode*>& kids) {
            s.tree->linkChildren(parent, kids, nullptr);
        };

        s.root = make("root", true);
        s.tree->setUrl(s.root, "/synthetic");
        std::vector<FileNode*> top;
        s.huge = make("huge", true);
        top.push_back(s.huge);
        std::vector<FileNode*> kids;
        kids.reserve(kHugeChildren);
        for (std::size_t i = 0; i < kHugeChildren; ++i)
            kids.push_back(make("item" + std::to_string(i) + exts[i % exts.size()], false));
        link(s.huge, kids);

        std::vector<FileNode*> leaves;
        for (int a = 0; a < 20; ++a) {
            FileNode* da = make("dir" + std::to_string(a), true, a == 19);
            top.push_back(da);
            std::vector<FileNode*> lb;
            for (int b = 0; b < 20; ++b) {
                FileNode* db = make("sub" + std::to_string(b) + (b == 7 ? ".app" : ""), true);
                lb.push_back(db);
                std::vector<FileNode*> lc;
                for (int c = 0; c < 20; ++c) {
                    FileNode* dc = make("leaf" + std::to_string(c), true);
                    lc.push_back(dc);
                    leaves.push_back(dc);
                }
                link(db, lc);
            }
            link(da, lb);
        }
        link(s.root, top);

        const std::size_t remaining = kTotalNodes - made;
        const std::size_t per = remaining / leaves.size();
        std::size_t extra = remaining % leaves.size();
        for (FileNode* leaf : leaves) {
            const std::size_t n = per + (extra ? 1 : 0);
            if (extra)
                --extra;
            kids.clear();
            for (std::size_t i = 0; i < n; ++i)
                kids.push_back(make(std::string(i % 17 == 0 ? "." : "") + "f" + std::to_string(i) +
                                        exts[i % exts.size()],
                                    false, i % 17 == 0));
            link(leaf, kids);
        }
        totalSizes(s.root);
        return s;
    }();
    return built;
}

const MapRect kView{0, 0, 1200, 900};

void BM_Layout_SunburstRoot(benchmark::State& state) {
    const auto& s = syntheticTree();
    const SunburstLayoutEngine engine(0.0, true);
    std::size_t segments = 0;
    for (auto _ : state) {
        auto segs = engine.layout(*s.root, std::nullopt, kView);
        segments = segs.size();
        benchmark::DoNotOptimize(segs.data());
    }
    state.counters["segments"] = static_cast<double>(segments);
    state.counters["nodes"] = static_cast<double>(s.tree->nodeCount());
}

void BM_Layout_SunburstRootVolume(benchmark::State& state) {
    const auto& s = syntheticTree();
    const SunburstLayoutEngine engine(0.0, true);
    const std::int64_t used = s.root->allocatedSize();
    const VolumeAccounting volume{{used * 3, used, used, 0}, true};
    for (auto _ : state) {
        auto segs = engine.layout(*s.root, volume, kView);
        benchmark::DoNotOptimize(segs.data());
    }
}

void BM_Layout_TreemapRoot(benchmark::State& state) {
    const auto& s = syntheticTree();
    const TreemapLayoutEngine engine(0.0, true);
    for (auto _ : state) {
        auto segs = engine.layout(*s.root, std::nullopt, {12, 12, 1176, 876});
        benchmark::DoNotOptimize(segs.data());
    }
}

void BM_Layout_SunburstHugeFolder(benchmark::State& state) {
    const auto& s = syntheticTree();
    const SunburstLayoutEngine engine(0.0, true);
    std::size_t segments = 0;
    for (auto _ : state) {
        auto segs = engine.layout(*s.huge, std::nullopt, kView);
        segments = segs.size();
        benchmark::DoNotOptimize(segs.data());
    }
    state.counters["segments"] = static_cast<double>(segments);
}

void BM_Layout_TreemapHugeFolder(benchmark::State& state) {
    const auto& s = syntheticTree();
    const TreemapLayoutEngine engine(0.0, true);
    std::size_t segments = 0;
    for (auto _ : state) {
        auto segs = engine.layout(*s.huge, std::nullopt, {12, 12, 1176, 876});
        segments = segs.size();
        benchmark::DoNotOptimize(segs.data());
    }
    state.counters["segments"] = static_cast<double>(segments);
}

void BM_Walk_BiggestFiles200(benchmark::State& state) {
    const auto& s = syntheticTree();
    for (auto _ : state) {
        auto entries = BiggestFiles::find(*s.root, 200);
        benchmark::DoNotOptimize(entries.data());
    }
}

void BM_Walk_CategorySummary(benchmark::State& state) {
    const auto& s = syntheticTree();
    for (auto _ : state) {
        auto report = CategorySummarizer::summarize(*s.root);
        benchmark::DoNotOptimize(report.summaries.data());
    }
}

BENCHMARK(BM_Layout_SunburstRoot)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Layout_SunburstRootVolume)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Layout_TreemapRoot)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Layout_SunburstHugeFolder)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Layout_TreemapHugeFolder)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Walk_BiggestFiles200)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Walk_CategorySummary)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace ringfold
