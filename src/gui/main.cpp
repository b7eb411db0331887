// The Ringfold desktop program: one main window over the program's state.

#include "CommandLine.h"
#include "ScreenshotRun.h"

#include "app/coordination/AppState.h"
#include "app/window/MainWindowModel.h"
#include "app/window/SavedScans.h"
#include "ui/Appearance.h"
#include "ui/MainWindow.h"
#include "ui/Symbols.h"

#include <QApplication>

#include <cstdio>
#include <memory>

using namespace ringfold;

int main(int argc, char** argv) {
    QApplication::setApplicationName(QStringLiteral("Ringfold"));
    QApplication::setOrganizationName(QStringLiteral("Ringfold"));
    QApplication::setApplicationVersion(QStringLiteral(RINGFOLD_VERSION));

    // Before the application object: a usage error must not depend on a display.
    CommandLine options;
    QString error;
    switch (CommandLine::parse(argc, argv, options, error)) {
    case CommandLine::Outcome::exitSuccess:
        return 0;
    case CommandLine::Outcome::usageError:
        std::fprintf(stderr, "ringfold: %s\nTry 'ringfold --help' for more information.\n",
                     qPrintable(error));
        return 2;
    case CommandLine::Outcome::run:
        break;
    }
    // A screenshot needs no screen: without a display, draw off-screen.
    if (!options.screenshotFile.isEmpty() && !qEnvironmentVariableIsSet("QT_QPA_PLATFORM") &&
        !qEnvironmentVariableIsSet("DISPLAY") && !qEnvironmentVariableIsSet("WAYLAND_DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    app.setProperty("ringfoldBuild", QStringLiteral(RINGFOLD_BUILD));
    QApplication::setDesktopFileName(QStringLiteral("app.ringfold.Ringfold"));
    initUiResources();
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/icons/ringfold.svg")));

    AppState state;
    Appearance appearance(state.settings());
    if (options.theme)
        appearance.setOverride(options.theme);
    MainWindowModel windowModel(state);
    MainWindow window(windowModel);
    if (options.size)
        window.resize(*options.size);
    if (options.view)
        state.chart().setVisualizationMode(*options.view);

    std::unique_ptr<ScreenshotRun> screenshot;
    if (!options.screenshotFile.isEmpty()) {
        screenshot = std::make_unique<ScreenshotRun>(window, options.screenshotFile);
        if (options.path || options.savedScan)
            screenshot->begin();
        else
            screenshot->captureWhenShown();
    }
    window.show();
    // After show: showing runs the window's first selection check, which would
    // otherwise restart the scan this selection starts.
    if (options.path)
        state.sidebar().setSelectedSourceID(state.sidebar().openTransientFolder(*options.path));
    else if (options.savedScan)
        windowModel.savedScans().open(*options.savedScan);
    return app.exec();
}
