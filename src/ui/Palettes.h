#pragma once
// Ringfold's own light and dark palettes for the Fusion style. The map reads light or
// dark from the Window colour's lightness, so both palettes keep Window clearly on
// their side of the middle. AlternateBase is the sidebar's tint; Highlight is the
// accent (crumbs, gauges, selection).

#include <QPalette>

namespace ringfold {

enum class ColorScheme { light, dark };

QPalette lightPalette();
QPalette darkPalette();
inline QPalette paletteFor(ColorScheme scheme) {
    return scheme == ColorScheme::dark ? darkPalette() : lightPalette();
}
/// The scheme a palette reads as: dark when its Window colour is darker than mid-grey.
ColorScheme schemeOf(const QPalette& palette);

} // namespace ringfold
