#include "ui/StartupNotices.h"

#include "app/stores/SettingsStore.h"
#include "ui/HelpMenu.h"
#include "ui/Symbols.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QThreadPool>
#include <QVBoxLayout>

#include <cstdlib>

namespace ringfold {

namespace {

QVBoxLayout* frame(QDialog* dialog, const QIcon& icon, const QString& title) {
    dialog->setWindowModality(Qt::WindowModal);
    auto* layout = new QVBoxLayout(dialog);
    layout->setContentsMargins(28, 24, 28, 20);
    layout->setSpacing(12);
    auto* symbol = new QLabel(dialog);
    symbol->setPixmap(icon.pixmap(48, 48));
    layout->addWidget(symbol, 0, Qt::AlignHCenter);
    auto* heading = new QLabel(title, dialog);
    QFont font = heading->font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * 1.3);
    heading->setFont(font);
    heading->setAlignment(Qt::AlignCenter);
    layout->addWidget(heading);
    return layout;
}

QLabel* paragraph(const QString& text, QWidget* parent, Qt::TextFormat format = Qt::PlainText) {
    auto* label = new QLabel(text, parent);
    label->setTextFormat(format);
    label->setWordWrap(true);
    label->setMaximumWidth(420);
    return label;
}

} // namespace

RelocationNotice::RelocationNotice(InstallLocation location, QWidget* parent) : QDialog(parent) {
    setWindowTitle(QStringLiteral("Ringfold"));
    QVBoxLayout* layout = frame(this, QIcon(QStringLiteral(":/icons/ringfold.svg")),
                                QStringLiteral("Move Ringfold to your\nApplications folder"));
    const QString why =
        location == InstallLocation::diskImage
            ? QStringLiteral("Ringfold is running from the AppImage you downloaded. It works, but "
                             "your desktop's menu won't list it, and it is easy to lose or delete "
                             "with your downloads.")
        : location == InstallLocation::translocated
            ? QStringLiteral("Ringfold is running from a temporary mount of its AppImage. Settings "
                             "are kept, but your desktop's menu won't list it.")
            : QStringLiteral("Ringfold works best from your Applications folder, where your "
                             "desktop's menu finds it.");
    layout->addWidget(paragraph(why, this));
    const QString steps[] = {
        QStringLiteral("Move the AppImage into the Applications folder in your home folder."),
        QStringLiteral("Open it from there."),
        QStringLiteral(
            "Or install Ringfold's package for your distribution, which keeps it up to date.")};
    for (int i = 0; i < 3; ++i)
        layout->addWidget(paragraph(QStringLiteral("%1.  %2").arg(i + 1).arg(steps[i]), this));
    auto* buttons = new QDialogButtonBox(this);
    QPushButton* quit =
        buttons->addButton(QStringLiteral("Quit Ringfold"), QDialogButtonBox::RejectRole);
    QPushButton* go =
        buttons->addButton(QStringLiteral("Continue Anyway"), QDialogButtonBox::AcceptRole);
    go->setDefault(true);
    connect(go, &QPushButton::clicked, this, &QDialog::accept);
    connect(quit, &QPushButton::clicked, qApp, &QApplication::quit, Qt::QueuedConnection);
    layout->addWidget(buttons);
}

AccessOnboarding::AccessOnboarding(SettingsStore& settings,
                                   std::function<void()> scanAsAdministrator, QWidget* parent)
    : QDialog(parent) {
    setWindowTitle(QStringLiteral("Ringfold"));
    QVBoxLayout* layout =
        frame(this, symbolIcon("lock.fill"), QStringLiteral("Give Ringfold Access to\nYour Files"));
    layout->addWidget(
        paragraph(QStringLiteral(
                      "Without access to your files, Ringfold can't scan folders its sandbox hides "
                      "(your home folder, other drives). Those areas show up as <b>Inaccessible "
                      "Space</b> in the map."),
                  this, Qt::RichText));
    for (const char* point :
         {"System Junk Detection needs only your home folder's caches, logs and app data.",
          "Scans proceed regardless \u2014 restricted paths are counted in "
          "Inaccessible Space."}) {
        auto* row = new QHBoxLayout;
        auto* check = new QLabel(this);
        check->setPixmap(symbolIcon("checkmark.circle").pixmap(18, 18));
        row->addWidget(check, 0, Qt::AlignTop);
        row->addWidget(paragraph(QString::fromUtf8(point), this), 1);
        layout->addLayout(row);
    }
    auto* buttons = new QDialogButtonBox(this);
    QPushButton* later = buttons->addButton(QStringLiteral("Continue Without Full Access"),
                                            QDialogButtonBox::RejectRole);
    QPushButton* how =
        buttons->addButton(QStringLiteral("Show How to Give Access"), QDialogButtonBox::AcceptRole);
    how->setDefault(true);
    auto dismiss = [this, &settings] {
        settings.setFdaOnboardingDismissed(true);
        close();
    };
    connect(how, &QPushButton::clicked, this, [dismiss] {
        showHelpWindow(QStringLiteral("access"));
        dismiss();
    });
    connect(later, &QPushButton::clicked, this, dismiss);
    if (scanAsAdministrator) {
        QPushButton* admin = buttons->addButton(QStringLiteral("Scan as Administrator…"),
                                                QDialogButtonBox::ActionRole);
        admin->setObjectName(QStringLiteral("scanAsAdministrator"));
        admin->setToolTip(QStringLiteral(
            "Scan This Computer with the administrator's rights (asks for the password)"));
        connect(admin, &QPushButton::clicked, this, [dismiss, scanAsAdministrator] {
            dismiss();
            scanAsAdministrator();
        });
    }
    layout->addWidget(buttons);
}

void runStartupChecks(QWidget* window, SettingsStore& settings,
                      std::function<void()> scanAsAdministrator) {
    const InstallLocation location = currentInstallLocation();
    if (showsRelocationNotice(location)) {
        auto* notice = new RelocationNotice(location, window);
        notice->setAttribute(Qt::WA_DeleteOnClose);
        notice->open();
        return;
    }
    if (settings.fdaOnboardingDismissed())
        return;
    const char* home = std::getenv("HOME");
    if (!home || !*home)
        return;
    QPointer<QWidget> target(window);
    QThreadPool::globalInstance()->start([target, home = std::string(home), &settings,
                                          scanAsAdministrator] {
        if (!filesAreWalledOff(home))
            return;
        // Posted to the application, which outlives any window; the window may be gone.
        QMetaObject::invokeMethod(qApp, [target, &settings, scanAsAdministrator] {
            if (!target || settings.fdaOnboardingDismissed())
                return;
            auto* onboarding = new AccessOnboarding(settings, scanAsAdministrator, target);
            onboarding->setAttribute(Qt::WA_DeleteOnClose);
            onboarding->open();
        });
    });
}

} // namespace ringfold
