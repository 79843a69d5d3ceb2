#include "lifecycle/update_signature.h"

#include <sodium.h>

namespace halvard {
namespace {

const unsigned char* bytesOf(const QByteArray& data) {
  return reinterpret_cast<const unsigned char*>(data.constData());
}

}  // namespace

std::optional<UpdateKey> UpdateKey::fromBase64(const QString& text) {
  const auto decoded = QByteArray::fromBase64Encoding(text.toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
  if (!decoded || decoded.decoded.size() != crypto_sign_PUBLICKEYBYTES || ::sodium_init() < 0) return std::nullopt;
  return UpdateKey(decoded.decoded);
}

bool UpdateKey::hasSigned(const QByteArray& message, const QByteArray& signature) const {
  return signature.size() == crypto_sign_BYTES &&
         ::crypto_sign_verify_detached(bytesOf(signature), bytesOf(message),
                                       static_cast<unsigned long long>(message.size()), bytesOf(m_bytes)) == 0;
}

}  // namespace halvard
