#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace halvard {

/// The public half of the maker's Ed25519 key. An immutable value; any thread.
class UpdateKey {
 public:
  /// Nothing when the text is not the Base64 of 32 bytes.
  static std::optional<UpdateKey> fromBase64(const QString& text);

  /// False also for a signature of the wrong length.
  bool hasSigned(const QByteArray& message, const QByteArray& signature) const;

 private:
  explicit UpdateKey(QByteArray bytes) : m_bytes(std::move(bytes)) {}
  QByteArray m_bytes;
};

}  // namespace halvard
