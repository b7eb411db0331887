#include "ui/PreviewPane.h"

#include "app/stores/SettingsStore.h"
#include "app/window/SavedScans.h"
#include "core/model/ByteFormat.h"
#include "core/model/Tree.h"
#include "ui/PreviewContent.h"
#include "ui/Symbols.h"
#include "ui/WrapAnywhereLabel.h"

#include <QApplication>
#include <QDateTime>
#include <QFile>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QMimeDatabase>
#include <QMouseEvent>
#include <QPlainTextEdit>
#include <QPointer>
#include <QStackedWidget>
#include <QThreadPool>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace ringfold {

namespace {

QFrame* rule(QWidget* parent) {
    auto* line = new QFrame(parent);
    line->setFrameShape(QFrame::HLine);
    line->setForegroundRole(QPalette::Mid);
    return line;
}

QToolButton* iconButton(const char* symbol, const QString& help, QWidget* parent) {
    auto* b = new QToolButton(parent);
    b->setIcon(symbolIcon(symbol));
    b->setToolTip(help);
    b->setAccessibleName(help);
    b->setAutoRaise(true);
    return b;
}

QString decoded(std::string_view s) {
    return QFile::decodeName(QByteArray(s.data(), qsizetype(s.size())));
}

QIcon iconFor(const FileNode& node) {
    if (node.isDirectory())
        return symbolIcon("folder");
    const QMimeType type =
        QMimeDatabase().mimeTypeForFile(decoded(node.name()), QMimeDatabase::MatchExtension);
    return QIcon::fromTheme(type.iconName(),
                            QIcon::fromTheme(type.genericIconName(), symbolIcon("doc")));
}

} // namespace

PreviewPane::PreviewPane(SettingsStore& settings, Actions actions, QWidget* parent)
    : QWidget(parent), m_settings(settings), m_actions(std::move(actions)) {
    auto* outer = new QHBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->setSpacing(0);
    m_divider = new QWidget(this);
    m_divider->setFixedWidth(5);
    m_divider->setCursor(Qt::SplitHCursor);
    m_divider->setToolTip(QStringLiteral("Drag to resize the preview"));
    m_divider->installEventFilter(this);
    outer->addWidget(m_divider);
    auto* line = new QFrame(this);
    line->setFrameShape(QFrame::VLine);
    line->setForegroundRole(QPalette::Mid);
    outer->addWidget(line);

    m_pages = new QStackedWidget(this);
    outer->addWidget(m_pages, 1);
    auto* empty = new QLabel(QStringLiteral("Select a file to preview"), m_pages);
    empty->setAlignment(Qt::AlignCenter);
    empty->setWordWrap(true);
    empty->setForegroundRole(QPalette::PlaceholderText);
    m_pages->addWidget(empty);

    auto* page = new QWidget(m_pages);
    auto* column = new QVBoxLayout(page);
    column->setContentsMargins(12, 12, 12, 12);
    column->setSpacing(8);
    auto* header = new QHBoxLayout;
    m_icon = new QLabel(page);
    m_name = new WrapAnywhereLabel({}, page);
    m_name->setMaximumLines(3);
    m_name->setBreakAnywhere(true);
    QFont bold = m_name->font();
    bold.setBold(true);
    m_name->setFont(bold);
    header->addWidget(m_icon, 0, Qt::AlignTop);
    header->addWidget(m_name, 1, Qt::AlignVCenter);
    column->addLayout(header);
    auto* buttons = new QHBoxLayout;
    QToolButton* reveal = m_reveal =
        iconButton("magnifyingglass", QStringLiteral("Show in File Manager"), page);
    QToolButton* look = m_look = iconButton("eye", QStringLiteral("Quick Preview"), page);
    m_info = iconButton("info.circle", QStringLiteral("Get Info"), page);
    for (QToolButton* b : {reveal, look, m_info})
        buttons->addWidget(b);
    buttons->addStretch(1);
    column->addLayout(buttons);
    auto call = [this](const std::function<void(const NodePtr&)>& action) {
        return [this, &action] {
            if (action && m_node)
                action(m_node);
        };
    };
    connect(reveal, &QToolButton::clicked, this, call(m_actions.reveal));
    connect(look, &QToolButton::clicked, this, call(m_actions.quickPreview));
    connect(m_info, &QToolButton::clicked, this, call(m_actions.getInfo));
    m_info->setVisible(bool(m_actions.getInfo));
    look->setVisible(bool(m_actions.quickPreview));

    column->addWidget(rule(page));
    m_preview = new QStackedWidget(page);
    m_bigIcon = new QLabel(m_preview);
    m_bigIcon->setAlignment(Qt::AlignCenter);
    m_image = new QLabel(m_preview);
    m_image->setAlignment(Qt::AlignCenter);
    // The picture follows the pane's size (see resizeEvent) rather than dictate it.
    m_image->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
    m_rescale = new QTimer(this);
    m_rescale->setSingleShot(true);
    m_rescale->setInterval(120);
    connect(m_rescale, &QTimer::timeout, this, [this] {
        if (m_node && m_preview->currentWidget() == m_image && previewBox() != m_imageBox) {
            ++m_generation; // a read still under way for the old size is dropped
            loadPreview();
        }
    });
    m_text = new QPlainTextEdit(m_preview);
    m_text->setReadOnly(true);
    m_text->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_text->setFont(QFont(QStringLiteral("monospace")));
    for (QWidget* w : {static_cast<QWidget*>(m_bigIcon), static_cast<QWidget*>(m_image),
                       static_cast<QWidget*>(m_text)})
        m_preview->addWidget(w);
    // The live preview takes what the header and the facts leave, down to nothing in
    // a short window.
    m_preview->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Ignored);
    column->addWidget(m_preview, 1);
    column->addWidget(rule(page));
    m_facts = new QWidget(page);
    // Each label above its value: the values get the pane's whole width, and a path
    // wraps over a few lines rather than squeezing beside its label. (A box gives
    // wrapped values the height they need; a form layout's wrapped rows fall short.)
    auto* facts = new QVBoxLayout(m_facts);
    facts->setContentsMargins(0, 0, 0, 0);
    facts->setSpacing(1);
    column->addWidget(m_facts);
    m_shared = new QWidget(page);
    auto* sharedRow = new QHBoxLayout(m_shared);
    sharedRow->setContentsMargins(0, 6, 0, 0);
    auto* link = new QLabel(m_shared);
    link->setPixmap(symbolIcon("link").pixmap(16, 16));
    auto* sharedText = new QLabel(
        QStringLiteral(
            "<b>Shares space with another copy</b><br><small>This file's data is stored once "
            "and used by more than one file. Ringfold counts that space against the other "
            "copy, so this one adds nothing to the total. Removing only this copy won't free "
            "space \u2014 the data stays until every copy is gone.</small>"),
        m_shared);
    sharedText->setWordWrap(true);
    sharedRow->addWidget(link, 0, Qt::AlignTop);
    sharedRow->addWidget(sharedText, 1);
    column->addWidget(m_shared);
    m_pages->addWidget(page);

    setPaneWidth(int(std::lround(m_settings.previewPaneWidth())), false);
    rebuild();
}

void PreviewPane::setNode(NodePtr node) {
    if (node == m_node)
        return;
    m_node = std::move(node);
    rebuild();
}

void PreviewPane::rebuild() {
    ++m_generation;
    m_pages->setCurrentIndex(m_node ? 1 : 0);
    if (!m_node)
        return;
    const FileNode& n = *m_node;
    const QIcon icon = iconFor(n);
    m_icon->setPixmap(icon.pixmap(32, 32));
    m_bigIcon->setPixmap(icon.pixmap(96, 96));
    m_name->setText(decoded(n.name()));
    m_preview->setCurrentWidget(m_bigIcon);

    auto* facts = static_cast<QVBoxLayout*>(m_facts->layout());
    while (QLayoutItem* item = facts->takeAt(0)) {
        delete item->widget();
        delete item;
    }
    auto add = [&](const char* label, const QString& value) {
        if (facts->count() > 0)
            facts->addSpacing(5);
        auto* name = new QLabel(QString::fromUtf8(label), m_facts);
        name->setForegroundRole(QPalette::PlaceholderText);
        auto* v = new WrapAnywhereLabel(value, m_facts);
        v->setObjectName(QString::fromUtf8(label));
        const bool path = std::strcmp(label, "Path") == 0;
        v->setMaximumLines(path ? 6 : 3);
        v->setBreakAnywhere(path);
        facts->addWidget(name);
        facts->addWidget(v);
    };
    add("Kind", kindDescription(std::string(n.name()), n.isDirectory()));
    const bool zeroed = n.sharesStorage() && n.allocatedSize() == 0;
    add("Size", zeroed ? QString::fromStdString(formatFileStyle(n.logicalSize())) +
                             QStringLiteral(" of content")
                       : QString::fromStdString(formatFileStyle(n.allocatedSize())));
    if (auto date = n.modificationDate())
        add("Modified",
            QLocale().toString(QDateTime::fromSecsSinceEpoch(qint64(*date)), QLocale::ShortFormat));
    add("Path", QFile::decodeName(QByteArray::fromStdString(n.url())));
    m_shared->setVisible(n.sharesStorage());
    // A saved scan's path may name another computer's file, or another file here.
    const bool record = n.tree().isRecord();
    for (QToolButton* b : {m_reveal, m_look}) {
        b->setEnabled(!record);
        b->setToolTip(record ? savedScanReason() : b->accessibleName());
    }
    loadPreview();
}

void PreviewPane::loadPreview() {
    if (m_node->isDirectory() || m_node->tree().isRecord()) {
        emit previewLoaded();
        return;
    }
    const quint64 generation = m_generation;
    const QSize box = previewBox();
    QPointer<PreviewPane> self(this);
    QThreadPool::globalInstance()->start([self, generation, box, path = m_node->url()] {
        PreviewContent content = PreviewContent::load(path, box);
        QMetaObject::invokeMethod(qApp, [self, generation, box, content = std::move(content)] {
            if (!self || self->m_generation != generation)
                return; // another node was selected meanwhile
            if (content.kind == PreviewContent::Kind::image) {
                QPixmap picture = QPixmap::fromImage(content.image);
                picture.setDevicePixelRatio(self->devicePixelRatioF());
                self->m_image->setPixmap(picture);
                self->m_imageBox = box;
                self->m_preview->setCurrentWidget(self->m_image);
            } else if (content.kind == PreviewContent::Kind::text) {
                self->m_text->setPlainText(content.text);
                self->m_preview->setCurrentWidget(self->m_text);
            }
            emit self->previewLoaded();
        });
    });
}

// The room the live preview has, in device pixels.
QSize PreviewPane::previewBox() const {
    return QSize(std::max(width() - 40, 64), std::max(m_preview->height(), 160)) *
           devicePixelRatioF();
}

// A picture is read again for the new size once the resizing pauses: scaling the
// shown one would blur it when the pane grows.
void PreviewPane::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    if (m_node && m_preview->currentWidget() == m_image)
        m_rescale->start();
}

QString PreviewPane::factText(const QString& label) const {
    auto* value = m_facts->findChild<WrapAnywhereLabel*>(label);
    return value ? value->text() : QString();
}

bool PreviewPane::showsSharedNote() const {
    return m_node && !m_shared->isHidden();
}

bool PreviewPane::showsLivePreview() const {
    return m_node && m_preview->currentWidget() != m_bigIcon;
}

QSize PreviewPane::sizeHint() const {
    return QSize(m_width, QWidget::sizeHint().height());
}

// The pane takes its width but gives way, down to kMinWidth, in a narrow window.
void PreviewPane::setPaneWidth(int width, bool persist) {
    width = std::clamp(width, kMinWidth, kMaxWidth);
    m_width = width;
    setMinimumWidth(kMinWidth);
    setMaximumWidth(width);
    setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Preferred);
    updateGeometry();
    if (persist)
        m_settings.setPreviewPaneWidth(width);
}

// Dragging the divider left widens the pane; the width is saved when the drag ends.
bool PreviewPane::eventFilter(QObject* watched, QEvent* event) {
    if (watched != m_divider)
        return QWidget::eventFilter(watched, event);
    auto* mouse = static_cast<QMouseEvent*>(event);
    switch (event->type()) {
    case QEvent::MouseButtonPress:
        m_dragBase = width();
        m_dragStartX = int(mouse->globalPosition().x());
        return true;
    case QEvent::MouseMove:
        if (m_dragBase >= 0)
            setPaneWidth(m_dragBase - (int(mouse->globalPosition().x()) - m_dragStartX), false);
        return true;
    case QEvent::MouseButtonRelease:
        if (m_dragBase >= 0)
            setPaneWidth(m_width, true);
        m_dragBase = -1;
        return true;
    default:
        return QWidget::eventFilter(watched, event);
    }
}

} // namespace ringfold
