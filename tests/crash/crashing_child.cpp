#include "crash/crashing_child.h"

#include <QDir>
#include <QFile>
#include <QUuid>

#include <signal.h>

#include "core/application_identity.h"
#include "crash/cache_manager.h"
#include "platform/linux/sqlite/sqlite_defaults_store.h"

namespace halvard::test {
namespace {

const QString kMark = QStringLiteral("HALVARD_CRASHING_CHILD");

}  // namespace

CrashingChild::CrashingChild() : environment(QProcessEnvironment::systemEnvironment()) {
  for (const QString& name :
       {QStringLiteral("DISPLAY"), QStringLiteral("WAYLAND_DISPLAY"), QStringLiteral("QT_QPA_PLATFORM")})
    environment.remove(name);
  // Without an address, whoever asks for the session bus starts one.
  environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), QStringLiteral("unix:path=/nonexistent"));
  const QString folder = m_folder.path();
  environment.insert(QStringLiteral("HOME"), folder);
  environment.insert(QStringLiteral("XDG_CONFIG_HOME"), folder + QStringLiteral("/config"));
  environment.insert(QStringLiteral("XDG_STATE_HOME"), folder + QStringLiteral("/state"));
  environment.insert(QStringLiteral("XDG_DATA_HOME"), folder + QStringLiteral("/data"));
  // A sanitizer's own handlers would be earlier actions, which the handler calls.
  environment.insert(QStringLiteral("ASAN_OPTIONS"), QStringLiteral("handle_segv=0:handle_sigbus=0:handle_sigfpe=0"));
  environment.insert(kMark, QUuid::createUuid().toString(QUuid::WithoutBraces));
}

CrashingChild::~CrashingChild() {
  for (const std::int32_t process : processesLeft())
    kill(process, SIGKILL);
}

void CrashingChild::start(const QStringList& arguments) {
  m_process = std::make_unique<QProcess>();
  m_process->setProcessEnvironment(environment);
  m_process->setWorkingDirectory(m_folder.path());
  m_process->start(QStringLiteral(CRASH_VICTIM), arguments);
}

CrashingChild::End CrashingChild::waitForEnd() {
  End end;
  const bool ended = m_process->state() == QProcess::NotRunning || m_process->waitForFinished(30'000);
  end.exited = ended && m_process->exitStatus() == QProcess::NormalExit;
  end.code = m_process->exitCode();
  end.errorOutput = m_process->readAllStandardError();
  return end;
}

CrashingChild::End CrashingChild::run(const QStringList& arguments) {
  start(arguments);
  return waitForEnd();
}

int CrashingChild::crashesCount() const {
  bool damaged = false;
  const QString path = environment.value(QStringLiteral("XDG_CONFIG_HOME")) + QLatin1Char('/') +
                       application_identity::kBundleIdentifier + QStringLiteral("/defaults.db");
  SqliteDefaultsStore store(path, application_identity::kBundleIdentifier, [&](const QString&) { damaged = true; });
  const bool kept = store.objectForKey(QStringLiteral("KEY_cleanedSize")) == StoredValue{std::uint64_t{4096}};
  return kept && !damaged ? static_cast<int>(CacheManager(store).crashesCount()) : -1;
}

QStringList CrashingChild::reports() const {
  QStringList texts;
  const QDir folder(reportFolder());
  for (const QString& name : folder.entryList({QStringLiteral("*.txt")}, QDir::Files, QDir::Name)) {
    QFile file(folder.filePath(name));
    if (file.open(QIODevice::ReadOnly)) texts << QString::fromUtf8(file.readAll());
  }
  return texts;
}

std::vector<std::int32_t> CrashingChild::processesLeft() const {
  const QByteArray wanted = (kMark + QLatin1Char('=') + environment.value(kMark)).toUtf8();
  std::vector<std::int32_t> processes;
  const QDir proc(QStringLiteral("/proc"));
  for (const QString& name : proc.entryList({QStringLiteral("[0-9]*")}, QDir::Dirs)) {
    QFile file(proc.filePath(name) + QStringLiteral("/environ"));
    if (file.open(QIODevice::ReadOnly) && file.readAll().contains(wanted)) processes.push_back(name.toInt());
  }
  return processes;
}

}  // namespace halvard::test
