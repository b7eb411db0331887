#pragma once
// One running operation as its worker thread sees it: the items, fixed on the main
// thread before the worker starts, and the loop that acts on them in order. An item
// listed inside another item of the batch goes with that one, or is refused when that
// one moved only in part and left it behind; each item's outcome goes back as an
// ItemResult, which the main thread applies to the tree. Byte counts are signed:
// allocated bytes for trash and evictions, logical bytes for moves and copies.
//
// Threads: the worker writes only the atomics, which the main thread polls for
// progress and cancellation; everything else is read-only once the worker runs.

#include "app/operations/FileOperations.h"

#include <QString>

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace ringfold {

struct FileOperations::Job {
    struct Item {
        NodePtr node;
        std::string path;
        std::string name;
        QString displayName;
        std::int64_t bytes = 0;
        /// The batch's item that holds this one (a folder listed with its own file),
        /// and this one's path from the holder's folder ("proj/sub/a.txt").
        int holder = -1;
        std::string pathInHolder;
        /// Why the item is not acted on at all.
        std::optional<QString> refusal;
    };
    Kind kind = Kind::trash;
    std::string folder;
    Evictor evictor;
    Mover mover;
    std::vector<Item> items;
    std::int64_t bytesTotal = 0;
    std::atomic<bool> cancelled{false};
    std::atomic<int> itemsDone{0};
    std::atomic<int> current{0};
    std::atomic<std::int64_t> bytesDone{0};

    /// Acts on the items in order until done or cancelled, handing each item's result
    /// to `deliver` as it is known. Returns how many items were not started. Worker
    /// thread.
    int run(const std::function<void(ItemResult)>& deliver);
};

struct FileOperations::ItemResult {
    int index = 0;
    std::optional<QString> error;
    /// Went with its holder: nothing of its own happened on disk.
    bool wentWithHolder = false;
    /// A half-finished move: the source paths that are still there.
    std::vector<std::string> leftBehind;
};

} // namespace ringfold
