#include "platform/linux/procfs/text_scanner.h"

#include <charconv>

namespace halvard {

std::string_view TextScanner::takeLine() {
  const std::size_t end = m_rest.find('\n');
  const std::string_view line = m_rest.substr(0, end);
  m_rest.remove_prefix(end == std::string_view::npos ? m_rest.size() : end + 1);
  return line;
}

std::string_view TextScanner::takeWord() {
  skipBlanks();
  const std::size_t end = m_rest.find_first_of(" \t\n");
  const std::string_view word = m_rest.substr(0, end);
  m_rest.remove_prefix(word.size());
  return word;
}

bool TextScanner::skip(std::string_view prefix) {
  if (!m_rest.starts_with(prefix)) return false;
  m_rest.remove_prefix(prefix.size());
  return true;
}

std::optional<std::uint64_t> TextScanner::takeNumber() {
  skipBlanks();
  std::uint64_t number = 0;
  const char* const end = m_rest.data() + m_rest.size();
  const auto [next, error] = std::from_chars(m_rest.data(), end, number);
  if (error != std::errc() || next == end) return std::nullopt;
  m_rest.remove_prefix(static_cast<std::size_t>(next - m_rest.data()));
  return number;
}

void TextScanner::skipBlanks() {
  const std::size_t start = m_rest.find_first_not_of(" \t");
  m_rest.remove_prefix(start == std::string_view::npos ? m_rest.size() : start);
}

}  // namespace halvard
