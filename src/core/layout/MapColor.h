#pragma once
// Fill colours of map segments, as plain numbers the view converts to its own colour
// type: hue, saturation, brightness and opacity, each in 0 ... 1.
//
// The item colour steps (saturation and brightness per ring, the placeholder fade) are
// fixed constants: a tweaked style changes greys and opacities, never the palette, so
// every map of a tree keeps the same colours. Pure functions, any thread.

#include "core/model/Types.h"

namespace ringfold {

struct MapStyle;

struct MapColor {
    double hue = 0.0;
    double saturation = 0.0;
    double brightness = 0.0;
    double opacity = 1.0;
    friend bool operator==(const MapColor&, const MapColor&) = default;
};

/// At most this many distinct hues; the 13th top-level item repeats the first.
inline constexpr int kMapHueLimit = 12;

/// Colour of an item segment on ring `depth` (1 = innermost).
MapColor colorForItem(int colorIndex, int hueCount, int depth, CloudStatus cloudStatus);
/// The non-placeholder item colour of the same ring and index, faded by the style's
/// `smallerObjectsOpacity`.
MapColor colorForSmallerObjects(int colorIndex, int hueCount, int depth, const MapStyle& style);
/// A neutral (or, with `frostTint`, slightly blue) grey of brightness `grey`.
MapColor colorForGrey(double grey, const MapStyle& style);

} // namespace ringfold
