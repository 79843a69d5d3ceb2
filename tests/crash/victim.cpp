#include <QCoreApplication>
#include <QFile>
#include <QTimer>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include <signal.h>
#include <sqlite3.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include "core/application_identity.h"
#include "crash/crash_on_purpose.h"
#include "crash/crash_report_files.h"
#include "crash/tessmar_fall_manager.h"
#include "platform/linux/sqlite/sqlite_defaults_store.h"

// A program that crashes as its tests ask: crash_victim KIND [REPORTER [SILENCE]]. Without arguments it leaves a mark
// that it was started, as a relaunch does.

using namespace halvard;

namespace {

/// Leaves the settings file as a crash in the middle of a transaction does: locked and half written.
[[gnu::noinline]] void crashWhileSettingsAreWritten() {
  sqlite3* database = nullptr;
  sqlite3_open(defaultsFilePath(application_identity::kBundleIdentifier).toUtf8().constData(), &database);
  sqlite3_exec(database, "BEGIN IMMEDIATE; DELETE FROM defaults;", nullptr, nullptr, nullptr);
  crashOnPurpose(CrashKind::nullDereference);
}

[[noreturn]] void abortAsAnEarlierHandler() {
  std::fputs("earlier handler of exceptions\n", stderr);
  std::abort();
}

void earlierActionOfQuit(int) {
  std::fputs("earlier action of signal 3\n", stderr);
}

/// As an open menu does: whoever else is at the display gets neither mouse nor keys.
[[gnu::noinline]] void crashWithGrab() {
  xcb_connection_t* const connection = xcb_connect(nullptr, nullptr);
  const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
  free(xcb_grab_keyboard_reply(
      connection, xcb_grab_keyboard(connection, 0, root, XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
      nullptr));
  crashOnPurpose(CrashKind::nullDereference);
}

/// A crash signal with a code of the test's choice.
[[gnu::noinline]] void crashWithCode(int code) {
  siginfo_t information = {};
  information.si_signo = SIGSEGV;
  information.si_code = code;
  syscall(SYS_rt_sigqueueinfo, getpid(), SIGSEGV, &information);
  pause();
}

void crash(const QString& kind) {
  if (kind.startsWith(QLatin1String("code:"))) return crashWithCode(kind.mid(5).toInt());
  if (kind == QLatin1String("settings")) return crashWhileSettingsAreWritten();
  if (kind == QLatin1String("quiet")) return;
  if (kind == QLatin1String("grab")) return crashWithGrab();
  if (const auto known = crashKindNamed(kind)) crashOnPurpose(*known);
}

}  // namespace

int main(int argc, char* argv[]) {
  QCoreApplication application(argc, argv);
  const QStringList arguments = QCoreApplication::arguments();
  if (arguments.size() < 2) {
    QFile mark(crashReportFolder() + QStringLiteral("/relaunched"));
    return mark.open(QIODevice::WriteOnly) ? 0 : 1;
  }
  if (qEnvironmentVariableIsSet("EARLIER_HANDLERS")) {
    std::set_terminate(abortAsAnEarlierHandler);
    signal(SIGQUIT, earlierActionOfQuit);
  }
  SqliteDefaultsStore store(defaultsFilePath(application_identity::kBundleIdentifier),
                            application_identity::kBundleIdentifier);
  CacheManager cache(store);
  const QString version = QStringLiteral("4.2");
  auto settings = FallManagerSettings::standard(
      {application_identity::kBundleIdentifier, application_identity::kDisplayName, version, version});
  settings.reporterPath = arguments.value(2, QStringLiteral(HALVARD_BIN_DIR "/halvard-crash-reporter"));
  settings.silenceLimit = std::chrono::milliseconds(arguments.value(3, QStringLiteral("20000")).toInt());
  TessmarFallManager manager(cache, settings);
  if (qEnvironmentVariableIsSet("HANDLER_LOGS")) manager.turnOnLogs();
  manager.start();
  store.setObject(QStringLiteral("KEY_cleanedSize"), {std::uint64_t{4096}});
  store.synchronize();
  QTimer::singleShot(0, &application, [kind = arguments[1]] { crash(kind); });
  // A crash that is not reported shall not leave a process behind either.
  QTimer::singleShot(arguments[1] == QLatin1String("quiet") ? 0 : 60'000, &application, &QCoreApplication::quit);
  return QCoreApplication::exec();
}
