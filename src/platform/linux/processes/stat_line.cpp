#include "platform/linux/processes/stat_line.h"

#include <algorithm>
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

bool isBlank(char character) {
  return character == ' ' || character == '\n';
}

// Words are a few characters long: searching them with memchr costs more than walking.
std::string_view nextWord(std::string_view& text) {
  const char* begin = text.data();
  const char* const end = begin + text.size();
  while (begin != end && isBlank(*begin))
    ++begin;
  const char* behind = begin;
  while (behind != end && !isBlank(*behind))
    ++behind;
  text = {behind, static_cast<std::size_t>(end - behind)};
  return {begin, static_cast<std::size_t>(behind - begin)};
}

template <class Number>
bool parseNumber(std::string_view word, Number& number) {
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
  return error == std::errc() && end == word.data() + word.size();
}

// `text` begins behind the command name.
bool parseFields(std::string_view text, StatLine& line) {
  std::array<std::string_view, StartStack + 1> fields;
  for (std::size_t number = State; number <= StartStack; ++number)
    fields[number] = nextWord(text);
  std::uint64_t flags = 0, startCode = 0, startStack = 0;
  std::int64_t threads = 0;
  const bool whole = fields[State].size() == 1 && parseNumber(fields[ParentPid], line.parentPid) &&
                     parseNumber(fields[Flags], flags) && parseNumber(fields[Threads], threads) &&
                     parseNumber(fields[StartTime], line.startTime) && parseNumber(fields[StartCode], startCode) &&
                     parseNumber(fields[StartStack], startStack) && parseNumber(fields[UserTicks], line.userTicks) &&
                     parseNumber(fields[SystemTicks], line.systemTicks);
  if (!whole) return false;
  line.state = fields[State].front();
  line.kernelThread = flags & kKernelThreadFlag;
  line.exited = line.state == 'X' || (line.state == 'Z' && threads <= 1);
  line.programMark = startCode * 31 + startStack;
  return true;
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
  return parseFields(text.substr(close + 1), line) ? std::optional(line) : std::nullopt;
}

std::optional<MemoryLine> parseMemoryLine(std::string_view text) {
  MemoryLine line;
  PageCount shared = 0, libraries = 0;
  for (PageCount* const number :
       {&line.layout.all, &line.resident, &shared, &line.layout.code, &libraries, &line.layout.data}) {
    if (!parseNumber(nextWord(text), *number)) return std::nullopt;
  }
  return line;
}

}  // namespace halvard
