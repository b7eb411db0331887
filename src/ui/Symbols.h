#pragma once
// The one place where the symbol names the window's texts use ("house",
// "chevron.backward", "arrow.clockwise", ...) become icons. A symbol with a freedesktop
// counterpart comes from the desktop's icon theme when the theme has it; otherwise,
// and for the chart symbols that no theme names, from the SVG bundled with the
// program. Bundled icons draw in the palette's text colour at paint time, so they
// follow a change between the light and dark palettes without being rebuilt.
//
// Threads: GUI thread only.

#include <QIcon>

#include <vector>

namespace ringfold {

/// The icon of a symbol; a null icon for a name neither the theme nor the bundle has.
QIcon symbolIcon(const char* symbolName);
/// A bundled symbol always drawn in `colour` (for icons on accent-coloured buttons);
/// the theme's icon when the symbol is not bundled.
QIcon symbolIcon(const char* symbolName, const QColor& colour);
/// Every symbol name the window uses, each of which has a bundled SVG.
std::vector<const char*> symbolNames();
/// The freedesktop icon name the symbol maps to, or null when it has none.
const char* freedesktopIconName(const char* symbolName);
/// Makes the program's compiled-in resources (icons, quotes) reachable: needed once
/// before the first lookup because they live in a static library.
void initUiResources();

} // namespace ringfold
