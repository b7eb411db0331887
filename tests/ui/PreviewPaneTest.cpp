// The preview pane over a real scan: facts for every kind of node, the shared-storage
// note on both names of a hard-linked file, and live previews read off the GUI thread
// (a FIFO among them, which must not hang the reader); its buttons and every symbol
// the window draws; facts that stay whole in the narrowest pane.

#include "ui/PreviewPane.h"
#include "app/stores/SettingsStore.h"
#include "core/junk/JunkClassifier.h"
#include "core/model/FileCategory.h"
#include "core/scan/ScanEngine.h"
#include "support/FixtureTree.h"
#include "ui/PreviewContent.h"
#include "ui/SourceText.h"
#include "ui/Symbols.h"
#include "ui/WrapAnywhereLabel.h"

#include <QFile>
#include <QImage>
#include <QSettings>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>

#include <algorithm>

using namespace ringfold;

class PreviewPaneTest : public QObject {
    Q_OBJECT

private slots:
    void factsNotesAndLivePreviews() {
        test::FixtureTree fx;
        fx.writeFile("dup/a.bin", 2'000'000);
        fx.hardLink("dup/a.bin", "dup/b.bin");
        fx.writeText("notes.xyz", "hello\n");
        fx.writeText("Makefile", "all:\n");
        fx.fifo("pipe");
        QImage(40, 20, QImage::Format_RGB32).save(QString::fromStdString(fx.fullPath("pic.png")));
        auto scan = ScanEngine(ScanSourceKind::favoriteFolder, 2).scan(fx.root());
        auto node = [&](const std::string& rel) {
            return JunkClassifier::findNode(*scan->root, fx.fullPath(rel))->shared();
        };
        QSettings file(QString::fromStdString(fx.fullPath("s.conf")), QSettings::IniFormat);
        SettingsStore settings(&file);
        settings.setPreviewPaneWidth(900);
        PreviewPane pane(settings,
                         {.reveal = [](const NodePtr&) {}, .quickPreview = {}, .getInfo = {}});
        QCOMPARE(pane.paneWidth(), PreviewPane::kMaxWidth); // a stored width out of range is clamped
        QVERIFY(pane.factText("Kind").isEmpty());

        for (auto [rel, kind, live] : {std::tuple{"notes.xyz", "XYZ File", true},
                                       {"Makefile", "File", true},
                                       {"dup", "Folder", false},
                                       {"pipe", "File", false},
                                       {"pic.png", "PNG image", true}}) {
            QSignalSpy loaded(&pane, &PreviewPane::previewLoaded);
            pane.setNode(node(rel));
            QVERIFY2(loaded.size() == 1 || loaded.wait(5000), rel);
            QCOMPARE(pane.factText("Kind"), QString(kind));
            QCOMPARE(pane.showsLivePreview(), live);
            QCOMPARE(pane.factText("Path"), QString::fromStdString(fx.fullPath(rel)));
        }
        // The name that holds the space shows it; the other shows its content's size.
        int zeroed = 0;
        for (const char* rel : {"dup/a.bin", "dup/b.bin"}) {
            pane.setNode(node(rel));
            QVERIFY(pane.showsSharedNote());
            zeroed += pane.factText("Size") == "2 MB of content";
        }
        QCOMPARE(zeroed, 1);
        pane.setNode(nullptr);
        QVERIFY(!pane.showsSharedNote());
    }

    void buttonsSymbolsAndNarrowFacts() {
        // Every symbol the window asks for, by name or through a category or a kind of
        // source, has a drawing of its own, so none shows blank without an icon theme.
        initUiResources();
        const std::vector<const char*> symbols = symbolNames();
        auto known = [&](const char* name) {
            return std::any_of(symbols.begin(), symbols.end(),
                               [&](const char* s) { return qstrcmp(s, name) == 0; });
        };
        for (FileCategory c : kAllFileCategories)
            QVERIFY2(known(symbolName(c)), symbolName(c));
        for (auto kind : {ScanSourceKind::internalVolume, ScanSourceKind::externalVolume,
                          ScanSourceKind::networkVolume, ScanSourceKind::savedScan,
                          ScanSourceKind::favoriteFolder}) {
            ScanSource source;
            source.kind = kind;
            QVERIFY(known(sourceSymbol(source)));
        }
        for (const char* name : symbols)
            QVERIFY2(QFile::exists(QStringLiteral(":/icons/%1.svg").arg(name)) &&
                         !symbolIcon(name).isNull(),
                     name);

        test::FixtureTree fx;
        const std::string name(150, 'n');
        fx.writeText("a-folder-name-without-any-spaces/" + name + ".txt", "text\n");
        auto scan = ScanEngine(ScanSourceKind::favoriteFolder, 2).scan(fx.root());
        const NodePtr file =
            JunkClassifier::findNode(
                *scan->root, fx.fullPath("a-folder-name-without-any-spaces/" + name + ".txt"))
                ->shared();
        QSettings stored(QString::fromStdString(fx.fullPath("s.conf")), QSettings::IniFormat);
        SettingsStore settings(&stored);
        const std::function<void(const NodePtr&)> noop = [](const NodePtr&) {};
        // Without Get Info two buttons, with it three; each draws its symbol.
        for (bool getInfo : {false, true}) {
            PreviewPane pane(
                settings,
                {.reveal = noop, .quickPreview = noop, .getInfo = getInfo ? noop : nullptr});
            pane.setNode(file);
            int shown = 0;
            for (QToolButton* b : pane.findChildren<QToolButton*>())
                if (!b->isHidden()) {
                    ++shown;
                    QVERIFY2(!b->icon().isNull(), qPrintable(b->toolTip()));
                }
            QCOMPARE(shown, getInfo ? 3 : 2);
        }

        // At the narrowest width and the default one, the name and every fact get the
        // height their wrapped lines need, and none runs past the pane's edges.
        for (int width : {PreviewPane::kMinWidth, 200}) {
            settings.setPreviewPaneWidth(width);
            PreviewPane pane(settings, {.reveal = noop, .quickPreview = noop, .getInfo = noop});
            pane.setNode(file);
            pane.resize(width, 560);
            pane.show();
            QVERIFY(QTest::qWaitForWindowExposed(&pane));
            const auto labels = pane.findChildren<WrapAnywhereLabel*>();
            QCOMPARE(labels.size(), 5); // the name, the kind, the size, the date, the path
            for (WrapAnywhereLabel* label : labels) {
                const QRect r(label->mapTo(&pane, QPoint(0, 0)), label->size());
                QVERIFY2(label->height() >= label->heightForWidth(label->width()) &&
                             pane.rect().contains(r),
                         qPrintable(label->text()));
            }
            // A path too long for its lines keeps its start and the file's name.
            auto* path = pane.findChild<WrapAnywhereLabel*>("Path");
            const QString shown = path->shownText(path->width());
            QVERIFY2(shown.startsWith(QString::fromStdString(fx.root()).left(4)) &&
                         shown.endsWith("nnnn.txt") && shown.contains(QChar(0x2026)),
                     qPrintable(shown));
        }
    }
};

QTEST_MAIN(PreviewPaneTest)
#include "PreviewPaneTest.moc"
