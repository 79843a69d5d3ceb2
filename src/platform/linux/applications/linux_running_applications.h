#pragma once

#include <QByteArray>
#include <QHash>
#include <memory>
#include <vector>

#include "platform/linux/applications/application_naming.h"
#include "platform/linux/applications/linux_application.h"
#include "platform/linux/gio/installed_applications.h"
#include "platform/linux/processes/process_directory.h"

namespace halvard {

/// The applications of this desktop session, by control groups, X11 windows, launch environments and desktop entries.
///
/// What is known about a process is read once, and again when it starts another program. A launcher may move a process
/// into its unit a moment after starting it, so what is read in the first seconds of a process is read once more later.
class LinuxRunningApplications : public RunningApplications {
 public:
  /// `windows` may be shared with other users of the display.
  explicit LinuxRunningApplications(std::shared_ptr<X11Windows> windows = std::make_shared<X11Windows>(),
                                    EntryFolders folders = EntryFolders::ofUser(), QByteArray root = "/proc");

  void update(const std::vector<ProcessRecord>& processes) override;
  std::shared_ptr<RunningApplication> runningApplicationWithProcessIdentifier(std::int32_t pid) override;
  std::optional<std::int32_t> applicationOfGroup(std::int32_t pid) override;
  std::int32_t currentApplication() const override;

 private:
  struct Reading {  // which process and program the facts of a pid are about
    std::uint64_t startTime = 0;
    std::uint64_t programMark = 0;
    bool isEarly = false;
    std::uint32_t pass = 0;
  };
  bool refreshFacts(const std::vector<ProcessRecord>& processes);
  bool refreshFactsOf(const ProcessRecord& process, std::uint64_t now);
  void nameAgain(const std::vector<ProcessRecord>& processes);
  std::shared_ptr<LinuxApplication> handleFor(NamedApplication application);

  const std::shared_ptr<X11Windows> m_display;
  InstalledApplications m_installed;
  const QByteArray m_root;
  ProcessDirectory m_directory;
  std::unique_ptr<FactsBuffer> m_buffer;
  std::uint32_t m_pass = 0;
  QHash<std::int32_t, Reading> m_readings;
  FactsByPid m_facts;
  std::vector<ApplicationWindow> m_windows;
  std::shared_ptr<const ApplicationIndex> m_index;
  QHash<std::int32_t, std::int32_t> m_groups;
  QHash<std::int32_t, std::shared_ptr<LinuxApplication>> m_applications;
};

}  // namespace halvard
