#pragma once
// The panels under the map: the picker ("Folder", "Biggest Files", "Categories",
// "System Junk") bound to the window model's active panel, the stack that shows the
// active one, and the commands that switch panels (Ctrl+3 "System Junk", Ctrl+4
// "Categories"; the window puts them in its menu). Every panel's rows ask for their
// context menu through the same signal; this shows the shared row menu with the
// entries that panel offers (drilling into folders, adding favourites).
//
// Threads: GUI thread only.

#include "app/window/MainWindowModel.h"

#include <QPoint>
#include <QWidget>

#include <array>

class QAbstractButton;
class QAction;
class QStackedWidget;

namespace ringfold {

class PanelStack : public QWidget {
    Q_OBJECT

public:
    using Panel = MainWindowModel::Panel;
    static constexpr std::array<Panel, 4> kPanels{Panel::folder, Panel::biggestFiles,
                                                  Panel::categories, Panel::systemJunk};

    explicit PanelStack(MainWindowModel& model, QWidget* parent = nullptr);

    /// The widget of a panel; null for a panel not built into this program.
    QWidget* panel(Panel panel) const { return m_panels[index(panel)]; }
    QWidget* currentPanel() const;
    QAbstractButton* pickerButton(Panel panel) const { return m_buttons[index(panel)]; }
    /// The command that shows a panel.
    QAction* panelAction(Panel panel) const { return m_actions[index(panel)]; }

private slots:
    void showRowMenu(ringfold::NodePtr node, QPoint globalPos);

private:
    static std::size_t index(Panel panel) { return static_cast<std::size_t>(panel); }
    QWidget* makeOtherPanel(Panel panel);
    void showActivePanel();

    MainWindowModel& m_model;
    QStackedWidget* m_stack;
    std::array<QWidget*, 4> m_panels{};
    std::array<QAbstractButton*, 4> m_buttons{};
    std::array<QAction*, 4> m_actions{};
};

} // namespace ringfold
