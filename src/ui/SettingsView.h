#pragma once
// The settings window: eight groups of controls bound both ways to SettingsStore (a
// control changes the store at once, and a store change from anywhere else, such as
// the toolbar's threshold slider, moves the control), the update check, and the
// reset of scan history and favourites behind a confirmation. One non-modal
// instance, opened from the toolbar and with Ctrl+,.
//
// Threads: GUI thread only.

#include <QWidget>

class QAbstractButton;
class QButtonGroup;
class QCheckBox;
class QLabel;
class QPushButton;
class QSlider;
class QSpinBox;

namespace ringfold {

class AppState;

class SettingsView : public QWidget {
    Q_OBJECT

public:
    explicit SettingsView(AppState& app, QWidget* parent = nullptr);

    QButtonGroup* appearance() const { return m_appearance; }
    QCheckBox* allowDeletingHidden() const { return m_allowHidden; }
    QSlider* threshold() const { return m_threshold; }
    QLabel* thresholdLabel() const { return m_thresholdLabel; }
    QCheckBox* groupHidden() const { return m_groupHidden; }
    QSpinBox* biggestFilesLimit() const { return m_biggestLimit; }
    QCheckBox* sortFoldersToTop() const { return m_foldersTop; }
    QSpinBox* diagnosticReportsAge() const { return m_reportsAge; }
    QSpinBox* cacheStalenessAge() const { return m_cacheAge; }
    QCheckBox* automaticUpdates() const { return m_autoUpdates; }
    QPushButton* checkForUpdates() const { return m_checkUpdates; }
    QPushButton* resetButton() const { return m_reset; }

private:
    void build();
    void bind();
    void refresh();
    void confirmReset();

    AppState& m_app;
    QButtonGroup* m_appearance = nullptr;
    QCheckBox* m_allowHidden = nullptr;
    QSlider* m_threshold = nullptr;
    QLabel* m_thresholdLabel = nullptr;
    QCheckBox* m_groupHidden = nullptr;
    QSpinBox* m_biggestLimit = nullptr;
    QCheckBox* m_foldersTop = nullptr;
    QSpinBox* m_reportsAge = nullptr;
    QSpinBox* m_cacheAge = nullptr;
    QCheckBox* m_autoUpdates = nullptr;
    QPushButton* m_checkUpdates = nullptr;
    QPushButton* m_reset = nullptr;
};

} // namespace ringfold
