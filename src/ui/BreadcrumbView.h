#pragma once
// The bar above the map: a home button (back to all drives, through the window's
// onHome), back and forward through the map's history, and one button per folder
// from the scan root to the focused folder. The focused folder's crumb is in the text
// colour, the others in the accent colour; clicking one focuses it. When the path is
// wider than the bar, the crumbs after the root give way to "…", nearest the root
// first, so the root and the focused folder always show.
//
// Threads: GUI thread only.

#include <QWidget>

#include <functional>

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
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void rebuild();
    void fitCrumbs();
    void updateHistoryButtons();

    ChartViewModel& m_model;
    std::function<void()> m_onHome;
    QToolButton* m_home;
    QToolButton* m_back;
    QToolButton* m_forward;
    // Crumbs are placed by hand (fitCrumbs), not by a layout: which of them show
    // depends on the width they are given.
    QWidget* m_crumbBox;
    QList<QToolButton*> m_crumbs;
    // m_chevrons[i] stands before crumb i; the first is null.
    QList<QWidget*> m_chevrons;
    QWidget* m_ellipsis = nullptr;
};

} // namespace ringfold
