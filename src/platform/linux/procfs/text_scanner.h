#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace halvard {

/// A larger number of bytes than any machine has is a fault of the file; sums of a few amounts up to it do not wrap.
inline constexpr std::uint64_t kLargestAmount = std::uint64_t{1} << 60;

/// Walks through the text of a kernel file without copying it. Each take leaves the rest behind.
class TextScanner {
 public:
  explicit TextScanner(std::string_view text) : m_rest(text) {}

  bool atEnd() const { return m_rest.empty(); }
  std::string_view rest() const { return m_rest; }

  /// The next line without its newline; the last one may lack it. Empty at the end.
  std::string_view takeLine();
  /// Skips blanks and tabs, then takes up to the next one. Empty at the end.
  std::string_view takeWord();
  /// Takes `prefix` when it is what comes next.
  bool skip(std::string_view prefix);

  /// Skips blanks and tabs, then takes a decimal number without sign. Nothing, and nothing but blanks taken, when there
  /// is none, when it does not fit 64 bits, or when it is the last thing in the text: then it may have been cut off.
  std::optional<std::uint64_t> takeNumber();

 private:
  void skipBlanks();

  std::string_view m_rest;
};

}  // namespace halvard
