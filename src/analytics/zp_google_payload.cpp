#include "analytics/zp_google_payload.h"

namespace halvard {

void ZPGooglePayload::add(const QByteArray& key, const QString& value) {
  if (!value.isValidUtf16()) return;
  if (!m_data.isEmpty()) m_data += '&';
  // These four are the ones that would stay as they are, too.
  m_data += key + '=' + value.toUtf8().toPercentEncoding({}, "-._~");
}

}  // namespace halvard
