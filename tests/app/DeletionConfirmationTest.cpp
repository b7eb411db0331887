// The texts of the sheets that confirm a move to the Trash or to another folder.
#include "app/operations/DeletionConfirmation.h"
#include "core/model/ByteFormat.h"
#include "core/model/Tree.h"

#include <QTest>

using namespace ringfold;

namespace {

NodePtr syntheticNode(std::shared_ptr<Tree>& tree, const char* name, std::int64_t allocated,
                      std::int64_t logical, bool shares) {
    if (!tree)
        tree = Tree::create();
    NodeAllocator alloc(*tree);
    NodeInit init;
    init.name = name;
    init.allocatedSize = allocated;
    init.logicalSize = logical;
    init.sharesStorage = shares;
    return tree->share(alloc.create(init));
}

QString bytes(std::int64_t n) {
    return QString::fromStdString(formatByteCount(n));
}

} // namespace

class DeletionConfirmationTest : public QObject {
    Q_OBJECT

private slots:
    void trashConfirmationTexts() {
        constexpr std::int64_t GB = 1'000'000'000;
        std::shared_ptr<Tree> tree;
        NodePtr one = syntheticNode(tree, "one", GB, GB, false);
        NodePtr two = syntheticNode(tree, "two", 2 * GB, 2 * GB, false);
        NodePtr dup = syntheticNode(tree, "dup", 0, GB, true);

        auto mixed = DeletionConfirmation::forTrash({one, two, dup});
        QCOMPARE(mixed.title, QStringLiteral("Move 3 items to Trash?"));
        QCOMPARE(mixed.subtitle,
                 "This will reclaim up to " + bytes(3 * GB) +
                     QStringLiteral(". Some of these items hold the same data as another copy on "
                                    "this disk; that part of the space only comes back if you "
                                    "delete every copy."));
        QCOMPARE(mixed.confirmLabel, QStringLiteral("Move to Trash"));
        QCOMPARE(mixed.sizeLabel(*dup), QStringLiteral("no extra space"));
        QCOMPARE(mixed.sizeLabel(*two), bytes(2 * GB));

        auto dupsOnly = DeletionConfirmation::forTrash({dup});
        QCOMPARE(dupsOnly.title, QStringLiteral("Move 1 item to Trash?"));
        QVERIFY(dupsOnly.subtitle.startsWith(
            QStringLiteral("None of these items free space on their own.")));

        NodePtr plain = syntheticNode(tree, "plain", 500'000'000, 500'000'000, false);
        auto single = DeletionConfirmation::forTrash({plain});
        QCOMPARE(single.title, QStringLiteral("Move 1 item to Trash?"));
        QCOMPARE(single.subtitle, "This will reclaim " + bytes(500'000'000) + " of disk space.");
    }

    void moveConfirmationTexts() {
        std::shared_ptr<Tree> tree;
        NodePtr a = syntheticNode(tree, "a", 4096, 1500, false);
        NodePtr b = syntheticNode(tree, "b", 0, 2500, true);
        auto move = DeletionConfirmation::forMove({a, b});
        QCOMPARE(move.title, QStringLiteral("Move 2 items to a new location?"));
        QCOMPARE(move.subtitle, bytes(4000) + " of data will be transferred.");
        QCOMPARE(move.confirmLabel, QStringLiteral("Move\u2026"));
        QCOMPARE(move.sizeLabel(*b), bytes(2500));
        QCOMPARE(DeletionConfirmation::forMove({a}).title,
                 QStringLiteral("Move 1 item to a new location?"));
    }
};

QTEST_GUILESS_MAIN(DeletionConfirmationTest)
#include "DeletionConfirmationTest.moc"
