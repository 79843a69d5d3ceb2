#pragma once

#include <QString>
#include <QVariantMap>
#include <optional>
#include <vector>

namespace halvard {

/// What the notifications on the screen are about. They outlive the program, so the memory is kept in a file of the
/// session: a click is understood by the copy that runs then, and by the one that it starts.
class NotificationMemory {
 public:
  /// Reads `file`, and writes it with every change. Empty: nothing outlives this object.
  explicit NotificationMemory(QString file);

  /// `daemon` is the unique bus name of the one that shows it; ids of another daemon mean nothing from then on.
  void add(const QString& daemon, uint id, const QVariantMap& userInfo);
  void remove(const QString& daemon, uint id);
  void clear();

  std::optional<QVariantMap> find(const QString& daemon, uint id) const;
  /// The user information of the newest one.
  std::optional<QVariantMap> newest() const;

 private:
  struct Shown {
    uint id;
    QVariantMap userInfo;
  };

  void read();
  void write() const;

  const QString m_file;
  QString m_daemon;
  /// The oldest first.
  std::vector<Shown> m_shown;
};

}  // namespace halvard
