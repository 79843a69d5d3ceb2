#include "platform/linux/processes/linux_process_information.h"

#include <QProcess>
#include <QProcessEnvironment>

#include "platform/linux/processes/stat_line.h"

namespace halvard {

namespace {
constexpr int kToolMilliseconds = 5'000;
constexpr std::uint64_t kNanosecondsPerSecond = 1'000'000'000;
}  // namespace

std::optional<QByteArray> LinuxProcessInformation::processStatus(const QStringList& arguments) {
  QProcess tool;
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C"));
  tool.setProcessEnvironment(environment);
  tool.setStandardErrorFile(QProcess::nullDevice());
  tool.start(QStringLiteral("/bin/ps"), arguments, QIODevice::ReadOnly);
  if (!tool.waitForFinished(kToolMilliseconds)) {
    tool.kill();
    tool.waitForFinished(kToolMilliseconds);
    return std::nullopt;
  }
  return tool.readAllStandardOutput();
}

std::optional<TaskTimes> LinuxProcessInformation::taskTimes(std::int32_t pid) {
  ProcessDirectory directory(m_root);
  char buffer[1024];
  const auto line = parseStatLine(directory.read(pid, "stat", buffer));
  if (!line) return std::nullopt;
  const std::uint64_t tick = kNanosecondsPerSecond / static_cast<std::uint64_t>(::sysconf(_SC_CLK_TCK));
  return TaskTimes{line->userTicks * tick, line->systemTicks * tick};
}

}  // namespace halvard
