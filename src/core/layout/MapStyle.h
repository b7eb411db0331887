#pragma once
// The visual constants of both maps. Lengths are in points, angles in radians, the
// rest are fractions or levels in 0 ... 1. The map view builds one with the defaults
// and hands a copy to each layout engine; engines read only the fields they lay out
// or colour with. Plain value, any thread.

namespace ringfold {

struct MapStyle {
    double saturationBase = 0.875;
    double saturationStep = 0.289;
    double saturationMin = 0.183;
    double brightnessBase = 1.0;
    double brightnessStep = 0.101;
    double brightnessMax = 0.95;
    /// Radius of the sunburst's centre hole as a fraction of the outer radius.
    double centerHoleRatio = 0.355;
    /// Points taken off the outer edge of every ring.
    double ringGap = 0.647;
    double segmentAngularGap = 0.0;
    double aggregateAngularGap = 0.0;
    double aggregateExplodeOffset = 0.0; // carried; no layout reads it
    /// Number of rings, rounded to an integer by the sunburst.
    double sunburstRingCount = 3.0;
    /// Width of each ring relative to the one inside it.
    double ringTaper = 1.0;
    double stageTopColor = 0.0;
    double stageBottomColor = 0.0;
    double stageGlowOpacity = 0.184;
    double hubRimOpacity = 0.613;
    double hubShadowOpacity = 0.0;
    double segmentGradientDepth = 0.135;
    double separatorStrokeWidth = 0.401;
    double separatorOpacity = 0.2;
    double hiddenItemsGray = 0.341;
    double smallerObjectsOpacity = 0.286;
    double freeSpaceGray = 0.731;
    double inaccessibleGray = 0.55;
    double frostTint = 0.0;
    double selectionFillOpacity = 0.322;
    double selectionStrokeOpacity = 0.901;
    double selectionStrokeWidth = 2.504;
    double selectionNotchLength = 0.0;
    double treemapCornerRadius = 9.595;
    /// Points between neighbouring treemap rectangles.
    double treemapGap = 2.701;

    friend bool operator==(const MapStyle&, const MapStyle&) = default;
};

static_assert(sizeof(MapStyle) == 32 * sizeof(double), "MapStyle holds 32 doubles");

} // namespace ringfold
