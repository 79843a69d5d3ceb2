#pragma once

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <QUuid>
#include <memory>
#include <vector>

#include <signal.h>

#include "core/application_identity.h"
#include "crash/cache_manager.h"
#include "platform/linux/sqlite/sqlite_defaults_store.h"

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
      environment.remove(QString::fromLatin1(name));
    // Without an address, whoever asks for the session bus starts one.
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), QStringLiteral("unix:path=/nonexistent"));
    environment.insert(QStringLiteral("HOME"), homePath());
    for (const char* name : {"config", "state", "data"}) {
      const QString folder = QString::fromLatin1(name);
      environment.insert(QStringLiteral("XDG_%1_HOME").arg(folder.toUpper()), m_folder.filePath(folder));
    }
    // A sanitizer's own handlers would be earlier actions, which the handler calls.
    environment.insert(QStringLiteral("ASAN_OPTIONS"), QStringLiteral("handle_segv=0:handle_sigbus=0:handle_sigfpe=0"));
    environment.insert(QStringLiteral("HALVARD_CRASHING_CHILD"), m_mark);
  }
  /// Kills what is still running.
  ~CrashingChild() {
    for (const std::int32_t process : processesLeft())
      kill(process, SIGKILL);
  }

  /// Without a display unless it is set.
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();

  QString homePath() const { return m_folder.path(); }
  QString reportFolder() const { return m_folder.filePath(QStringLiteral("state/halvard/crashes")); }

  void start(const QStringList& arguments) {
    m_process = std::make_unique<QProcess>();
    m_process->setProcessEnvironment(environment);
    m_process->setWorkingDirectory(homePath());
    m_process->start(QStringLiteral(CRASH_VICTIM), arguments);
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
    const QString path = m_folder.filePath(QStringLiteral("config/%1/defaults.db").arg(name));
    SqliteDefaultsStore store(path, name, [&](const QString&) { damaged = true; });
    const bool kept = store.objectForKey(QStringLiteral("KEY_cleanedSize")) == StoredValue{std::uint64_t{4096}};
    return kept && !damaged ? static_cast<int>(CacheManager(store).crashesCount()) : -1;
  }
  /// The texts of all reports, the oldest first.
  QStringList reports() const {
    QStringList texts;
    const QDir folder(reportFolder());
    for (const QString& name : folder.entryList({QStringLiteral("*.txt")}, QDir::Files, QDir::Name)) {
      QFile file(folder.filePath(name));
      if (file.open(QIODevice::ReadOnly)) texts << QString::fromUtf8(file.readAll());
    }
    return texts;
  }
  /// Every process started by this child or its children that still runs.
  std::vector<std::int32_t> processesLeft() const {
    std::vector<std::int32_t> processes;
    const QDir proc(QStringLiteral("/proc"));
    for (const QString& name : proc.entryList({QStringLiteral("[0-9]*")}, QDir::Dirs)) {
      QFile file(proc.filePath(name) + QStringLiteral("/environ"));
      if (file.open(QIODevice::ReadOnly) && file.readAll().contains(m_mark.toUtf8())) processes.push_back(name.toInt());
    }
    return processes;
  }

 private:
  QTemporaryDir m_folder;
  QString m_mark = QUuid::createUuid().toString(QUuid::WithoutBraces);
  std::unique_ptr<QProcess> m_process;
};

}  // namespace halvard::test
