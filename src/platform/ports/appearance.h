#pragma once

#include <QObject>

namespace halvard {

/// The desktop's light or dark style. Main thread.
class Appearance : public QObject {
  Q_OBJECT

 public:
  using QObject::QObject;
  /// False when nobody says.
  virtual bool isDark() const = 0;

 Q_SIGNALS:
  void changed();
};

}  // namespace halvard
