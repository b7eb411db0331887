#include "ui/HelpMenu.h"

#include "app/window/Endpoints.h"
#include "app/window/UpdateChecker.h"

#include <QApplication>
#include <QDesktopServices>
#include <QMainWindow>
#include <QMenuBar>
#include <QMessageBox>
#include <QPointer>
#include <QSysInfo>
#include <QTextBrowser>

namespace ringfold {

QWidget* showHelpWindow(const QString& section) {
    static QPointer<QTextBrowser> window;
    if (!window) {
        window = new QTextBrowser;
        window->setAttribute(Qt::WA_DeleteOnClose, false);
        window->setWindowTitle(QStringLiteral("Ringfold Help"));
        window->setOpenExternalLinks(true);
        window->setSource(QUrl(QStringLiteral("qrc:/help/ringfold-help.html")));
        window->document()->setDocumentMargin(18);
        window->resize(720, 640);
        // Gone with the application, not with the window that opened it.
        QObject::connect(qApp, &QCoreApplication::aboutToQuit, window.data(),
                         &QObject::deleteLater);
    }
    if (!section.isEmpty())
        window->scrollToAnchor(section);
    window->show();
    window->raise();
    window->activateWindow();
    return window;
}

namespace {

void notice(QWidget* parent, const QString& text) {
    auto* box = new QMessageBox(QMessageBox::Information, QStringLiteral("Software Update"), text,
                                QMessageBox::Ok, parent);
    box->setModal(false);
    box->setTextFormat(Qt::RichText);
    box->setTextInteractionFlags(Qt::TextBrowserInteraction);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->show();
}

} // namespace

void addHelpMenu(QMainWindow& window, UpdateChecker& updates) {
    QMenu* help = window.menuBar()->addMenu(QObject::tr("&Help"));
    QAction* helpPage = help->addAction(QStringLiteral("Ringfold Help"), [] { showHelpWindow(); });
    helpPage->setObjectName(QStringLiteral("help"));
    helpPage->setShortcuts({QKeySequence::HelpContents, QKeySequence(Qt::CTRL | Qt::Key_Question)});
    window.addAction(helpPage);
    help->addSeparator();
    help->addAction(QStringLiteral("Contact Support…"), [] {
        QDesktopServices::openUrl(endpoints::supportMail(QCoreApplication::applicationVersion(),
                                                         qApp->property("ringfoldBuild").toString(),
                                                         QSysInfo::prettyProductName()));
    });
    help->addSeparator();
    help->addAction(QStringLiteral("Buy Me a Coffee…"), [] {
        QDesktopServices::openUrl(endpoints::donationPage(QStringLiteral("rf-help-menu")));
    });
    help->addSeparator();
    QAction* check = help->addAction(QStringLiteral("Check for Updates…"), &updates,
                                     [&updates] { updates.checkForUpdates(); });
    check->setObjectName(QStringLiteral("checkForUpdates"));
    QObject::connect(&updates, &UpdateChecker::canCheckForUpdatesChanged, check,
                     [check, &updates] { check->setEnabled(updates.canCheckForUpdates()); });
    QWidget* parent = &window;
    QObject::connect(
        &updates, &UpdateChecker::updateAvailable, parent,
        [parent](const QString& version, const QUrl& page) {
            QString text = QStringLiteral("Ringfold %1 is available.").arg(version.toHtmlEscaped());
            if (!page.isEmpty())
                text += QStringLiteral(" <a href=\"%1\">Get it from the download page</a>.")
                            .arg(page.toString(QUrl::FullyEncoded).toHtmlEscaped());
            notice(parent, text);
        });
    QObject::connect(&updates, &UpdateChecker::upToDate, parent, [parent] {
        notice(parent, QStringLiteral("Ringfold %1 is the newest version.")
                           .arg(QCoreApplication::applicationVersion().toHtmlEscaped()));
    });
    QObject::connect(
        &updates, &UpdateChecker::checkFailed, parent, [parent](const QString& reason) {
            notice(parent,
                   QStringLiteral("Couldn't check for updates: %1").arg(reason.toHtmlEscaped()));
        });
    help->addAction(QStringLiteral("About Ringfold"), &window, [&window] {
        // A tree built outside a git checkout has no build number.
        const QString build = qApp->property("ringfoldBuild").toString();
        QMessageBox::about(
            &window, QStringLiteral("About Ringfold"),
            QStringLiteral("<h3>Ringfold %1</h3><p>See where the space on your disks goes.</p>"
                           "<p>%2Qt %3</p>")
                .arg(QCoreApplication::applicationVersion().toHtmlEscaped(),
                     build.isEmpty() ? QString()
                                     : QStringLiteral("Build %1 · ").arg(build.toHtmlEscaped()),
                     QString::fromLatin1(qVersion())));
    });
}

} // namespace ringfold
