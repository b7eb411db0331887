#pragma once
// What the detail area shows while no source is selected: "Choose a drive to map",
// a card per drive (this computer first, then the other volumes), a chip per
// favourite folder, and "Scan Startup Disk for Junk". Clicking a card or chip selects
// its source in the sources model.
//
// Threads: GUI thread only.

#include <QScrollArea>

#include <functional>

class QPushButton;
class QLabel;

namespace ringfold {

class SidebarViewModel;
class FlowLayout;
class VolumeCard;
class FavoriteChip;

class DriveGalleryView : public QScrollArea {
    Q_OBJECT

public:
    DriveGalleryView(SidebarViewModel& model, std::function<void()> onScanStartupJunk,
                     QWidget* parent = nullptr);

    QList<VolumeCard*> cards() const;
    QList<FavoriteChip*> chips() const;
    QPushButton* junkButton() const { return m_junkButton; }

protected:
    void changeEvent(QEvent* event) override;

private:
    void rebuild();
    void paintJunkButtonInAccent();

    SidebarViewModel& m_model;
    std::function<void()> m_onScanStartupJunk;
    FlowLayout* m_cards;
    FlowLayout* m_chips;
    QLabel* m_noFavorites;
    QPushButton* m_junkButton;
};

} // namespace ringfold
