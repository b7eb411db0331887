// The texts of the sheets that confirm a move to the Trash or to another folder: one
// check per branch (one item or several, duplicates among them or not).
#include "app/operations/DeletionConfirmation.h"
#include "core/model/ByteFormat.h"
#include "support/MemoryTree.h"

#include <QTest>

using namespace ringfold;

class DeletionConfirmationTest : public QObject {
    Q_OBJECT

private slots:
    void trashAndMoveTexts() {
        constexpr std::int64_t GB = 1'000'000'000;
        const auto bytes = [](std::int64_t n) {
            return QString::fromStdString(formatByteCount(n));
        };
        test::MemoryTree t;
        const auto add = [&](const char* name, std::int64_t allocated, test::NodeOptions o = {}) {
            return t.tree()->share(t.file(t.root(), name, allocated, o));
        };
        NodePtr one = add("one", GB), two = add("two", 2 * GB, {.logical = GB});
        NodePtr dup = add("dup", 0, {.logical = GB, .sharesStorage = true});

        auto mixed = DeletionConfirmation::forTrash({one, two, dup});
        QCOMPARE(mixed.title, QStringLiteral("Move 3 items to Trash?"));
        QVERIFY(mixed.subtitle.startsWith("This will reclaim up to " + bytes(3 * GB) + ". "));
        QVERIFY(mixed.subtitle.endsWith(QStringLiteral("delete every copy.")));
        QCOMPARE(mixed.sizeLabel(*dup), QStringLiteral("no extra space"));
        auto dupsOnly = DeletionConfirmation::forTrash({dup});
        QCOMPARE(dupsOnly.title, QStringLiteral("Move 1 item to Trash?"));
        QVERIFY(dupsOnly.subtitle.startsWith(
            QStringLiteral("None of these items free space on their own.")));
        QCOMPARE(DeletionConfirmation::forTrash({one}).subtitle,
                 "This will reclaim " + bytes(GB) + " of disk space.");

        // A move transfers logical bytes, the duplicate's too.
        auto move = DeletionConfirmation::forMove({two, dup});
        QCOMPARE(move.title, QStringLiteral("Move 2 items to a new location?"));
        QCOMPARE(move.subtitle, bytes(2 * GB) + " of data will be transferred.");
        QCOMPARE(move.sizeLabel(*dup), bytes(GB));
        QCOMPARE(DeletionConfirmation::forMove({one}).title,
                 QStringLiteral("Move 1 item to a new location?"));
    }
};

QTEST_GUILESS_MAIN(DeletionConfirmationTest)
#include "DeletionConfirmationTest.moc"
