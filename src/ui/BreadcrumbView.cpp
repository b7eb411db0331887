#include "ui/BreadcrumbView.h"

#include "app/viewmodels/ChartViewModel.h"
#include "ui/Symbols.h"

#include <QEvent>
#include <QFile>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QToolButton>

namespace ringfold {

namespace {

QToolButton* plainButton(const char* symbol, const QString& tip, QWidget* parent) {
    auto* b = new QToolButton(parent);
    b->setIcon(symbolIcon(symbol));
    b->setToolTip(tip);
    b->setAutoRaise(true);
    b->setFocusPolicy(Qt::TabFocus);
    return b;
}

// Crumbs keep the bar on one line: very long names are cut in the middle.
constexpr int kMaxCrumbChars = 32;

QString crumbText(const FileNode* node) {
    QString text =
        QFile::decodeName(QByteArray(node->name().data(), qsizetype(node->name().size())));
    if (text.isEmpty())
        text = QFile::decodeName(QByteArray::fromStdString(node->url()));
    if (text.size() > kMaxCrumbChars)
        text = text.left(kMaxCrumbChars * 2 / 3) + QChar(0x2026) +
               text.right(kMaxCrumbChars - kMaxCrumbChars * 2 / 3 - 1);
    return text;
}

} // namespace

BreadcrumbView::BreadcrumbView(ChartViewModel& model, std::function<void()> onHome, QWidget* parent)
    : QWidget(parent), m_model(model), m_onHome(std::move(onHome)) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(8, 4, 8, 4);
    row->setSpacing(2);

    m_home = plainButton("house", tr("Home — all drives"), this);
    connect(m_home, &QToolButton::clicked, this, [this] {
        if (m_onHome)
            m_onHome();
    });
    row->addWidget(m_home);

    auto* separator = new QFrame(this);
    separator->setFixedSize(1, 20);
    separator->setAutoFillBackground(true);
    separator->setBackgroundRole(QPalette::Mid);
    row->addSpacing(4);
    row->addWidget(separator);
    row->addSpacing(4);

    m_back = plainButton("chevron.backward", tr("Go Back"), this);
    m_forward = plainButton("chevron.forward", tr("Go Forward"), this);
    for (QToolButton* b : {m_back, m_forward}) {
        b->setFixedSize(28, 28);
        b->setIconSize(QSize(14, 14));
        row->addWidget(b);
    }
    connect(m_back, &QToolButton::clicked, &m_model, &ChartViewModel::goBack);
    connect(m_forward, &QToolButton::clicked, &m_model, &ChartViewModel::goForward);
    row->addSpacing(6);

    m_crumbLayout = new QHBoxLayout;
    m_crumbLayout->setSpacing(0);
    row->addLayout(m_crumbLayout);
    row->addStretch(1);

    connect(&m_model, &ChartViewModel::focusedNodeChanged, this, &BreadcrumbView::rebuild);
    connect(&m_model, &ChartViewModel::rootNodeChanged, this, &BreadcrumbView::rebuild);
    connect(&m_model, &ChartViewModel::historyChanged, this, &BreadcrumbView::updateHistoryButtons);
    connect(&m_model, &ChartViewModel::historyIndexChanged, this,
            &BreadcrumbView::updateHistoryButtons);
    rebuild();
}

void BreadcrumbView::updateHistoryButtons() {
    m_back->setEnabled(m_model.canGoBack());
    m_forward->setEnabled(m_model.canGoForward());
}

void BreadcrumbView::rebuild() {
    // Later, not now: the crumb being clicked is still inside its own click handler.
    while (QLayoutItem* item = m_crumbLayout->takeAt(0)) {
        if (QWidget* w = item->widget()) {
            w->hide();
            w->deleteLater();
        }
        delete item;
    }
    m_crumbs.clear();
    const std::vector<FileNode*> crumbs = m_model.breadcrumbs();
    const QPalette pal = palette();
    for (std::size_t i = 0; i < crumbs.size(); ++i) {
        FileNode* node = crumbs[i];
        const bool focused = i + 1 == crumbs.size();
        if (i > 0) {
            auto* chevron = new QLabel(this);
            chevron->setPixmap(symbolIcon("chevron.right").pixmap(QSize(12, 12)));
            m_crumbLayout->addWidget(chevron);
        }
        auto* crumb = new QToolButton(this);
        crumb->setText(crumbText(node));
        crumb->setAutoRaise(true);
        crumb->setToolButtonStyle(Qt::ToolButtonTextOnly);
        crumb->setToolTip(QFile::decodeName(QByteArray::fromStdString(node->url())));
        QPalette crumbPalette = pal;
        crumbPalette.setColor(QPalette::ButtonText, focused ? pal.color(QPalette::WindowText)
                                                            : pal.color(QPalette::Highlight));
        crumb->setPalette(crumbPalette);
        if (focused) {
            QFont f = crumb->font();
            f.setWeight(QFont::DemiBold);
            crumb->setFont(f);
        }
        NodePtr target = node->shared();
        connect(crumb, &QToolButton::clicked, this, [this, target] { m_model.focus(target); });
        m_crumbLayout->addWidget(crumb);
        m_crumbs.append(crumb);
    }
    updateHistoryButtons();
}

void BreadcrumbView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        rebuild();
}

} // namespace ringfold
