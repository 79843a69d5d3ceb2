#pragma once

#include <QObject>
#include <QString>
#include <functional>

namespace halvard {

/// Named notifications between programs of one session. Main thread. No session bus: posting does nothing, observing
/// never fires, nothing fails.
class DistributedNotificationCenter {
 public:
  using Handler = std::function<void(const QString& object)>;

  virtual ~DistributedNotificationCenter() = default;

  /// Sent at once; a program may post and quit.
  virtual void post(const QString& name, const QString& object) = 0;

  /// Calls `handler` for posts of `name` until `context` is destroyed. An empty `object` observes every object.
  virtual void addObserver(const QString& name, const QString& object, QObject* context, Handler handler) = 0;
};

}  // namespace halvard
