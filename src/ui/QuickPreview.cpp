#include "ui/QuickPreview.h"

#include "ui/PreviewContent.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDialog>
#include <QFile>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPointer>
#include <QStackedLayout>
#include <QThreadPool>
#include <QUrl>

namespace ringfold {

namespace {

constexpr const char* kPreviewer = "org.gnome.NautilusPreviewer";

bool previewerAvailable() {
    QDBusConnectionInterface* bus = QDBusConnection::sessionBus().interface();
    if (!bus)
        return false;
    const QString name = QString::fromLatin1(kPreviewer);
    return bus->isServiceRegistered(name).value() ||
           bus->activatableServiceNames().value().contains(name);
}

class PreviewWindow : public QDialog {
public:
    explicit PreviewWindow(QWidget* parent) : QDialog(parent) {
        setWindowTitle(QStringLiteral("Quick Preview"));
        resize(720, 560);
        auto* stack = new QStackedLayout(this);
        m_message = new QLabel(this);
        m_message->setAlignment(Qt::AlignCenter);
        m_message->setWordWrap(true);
        m_image = new QLabel(this);
        m_image->setAlignment(Qt::AlignCenter);
        m_text = new QPlainTextEdit(this);
        m_text->setReadOnly(true);
        m_text->setFont(QFont(QStringLiteral("monospace")));
        stack->addWidget(m_message);
        stack->addWidget(m_image);
        stack->addWidget(m_text);
        m_stack = stack;
    }

    void show(const NodePtr& node) {
        const QString name =
            QFile::decodeName(QByteArray(node->name().data(), qsizetype(node->name().size())));
        setWindowTitle(name);
        m_message->setText(node->isDirectory() ? QStringLiteral("%1 is a folder.").arg(name)
                                               : QStringLiteral("Loading…"));
        m_stack->setCurrentWidget(m_message);
        QDialog::show();
        raise();
        activateWindow();
        if (node->isDirectory())
            return;
        const quint64 generation = ++m_generation;
        QPointer<PreviewWindow> self(this);
        const QSize box = size() * devicePixelRatioF();
        QThreadPool::globalInstance()->start([self, generation, box, name, path = node->url()] {
            PreviewContent content = PreviewContent::load(path, box);
            QMetaObject::invokeMethod(qApp, [self, generation, name, content = std::move(content)] {
                if (!self || self->m_generation != generation)
                    return;
                self->present(content, name);
            });
        });
    }

private:
    void present(const PreviewContent& content, const QString& name) {
        if (content.kind == PreviewContent::Kind::image) {
            QPixmap picture = QPixmap::fromImage(content.image);
            picture.setDevicePixelRatio(devicePixelRatioF());
            m_image->setPixmap(picture);
            m_stack->setCurrentWidget(m_image);
        } else if (content.kind == PreviewContent::Kind::text) {
            m_text->setPlainText(content.text);
            m_stack->setCurrentWidget(m_text);
        } else {
            m_message->setText(QStringLiteral("No preview of %1.").arg(name));
        }
    }

    QStackedLayout* m_stack = nullptr;
    QLabel* m_message = nullptr;
    QLabel* m_image = nullptr;
    QPlainTextEdit* m_text = nullptr;
    quint64 m_generation = 0;
};

} // namespace

void quickPreview(const NodePtr& node, QWidget* parent) {
    if (!node)
        return;
    if (previewerAvailable()) {
        QDBusMessage call = QDBusMessage::createMethodCall(
            QString::fromLatin1(kPreviewer), QStringLiteral("/org/gnome/NautilusPreviewer"),
            QString::fromLatin1(kPreviewer), QStringLiteral("ShowFile"));
        const QUrl uri =
            QUrl::fromLocalFile(QFile::decodeName(QByteArray::fromStdString(node->url())));
        call << uri.toString(QUrl::FullyEncoded) << 0 << false;
        QDBusConnection::sessionBus().asyncCall(call);
        return;
    }
    static QPointer<PreviewWindow> window;
    if (!window)
        window = new PreviewWindow(parent ? parent->window() : nullptr);
    window->show(node);
}

} // namespace ringfold
