#include "crash/handler/last_report.h"

#include <chrono>

#include <fcntl.h>
#include <unistd.h>

#include "crash/handler/crash_handler.h"

namespace halvard::crash_handler {
namespace {

using ReportText = FixedText<8192>;

void addDate(ReportText& text, const CrashMessage& message) {
  using namespace std::chrono;
  const sys_seconds time{seconds(message.time)};
  const auto midnight = floor<days>(time);
  const year_month_day date{midnight};
  const hh_mm_ss clock{time - midnight};
  text.add("Date: ").addNumber(static_cast<unsigned>(date.day()), 2).add("-");
  text.addNumber(static_cast<unsigned>(date.month()), 2).add("-").addNumber(static_cast<int>(date.year())).add(" ");
  text.addNumber(clock.hours().count(), 2).add(":").addNumber(clock.minutes().count(), 2).add(" UTC\n");
}

/// Adds `text` with "~" for the home folder in it.
void addAbbreviated(ReportText& report, std::string_view text, std::string_view home) {
  for (std::size_t found; !home.empty() && (found = text.find(home)) != std::string_view::npos;) {
    report.add(text.substr(0, found));
    text.remove_prefix(found + home.size());
    const bool isFolder = text.empty() || text.front() == '/' || text.front() == '"' || text.front() == '\'';
    report.add(isFolder ? std::string_view("~") : home);
  }
  report.add(text);
}

void addReason(ReportText& report, const LastReportTexts& texts, const CrashMessage& message) {
  if (message.signal == 0) {
    report.add("Exception Reason: ").add(message.exceptionType).add(": ");
    addAbbreviated(report, message.exceptionReason, texts.homeFolder);
    return;
  }
  report.add("Signal error. Code ").addNumber(message.signalCode).add(", errno ").addNumber(message.signalErrno);
  report.add(", signo ").addNumber(message.signal).add(", status ").addNumber(message.signalStatus);
}

bool writeAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(descriptor, text.data(), text.size());
    if (written <= 0) return false;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

bool writeFile(PathText path, std::string_view text) {
  const int descriptor = open(path.terminated(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (descriptor < 0) return false;
  const bool written = writeAll(descriptor, text);
  close(descriptor);
  return written;
}

}  // namespace

PathText reportPath(std::string_view folder, long long time, int process, std::string_view extension) {
  PathText path;
  path.add(folder).add("/crash-").addNumber(time).add("-").addNumber(process).add(extension);
  return path;
}

std::string reportFileName(long long time, int process) {
  return std::string(reportPath({}, time, process, kReportExtension).view().substr(1));
}

bool writeLastReport(const LastReportTexts& texts, const CrashMessage& message, bool counted) {
  ReportText text;
  text.add(texts.reportHead);
  addDate(text, message);
  text.add("\n");
  addReason(text, texts, message);
  text.add("\n\nThreads: \n\nFail to get information of all threads\n");
  if (!counted) writeFile(reportPath(texts.reportFolder, message.time, message.process, kUncountedExtension), {});
  return writeFile(reportPath(texts.reportFolder, message.time, message.process, kReportExtension), text.view());
}

void printCrashLine(const LastReportTexts& texts, const CrashMessage& message, bool saved) {
  FixedText<PATH_MAX + 256> line;
  line.add(texts.programName).add(": quit unexpectedly (");
  if (message.signal != 0) {
    line.add("signal ").addNumber(message.signal);
  } else {
    line.add("uncaught exception");
  }
  const PathText path = reportPath(texts.reportFolder, message.time, message.process, kReportExtension);
  line.add(saved ? "); the report is in " : "); the report cannot be written to ").add(path.view()).add("\n");
  writeAll(STDERR_FILENO, line.view());
}

}  // namespace halvard::crash_handler
