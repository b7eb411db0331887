#pragma once
// The bar above the map: a home button (back to all drives, through the window's
// onHome), back and forward through the map's history, and one button per folder
// from the scan root to the focused folder. The focused folder's crumb is in the text
// colour, the others in the accent colour; clicking one focuses it.
//
// Threads: GUI thread only.

#include <QWidget>

#include <functional>

class QHBoxLayout;
class QToolButton;

namespace ringfold {

class ChartViewModel;

class BreadcrumbView : public QWidget {
    Q_OBJECT

public:
    BreadcrumbView(ChartViewModel& model, std::function<void()> onHome, QWidget* parent = nullptr);

    QToolButton* homeButton() const { return m_home; }
    QToolButton* backButton() const { return m_back; }
    QToolButton* forwardButton() const { return m_forward; }
    /// The crumb buttons, root first.
    QList<QToolButton*> crumbButtons() const { return m_crumbs; }

protected:
    void changeEvent(QEvent* event) override;

private:
    void rebuild();
    void updateHistoryButtons();

    ChartViewModel& m_model;
    std::function<void()> m_onHome;
    QToolButton* m_home;
    QToolButton* m_back;
    QToolButton* m_forward;
    QHBoxLayout* m_crumbLayout;
    QList<QToolButton*> m_crumbs;
};

} // namespace ringfold
