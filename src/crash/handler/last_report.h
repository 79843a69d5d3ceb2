#pragma once

#include <climits>

#include "crash/handler/crash_message.h"
#include "crash/handler/fixed_text.h"

/// What the dying process writes itself. Everything here is async-signal-safe.
namespace halvard::crash_handler {

/// Texts made before the crash.
struct LastReportTexts {
  const char* programName = "";
  const char* reportFolder = "";
  const char* reportHead = "";
  /// Without a slash at its end; empty when unknown.
  const char* homeFolder = "";
};

using PathText = FixedText<PATH_MAX>;

/// `folder`/crash-`time`-`process``extension`
PathText reportPath(std::string_view folder, long long time, int process, std::string_view extension);

/// Writes what is known without a reporter, which is everything but the stacks, into the report's file, and unless
/// `counted` a mark beside it, so that the next start counts the crash. False when the report cannot be written.
bool writeLastReport(const LastReportTexts& texts, const CrashMessage& message, bool counted);

/// One line on stderr: what happened and, when `saved`, where the report is.
void printCrashLine(const LastReportTexts& texts, const CrashMessage& message, bool saved);

}  // namespace halvard::crash_handler
