#include "ui/PanelStack.h"

#include "app/coordination/AppState.h"
#include "ui/BiggestFilesView.h"
#include "ui/CategoriesView.h"
#include "ui/FileListView.h"
#include "ui/FileRowContextMenu.h"
#include "ui/QuickPreview.h"
#include "ui/SystemJunkView.h"

#include <QAction>

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QStackedWidget>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>

namespace ringfold {

namespace {

QString title(PanelStack::Panel panel) {
    switch (panel) {
    case PanelStack::Panel::folder:
        return PanelStack::tr("Folder");
    case PanelStack::Panel::biggestFiles:
        return PanelStack::tr("Biggest Files");
    case PanelStack::Panel::categories:
        return PanelStack::tr("Categories");
    case PanelStack::Panel::systemJunk:
        return PanelStack::tr("System Junk");
    }
    return {};
}

} // namespace

// The categories and system junk panels live in their own files.
QWidget* PanelStack::makeOtherPanel(Panel panel) {
    if (panel == Panel::categories)
        return new CategoriesView(m_model);
    if (panel == Panel::systemJunk)
        return new SystemJunkView(m_model);
    return nullptr;
}

PanelStack::PanelStack(MainWindowModel& model, QWidget* parent)
    : QWidget(parent), m_model(model), m_stack(new QStackedWidget(this)) {
    auto* picker = new QHBoxLayout;
    picker->setContentsMargins(8, 6, 8, 6);
    picker->setSpacing(0);
    picker->addStretch(1);
    auto* group = new QButtonGroup(this);
    group->setExclusive(true);

    for (Panel p : kPanels) {
        QWidget* widget = nullptr;
        if (p == Panel::folder)
            widget = new FileListView(model);
        else if (p == Panel::biggestFiles)
            widget = new BiggestFilesView(model);
        else
            widget = makeOtherPanel(p);
        m_panels[index(p)] = widget;
        m_stack->addWidget(widget ? widget : new QWidget);
        // By the signal's name: every panel declares the same one, whatever its class.
        if (widget)
            connect(widget, SIGNAL(contextMenuRequested(ringfold::NodePtr, QPoint)), this,
                    SLOT(showRowMenu(ringfold::NodePtr, QPoint)));

        auto* button = new QToolButton(this);
        button->setObjectName(QStringLiteral("panelPicker"));
        button->setText(title(p));
        button->setCheckable(true);
        button->setEnabled(widget != nullptr);
        button->setToolButtonStyle(Qt::ToolButtonTextOnly);
        button->setAutoRaise(false);
        group->addButton(button);
        picker->addWidget(button);
        m_buttons[index(p)] = button;
        connect(button, &QToolButton::clicked, this, [this, p] { m_model.setActivePanel(p); });

        auto* action = new QAction(title(p), this);
        action->setObjectName(QStringLiteral("panel") + title(p).remove(QLatin1Char(' ')));
        if (p == Panel::systemJunk)
            action->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_3));
        else if (p == Panel::categories)
            action->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_4));
        connect(action, &QAction::triggered, this, [this, p] { m_model.setActivePanel(p); });
        m_actions[index(p)] = action;
    }
    picker->addStretch(1);
    // One segmented control: joined buttons, the active one in the accent colour.
    setStyleSheet(QStringLiteral(
        "QToolButton#panelPicker { padding: 3px 14px; border: 1px solid palette(mid);"
        " border-left-width: 0; background: palette(button); }"
        "QToolButton#panelPicker[first=\"true\"] { border-left-width: 1px;"
        " border-top-left-radius: 5px; border-bottom-left-radius: 5px; }"
        "QToolButton#panelPicker[last=\"true\"] { border-top-right-radius: 5px;"
        " border-bottom-right-radius: 5px; }"
        "QToolButton#panelPicker:checked { background: palette(highlight);"
        " color: palette(highlighted-text); border-color: palette(highlight); }"));
    m_buttons.front()->setProperty("first", true);
    m_buttons.back()->setProperty("last", true);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addLayout(picker);
    column->addWidget(m_stack, 1);

    connect(&model, &MainWindowModel::activePanelChanged, this, &PanelStack::showActivePanel);
    showActivePanel();
}

QWidget* PanelStack::currentPanel() const {
    return panel(m_model.activePanel());
}

void PanelStack::showActivePanel() {
    const Panel p = m_model.activePanel();
    m_stack->setCurrentIndex(static_cast<int>(index(p)));
    m_buttons[index(p)]->setChecked(true);
}

void PanelStack::showRowMenu(ringfold::NodePtr node, QPoint globalPos) {
    AppState& app = m_model.app();
    const auto from = std::find(m_panels.begin(), m_panels.end(), sender());
    const Panel panel = from == m_panels.end() ? Panel::folder : kPanels[from - m_panels.begin()];
    FileRowContextMenu::Extras extras;
    extras.quickPreview = [this](const NodePtr& n) { quickPreview(n, this); };
    if (panel != Panel::categories)
        extras.addToFavorites = [&app](const NodePtr& n) { app.sidebar().addFavorite(n->url()); };
    if (panel == Panel::folder || panel == Panel::systemJunk)
        extras.drillInto = [&app](const NodePtr& n) { app.chart().focus(n); };
    FileRowContextMenu::exec(m_model, node, globalPos, this, extras);
}

} // namespace ringfold
