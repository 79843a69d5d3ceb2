#include <QApplication>
#include <QDBusConnection>
#include <QFileInfo>
#include <QIcon>
#include <QProcess>
#include <QStandardPaths>
#include <cstdio>
#include <optional>

#include "app/application.h"
#include "app/demo_desktop.h"
#include "app/shot_states.h"
#include "catalogue/catalogue.h"
#include "core/application_identity.h"
#include "crash/crash_on_purpose.h"
#include "crash/tessmar_fall_manager.h"
#include "files_searcher/walk_metadata_queries.h"
#include "lifecycle/own_bundle.h"
#include "platform/desktop/desktop_status_bar_item.h"
#include "platform/desktop/x11_window_hints.h"
#include "platform/desktop/x11_window_list_watch.h"
#include "platform/desktop/xembed_status_bar_item.h"
#include "platform/linux/applications/linux_running_applications.h"
#include "platform/linux/control/dbus_control_server.h"
#include "platform/linux/dbus/dbus_distributed_notification_center.h"
#include "platform/linux/dbus/dbus_user_notification_center.h"
#include "platform/linux/dbus/portal_appearance.h"
#include "platform/linux/dbus/status_notifier_item.h"
#include "platform/linux/files/linux_disk.h"
#include "platform/linux/gio/gio_workspace.h"
#include "platform/linux/instance/linux_running_copies.h"
#include "platform/linux/minizip/minizip_unpacker.h"
#include "platform/linux/network/qt_http_fetcher.h"
#include "platform/linux/network/ssl_beacon.h"
#include "platform/linux/processes/linux_process_information.h"
#include "platform/linux/processes/linux_process_table.h"
#include "platform/linux/procfs/linux_host_statistics.h"
#include "platform/linux/procfs/linux_processor_ticks.h"
#include "platform/linux/reclaim/linux_purgeable_memory.h"
#include "platform/linux/session/shell_script_runner.h"
#include "platform/linux/session/termination_signals.h"
#include "platform/linux/sqlite/retrying_defaults_store.h"
#include "platform/linux/sqlite/sqlite_object_store.h"
#include "platform/linux/volumes/linux_mounted_volumes.h"
#include "platform/linux/xdg/halvard_login_jobs.h"
#include "preferences/cleaning_exclusions.h"
#include "widgets/application_icon.h"
#include "widgets/status_image.h"
#include "widgets/tool_tip_style.h"
#include "widgets/ui_style.h"

using namespace halvard;

namespace {

/// On Wayland a client cannot place its windows, so the panel could not open at its item: XWayland can.
void preferXWayland() {
  const bool isWayland = qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
  const bool hasX = !qEnvironmentVariableIsEmpty("DISPLAY");
  if (isWayland && hasX && !qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "xcb");
}

/// The toolkit takes a display as an argument, too; whatever else looks for one looks here.
void adoptDisplayArgument(int count, char** arguments) {
  for (int place = 1; place + 1 < count; ++place) {
    const QByteArrayView argument(arguments[place]);
    if (argument == "-display" || argument == "--display") qputenv("DISPLAY", arguments[place + 1]);
  }
}

/// The toolkit aborts where it finds none.
bool hasDisplay() {
  for (const char* name : {"QT_QPA_PLATFORM", "WAYLAND_DISPLAY", "DISPLAY"}) {
    if (!qEnvironmentVariableIsEmpty(name)) return true;
  }
  return false;
}

/// Says nothing about the user or the machine.
QByteArray userAgent() {
  return QByteArrayLiteral("Halvard/" HALVARD_VERSION);
}

std::optional<QString> dataFolder() {
  const QString folder = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
  return folder.isEmpty() ? std::nullopt : std::optional(folder);
}

/// A file that lasts as long as the session; empty where there is no place for one.
QString sessionFile(const QString& name) {
  const QString folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
  return folder.isEmpty()
             ? QString()
             : folder + QLatin1Char('/') + application_identity::kBundleIdentifier + QLatin1Char('.') + name;
}

/// Every adapter of a real Linux desktop, in the order in which they need one another.
struct LinuxDesktop {
  explicit LinuxDesktop(const QDBusConnection& bus)
      : notifierItem(bus, {QStringLiteral("halvard"), application_identity::kDisplayName}, statusImage,
                     titlePlacement(qEnvironmentVariable("XDG_CURRENT_DESKTOP"))),
        statusItem(
            notifierItem, [] { return std::make_unique<XEmbedStatusBarItem>(statusImage); }, clock),
        appearance(bus),
        userNotifications(bus,
                          {application_identity::kDisplayName, application_identity::kBundleIdentifier,
                           application_identity::kBundleIdentifier},
                          sessionFile(QStringLiteral("notifications"))),
        distributedNotifications(bus),
        controlServer(bus),
        copies(bus, QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation)) {
    QObject::connect(&controlServer, &DBusControlServer::notificationActionActivated, &userNotifications,
                     &DBusUserNotificationCenter::activateAction);
  }

  Platform platform() {
    return {
        clock,
        hostStatistics,
        purgeHostStatistics,
        processorTicks,
        processInformation,
        purgeMemory,
        processTable,
        runningApplications,
        defaultsStore,
        statusItem,
        windowHints,
        appearance,
        userNotifications,
        distributedNotifications,
        controlServer,
        scripts,
        loginItems,
        {workspace, fetcher, beacon, unpacker, volumes, dataFolder()},
        {disk.reader, disk.catalog, disk.lastUsedDates, disk.priority, disk.folders, disk.access, queries, workspace},
        {copies, disk.folders, objectStore, fetcher, workspace, ownBundle(RunningProgram::fromEnvironment())}};
  }

  SystemClock clock;
  LinuxHostStatistics hostStatistics;
  LinuxHostStatistics purgeHostStatistics;
  LinuxProcessorTicks processorTicks;
  LinuxProcessInformation processInformation;
  LinuxPurgeableMemory purgeMemory{clock, [this] { return CleaningExclusions(defaultsStore).names(); }};
  LinuxProcessTable processTable;
  X11WindowListWatch windowList;
  LinuxRunningApplications runningApplications{std::make_shared<X11Windows>(QByteArray(), windowList.changes())};
  RetryingDefaultsStore defaultsStore{clock, defaultsFilePath(application_identity::kBundleIdentifier),
                                      application_identity::kBundleIdentifier};
  StatusNotifierItem notifierItem;
  DesktopStatusBarItem statusItem;
  X11WindowHints windowHints;
  PortalAppearance appearance;
  DBusUserNotificationCenter userNotifications;
  DBusDistributedNotificationCenter distributedNotifications;
  DBusControlServer controlServer;
  ShellScriptRunner scripts;
  LinuxRunningCopies copies;
  SqliteObjectStore objectStore;
  XdgLoginItemService loginItems = loginItemService(QCoreApplication::applicationDirPath());
  GioWorkspace workspace;
  QtHttpFetcher fetcher{userAgent()};
  SslBeacon beacon{userAgent()};
  MinizipUnpacker unpacker;
  LinuxMountedVolumes volumes;
  LinuxDisk disk;
  WalkMetadataQueries queries{disk.reader, disk.mounts, disk.catalog, disk.priority};
};

/// Once: a tray may come and go.
void reportMissingTray(Application& program) {
  const auto report = [] {
    std::fputs("halvard: no tray shows the icon; the panel stays reachable from the window list\n", stderr);
  };
  QObject::connect(&program.interface().panel(), &PanelWindow::trayMissed, &program, report, Qt::SingleShotConnection);
}

/// HALVARD_SHOT names a window state to open, for screenshots.
bool openShotState(Clock& clock, Application& program) {
  const QString state = qEnvironmentVariable("HALVARD_SHOT");
  if (state.isEmpty()) return true;
  if (!shot_states::isKnown(state)) {
    std::fprintf(stderr, "halvard: unknown window state '%s': %s\n", qPrintable(state),
                 qPrintable(shot_states::names()));
    return false;
  }
  // It comes by itself at the first start, and a picture shows one state.
  program.defaults().notifyShowcaseDialogDataThatShowedAutomaticallyVersion(0);
  clock.callAfter(std::chrono::seconds(2), &program, [state, &program] { shot_states::open(state, program); });
  return true;
}

CrashIdentity crashIdentity() {
  return {application_identity::kBundleIdentifier, application_identity::kDisplayName,
          QApplication::applicationVersion(), QApplication::applicationVersion()};
}

/// A relaunch starts a bundle from its own place: the folder that an AppImage is mounted on goes with this process.
FallManagerSettings fallManagerSettings() {
  FallManagerSettings settings = FallManagerSettings::standard(crashIdentity());
  if (const auto bundle = ownBundle(RunningProgram::fromEnvironment())) settings.programPath = programOfBundle(*bundle);
  return settings;
}

/// Debug builds alone: HALVARD_CRASH names a way to crash as soon as the program runs. Not later: Qt ignores broken
/// pipes from the first time it writes to a child or a server.
void crashWhenAsked([[maybe_unused]] Clock& clock, [[maybe_unused]] QObject& context) {
#ifdef HALVARD_CRASH_ON_PURPOSE
  if (const auto kind = crashKindNamed(qEnvironmentVariable("HALVARD_CRASH"))) {
    clock.callAfter(std::chrono::seconds(0), &context, [kind] { crashOnPurpose(*kind); });
  }
#endif
}

int run(const QStringList& arguments) {
  LinuxDesktop desktop(QDBusConnection::sessionBus());
  CacheManager crashCounts(desktop.defaultsStore);
  TessmarFallManager fallManager(crashCounts, fallManagerSettings());
  fallManager.start();
  std::optional<DemoDesktop> demo;
  if (arguments.contains(QStringLiteral("--demo"))) {
    demo.emplace(desktop.platform());
  }
  Application program(demo ? demo->platform() : desktop.platform());
  const TerminationSignals terminationSignals;
  QObject::connect(&terminationSignals, &TerminationSignals::terminationRequested, &program, &Application::quit);
  if (!openShotState(desktop.clock, program)) return 2;
  reportMissingTray(program);
  if (!program.start(arguments)) return 0;
  if (!demo) desktop.loginItems.adoptEntries(qEnvironmentVariable(Application::kMovedFrom));
  qunsetenv(Application::kMovedFrom);
  crashWhenAsked(desktop.clock, program);
  return QApplication::exec();
}

/// Started at login from the AppImage.
int beLauncher() {
  const QFileInfo own(QFile::symLinkTarget(QStringLiteral("/proc/self/exe")));
  return QProcess::startDetached(own.path() + QStringLiteral("/halvard-launcher"), {}) ? 0 : 1;
}

}  // namespace

int main(int argc, char* argv[]) {
  if (argc > 1 && kBeLauncher == QLatin1String(argv[1])) return beLauncher();
  adoptDisplayArgument(argc, argv);
  if (!hasDisplay()) {
    std::fputs("halvard: there is no display; halvardctl does the same work in a terminal\n", stderr);
    return 1;
  }
  preferXWayland();
  QApplication application(argc, argv);
  QApplication::setApplicationName(QStringLiteral("halvard"));
  QApplication::setApplicationDisplayName(application_identity::kDisplayName);
  QApplication::setApplicationVersion(QStringLiteral(HALVARD_VERSION));
  QApplication::setDesktopFileName(application_identity::kBundleIdentifier);
  QApplication::setQuitOnLastWindowClosed(false);
  installCatalogue(application);
  QApplication::setFont(ui_style::font(12));
  tool_tip_style::apply();
  QApplication::setWindowIcon(applicationIcon());
  QIcon::setFallbackThemeName(QStringLiteral("Adwaita"));
  return run(QApplication::arguments().mid(1));
}
