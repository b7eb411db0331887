#include "ui/CleanupListBar.h"

#include "app/coordination/AppState.h"
#include "app/operations/FileOperations.h"
#include "app/stores/CleanupListStore.h"
#include "app/viewmodels/ChartViewModel.h"
#include "app/window/MainWindowModel.h"
#include "core/model/ByteFormat.h"
#include "ui/Symbols.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>
#include <QStackedLayout>

namespace ringfold {

namespace {

QPushButton* button(const QString& text, const QString& help, QWidget* parent) {
    auto* b = new QPushButton(text, parent);
    b->setToolTip(help);
    b->setFocusPolicy(Qt::TabFocus);
    return b;
}

QString bytes(std::int64_t n) {
    return QString::fromStdString(formatFileStyle(n));
}

} // namespace

CleanupListBar::CleanupListBar(MainWindowModel& model, QWidget* parent)
    : QWidget(parent), m_model(model) {
    m_pages = new QStackedLayout(this);

    auto* listPage = new QWidget(this);
    m_listRow = new QBoxLayout(QBoxLayout::LeftToRight, listPage);
    m_listRow->setContentsMargins(12, 6, 16, 6);
    m_listRow->setSpacing(8);
    m_count = new QLabel(listPage);
    QFont semibold = m_count->font();
    semibold.setWeight(QFont::DemiBold);
    m_count->setFont(semibold);
    m_count->setMinimumWidth(60); // narrow windows clip the count rather than grow

    m_totals = new QLabel(listPage);
    m_totals->setForegroundRole(QPalette::PlaceholderText);
    m_totals->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_copy = button(QStringLiteral("Copy to…"),
                    QStringLiteral("Copy selected items to a chosen folder"), listPage);
    m_move = button(QStringLiteral("Move to…"),
                    QStringLiteral("Move selected items to a chosen folder"), listPage);
    m_removeDownload = button(
        QStringLiteral("Remove Download"),
        QStringLiteral(
            "Evict cloud-downloaded items, freeing local space without losing the cloud copy"),
        listPage);
    m_trash = button(QStringLiteral("Move to Trash"),
                     QStringLiteral("Move selected items to the Trash (%1)")
                         .arg(QKeySequence(Qt::Key_Delete).toString(QKeySequence::NativeText)),
                     listPage);
    m_trash->setIcon(symbolIcon("trash"));
    // Delete is the window's "Move to Trash", which also lists the selection first.
    m_clear = button(QStringLiteral("Clear Selection"),
                     QStringLiteral("Clear the cleanup list (Ctrl+D)"), listPage);
    m_clear->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_D));
    m_infoRow = new QHBoxLayout;
    m_infoRow->setSpacing(8);
    m_infoRow->addWidget(m_count);
    m_infoRow->addWidget(m_totals, 1);
    m_buttonRow = new QHBoxLayout;
    m_buttonRow->setSpacing(8);
    m_buttonRow->addStretch(1);
    for (QPushButton* b : {m_copy, m_move, m_removeDownload, m_trash, m_clear})
        m_buttonRow->addWidget(b);
    m_listRow->addLayout(m_infoRow, 1);
    m_listRow->addLayout(m_buttonRow);
    m_pages->addWidget(listPage);

    auto* operationPage = new QWidget(this);
    auto* op = new QHBoxLayout(operationPage);
    op->setContentsMargins(12, 6, 16, 6);
    op->setSpacing(8);
    m_status = new QLabel(operationPage);
    m_status->setTextFormat(Qt::PlainText);
    m_status->setMinimumWidth(120);
    m_progress = new QProgressBar(operationPage);
    m_progress->setTextVisible(false);
    m_progress->setMaximumWidth(220);
    m_progress->setRange(0, 1000);
    m_cancel = button(QStringLiteral("Cancel"), QStringLiteral("Stop after the current item"),
                      operationPage);
    m_dismiss = button(QStringLiteral("Dismiss"), QString(), operationPage);
    op->addWidget(m_status, 1);
    op->addWidget(m_progress);
    op->addWidget(m_cancel);
    op->addWidget(m_dismiss);
    m_pages->addWidget(operationPage);

    CleanupListStore& list = model.app().cleanupList();
    connect(m_copy, &QPushButton::clicked, this, &CleanupListBar::copyRequested);
    connect(m_move, &QPushButton::clicked, &model, &MainWindowModel::requestMoveOfCleanupList);
    connect(m_removeDownload, &QPushButton::clicked, &model,
            &MainWindowModel::removeDownloadOfCleanupList);
    connect(m_trash, &QPushButton::clicked, &model, &MainWindowModel::requestTrashOfCleanupList);
    connect(m_clear, &QPushButton::clicked, &list, &CleanupListStore::clear);
    connect(m_cancel, &QPushButton::clicked, &model, &MainWindowModel::cancelOperation);
    connect(m_dismiss, &QPushButton::clicked, &model, &MainWindowModel::dismissOperationStatus);
    connect(&list, &CleanupListStore::itemsChanged, this, &CleanupListBar::refresh);
    // Sizes of listed items change when an operation patches the tree.
    connect(&model.app().chart(), &ChartViewModel::treeRevisionChanged, this,
            &CleanupListBar::refresh);
    connect(&model, &MainWindowModel::operationStatusChanged, this,
            &CleanupListBar::refreshOperation);
    refresh();
    refreshOperation();
}

// A narrow bar puts the count and the totals above the buttons, so only the buttons
// (or the operation's line) set the narrowest width it can take.
QSize CleanupListBar::minimumSizeHint() const {
    const QMargins m = m_listRow->contentsMargins();
    const int narrow = std::max(m_buttonRow->minimumSize().width() + m.left() + m.right(),
                                m_pages->widget(1)->minimumSizeHint().width());
    QSize size = QWidget::minimumSizeHint();
    size.setWidth(std::min(size.width(), narrow));
    return size;
}

// One row while the count, some room for the totals and the buttons fit side by side.
void CleanupListBar::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    constexpr int kTotalsRoom = 200;
    const QMargins m = m_listRow->contentsMargins();
    const int oneRow = m.left() + m_infoRow->minimumSize().width() + kTotalsRoom +
                       m_listRow->spacing() + m_buttonRow->minimumSize().width() + m.right();
    const auto direction = width() >= oneRow ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom;
    if (m_listRow->direction() != direction) {
        m_listRow->setDirection(direction);
        updateGeometry(); // two rows are taller
    }
}

QString CleanupListBar::countText() const {
    return m_count->text();
}

QString CleanupListBar::totalsText() const {
    return m_totals->text();
}

QString CleanupListBar::statusText() const {
    return m_status->text();
}

void CleanupListBar::refresh() {
    const CleanupListStore& list = m_model.app().cleanupList();
    const auto n = qlonglong(list.count());
    m_count->setText(n == 0   ? QStringLiteral("No items in cleanup list")
                     : n == 1 ? QStringLiteral("%1 item selected").arg(n)
                              : QStringLiteral("%1 items selected").arg(n));
    m_count->setForegroundRole(n == 0 ? QPalette::PlaceholderText : QPalette::WindowText);
    QStringList totals;
    const std::int64_t trash = list.trashTotal();
    const std::int64_t evict = list.removeDownloadTotal();
    const std::int64_t moveCopy = list.moveCopyTotal();
    if (trash >= 1)
        totals << QStringLiteral("To Trash %1").arg(bytes(trash));
    if (evict >= 1)
        totals << QStringLiteral("To free via Remove Download %1").arg(bytes(evict));
    if (moveCopy >= 1)
        totals << QStringLiteral("To Move/Copy %1").arg(bytes(moveCopy));
    m_totals->setText(totals.join(QStringLiteral("   ")));
    // One operation at a time: while one runs (or a scan is being saved) the buttons
    // that would start another wait.
    const bool idle = m_model.canStartOperation();
    m_copy->setEnabled(idle && moveCopy >= 1);
    m_move->setEnabled(idle && moveCopy >= 1);
    m_removeDownload->setEnabled(idle && evict >= 1);
    m_trash->setEnabled(idle && !FileOperations::trashableItems(list).empty());
    m_clear->setEnabled(n > 0);
}

void CleanupListBar::refreshOperation() {
    const bool running = m_model.operationRunning();
    const QString status = m_model.operationStatus();
    m_pages->setCurrentIndex(running || !status.isEmpty() ? 1 : 0);
    m_status->setText(status);
    m_status->setToolTip(status);
    m_progress->setVisible(running);
    m_cancel->setVisible(running);
    m_dismiss->setVisible(!running);
    if (running) {
        const FileOperations::Progress p = m_model.fileOperations().progress();
        const double done = p.bytesTotal > 0   ? double(p.bytesDone) / double(p.bytesTotal)
                            : p.itemsTotal > 0 ? double(p.itemsDone) / p.itemsTotal
                                               : 0.0;
        m_progress->setValue(int(done * 1000));
    }
    refresh();
}

void CleanupListBar::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.fillRect(rect(), palette().color(QPalette::Window));
    p.setPen(palette().color(QPalette::Mid));
    p.drawLine(0, 0, width(), 0); // the divider above the bar
}

} // namespace ringfold
