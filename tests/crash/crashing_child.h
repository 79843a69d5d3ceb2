#pragma once

#include <QProcess>
#include <QUuid>
#include <memory>
#include <vector>

#include <signal.h>

#include "core/application_identity.h"
#include "crash/cache_manager.h"
#include "platform/linux/sqlite/sqlite_defaults_store.h"
#include "support/process_files.h"
#include "support/test_folder.h"
#include "support/texts.h"

namespace halvard::test {

/// Runs the victim with folders of its own and tells what it leaves behind.
class CrashingChild {
 public:
  struct End {
    /// False when it was killed by a signal or did not end within 30 seconds.
    bool exited = false;
    /// The status, or the signal that killed it.
    int code = -1;
    QByteArray errorOutput;
  };

  CrashingChild() {
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
      environment.remove(text(name));
    // Without an address, whoever asks for the session bus starts one.
    environment.insert(text("DBUS_SESSION_BUS_ADDRESS"), text("unix:path=/nonexistent"));
    environment.insert(text("HOME"), home.path());
    for (const QString& folder : texts({"config", "state", "data"}))
      environment.insert(text("XDG_%1_HOME").arg(folder.toUpper()), home.path(folder));
    // A sanitizer's own handlers would be earlier actions, which the handler calls.
    environment.insert(text("ASAN_OPTIONS"), text("handle_segv=0:handle_sigbus=0:handle_sigfpe=0"));
    environment.insert(text("HALVARD_CRASHING_CHILD"), m_mark);
  }
  /// Kills what is still running.
  ~CrashingChild() {
    for (const std::int32_t process : processesLeft())
      kill(process, SIGKILL);
  }

  /// Without a display unless it is set.
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();

  /// Its home folder, with the ones for settings, state and data in it.
  const TestFolder home;
  QString reportFolder() const { return home.path("state/halvard/crashes"); }

  void start(const QStringList& arguments) {
    m_process = std::make_unique<QProcess>();
    m_process->setProcessEnvironment(environment);
    m_process->setWorkingDirectory(home.path());
    m_process->start(text(CRASH_VICTIM), arguments);
  }
  bool isRunning() const { return m_process && m_process->state() != QProcess::NotRunning; }
  qint64 processId() const { return m_process->processId(); }
  /// Blocks until the victim has ended.
  End waitForEnd() {
    const bool ended = !isRunning() || m_process->waitForFinished(30'000);
    return {ended && m_process->exitStatus() == QProcess::NormalExit, m_process->exitCode(),
            m_process->readAllStandardError()};
  }
  /// Both.
  End run(const QStringList& arguments) {
    start(arguments);
    return waitForEnd();
  }

  /// Of what was stored by then; -1 when the settings are damaged.
  int crashesCount() const {
    bool damaged = false;
    const QString name = application_identity::kBundleIdentifier;
    SqliteDefaultsStore store(home.path(text("config/%1/defaults.db").arg(name)), name,
                              [&](const QString&) { damaged = true; });
    const bool kept = store.objectForKey(text("KEY_cleanedSize")) == StoredValue{std::uint64_t{4096}};
    return kept && !damaged ? static_cast<int>(CacheManager(store).crashesCount()) : -1;
  }
  /// The texts of all reports, the oldest first.
  QStringList reports() const {
    QStringList found;
    for (const QString& name : QDir(reportFolder()).entryList({text("*.txt")}, QDir::Files, QDir::Name))
      found << QString::fromUtf8(fileText(QFile::encodeName(reportFolder() + u'/' + name)));
    return found;
  }
  /// Every process started by this child or its children that still runs.
  std::vector<std::int32_t> processesLeft() const {
    std::vector<std::int32_t> processes;
    for (const QString& name : QDir(text("/proc")).entryList({text("[0-9]*")}, QDir::Dirs)) {
      if (processFile(name.toInt(), "environ").contains(m_mark.toUtf8())) processes.push_back(name.toInt());
    }
    return processes;
  }

 private:
  QString m_mark = QUuid::createUuid().toString(QUuid::WithoutBraces);
  std::unique_ptr<QProcess> m_process;
};

}  // namespace halvard::test
