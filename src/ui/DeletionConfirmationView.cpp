#include "ui/DeletionConfirmationView.h"

#include "ui/Symbols.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
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

    auto* items = new QListWidget(this);
    items->setObjectName(QStringLiteral("items"));
    items->setMinimumHeight(180);
    items->setSelectionMode(QAbstractItemView::NoSelection);
    items->setFocusPolicy(Qt::NoFocus);
    const QIcon folder = symbolIcon("folder");
    const QIcon doc = symbolIcon("doc");
    for (const NodePtr& node : texts.items) {
        const QString name = QString::fromUtf8(node->name().data(), qsizetype(node->name().size()));
        auto* row = new QListWidgetItem(node->isDirectory() ? folder : doc,
                                        name + QLatin1Char('\t') + texts.sizeLabel(*node), items);
        row->setToolTip(QString::fromStdString(node->url()));
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
