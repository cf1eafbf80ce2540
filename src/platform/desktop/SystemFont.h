/// \file SystemFont.h
/// The font in which the desktop draws its controls.
#pragma once

#include <string>

namespace ZtFoundation {

struct SystemFont {
  std::string family;
  double size;  ///< of regular controls, in points
};

/// By the desktop's setting (org.gnome.desktop.interface, font-name); "Sans" at 13 points where there is no such
/// setting.
SystemFont systemFont();

}  // namespace ZtFoundation
