#pragma once

#include <QString>
#include <cstdint>
#include <optional>

namespace halvard {

/// A colour of 8-bit channels, without a GUI library.
struct Color {
  std::uint8_t red = 0;
  std::uint8_t green = 0;
  std::uint8_t blue = 0;
  std::uint8_t alpha = 255;

  bool operator==(const Color&) const = default;

  /// "#" and 3, 4, 6 or 8 hexadecimal digits: RGB, RGBA, RRGGBB, RRGGBBAA. Nothing for any other text.
  static std::optional<Color> fromHex(const QString& text);
};

}  // namespace halvard
