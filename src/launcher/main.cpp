// halvard-launcher: started by the session at login, starts the program "halvard" that stands beside it.

#include <QCoreApplication>
#include <QDBusConnection>
#include <cstdio>

#include "core/application_identity.h"
#include "core/clock.h"
#include "launcher/launcher.h"
#include "platform/linux/dbus/dbus_distributed_notification_center.h"

int main(int argc, char** argv) {
  QCoreApplication application(argc, argv);
  halvard::SystemClock clock;
  halvard::DBusDistributedNotificationCenter notifications(QDBusConnection::sessionBus());
  halvard::Launcher launcher(notifications, clock, halvard::application_identity::kBundleIdentifier,
                             [] { QCoreApplication::quit(); });
  const auto started = launcher.start(QCoreApplication::applicationDirPath() + QStringLiteral("/halvard"));
  if (started) return QCoreApplication::exec();
  std::fprintf(stderr, "halvard-launcher: %s\n", qPrintable(started.error().message));
  return 1;
}
