#pragma once
// What a panel shows instead of an empty table: a large symbol over one line of
// secondary text, centred.
//
// Threads: GUI thread only.

#include <QWidget>

class QLabel;

namespace ringfold {

class EmptyStateView : public QWidget {
    Q_OBJECT

public:
    explicit EmptyStateView(QWidget* parent = nullptr);

    void setState(const char* symbol, const QString& text);
    QString text() const;

protected:
    void changeEvent(QEvent* event) override;

private:
    void updateColours();

    QLabel* m_icon;
    QLabel* m_text;
    const char* m_symbol = nullptr;
};

} // namespace ringfold
