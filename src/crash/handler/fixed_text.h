#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace halvard::crash_handler {

/// A text of at most `capacity` bytes that is put together without allocating; what does not fit is dropped.
template <std::size_t capacity>
class FixedText {
 public:
  FixedText& add(std::string_view text) {
    const std::size_t count = std::min(text.size(), capacity - m_size);
    std::copy_n(text.data(), count, m_bytes.data() + m_size);
    m_size += count;
    return *this;
  }

  /// Decimal, with zeros in front up to `width` digits.
  FixedText& addNumber(long long number, std::size_t width = 1) {
    std::array<char, 24> digits;
    std::size_t first = digits.size();
    unsigned long long rest =
        number < 0 ? 0ULL - static_cast<unsigned long long>(number) : static_cast<unsigned long long>(number);
    for (; rest != 0 || digits.size() - first < width; rest /= 10)
      digits[--first] = static_cast<char>('0' + rest % 10);
    if (number < 0) add("-");
    return add({digits.data() + first, digits.size() - first});
  }

  std::string_view view() const { return {m_bytes.data(), m_size}; }
  const char* terminated() {
    m_bytes[m_size] = '\0';
    return m_bytes.data();
  }

 private:
  std::array<char, capacity + 1> m_bytes;
  std::size_t m_size = 0;
};

}  // namespace halvard::crash_handler
