#include "ui/SettingsView.h"

#include "app/coordination/AppState.h"
#include "app/stores/SettingsStore.h"
#include "app/window/Endpoints.h"
#include "app/window/UpdateChecker.h"
#include "ui/Symbols.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QCoreApplication>
#include <QDesktopServices>
#include <QFontDatabase>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QSlider>
#include <QSpinBox>
#include <QVBoxLayout>

#include <cmath>

namespace ringfold {

namespace {

constexpr double kSliderSteps = 10000.0;

QLabel* note(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setWordWrap(true);
    label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}

QSpinBox* stepper(int min, int max, int step, const QString& format, QWidget* parent) {
    auto* box = new QSpinBox(parent);
    box->setRange(min, max);
    box->setSingleStep(step);
    // "Show top %lld items": the number sits inside its sentence.
    const qsizetype at = format.indexOf(QStringLiteral("%lld"));
    box->setPrefix(format.left(at));
    box->setSuffix(format.mid(at + 4));
    return box;
}

} // namespace

SettingsView::SettingsView(AppState& app, QWidget* parent)
    : QWidget(parent, Qt::Window), m_app(app) {
    setWindowTitle(QStringLiteral("Ringfold Settings"));
    setAttribute(Qt::WA_DeleteOnClose, false);
    resize(560, 680);
    build();
    refresh();
    bind();
}

void SettingsView::build() {
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    auto* scroll = new QScrollArea(this);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    outer->addWidget(scroll);
    auto* content = new QWidget(scroll);
    scroll->setWidget(content);
    auto* column = new QVBoxLayout(content);
    column->setContentsMargins(18, 18, 18, 18);
    column->setSpacing(12);
    auto group = [&](const char* title) {
        auto* box = new QGroupBox(QString::fromUtf8(title), content);
        column->addWidget(box);
        auto* layout = new QVBoxLayout(box);
        layout->setSpacing(6);
        return std::pair{box, layout};
    };

    auto [appearance, a] = group("Appearance");
    auto* schemeRow = new QHBoxLayout;
    schemeRow->addWidget(new QLabel(QStringLiteral("Color scheme"), appearance));
    m_appearance = new QButtonGroup(this);
    const std::pair<AppearanceMode, const char*> modes[] = {{AppearanceMode::system, "System"},
                                                            {AppearanceMode::light, "Light"},
                                                            {AppearanceMode::dark, "Dark"}};
    for (const auto& [mode, label] : modes) {
        auto* option = new QRadioButton(QString::fromUtf8(label), appearance);
        m_appearance->addButton(option, int(mode));
        schemeRow->addWidget(option);
    }
    schemeRow->addStretch(1);
    a->addLayout(schemeRow);

    auto [safety, s] = group("Safety");
    m_allowHidden =
        new QCheckBox(QStringLiteral("Allow deleting hidden files and folders"), safety);
    s->addWidget(m_allowHidden);
    s->addWidget(
        note(QStringLiteral("When off, hidden items (dotfiles, .git, config folders) are shown "
                            "and counted for accuracy but cannot be added to the cleanup list."),
             safety));

    auto [visualization, v] = group("Visualization");
    v->addWidget(new QLabel(QStringLiteral("Smaller objects grouping threshold"), visualization));
    auto* sliderRow = new QHBoxLayout;
    m_threshold = new QSlider(Qt::Horizontal, visualization);
    m_threshold->setRange(int(SettingsStore::kThresholdMin * kSliderSteps),
                          int(SettingsStore::kThresholdMax * kSliderSteps));
    m_thresholdLabel = new QLabel(visualization);
    m_thresholdLabel->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_thresholdLabel->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_thresholdLabel->setFixedWidth(
        m_thresholdLabel->fontMetrics().horizontalAdvance(QStringLiteral("00.0%")) + 4);
    sliderRow->addWidget(m_threshold, 1);
    sliderRow->addWidget(m_thresholdLabel);
    v->addLayout(sliderRow);
    v->addWidget(
        note(QStringLiteral("Children below this fraction of their parent size collapse into a "
                            "single smaller-objects segment in sunburst and treemap views."),
             visualization));
    m_groupHidden = new QCheckBox(QStringLiteral("Group hidden items"), visualization);
    v->addWidget(m_groupHidden);
    v->addWidget(
        note(QStringLiteral("When on, dotfiles and hidden folders collapse into a single \"Hidden "
                            "items\" row in all views. Sizes remain fully counted \u2014 this is "
                            "display-only, not deletion. To control whether hidden items can be "
                            "deleted, see the Safety section above."),
             visualization));

    auto [biggest, b] = group("Biggest Files Panel");
    m_biggestLimit = stepper(50, 1000, 50, QStringLiteral("Show top %lld items"), biggest);
    b->addWidget(m_biggestLimit, 0, Qt::AlignLeft);

    auto [fileList, f] = group("File List");
    m_foldersTop = new QCheckBox(QStringLiteral("Sort folders to top"), fileList);
    f->addWidget(m_foldersTop);
    f->addWidget(
        note(QStringLiteral("When on, directories appear above files regardless of the active sort "
                            "column."),
             fileList));

    auto [junk, j] = group("System Junk Age Thresholds");
    m_reportsAge =
        stepper(7, 365, 7, QStringLiteral("Flag Diagnostic Reports older than %lld days"), junk);
    m_cacheAge = stepper(7, 90, 7, QStringLiteral("Flag Caches unused for %lld days"), junk);
    j->addWidget(m_reportsAge, 0, Qt::AlignLeft);
    j->addWidget(m_cacheAge, 0, Qt::AlignLeft);
    j->addWidget(note(
        QStringLiteral("Changes take effect on the next System Junk classification (triggered by "
                       "a rescan or source switch)."),
        junk));

    auto [updates, u] = group("Updates");
    m_autoUpdates = new QCheckBox(QStringLiteral("Automatically check for updates"), updates);
    u->addWidget(m_autoUpdates);
    u->addWidget(
        note(QStringLiteral("Ringfold asks its update site whether a new version is out, and tells "
                            "you; it never downloads or installs anything itself. No usage data or "
                            "system information is sent."),
             updates));
    auto* updateRow = new QHBoxLayout;
    m_checkUpdates = new QPushButton(QStringLiteral("Check for Updates…"), updates);
    updateRow->addWidget(m_checkUpdates);
    updateRow->addStretch(1);
    updateRow->addWidget(
        note(QStringLiteral("Version ") + QCoreApplication::applicationVersion(), updates));
    u->addLayout(updateRow);
    m_reset = new QPushButton(QStringLiteral("Reset scan history && favorites"), updates);
    QPalette danger = m_reset->palette();
    danger.setColor(QPalette::ButtonText, QColor(0xd7, 0x3a, 0x31));
    m_reset->setPalette(danger);
    u->addSpacing(8);
    u->addWidget(m_reset, 0, Qt::AlignLeft);
    u->addWidget(
        note(QStringLiteral("Restores favorites to the default (your home folder), forgets every "
                            "drive's last-scan record, clears the cleanup list, and returns to the "
                            "drive gallery. Settings in this window are not affected."),
             updates));

    auto [support, p] = group("Support Ringfold");
    auto* supportRow = new QHBoxLayout;
    auto* cup = new QLabel(support);
    cup->setPixmap(symbolIcon("cup.and.saucer.fill").pixmap(28, 28));
    auto* text = new QVBoxLayout;
    auto* heading = new QLabel(QStringLiteral("Ringfold is donationware"), support);
    QFont bold = heading->font();
    bold.setBold(true);
    heading->setFont(bold);
    text->addWidget(heading);
    text->addWidget(note(
        QStringLiteral("Free to use. If it's earned its keep, a coffee keeps development going."),
        support));
    auto* coffee = new QPushButton(QStringLiteral("Buy Me a Coffee…"), support);
    connect(coffee, &QPushButton::clicked, this, [] {
        QDesktopServices::openUrl(endpoints::donationPage(QStringLiteral("rf-settings")));
    });
    supportRow->addWidget(cup, 0, Qt::AlignTop);
    supportRow->addLayout(text, 1);
    supportRow->addWidget(coffee, 0, Qt::AlignVCenter);
    p->addLayout(supportRow);
    column->addStretch(1);
}

// Controls write the store; the store's signals move the controls. Setting a control
// to the value it already shows emits nothing, so the two directions do not loop.
void SettingsView::bind() {
    SettingsStore& st = m_app.settings();
    connect(m_appearance, &QButtonGroup::idClicked, &st,
            [&st](int id) { st.setAppearanceMode(AppearanceMode(id)); });
    connect(m_allowHidden, &QCheckBox::toggled, &st, &SettingsStore::setAllowDeletingHiddenFiles);
    connect(m_threshold, &QSlider::valueChanged, &st,
            [&st](int v) { st.setSmallerObjectsThresholdPercent(v / kSliderSteps); });
    connect(m_groupHidden, &QCheckBox::toggled, &st, &SettingsStore::setGroupHiddenItems);
    connect(m_biggestLimit, &QSpinBox::valueChanged, &st, &SettingsStore::setBiggestFilesLimit);
    connect(m_foldersTop, &QCheckBox::toggled, &st, &SettingsStore::setSortFoldersToTop);
    connect(m_reportsAge, &QSpinBox::valueChanged, &st,
            &SettingsStore::setDiagnosticReportsAgeDays);
    connect(m_cacheAge, &QSpinBox::valueChanged, &st, &SettingsStore::setCacheStalenessAgeDays);
    connect(m_autoUpdates, &QCheckBox::toggled, &st,
            &SettingsStore::setAutomaticallyChecksForUpdates);
    UpdateChecker& updates = m_app.updates();
    connect(m_checkUpdates, &QPushButton::clicked, &updates,
            [&updates] { updates.checkForUpdates(); });
    connect(&updates, &UpdateChecker::canCheckForUpdatesChanged, this, &SettingsView::refresh);
    connect(m_reset, &QPushButton::clicked, this, &SettingsView::confirmReset);
    for (auto signal :
         {&SettingsStore::appearanceModeChanged, &SettingsStore::allowDeletingHiddenFilesChanged,
          &SettingsStore::smallerObjectsThresholdPercentChanged,
          &SettingsStore::groupHiddenItemsChanged, &SettingsStore::biggestFilesLimitChanged,
          &SettingsStore::sortFoldersToTopChanged, &SettingsStore::diagnosticReportsAgeDaysChanged,
          &SettingsStore::cacheStalenessAgeDaysChanged,
          &SettingsStore::automaticallyChecksForUpdatesChanged})
        connect(&st, signal, this, &SettingsView::refresh);
}

void SettingsView::refresh() {
    const SettingsStore& st = m_app.settings();
    if (QAbstractButton* b = m_appearance->button(int(st.appearanceMode())))
        b->setChecked(true);
    m_allowHidden->setChecked(st.allowDeletingHiddenFiles());
    const double t = st.smallerObjectsThresholdPercent();
    // A value between two slider steps keeps the slider where it is.
    if (std::lround(t * kSliderSteps) != m_threshold->value())
        m_threshold->setValue(int(std::lround(t * kSliderSteps)));
    m_thresholdLabel->setText(QString::asprintf("%.1f%%", t * 100.0));
    m_groupHidden->setChecked(st.groupHiddenItems());
    m_biggestLimit->setValue(st.biggestFilesLimit());
    m_foldersTop->setChecked(st.sortFoldersToTop());
    m_reportsAge->setValue(st.diagnosticReportsAgeDays());
    m_cacheAge->setValue(st.cacheStalenessAgeDays());
    m_autoUpdates->setChecked(st.automaticallyChecksForUpdates());
    m_checkUpdates->setEnabled(m_app.updates().canCheckForUpdates());
}

void SettingsView::confirmReset() {
    QMessageBox box(QMessageBox::Warning, QStringLiteral("Reset scan history and favorites?"),
                    QStringLiteral("Reset scan history and favorites?"), QMessageBox::NoButton,
                    this);
    box.setInformativeText(
        QStringLiteral("Favorites return to the default (your home folder) and all scan records "
                       "are removed. Your settings are kept. This cannot be undone."));
    QPushButton* reset = box.addButton(QStringLiteral("Reset"), QMessageBox::DestructiveRole);
    box.addButton(QStringLiteral("Cancel"), QMessageBox::RejectRole);
    box.exec();
    if (box.clickedButton() == reset)
        m_app.resetFileData();
}

} // namespace ringfold
