#pragma once
// The interactive map of the focused folder. This is the window's stand-in until the
// real map lands: it paints the backdrop the map draws on and reports every paint, so
// the window, its screenshots and its tests work against the final interface.
//
// Threads: GUI thread only.

#include <QWidget>

namespace ringfold {

class ChartViewModel;
class CleanupListStore;
class SettingsStore;
class FileNode;

class ChartView : public QWidget {
    Q_OBJECT

public:
    ChartView(ChartViewModel& model, CleanupListStore& cleanup, SettingsStore& settings,
              QWidget* parent = nullptr);
    ~ChartView() override;

signals:
    /// The user selected an item in the map (a plain click): the list and preview attach here.
    void fileSelected(ringfold::FileNode* node);
    /// Emitted at the end of every paint; segmentCount is the number of cached segments drawn.
    void mapPainted(int segmentCount);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    ChartViewModel& m_model;
};

} // namespace ringfold
