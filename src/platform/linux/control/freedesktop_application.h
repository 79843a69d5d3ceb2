#pragma once

#include <QDBusAbstractAdaptor>
#include <QVariantMap>
#include <functional>

namespace halvard {

/// How launchers and notification daemons reach the program, and start it where it does not run: the session bus
/// starts it for the first call (packaging/com.tessmar.Halvard.service.in).
class FreedesktopApplication : public QDBusAbstractAdaptor {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

 public:
  struct Calls {
    std::function<void()> activate;
    /// With the name of a notification's action.
    std::function<void(const QString&)> activateAction;
  };

  /// `parent` is the object that stands on the bus.
  FreedesktopApplication(QObject* parent, Calls calls);

 public Q_SLOTS:
  // The methods, with the names of the bus.
  void Activate(const QVariantMap& platformData);
  void Open(const QStringList& addresses, const QVariantMap& platformData);
  void ActivateAction(const QString& name, const QVariantList& parameters, const QVariantMap& platformData);

 private:
  const Calls m_calls;
};

}  // namespace halvard
