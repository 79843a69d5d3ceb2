#include "cli/status_text.h"

#include <QStringList>
#include <algorithm>
#include <cmath>

#include "core/size_format.h"

namespace halvard::status_text {
namespace {

qint64 integer(const QJsonObject& record, QLatin1String key) {
  return record.value(key).toInteger();
}

QString bytesText(qint64 bytes) {
  return size_format::stringFromDifference(bytes);
}

QString pagesText(const QJsonObject& status, qint64 pages) {
  return bytesText(pages * integer(status, QLatin1String("pageSize")));
}

QString row(const QString& label, const QString& value) {
  return QStringLiteral("  %1%2").arg(label, -22).arg(value, 10);
}

QString percent(double fraction) {
  return QString::asprintf("%.1f %%", fraction * 100);
}

}  // namespace

QString bar(double progress, int width) {
  const int filled = std::clamp(static_cast<int>(std::lround(progress * width)), 0, width);
  return QStringLiteral("[%1%2] %3%")
      .arg(QString(filled, u'#'), QString(width - filled, u' '))
      .arg(static_cast<int>(std::lround(progress * 100)), 3);
}

QString screen(const QJsonObject& status) {
  const double used = status.value(QLatin1String("usedFraction")).toDouble();
  const qint64 application =
      integer(status, QLatin1String("internalPages")) - integer(status, QLatin1String("purgeablePages"));
  const bool purging = status.value(QLatin1String("purging")).toBool();
  QStringList lines{
      QStringLiteral("Memory  ") + bar(used, 40),
      QString(),
      row(QStringLiteral("Used"), pagesText(status, integer(status, QLatin1String("usedPages")))) +
          QStringLiteral("   of %1").arg(bytesText(integer(status, QLatin1String("physicalBytes")))),
      row(QStringLiteral("  applications"), pagesText(status, application)),
      row(QStringLiteral("  wired (kernel)"), pagesText(status, integer(status, QLatin1String("wiredPages")))),
      row(QStringLiteral("  compressed"), pagesText(status, integer(status, QLatin1String("compressorPages")))),
      row(QStringLiteral("Free"), bytesText(integer(status, QLatin1String("freeBytes")))) +
          QStringLiteral("   caches included"),
      QString(),
      row(QStringLiteral("Processors"), percent(status.value(QLatin1String("cpuUsage")).toDouble())),
      row(QStringLiteral("Freed so far"), bytesText(integer(status, QLatin1String("cleanedBytes")))) +
          QStringLiteral("   last time %1").arg(bytesText(integer(status, QLatin1String("lastPurgedBytes")))),
  };
  if (purging) lines << QStringLiteral("Cleaning now.");
  return lines.join(u'\n');
}

QString line(const QJsonObject& status) {
  return QStringLiteral("%1  used %2  free %3  cpu %4%5")
      .arg(percent(status.value(QLatin1String("usedFraction")).toDouble()), 7)
      .arg(pagesText(status, integer(status, QLatin1String("usedPages"))), 8)
      .arg(bytesText(integer(status, QLatin1String("freeBytes"))), 8)
      .arg(percent(status.value(QLatin1String("cpuUsage")).toDouble()), 7)
      .arg(status.value(QLatin1String("purging")).toBool() ? QStringLiteral("  cleaning") : QString());
}

}  // namespace halvard::status_text
