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

    // Ignored: a deep path must not widen the window; fitCrumbs makes it fit instead.
    m_crumbBox = new QWidget(this);
    m_crumbBox->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    m_crumbBox->setFixedHeight(28);
    m_crumbBox->installEventFilter(this);
    row->addWidget(m_crumbBox, 1);

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
    for (QWidget* w : m_crumbBox->findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
        w->hide();
        w->deleteLater();
    }
    m_crumbs.clear();
    m_chevrons.clear();
    m_ellipsis = nullptr;
    const std::vector<FileNode*> crumbs = m_model.breadcrumbs();
    const QPalette pal = palette();
    for (std::size_t i = 0; i < crumbs.size(); ++i) {
        FileNode* node = crumbs[i];
        const bool focused = i + 1 == crumbs.size();
        QLabel* chevron = nullptr;
        if (i > 0) {
            chevron = new QLabel(m_crumbBox);
            chevron->setPixmap(symbolIcon("chevron.right").pixmap(QSize(12, 12)));
        }
        m_chevrons.append(chevron);
        if (i == 1) {
            m_ellipsis = new QLabel(QStringLiteral("\u2026"), m_crumbBox);
            m_ellipsis->setContentsMargins(4, 0, 4, 0);
        }
        auto* crumb = new QToolButton(m_crumbBox);
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
        m_crumbs.append(crumb);
    }
    fitCrumbs();
    updateHistoryButtons();
}

void BreadcrumbView::fitCrumbs() {
    const int count = int(m_crumbs.size());
    auto widthOf = [](QWidget* w) { return w ? w->sizeHint().width() : 0; };
    int total = 0;
    for (int i = 0; i < count; ++i)
        total += widthOf(m_crumbs[i]) + widthOf(m_chevrons[i]);
    // Crumbs 1..hidden give way (with the chevrons between them) to one ellipsis until
    // the rest fits; the root and the focused crumb stay.
    int hidden = 0;
    if (total > m_crumbBox->width() && count > 2)
        total += widthOf(m_ellipsis);
    while (total > m_crumbBox->width() && hidden + 1 < count - 1) {
        ++hidden;
        total -= widthOf(m_crumbs[hidden]) + (hidden > 1 ? widthOf(m_chevrons[hidden]) : 0);
    }
    // Left to right: root, chevron, [ellipsis], then the crumbs that show.
    int x = 0;
    auto place = [&](QWidget* w, bool visible) {
        if (!w)
            return;
        w->setVisible(visible);
        if (!visible)
            return;
        const QSize hint = w->sizeHint();
        w->setGeometry(x, (m_crumbBox->height() - hint.height()) / 2, hint.width(), hint.height());
        x += hint.width();
    };
    for (int i = 0; i < count; ++i) {
        place(m_chevrons[i], i <= 1 || i > hidden);
        if (i == 1)
            place(m_ellipsis, hidden > 0);
        place(m_crumbs[i], i == 0 || i > hidden);
    }
}

bool BreadcrumbView::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_crumbBox && event->type() == QEvent::Resize)
        fitCrumbs();
    return QWidget::eventFilter(watched, event);
}

void BreadcrumbView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        rebuild();
}

} // namespace ringfold
