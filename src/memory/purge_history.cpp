#include "memory/purge_history.h"

#include <QJsonDocument>
#include <algorithm>

#include "memory/purge_record.h"
#include "preferences/stored_keys.h"

namespace halvard {
namespace {

bool isFruitless(const QJsonObject& record) {
  return record.value(QLatin1String("method")).toString() == methodName(ReclaimMethod::None) &&
         record.value(QLatin1String("gainedBytes")).toInteger() <= 0;
}

bool isSamePurge(const QJsonObject& left, const QJsonObject& right) {
  return left.value(QLatin1String("time")) == right.value(QLatin1String("time"));
}

}  // namespace

QJsonArray PurgeHistory::records() const {
  const std::optional<StoredValue> stored = m_store.objectForKey(stored_keys::cleaningHistory);
  const QString* text = stored ? stored->as<QString>() : nullptr;
  if (!text) return {};
  QJsonArray records = QJsonDocument::fromJson(text->toUtf8()).array();
  for (qsizetype index = records.size(); index-- > 0;) {
    if (!records[index].isObject()) records.removeAt(index);
  }
  return records;
}

bool PurgeHistory::isLatest(const QJsonObject& record) const {
  const QJsonArray known = records();
  return known.isEmpty() || isSamePurge(known.last().toObject(), record);
}

void PurgeHistory::put(const QJsonObject& record) {
  QJsonArray known = records();
  const auto same = std::find_if(known.begin(), known.end(),
                                 [&](const QJsonValueRef& one) { return isSamePurge(one.toObject(), record); });
  if (same != known.end()) {
    *same = record;
  } else {
    if (!known.isEmpty() && isFruitless(known.last().toObject()) && isFruitless(record)) known.removeLast();
    known.append(record);
  }
  while (known.size() > kMost)
    known.removeFirst();
  m_store.setObject(stored_keys::cleaningHistory,
                    {QString::fromUtf8(QJsonDocument(known).toJson(QJsonDocument::Compact))});
  m_store.synchronize();
}

}  // namespace halvard
