#pragma once

#include "platform/linux/processes/process_directory.h"
#include "platform/ports/process_information.h"

namespace halvard {

/// "/bin/ps", and the processor times of /proc/PID/stat.
class LinuxProcessInformation : public ProcessInformation {
 public:
  explicit LinuxProcessInformation(QByteArray root = "/proc") : m_root(std::move(root)) {}

  std::optional<QByteArray> processStatus(const QStringList& arguments) override;
  std::optional<TaskTimes> taskTimes(std::int32_t pid) override;

 private:
  const QByteArray m_root;
};

}  // namespace halvard
