// A program that posts one notification between programs and ends at once: ADDRESS NAME OBJECT
#include <QCoreApplication>
#include <QDBusConnection>
#include <cstdlib>

#include "platform/linux/dbus/dbus_distributed_notification_center.h"

int main(int argc, char** argv) {
  const QCoreApplication application(argc, argv);
  const QStringList arguments = QCoreApplication::arguments();
  if (arguments.size() != 4) return 2;
  halvard::DBusDistributedNotificationCenter center(
      QDBusConnection::connectToBus(arguments[1], QStringLiteral("poster")));
  center.post(arguments[2], arguments[3]);
  std::_Exit(0);
}
