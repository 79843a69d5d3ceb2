#include "core/color.h"

#include <array>

namespace halvard {

std::optional<Color> Color::fromHex(const QString& text) {
  if (!text.startsWith(u'#')) return std::nullopt;
  const qsizetype digits = text.size() - 1;
  if (digits != 3 && digits != 4 && digits != 6 && digits != 8) return std::nullopt;
  const qsizetype width = digits <= 4 ? 1 : 2;
  std::array<std::uint8_t, 4> channels{0, 0, 0, 255};
  for (qsizetype channel = 0; channel * width < digits; ++channel) {
    unsigned value = 0;
    for (const QChar character : text.mid(1 + channel * width, width)) {
      const int digit = character.unicode() < 128 ? QString(character).toInt(nullptr, 16) : 0;
      if (digit == 0 && character != u'0') return std::nullopt;
      value = value * 16 + static_cast<unsigned>(digit);
    }
    channels[static_cast<std::size_t>(channel)] = static_cast<std::uint8_t>(width == 1 ? value * 17 : value);
  }
  return Color{channels[0], channels[1], channels[2], channels[3]};
}

}  // namespace halvard
