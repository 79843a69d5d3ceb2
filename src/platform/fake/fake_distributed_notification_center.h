#pragma once

#include <QPointer>
#include <vector>

#include "platform/ports/distributed_notification_center.h"

namespace halvard {

/// A session of one process: a post reaches the observers of this object at once, and is remembered.
class FakeDistributedNotificationCenter : public DistributedNotificationCenter {
 public:
  struct Posted {
    QString name;
    QString object;

    bool operator==(const Posted&) const = default;
  };

  void post(const QString& name, const QString& object) override;
  void addObserver(const QString& name, const QString& object, QObject* context, Handler handler) override;

  /// A post by another program: reaches the observers and is not remembered in `posted`.
  void arrive(const QString& name, const QString& object);

  std::vector<Posted> posted;

 private:
  struct Observer {
    QString name;
    QString object;
    QPointer<QObject> context;
    Handler handler;
  };
  std::vector<Observer> m_observers;
};

}  // namespace halvard
