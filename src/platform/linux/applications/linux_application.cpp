#include "platform/linux/applications/linux_application.h"

#include <QFile>
#include <csignal>

#include "platform/linux/gio/installed_applications.h"

namespace halvard {

namespace {

std::optional<QString> unlessEmpty(const QString& text) {
  return text.isEmpty() ? std::nullopt : std::optional(text);
}

}  // namespace

LinuxApplication::LinuxApplication(std::unique_ptr<ProcessHandle> process, std::shared_ptr<X11Windows> windows,
                                   NamedApplication description)
    : m_process(std::move(process)), m_windows(std::move(windows)), m_description(std::move(description)) {}

void LinuxApplication::describe(NamedApplication description) {
  const std::lock_guard lock(m_mutex);
  m_description = std::move(description);
}

NamedApplication LinuxApplication::description() const {
  const std::lock_guard lock(m_mutex);
  return m_description;
}

bool LinuxApplication::is(std::uint64_t startTime, const InstalledApplicationPointer& entry) const {
  if (m_process->startTime() != startTime) return false;
  const InstalledApplicationPointer own = description().entry;
  return own && entry ? own->id == entry->id : own == entry;
}

std::optional<QString> LinuxApplication::localizedName() const {
  const NamedApplication current = description();
  return unlessEmpty(current.entry ? current.entry->name : current.fallbackName);
}

std::optional<QString> LinuxApplication::icon() const {
  const NamedApplication current = description();
  return current.entry ? unlessEmpty(current.entry->icon) : std::nullopt;
}

std::optional<QUrl> LinuxApplication::bundleURL() const {
  const NamedApplication current = description();
  if (!current.appImage.isEmpty()) return QUrl::fromLocalFile(QFile::decodeName(current.appImage));
  if (!current.entry) return std::nullopt;
  return QUrl::fromLocalFile(current.entry->file);
}

bool LinuxApplication::activate() {
  const NamedApplication current = description();
  if (!isTerminated() && m_windows->activate(current.windowOwners)) return true;
  return current.entry && InstalledApplications::launch(current.entry->file);
}

bool LinuxApplication::terminate() {
  if (isTerminated()) return false;
  return m_windows->close(description().windowOwners) || m_process->send(SIGTERM);
}

bool LinuxApplication::forceTerminate() {
  return m_process->send(SIGKILL);
}

}  // namespace halvard
