#pragma once

#include <QByteArray>
#include <QString>

namespace halvard {

/// A query string that grows pair by pair.
class ZPGooglePayload {
 public:
  /// Appends key=value. Of the value only ASCII letters and digits stay as they are; a value that has no UTF-8 form
  /// leaves the pair out.
  void add(const QByteArray& key, const QString& value);
  const QByteArray& data() const { return m_data; }

 private:
  QByteArray m_data;
};

}  // namespace halvard
