#include "ui/ItemInfoView.h"

#include "core/model/ByteFormat.h"
#include "ui/Symbols.h"

#include <QDateTime>
#include <QDialogButtonBox>
#include <QFile>
#include <QFormLayout>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QVBoxLayout>

namespace ringfold {

namespace {

QString text(const std::string& s) {
    return QFile::decodeName(QByteArray::fromStdString(s));
}

QLabel* value(const QString& s, QWidget* parent) {
    auto* label = new QLabel(s, parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

} // namespace

ItemInfoView::ItemInfoView(const NodePtr& node, QWidget* parent) : QDialog(parent) {
    const QString name = text(std::string(node->name()));
    setWindowTitle(name);
    setWindowModality(Qt::WindowModal);
    setMinimumWidth(420);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 20, 20, 16);
    auto* header = new QHBoxLayout;
    auto* icon = new QLabel(this);
    icon->setPixmap(symbolIcon(node->isDirectory() ? "folder" : "doc").pixmap(40, 40));
    auto* title = value(name, this);
    QFont headline = title->font();
    headline.setBold(true);
    headline.setPointSizeF(headline.pointSizeF() * 1.15);
    title->setFont(headline);
    header->addWidget(icon);
    header->addWidget(title, 1);
    layout->addLayout(header);

    auto* rows = new QFormLayout;
    rows->setLabelAlignment(Qt::AlignRight);
    rows->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    auto add = [&](const char* label, const QString& v) {
        rows->addRow(QString::fromUtf8(label), value(v, this));
    };
    add("Name", name);
    add("Path", text(node->url()));
    add("Logical Size", QString::fromStdString(formatFileStyle(node->logicalSize())));
    const bool zeroedDuplicate = node->sharesStorage() && node->allocatedSize() == 0;
    add("Allocated Size", zeroedDuplicate
                              ? QStringLiteral("None of its own")
                              : QString::fromStdString(formatFileStyle(node->allocatedSize())));
    if (node->sharesStorage())
        add("Shared storage",
            QStringLiteral("This data is stored once but exists under more than one name. "
                           "Deleting any one of them frees nothing; the space comes back when "
                           "every copy is gone."));
    if (auto date = node->modificationDate())
        add("Modified",
            QLocale().toString(QDateTime::fromSecsSinceEpoch(qint64(*date)), QLocale::LongFormat));
    if (node->cloudStatus() != CloudStatus::notApplicable)
        add("Cloud", node->cloudStatus() == CloudStatus::cloudDownloaded
                         ? QStringLiteral("Downloaded locally")
                         : QStringLiteral("Placeholder (not downloaded)"));
    if (node->isHidden())
        add("Hidden", QStringLiteral("Yes"));
    if (node->isRestricted())
        add("Restricted", QStringLiteral("Yes"));
    layout->addLayout(rows);

    auto* buttons = new QDialogButtonBox(this);
    QPushButton* done = buttons->addButton(QStringLiteral("Done"), QDialogButtonBox::AcceptRole);
    done->setDefault(true);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    layout->addWidget(buttons);
}

} // namespace ringfold
