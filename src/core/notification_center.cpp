#include "core/notification_center.h"

#include <algorithm>

namespace halvard {

void NotificationCenter::addObserver(const QString& name, QObject* context, Handler handler) {
  m_observers[name].push_back({context, std::move(handler)});
}

void NotificationCenter::post(const QString& name, const QVariant& object) {
  const auto entry = m_observers.find(name);
  if (entry == m_observers.end()) return;
  std::erase_if(*entry, [](const Observer& observer) { return observer.context.isNull(); });
  const std::vector<Observer> snapshot = *entry;
  for (const Observer& observer : snapshot) {
    if (observer.context) observer.handler(object);
  }
}

}  // namespace halvard
