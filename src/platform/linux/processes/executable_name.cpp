#include "platform/linux/processes/executable_name.h"

#include <algorithm>

namespace halvard {

std::string_view fileName(std::string_view path) {
  return path.substr(path.rfind('/') + 1);
}

std::string_view withoutDeletedMark(std::string_view path) {
  constexpr std::string_view mark = " (deleted)";
  return path.ends_with(mark) ? path.substr(0, path.size() - mark.size()) : path;
}

std::string_view executableName(std::string_view command, std::string_view executable, std::string_view arguments) {
  const std::string_view file = fileName(withoutDeletedMark(executable));
  if (file.starts_with(command)) return file;
  for (int position = 0; position < 2 && !arguments.empty(); ++position) {
    const std::size_t length = std::min(arguments.find('\0'), arguments.size());
    const std::string_view argument = fileName(arguments.substr(0, length));
    if (argument.starts_with(command)) return argument;
    arguments.remove_prefix(std::min(length + 1, arguments.size()));
  }
  return command;
}

}  // namespace halvard
