#pragma once
// The once-per-launch banner after a cleanup reclaimed at least 1 GiB: the amount,
// a thank-you with "Buy Me a Coffee…" (the donation page) and "Dismiss". It shows
// while MainWindowModel::coffeeMomentBytes holds an amount.
//
// Threads: GUI thread only.

#include <QWidget>

class QLabel;

namespace ringfold {

class MainWindowModel;

class CoffeeMomentBanner : public QWidget {
    Q_OBJECT

public:
    explicit CoffeeMomentBanner(MainWindowModel& model, QWidget* parent = nullptr);
    QString text() const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void refresh();

    MainWindowModel& m_model;
    QLabel* m_text = nullptr;
};

} // namespace ringfold
