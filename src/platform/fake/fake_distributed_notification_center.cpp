#include "platform/fake/fake_distributed_notification_center.h"

#include <utility>

namespace halvard {

void FakeDistributedNotificationCenter::post(const QString& name, const QString& object) {
  posted.push_back({name, object});
  arrive(name, object);
}

void FakeDistributedNotificationCenter::addObserver(const QString& name, const QString& object, QObject* context,
                                                    Handler handler) {
  m_observers.push_back({name, object, context, std::move(handler)});
}

void FakeDistributedNotificationCenter::arrive(const QString& name, const QString& object) {
  const std::vector<Observer> snapshot = m_observers;
  for (const Observer& observer : snapshot) {
    const bool wanted = observer.name == name && (observer.object.isEmpty() || observer.object == object);
    if (wanted && observer.context) observer.handler(object);
  }
}

}  // namespace halvard
