#pragma once

#include <QHash>
#include <QPointer>
#include <QString>
#include <QVariant>
#include <functional>
#include <vector>

namespace halvard {

/// Named notifications inside this process. Main thread only; delivery is immediate, in order of registration.
class NotificationCenter {
 public:
  using Handler = std::function<void(const QVariant& object)>;

  /// Calls `handler` for every post of `name` until `context` is destroyed.
  void addObserver(const QString& name, QObject* context, Handler handler);

  /// Calls the observers of `name` that exist now; one added by a handler waits for the next post.
  void post(const QString& name, const QVariant& object = {});

 private:
  struct Observer {
    QPointer<QObject> context;
    Handler handler;
  };
  QHash<QString, std::vector<Observer>> m_observers;
};

}  // namespace halvard
