#pragma once

#include <atomic>
#include <map>

#include "platform/ports/running_applications.h"

namespace halvard {

/// An application that a test describes. Set everything up before another thread may look.
class FakeRunningApplication : public RunningApplication {
 public:
  explicit FakeRunningApplication(std::int32_t pid) : m_pid(pid) {}

  std::int32_t processIdentifier() const override { return m_pid; }
  ActivationPolicy activationPolicy() const override { return policy; }
  std::optional<QString> localizedName() const override;
  std::optional<QString> icon() const override { return iconName; }
  std::optional<QUrl> bundleURL() const override { return url; }
  bool isTerminated() const override { return terminated; }
  bool activate() override;
  bool terminate() override;
  bool forceTerminate() override;

  ActivationPolicy policy = ActivationPolicy::Regular;
  std::optional<QString> name;
  std::optional<QString> iconName;
  std::optional<QUrl> url;
  std::atomic<bool> terminated = false;
  /// False: another user's.
  bool takesSignals = true;

  /// Requests so far. terminate() changes nothing else; forceTerminate() sets `terminated`.
  int activations = 0;
  int terminateRequests = 0;
  int forceTerminateRequests = 0;
  /// How often the name was asked for.
  mutable std::atomic<int> nameQuestions = 0;

 private:
  const std::int32_t m_pid;
};

/// Applications that a test names by pid. Nothing is derived from update().
class FakeRunningApplications : public RunningApplications {
 public:
  void update(const std::vector<ProcessRecord>& processes) override;
  std::shared_ptr<RunningApplication> runningApplicationWithProcessIdentifier(std::int32_t pid) override;
  std::optional<std::int32_t> applicationOfGroup(std::int32_t pid) override;
  std::int32_t currentApplication() const override { return current; }

  /// A regular application of that name, with an icon and an entry below /usr; replaces one of the same pid.
  std::shared_ptr<FakeRunningApplication> add(std::int32_t pid, const QString& name);
  void remove(std::int32_t pid) { m_applications.erase(pid); }
  void setGroup(std::int32_t pid, std::int32_t application) { m_groups[pid] = application; }

  std::int32_t current = 1;
  /// update() calls so far.
  int updates = 0;

 private:
  std::map<std::int32_t, std::shared_ptr<FakeRunningApplication>> m_applications;
  std::map<std::int32_t, std::int32_t> m_groups;
};

}  // namespace halvard
