#include "ui/Palettes.h"

namespace ringfold {

namespace {

struct Colours {
    QColor window, windowText, base, alternateBase, text, button, buttonText, light, midlight, mid,
        dark, shadow, highlight, highlightedText, link, placeholder, tooltipBase, tooltipText;
    QColor disabledText;
};

QPalette build(const Colours& c) {
    QPalette p;
    auto set = [&p](QPalette::ColorRole role, const QColor& colour) {
        p.setColor(QPalette::All, role, colour);
    };
    set(QPalette::Window, c.window);
    set(QPalette::WindowText, c.windowText);
    set(QPalette::Base, c.base);
    set(QPalette::AlternateBase, c.alternateBase);
    set(QPalette::Text, c.text);
    set(QPalette::Button, c.button);
    set(QPalette::ButtonText, c.buttonText);
    set(QPalette::BrightText, Qt::white);
    set(QPalette::Light, c.light);
    set(QPalette::Midlight, c.midlight);
    set(QPalette::Mid, c.mid);
    set(QPalette::Dark, c.dark);
    set(QPalette::Shadow, c.shadow);
    set(QPalette::Highlight, c.highlight);
    set(QPalette::HighlightedText, c.highlightedText);
    set(QPalette::Link, c.link);
    set(QPalette::LinkVisited, c.link);
    set(QPalette::PlaceholderText, c.placeholder);
    set(QPalette::ToolTipBase, c.tooltipBase);
    set(QPalette::ToolTipText, c.tooltipText);
    for (QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        p.setColor(QPalette::Disabled, role, c.disabledText);
    }
    p.setColor(QPalette::Disabled, QPalette::Highlight, c.mid);
    // Selections in unfocused lists stay readable instead of fading to grey.
    p.setColor(QPalette::Inactive, QPalette::Highlight, c.highlight);
    return p;
}

} // namespace

QPalette lightPalette() {
    Colours c;
    c.window = QColor(0xf6, 0xf6, 0xf8);
    c.windowText = QColor(0x1d, 0x1d, 0x1f);
    c.base = Qt::white;
    c.alternateBase = QColor(0xec, 0xec, 0xf0);
    c.text = c.windowText;
    c.button = QColor(0xfb, 0xfb, 0xfc);
    c.buttonText = c.windowText;
    c.light = Qt::white;
    c.midlight = QColor(0xe4, 0xe4, 0xe8);
    c.mid = QColor(0xcf, 0xcf, 0xd5);
    c.dark = QColor(0xa0, 0xa0, 0xa8);
    c.shadow = QColor(0x70, 0x70, 0x78);
    c.highlight = QColor(0x25, 0x6c, 0xe0);
    c.highlightedText = Qt::white;
    c.link = QColor(0x1f, 0x5f, 0xc8);
    c.placeholder = QColor(0x8a, 0x8a, 0x92);
    c.tooltipBase = QColor(0xff, 0xff, 0xf4);
    c.tooltipText = c.windowText;
    c.disabledText = QColor(0xa6, 0xa6, 0xac);
    return build(c);
}

QPalette darkPalette() {
    Colours c;
    c.window = QColor(0x1e, 0x1f, 0x23);
    c.windowText = QColor(0xe9, 0xe9, 0xec);
    c.base = QColor(0x27, 0x28, 0x2d);
    c.alternateBase = QColor(0x19, 0x1a, 0x1d);
    c.text = c.windowText;
    c.button = QColor(0x32, 0x33, 0x39);
    c.buttonText = c.windowText;
    c.light = QColor(0x4a, 0x4b, 0x52);
    c.midlight = QColor(0x3b, 0x3c, 0x42);
    c.mid = QColor(0x3e, 0x3f, 0x46);
    c.dark = QColor(0x12, 0x12, 0x15);
    c.shadow = QColor(0x05, 0x05, 0x06);
    c.highlight = QColor(0x3d, 0x85, 0xf5);
    c.highlightedText = Qt::white;
    c.link = QColor(0x6f, 0xa8, 0xff);
    c.placeholder = QColor(0x80, 0x80, 0x88);
    c.tooltipBase = QColor(0x2e, 0x2f, 0x35);
    c.tooltipText = c.windowText;
    c.disabledText = QColor(0x6a, 0x6a, 0x72);
    return build(c);
}

ColorScheme schemeOf(const QPalette& palette) {
    return palette.color(QPalette::Window).lightness() < 128 ? ColorScheme::dark
                                                             : ColorScheme::light;
}

} // namespace ringfold
