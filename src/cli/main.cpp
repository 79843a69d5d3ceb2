#include <QCoreApplication>
#include <QDBusConnection>
#include <QDir>
#include <QLockFile>
#include <QStandardPaths>
#include <algorithm>
#include <initializer_list>

#include "cli/application_commands.h"
#include "cli/defaults_command.h"
#include "cli/exclude_command.h"
#include "cli/format_command.h"
#include "cli/history_command.h"
#include "cli/login_command.h"
#include "cli/memory_commands.h"
#include "cli/preferences_command.h"
#include "core/application_identity.h"
#include "files_searcher/disk_commands.h"
#include "files_searcher/walk_metadata_queries.h"
#include "login/run_at_login_manager.h"
#include "platform/linux/applications/linux_running_applications.h"
#include "platform/linux/control/dbus_control_client.h"
#include "platform/linux/dbus/dbus_distributed_notification_center.h"
#include "platform/linux/files/linux_disk.h"
#include "platform/linux/processes/linux_process_information.h"
#include "platform/linux/processes/linux_process_table.h"
#include "platform/linux/procfs/linux_host_statistics.h"
#include "platform/linux/procfs/linux_processor_ticks.h"
#include "platform/linux/reclaim/linux_purgeable_memory.h"
#include "platform/linux/session/shell_script_runner.h"
#include "platform/linux/session/terminal.h"
#include "platform/linux/session/termination_signals.h"
#include "platform/linux/sqlite/sqlite_defaults_store.h"
#include "platform/linux/xdg/halvard_login_jobs.h"
#include "preferences/cleaning_exclusions.h"
#include "process_manager/processes_manager.h"

using namespace halvard;

namespace {

const char* const kUsage =
    R"(usage: halvardctl COMMAND

  status [--json]        how full the memory is
  watch                  one line a second, until interrupted
  clean [--wait] [--json]
                         free memory now; --wait: and tell a minute later what is still free
  clean --dry-run [--json]
                         what could be freed now, and from which applications
  history [-n N] [--json]
                         the latest cleanings
  exclude list           what a cleaning leaves alone
  exclude add|remove APP by the name of an application or program
  preferences            every preference with its value, its default and what it decides
  preferences NAME VALUE changes one, at once where the program runs
  login on|off|status    start at login
  defaults read [KEY]    the stored settings, or one of them
  defaults write KEY (-bool|-int|-float|-string|-date) VALUE
  defaults delete KEY
  defaults keys          every key the program knows
  top [-n N] [--json]    the applications by memory, their helpers folded in
  activate PID|NAME      bring an application to the front
  quit PID|NAME          ask an application to quit
  kill PID|NAME          end an application at once
  scan [--json]          what fills the disk: junk, duplicates, large and old files, applications
  size PATH [--ignore-root-ds-store]
                         the bytes that the files below a folder occupy
  large [--json]         the files behind "large and old", the largest first
  duplicates [--json]    the groups of files behind "duplicates"
  format NAME BYTES      a byte count in one of the program's notations
  --version, --help)";

/// The adapters, made by the first command that needs them.
struct Machine {
  CliServices services() {
    return {hostStatistics,
            purgeHostStatistics,
            processorTicks,
            processInformation,
            purgeMemory,
            store,
            scripts,
            clock,
            QCoreApplication::applicationVersion()};
  }
  SystemClock clock;
  LinuxHostStatistics hostStatistics;
  LinuxHostStatistics purgeHostStatistics;
  LinuxProcessorTicks processorTicks;
  LinuxProcessInformation processInformation;
  LinuxPurgeableMemory purgeMemory{clock, [this] { return CleaningExclusions(store).names(); }};
  SqliteDefaultsStore store{defaultsFilePath(application_identity::kBundleIdentifier),
                            application_identity::kBundleIdentifier};
  ShellScriptRunner scripts;
};

/// Without a program two commands could fill memory at once: the second is sent away.
class CleanLock {
 public:
  CleanLock() { m_file.setStaleLockTime(0); }
  /// False when another command has it. Where no lock can be made, everybody has it.
  bool take() {
    QDir().mkpath(m_folder);
    return m_file.tryLock() || m_file.error() != QLockFile::LockFailedError;
  }
  void release() { m_file.unlock(); }
  bool isFree() {
    const bool taken = take();
    if (taken) release();
    return taken;
  }

 private:
  const QString m_folder = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation);
  QLockFile m_file{m_folder + QStringLiteral("/halvard-clean.lock")};
};

int runMemoryCommand(const QString& command, const QStringList& words, const CommandOutput& output) {
  const TerminationSignals signals_;
  Machine machine;
  CleanLock lock;
  CliServices services = machine.services();
  services.isAlone = [&lock] { return lock.isFree(); };
  DBusControlClient control(QDBusConnection::sessionBus());
  MemoryCommands commands(services, control, output, isTerminal(stderr));
  QObject::connect(&signals_, &TerminationSignals::terminationRequested, &commands, &MemoryCommands::interrupt);
  if (command == QStringLiteral("status")) return commands.runStatus(words);
  if (command == QStringLiteral("watch")) return commands.runWatch(words);
  if (words.contains(QStringLiteral("--dry-run"))) return commands.runClean(words);
  if (!lock.take()) return output.fail(QStringLiteral("a cleaning is running already"), kExitFailure);
  QObject::connect(&commands, &MemoryCommands::cleaned, &commands, [&lock] { lock.release(); });
  return commands.runClean(words);
}

int runApplicationCommand(const QString& command, const QStringList& words, const CommandOutput& output) {
  SystemClock clock;
  LinuxProcessTable table;
  LinuxRunningApplications applications;
  ProcessesManager processes(table, applications, clock);
  const DBusControlClient control(QDBusConnection::sessionBus());
  ApplicationCommands commands(processes, output, control.programPid());
  if (command == QStringLiteral("activate")) return commands.runVerb(ApplicationCommands::Verb::Activate, words);
  if (command == QStringLiteral("quit")) return commands.runVerb(ApplicationCommands::Verb::Quit, words);
  if (command == QStringLiteral("kill")) return commands.runVerb(ApplicationCommands::Verb::Kill, words);
  return commands.runTop(words);
}

/// The words as bytes: paths need not be text.
int runDiskCommand(const QByteArrayList& words, const CommandOutput& output) {
  SystemClock clock;
  LinuxDisk disk;
  const PathsGenerator paths(disk.folders);
  const BundleExcludeList excludeList;
  WalkMetadataQueries queries(disk.reader, disk.mounts, disk.catalog, disk.priority);
  const SqliteDefaultsStore store(defaultsFilePath(application_identity::kBundleIdentifier),
                                  application_identity::kBundleIdentifier);
  const DiskSearchServices services{clock, disk.reader, disk.catalog, disk.lastUsedDates,           disk.priority,
                                    paths, excludeList, queries,      isCalculationLogWanted(store)};
  return DiskCommands(services, store, output.out, output.err, isTerminal(output.err)).run(words).value_or(kExitUsage);
}

int runSettingsCommand(const QString& command, const QStringList& words, const CommandOutput& output) {
  const QString& identifier = application_identity::kBundleIdentifier;
  SqliteDefaultsStore store(defaultsFilePath(identifier), identifier);
  if (command == QStringLiteral("defaults")) return runDefaultsCommand(words, store, output);
  if (command == QStringLiteral("exclude")) return runExcludeCommand(words, store, output);
  if (command == QStringLiteral("history")) return runHistoryCommand(words, store, output);
  if (command == QStringLiteral("preferences")) {
    DBusControlClient control(QDBusConnection::sessionBus());
    return runPreferencesCommand(words, store, control, output);
  }
  SystemClock clock;
  ShowcaseDefaults defaults(store, clock, QCoreApplication::applicationVersion());
  const QString folder = QCoreApplication::applicationDirPath();
  XdgLoginItemService loginItems = loginItemService(folder);
  DBusDistributedNotificationCenter notifications(QDBusConnection::sessionBus());
  HalvardRunAtLoginManager startAtLogin(loginItems, notifications, identifier, folder + QStringLiteral("/halvard"));
  return runLoginCommand(words, startAtLogin, defaults, output);
}

bool isOneOf(const QString& command, std::initializer_list<const char*> names) {
  return std::any_of(names.begin(), names.end(), [&](const char* name) { return command == QLatin1String(name); });
}

/// `bytes`: the same words as they were given.
int run(const QStringList& arguments, const QByteArrayList& bytes, const CommandOutput& output) {
  const QString command = arguments.value(0);
  const QStringList words = arguments.mid(1);
  if (isOneOf(command, {"status", "watch", "clean"})) return runMemoryCommand(command, words, output);
  if (isOneOf(command, {"scan", "size", "large", "duplicates"})) return runDiskCommand(bytes, output);
  if (isOneOf(command, {"top", "activate", "quit", "kill"})) return runApplicationCommand(command, words, output);
  if (isOneOf(command, {"preferences", "login", "defaults", "exclude", "history"}))
    return runSettingsCommand(command, words, output);
  if (command == QStringLiteral("format")) return runFormatCommand(words, output);
  if (command == QStringLiteral("--help") || command == QStringLiteral("help")) {
    output.print(QString::fromUtf8(kUsage));
    return kExitSuccess;
  }
  if (command == QStringLiteral("--version")) {
    output.print(QStringLiteral("halvardctl ") + QCoreApplication::applicationVersion());
    return kExitSuccess;
  }
  const QString reason =
      command.isEmpty() ? QStringLiteral("no command") : QStringLiteral("unknown command '%1'").arg(command);
  return output.fail(
      reason + QStringLiteral(": status, watch, clean, top, activate, quit, kill, scan, size, large, duplicates, "
                              "history, exclude, preferences, login, defaults or format; --help explains"),
      kExitUsage);
}

}  // namespace

int main(int argc, char* argv[]) {
  const QCoreApplication application(argc, argv);
  QCoreApplication::setApplicationVersion(QStringLiteral(HALVARD_VERSION));
  return run(QCoreApplication::arguments().mid(1), QByteArrayList(argv + std::min(argc, 1), argv + argc), {});
}
