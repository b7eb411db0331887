#include "core/layout/MapColor.h"

#include "core/layout/MapStyle.h"

#include <algorithm>

namespace ringfold {

namespace {
// The palette is deliberately not read from the style (see the header).
constexpr double kSaturationBase = 0.875;
constexpr double kSaturationStep = 0.289;
constexpr double kSaturationMin = 0.183;
constexpr double kBrightnessBase = 1.0;
constexpr double kBrightnessStep = 0.101;
constexpr double kBrightnessMax = 0.95;
constexpr double kPlaceholderSaturationFactor = 0.25;
constexpr double kPlaceholderBrightnessLift = 0.05;
constexpr double kGreyHue = 0.58;
} // namespace

MapColor colorForItem(int colorIndex, int hueCount, int depth, CloudStatus cloudStatus) {
    const int wrapped = ((colorIndex % kMapHueLimit) + kMapHueLimit) % kMapHueLimit;
    const int hues = std::min(std::max(hueCount, 1), kMapHueLimit);
    const double ring = static_cast<double>(depth - 1);
    MapColor c;
    c.hue = static_cast<double>(wrapped) / static_cast<double>(hues);
    c.saturation = std::max(kSaturationBase - kSaturationStep * ring, kSaturationMin);
    c.brightness = std::min(kBrightnessBase + kBrightnessStep * ring, kBrightnessMax);
    if (cloudStatus == CloudStatus::cloudPlaceholder) {
        c.saturation *= kPlaceholderSaturationFactor;
        c.brightness = std::min(c.brightness + kPlaceholderBrightnessLift, kBrightnessMax);
    }
    c.opacity = 1.0;
    return c;
}

MapColor colorForSmallerObjects(int colorIndex, int hueCount, int depth, const MapStyle& style) {
    MapColor c = colorForItem(colorIndex, hueCount, depth, CloudStatus::notApplicable);
    c.opacity *= style.smallerObjectsOpacity;
    return c;
}

MapColor colorForGrey(double grey, const MapStyle& style) {
    MapColor c;
    c.hue = kGreyHue;
    c.saturation = style.frostTint * 0.4;
    c.brightness = grey + (1.0 - grey) * 0.18 * style.frostTint;
    c.opacity = 1.0;
    return c;
}

} // namespace ringfold
