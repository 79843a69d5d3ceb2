#include "platform/linux/processes/stat_line.h"

#include <array>
#include <charconv>

namespace halvard {

namespace {

constexpr std::uint64_t kKernelThreadFlag = 0x0020'0000;  // PF_KTHREAD

// Numbers of the fields as proc(5) counts them; the first that follows the command name is 3.
enum Field : std::size_t {
  State = 3,
  ParentPid = 4,
  Flags = 9,
  UserTicks = 14,
  SystemTicks = 15,
  Threads = 20,
  StartTime = 22,
  StartCode = 26,
  StartStack = 28,
};

std::string_view nextWord(std::string_view& text) {
  const std::size_t begin = text.find_first_not_of(" \n");
  if (begin == text.npos) return {};
  const std::size_t end = std::min(text.find_first_of(" \n", begin), text.size());
  const std::string_view word = text.substr(begin, end - begin);
  text.remove_prefix(end);
  return word;
}

template <class Number>
bool parseNumber(std::string_view word, Number& number) {
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
  return error == std::errc() && end == word.data() + word.size();
}

}  // namespace

std::optional<StatLine> parseStatLine(std::string_view text) {
  StatLine line;
  // The command name may hold anything, also ") R 1 "; nothing behind it holds a parenthesis.
  const std::size_t open = text.find(" (");
  const std::size_t close = text.rfind(')');
  if (open == text.npos || close == text.npos || close < open + 2) return std::nullopt;
  if (!parseNumber(text.substr(0, open), line.pid)) return std::nullopt;
  line.command = text.substr(open + 2, close - open - 2);

  std::array<std::string_view, StartStack + 1> fields;
  std::string_view rest = text.substr(close + 1);
  for (std::size_t number = State; number <= StartStack; ++number)
    fields[number] = nextWord(rest);
  std::uint64_t flags = 0, startCode = 0, startStack = 0;
  std::int64_t threads = 0;
  const bool whole = fields[State].size() == 1 && parseNumber(fields[ParentPid], line.parentPid) &&
                     parseNumber(fields[Flags], flags) && parseNumber(fields[UserTicks], line.userTicks) &&
                     parseNumber(fields[SystemTicks], line.systemTicks) && parseNumber(fields[Threads], threads) &&
                     parseNumber(fields[StartTime], line.startTime) && parseNumber(fields[StartCode], startCode) &&
                     parseNumber(fields[StartStack], startStack);
  if (!whole) return std::nullopt;
  line.state = fields[State].front();
  line.kernelThread = flags & kKernelThreadFlag;
  line.exited = line.state == 'X' || (line.state == 'Z' && threads <= 1);
  line.programMark = startCode * 31 + startStack;
  return line;
}

std::optional<PageCount> parseResidentPages(std::string_view text) {
  PageCount pages = 0;
  nextWord(text);
  if (!parseNumber(nextWord(text), pages)) return std::nullopt;
  return pages;
}

}  // namespace halvard
