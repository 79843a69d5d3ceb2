#include "memory/purge_record.h"

#include <QDateTime>
#include <QJsonArray>

namespace halvard {
namespace {

using namespace std::chrono;

QJsonValue integer(ByteCount value) {
  return static_cast<qint64>(value);
}

QJsonValue integer(std::int64_t value) {
  return static_cast<qint64>(value);
}

QString timeText(Clock::Instant time) {
  const auto elapsed = duration_cast<milliseconds>(time.time_since_epoch());
  return QDateTime::fromMSecsSinceEpoch(elapsed.count(), Qt::UTC).toString(Qt::ISODateWithMs);
}

void insertSwap(QJsonObject& record, const SwapLedger& swap) {
  record.insert(QStringLiteral("compressedBytes"), integer(swap.compressedBytes));
  record.insert(QStringLiteral("compressedIntoBytes"), integer(swap.compressedIntoBytes));
  record.insert(QStringLiteral("swappedToDiskBytes"), integer(swap.swappedToDiskBytes));
  record.insert(QStringLiteral("givenBackBytes"), integer(swap.givenBackBytes));
  if (swap.pagedOutBytes) record.insert(QStringLiteral("pagedOutBytes"), integer(*swap.pagedOutBytes));
}

void insertRecheck(QJsonObject& record, const PurgeRecheck& recheck) {
  record.insert(QStringLiteral("recheckSeconds"), duration<double>(recheck.delay).count());
  record.insert(QStringLiteral("stillFreeBytes"), integer(recheck.stillFreeBytes));
  if (recheck.cameBackBytes) record.insert(QStringLiteral("cameBackBytes"), integer(*recheck.cameBackBytes));
}

QString strategyName(ReclaimMethod method) {
  switch (method) {
    case ReclaimMethod::PageOut:
      return QStringLiteral("By page-out");
    case ReclaimMethod::ControlGroups:
      return QStringLiteral("By control groups");
    case ReclaimMethod::Fill:
      return QStringLiteral("By filling memory, which others may feel");
    case ReclaimMethod::None:
      break;
  }
  return QStringLiteral("Nothing useful to free");
}

}  // namespace

QString methodName(ReclaimMethod method) {
  switch (method) {
    case ReclaimMethod::PageOut:
      return QStringLiteral("page-out");
    case ReclaimMethod::ControlGroups:
      return QStringLiteral("control-groups");
    case ReclaimMethod::Fill:
      return QStringLiteral("fill");
    case ReclaimMethod::None:
      break;
  }
  return QStringLiteral("none");
}

QString strategyLine(ReclaimMethod method, const QString& explanation) {
  const QString name = strategyName(method);
  return explanation.isEmpty() ? name + u'.' : name + QStringLiteral(": ") + explanation + u'.';
}

QJsonObject purgeRecord(const PurgeReport& report) {
  QJsonObject record{
      {QStringLiteral("time"), timeText(report.time)},
      {QStringLiteral("seconds"), duration<double>(report.duration).count()},
      {QStringLiteral("method"), methodName(report.outcome.method)},
      {QStringLiteral("strategy"), strategyLine(report.outcome.method, report.outcome.explanation)},
      {QStringLiteral("freedBytes"), integer(report.freedBytes)},
      {QStringLiteral("gainedBytes"), integer(report.gainedBytes)},
      {QStringLiteral("usedBefore"), integer(report.usedBefore)},
      {QStringLiteral("usedAfter"), integer(report.usedAfter)},
      {QStringLiteral("kernelBytes"), integer(report.kernelBytes)},
  };
  if (report.swap) insertSwap(record, *report.swap);
  if (report.recheck) insertRecheck(record, *report.recheck);
  return record;
}

QJsonObject forecastRecord(const ReclaimForecast& forecast) {
  QJsonArray sources;
  for (const ReclaimForecast::Source& source : forecast.sources) {
    sources.append(QJsonObject{{QStringLiteral("name"), source.name},
                               {QStringLiteral("pid"), source.pid},
                               {QStringLiteral("processes"), source.processes},
                               {QStringLiteral("bytes"), integer(source.bytes)}});
  }
  return {{QStringLiteral("method"), methodName(forecast.method)},
          {QStringLiteral("strategy"), strategyLine(forecast.method, forecast.explanation)},
          {QStringLiteral("gainBytes"), integer(forecast.gainBytes)},
          {QStringLiteral("pageOutBytes"), integer(forecast.pageOutBytes)},
          {QStringLiteral("sources"), sources}};
}

}  // namespace halvard
