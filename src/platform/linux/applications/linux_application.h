#pragma once

#include <memory>
#include <mutex>

#include "platform/linux/applications/application_naming.h"
#include "platform/linux/processes/process_handle.h"

namespace halvard {

/// An application by the kernel's handle of its process.
class LinuxApplication : public RunningApplication {
 public:
  LinuxApplication(std::unique_ptr<ProcessHandle> process, std::shared_ptr<X11Windows> windows,
                   NamedApplication description);

  /// Replaces what is known about it.
  void describe(NamedApplication description);
  /// True for the process that started at `startTime` and is described by `entry`.
  bool is(std::uint64_t startTime, const InstalledApplicationPointer& entry) const;

  std::int32_t processIdentifier() const override { return m_process->pid(); }
  ActivationPolicy activationPolicy() const override { return description().policy; }
  std::optional<QString> localizedName() const override;
  std::optional<QString> icon() const override;
  std::optional<QUrl> bundleURL() const override;
  bool isTerminated() const override { return m_process->hasEnded(); }
  bool activate() override;
  bool terminate() override;
  bool forceTerminate() override;

 private:
  NamedApplication description() const;

  const std::unique_ptr<ProcessHandle> m_process;
  const std::shared_ptr<X11Windows> m_windows;
  mutable std::mutex m_mutex;
  NamedApplication m_description;  // guarded by m_mutex
};

}  // namespace halvard
