#pragma once
// The strip under the panels that shows the cleanup list: how many items it holds,
// what a trash, an eviction or a move would involve, and the buttons that start
// them. While a file operation runs, the same strip shows what it is doing, a
// progress bar and "Cancel"; after a cancelled operation, what it did.
//
// Threads: GUI thread only.

#include <QWidget>

class QBoxLayout;
class QHBoxLayout;
class QLabel;
class QProgressBar;
class QPushButton;
class QStackedLayout;

namespace ringfold {

class MainWindowModel;

class CleanupListBar : public QWidget {
    Q_OBJECT

public:
    explicit CleanupListBar(MainWindowModel& model, QWidget* parent = nullptr);

    QPushButton* copyButton() const { return m_copy; }
    QPushButton* moveButton() const { return m_move; }
    QPushButton* removeDownloadButton() const { return m_removeDownload; }
    QPushButton* trashButton() const { return m_trash; }
    QPushButton* clearButton() const { return m_clear; }
    QPushButton* cancelButton() const { return m_cancel; }
    QString countText() const;
    QString totalsText() const;
    QString statusText() const;
    QSize minimumSizeHint() const override;

signals:
    /// "Copy to…": the window asks for a destination, then copies the list there.
    void copyRequested();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void refresh();
    void refreshOperation();

    MainWindowModel& m_model;
    QStackedLayout* m_pages = nullptr;
    QBoxLayout* m_listRow = nullptr; // the info and the buttons: side by side or stacked
    QHBoxLayout* m_infoRow = nullptr;
    QHBoxLayout* m_buttonRow = nullptr;
    QLabel* m_count = nullptr;
    QLabel* m_totals = nullptr;
    QPushButton* m_copy = nullptr;
    QPushButton* m_move = nullptr;
    QPushButton* m_removeDownload = nullptr;
    QPushButton* m_trash = nullptr;
    QPushButton* m_clear = nullptr;
    QLabel* m_status = nullptr;
    QProgressBar* m_progress = nullptr;
    QPushButton* m_cancel = nullptr;
    QPushButton* m_dismiss = nullptr;
};

} // namespace ringfold
