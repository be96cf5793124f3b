// Colours that fit light and dark palettes.
#pragma once

#include <QPalette>

namespace nubo::window {

inline bool isDark(const QPalette& palette) { return palette.color(QPalette::Window).lightness() < 128; }

inline QColor failureColor(const QPalette& palette) {
  return isDark(palette) ? QColor(0xff, 0x8a, 0x80) : QColor(0xb0, 0x10, 0x20);
}

inline QColor failureBackground(const QPalette& palette) {
  return isDark(palette) ? QColor(0x5a, 0x26, 0x28) : QColor(0xfb, 0xdc, 0xdc);
}

inline QColor noticeBackground(const QPalette& palette) {
  return isDark(palette) ? QColor(0x28, 0x44, 0x5c) : QColor(0xdc, 0xea, 0xf8);
}

}  // namespace nubo::window
