#pragma once

#include <string_view>

namespace halvard {

/// The full name of a program whose command name the kernel may have cut: the file name of `executable` (what
/// /proc/PID/exe points to; " (deleted)" is ignored), else that of one of the first two `arguments` (zero-ended
/// strings; a script is the second), else `command`. Only a name that begins with `command` is taken, because a program
/// may call itself what it likes.
std::string_view executableName(std::string_view command, std::string_view executable, std::string_view arguments);

/// What stands behind the last slash.
std::string_view fileName(std::string_view path);

/// `path` without the kernel's mark that the file was removed, as an update does while the program runs.
std::string_view withoutDeletedMark(std::string_view path);

}  // namespace halvard
