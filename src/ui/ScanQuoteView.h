#pragma once
// One quotation under the scanning message, changing to the next every 30 seconds
// with a short cross-fade (none when the desktop asks for reduced motion).

#include "ui/QuoteDeck.h"

#include <QWidget>

class QLabel;
class QTimer;
class QGraphicsOpacityEffect;

namespace ringfold {

class ScanQuoteView : public QWidget {
    Q_OBJECT

public:
    explicit ScanQuoteView(std::vector<Quote> deck, QWidget* parent = nullptr);

    static constexpr int kIntervalMs = 30'000;
    /// Shows the next quote (wrapping around).
    void advance();
    const Quote* current() const;

private:
    void show(std::size_t index);

    std::vector<Quote> m_deck;
    std::size_t m_index = 0;
    QLabel* m_text;
    QLabel* m_attribution;
    QTimer* m_timer;
    QGraphicsOpacityEffect* m_fade;
};

} // namespace ringfold
