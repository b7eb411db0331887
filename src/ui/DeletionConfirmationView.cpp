#include "ui/DeletionConfirmationView.h"

#include "ui/Symbols.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace ringfold {

DeletionConfirmationView::DeletionConfirmationView(const DeletionConfirmation& texts,
                                                   QWidget* parent)
    : QDialog(parent) {
    setWindowTitle(texts.title);
    setWindowModality(Qt::WindowModal);
    setMinimumSize(420, 320);
    resize(480, 380);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 20, 20, 16);
    layout->setSpacing(10);

    auto* title = new QLabel(texts.title, this);
    QFont headline = title->font();
    headline.setBold(true);
    headline.setPointSizeF(headline.pointSizeF() * 1.15);
    title->setFont(headline);
    title->setObjectName(QStringLiteral("title"));
    layout->addWidget(title);

    auto* subtitle = new QLabel(texts.subtitle, this);
    subtitle->setWordWrap(true);
    subtitle->setObjectName(QStringLiteral("subtitle"));
    layout->addWidget(subtitle);

    auto* items = new QTreeWidget(this);
    items->setObjectName(QStringLiteral("items"));
    items->setMinimumHeight(180);
    items->setColumnCount(2);
    items->setHeaderHidden(true);
    items->setRootIsDecorated(false);
    items->setIconSize(QSize(16, 16));
    items->setSelectionMode(QAbstractItemView::NoSelection);
    items->setFocusPolicy(Qt::NoFocus);
    items->header()->setStretchLastSection(false);
    items->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    items->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
    const QIcon folder = symbolIcon("folder");
    const QIcon doc = symbolIcon("doc");
    for (const NodePtr& node : texts.items) {
        auto* row = new QTreeWidgetItem(items);
        row->setIcon(0, node->isDirectory() ? folder : doc);
        row->setText(0, QString::fromUtf8(node->name().data(), qsizetype(node->name().size())));
        row->setToolTip(0, QString::fromStdString(node->url()));
        row->setText(1, texts.sizeLabel(*node));
        row->setTextAlignment(1, Qt::AlignRight | Qt::AlignVCenter);
        row->setForeground(1, palette().brush(QPalette::PlaceholderText));
    }
    layout->addWidget(items, 1);

    auto* buttons = new QDialogButtonBox(this);
    QPushButton* cancel = buttons->addButton(QDialogButtonBox::Cancel);
    cancel->setText(QStringLiteral("Cancel"));
    QPushButton* confirm = buttons->addButton(texts.confirmLabel, QDialogButtonBox::AcceptRole);
    confirm->setObjectName(QStringLiteral("confirm"));
    confirm->setDefault(true);
    // The destructive action in the palette's warning colour.
    QPalette danger = confirm->palette();
    danger.setColor(QPalette::Button, QColor(0xd7, 0x3a, 0x31));
    danger.setColor(QPalette::ButtonText, Qt::white);
    confirm->setPalette(danger);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
}

} // namespace ringfold
