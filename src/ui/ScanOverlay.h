#pragma once
// Covers the detail area while the selected source is being scanned: a pulse,
// "Scanning <name>…", the volume's free and total space, the items and bytes found
// so far (polled from the scanner's counters five times a second), a rotating quote
// and Cancel, which stops the scan and returns to the drive gallery.
//
// Threads: GUI thread; the counters it polls are the scanner's relaxed atomics.

#include <QWidget>

#include <cstdint>

class QLabel;
class QPushButton;
class QTimer;

namespace ringfold {

class MainWindowModel;
class ScanQuoteView;

class ScanOverlay : public QWidget {
    Q_OBJECT

public:
    explicit ScanOverlay(MainWindowModel& window, QWidget* parent = nullptr);

    static constexpr int kPollIntervalMs = 200;

    /// Re-reads the scanned source's name and capacity; the window calls it whenever
    /// the overlay is shown.
    void refresh();
    QPushButton* cancelButton() const { return m_cancel; }
    QLabel* titleLabel() const { return m_title; }
    std::int64_t shownItems() const { return m_items; }
    std::int64_t shownBytes() const { return m_bytes; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void poll();

    MainWindowModel& m_window;
    QWidget* m_card;
    QLabel* m_title;
    QLabel* m_capacity;
    QLabel* m_progress;
    ScanQuoteView* m_quote;
    QPushButton* m_cancel;
    QTimer* m_poll;
    std::int64_t m_items = -1;
    std::int64_t m_bytes = -1;
};

} // namespace ringfold
