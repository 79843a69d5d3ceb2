#include "crash/crashing_child.h"

#include <QDir>
#include <QFile>
#include <QProcess>
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
  for (const QString& name : {QStringLiteral("DISPLAY"), QStringLiteral("WAYLAND_DISPLAY"),
                              QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("DBUS_SESSION_BUS_ADDRESS")})
    environment.remove(name);
  const QString folder = m_folder.path();
  environment.insert(QStringLiteral("HOME"), folder);
  environment.insert(QStringLiteral("XDG_CONFIG_HOME"), folder + QStringLiteral("/config"));
  environment.insert(QStringLiteral("XDG_STATE_HOME"), folder + QStringLiteral("/state"));
  environment.insert(QStringLiteral("XDG_DATA_HOME"), folder + QStringLiteral("/data"));
  environment.insert(kMark, QUuid::createUuid().toString(QUuid::WithoutBraces));
}

CrashingChild::~CrashingChild() {
  for (const std::int32_t process : processesLeft())
    kill(process, SIGKILL);
}

CrashingChild::End CrashingChild::run(const QStringList& arguments) {
  QProcess process;
  process.setProcessEnvironment(environment);
  process.setWorkingDirectory(m_folder.path());
  process.start(QStringLiteral(CRASH_VICTIM), arguments);
  End end;
  const bool ended = process.waitForFinished(30'000);
  end.exited = ended && process.exitStatus() == QProcess::NormalExit;
  end.code = process.exitCode();
  end.errorOutput = process.readAllStandardError();
  return end;
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
