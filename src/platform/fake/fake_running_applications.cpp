#include "platform/fake/fake_running_applications.h"

namespace halvard {

std::optional<QString> FakeRunningApplication::localizedName() const {
  ++nameQuestions;
  return name;
}

bool FakeRunningApplication::activate() {
  ++activations;
  return !terminated;
}

bool FakeRunningApplication::terminate() {
  ++terminateRequests;
  return takesSignals && !terminated;
}

bool FakeRunningApplication::forceTerminate() {
  ++forceTerminateRequests;
  return takesSignals && !terminated.exchange(true);
}

void FakeRunningApplications::update(const std::vector<ProcessRecord>&) {
  ++updates;
}

std::shared_ptr<RunningApplication> FakeRunningApplications::runningApplicationWithProcessIdentifier(std::int32_t pid) {
  const auto found = m_applications.find(pid);
  return found == m_applications.end() ? nullptr : found->second;
}

std::optional<std::int32_t> FakeRunningApplications::applicationOfGroup(std::int32_t pid) {
  const auto found = m_groups.find(pid);
  if (found == m_groups.end()) return std::nullopt;
  return found->second;
}

std::shared_ptr<FakeRunningApplication> FakeRunningApplications::add(std::int32_t pid, const QString& name) {
  auto application = std::make_shared<FakeRunningApplication>(pid);
  application->name = name;
  application->iconName = name.toLower();
  application->url = QUrl::fromLocalFile(QStringLiteral("/usr/share/applications/%1.desktop").arg(name.toLower()));
  m_applications[pid] = application;
  return application;
}

}  // namespace halvard
