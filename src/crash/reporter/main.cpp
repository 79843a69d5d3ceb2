#include <QFile>
#include <cstdio>

#include "crash/reporter/crash_reporter.h"

/// Started by the crash handler, with its socket as descriptor 3 and the crashed program's path as the only argument.
int main(int argc, char* argv[]) {
  using namespace halvard;
  DyingProcess dying(crash_handler::kReporterDescriptor);
  const auto message = argc == 2 ? dying.receive(std::chrono::seconds(5)) : std::nullopt;
  if (!message) {
    std::fputs("halvard-crash-reporter: only a crashing halvard can start this program\n", stderr);
    return 2;
  }
  CrashReporter(dying, *message, QFile::decodeName(argv[1])).run();
  return 0;
}
