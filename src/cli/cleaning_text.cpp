#include "cli/cleaning_text.h"

#include <QDateTime>
#include <QStringList>

#include "core/size_format.h"

namespace halvard::cleaning_text {
namespace {

qint64 integer(const QJsonObject& record, QLatin1String key) {
  return record.value(key).toInteger();
}

QString bytesText(const QJsonObject& record, QLatin1String key) {
  return size_format::stringFromDifference(integer(record, key));
}

/// "-" for what is not known.
QString cell(const QJsonObject& record, QLatin1String key) {
  return record.contains(key) ? bytesText(record, key) : QStringLiteral("-");
}

QString gainText(const QJsonObject& record) {
  const QString before = bytesText(record, QLatin1String("usedBefore"));
  const QString after = bytesText(record, QLatin1String("usedAfter"));
  const qint64 gained = integer(record, QLatin1String("gainedBytes"));
  if (gained > 0) {
    return QStringLiteral("Freed %1 in %2 s: used memory went from %3 to %4.")
        .arg(size_format::stringFromSize(gained))
        .arg(record.value(QLatin1String("seconds")).toDouble(), 0, 'f', 1)
        .arg(before, after);
  }
  if (gained == 0) return QStringLiteral("Nothing could be freed: %1 of memory in use before and after.").arg(before);
  return QStringLiteral("Nothing could be freed: the gain is %1, used memory went from %2 to %3.")
      .arg(size_format::stringFromDifference(gained), before, after);
}

QString row(const QStringList& cells) {
  static constexpr int kWidths[] = {16, 9, 10, 9, 9, 10, 10, 9};
  QString line;
  for (qsizetype column = 0; column < cells.size(); ++column) {
    const bool isLast = column == cells.size() - 1;
    line += column == 0 ? cells[0].leftJustified(kWidths[0])
            : isLast    ? QStringLiteral("  ") + cells[column]
                        : QStringLiteral("  ") + cells[column].rightJustified(kWidths[column]);
  }
  return line;
}

QString localTime(const QJsonObject& record) {
  const auto time = QDateTime::fromString(record.value(QLatin1String("time")).toString(), Qt::ISODateWithMs);
  return time.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm"));
}

}  // namespace

QString purge(const QJsonObject& record) {
  QStringList lines{gainText(record)};
  if (const qint64 bytes = integer(record, QLatin1String("compressedBytes")); bytes > 0) {
    lines << QStringLiteral("%1 more lies compressed in memory, in %2 of it.")
                 .arg(size_format::stringFromSize(bytes), bytesText(record, QLatin1String("compressedIntoBytes")));
  }
  if (const qint64 bytes = integer(record, QLatin1String("swappedToDiskBytes")); bytes > 0) {
    lines << QStringLiteral("%1 was moved to the disk: not given back.").arg(size_format::stringFromSize(bytes));
  }
  constexpr qint64 kWorthTelling = 1 << 20;
  const qint64 givenBack = integer(record, QLatin1String("givenBackBytes"));
  if (givenBack >= kWorthTelling) {
    lines << QStringLiteral("Applications gave back %1 by themselves meanwhile.")
                 .arg(size_format::stringFromSize(givenBack));
  } else if (givenBack <= -kWorthTelling) {
    lines << QStringLiteral("Applications took %1 more meanwhile.").arg(size_format::stringFromSize(-givenBack));
  }
  if (record.contains(QLatin1String("stillFreeBytes"))) lines << recheck(record);
  if (const QString strategy = record.value(QLatin1String("strategy")).toString(); !strategy.isEmpty())
    lines << strategy;
  return lines.join(u'\n');
}

QString recheck(const QJsonObject& record) {
  const qint64 gained = integer(record, QLatin1String("gainedBytes"));
  // Others may have ended meanwhile.
  const bool isAll = gained > 0 && integer(record, QLatin1String("stillFreeBytes")) >= gained;
  const QString left = isAll ? QStringLiteral("all") : bytesText(record, QLatin1String("stillFreeBytes"));
  QString line = QStringLiteral("After %1 s still free: %2 of %3")
                     .arg(record.value(QLatin1String("recheckSeconds")).toDouble(), 0, 'f', 0)
                     .arg(left, size_format::stringFromDifference(gained));
  if (record.contains(QLatin1String("cameBackBytes")))
    line += QStringLiteral("; %1 came back from swap").arg(bytesText(record, QLatin1String("cameBackBytes")));
  return line + u'.';
}

QString forecast(const QJsonObject& record) {
  const QString strategy = record.value(QLatin1String("strategy")).toString();
  const QJsonArray sources = record.value(QLatin1String("sources")).toArray();
  if (sources.isEmpty()) return strategy;
  QStringList lines{
      QStringLiteral("About %1 could be freed, by paging out %2 of idle memory:")
          .arg(bytesText(record, QLatin1String("gainBytes")), bytesText(record, QLatin1String("pageOutBytes")))};
  for (const QJsonValue& value : sources) {
    const QJsonObject source = value.toObject();
    const qint64 processes = integer(source, QLatin1String("processes"));
    lines << QStringLiteral("  %1  %2%3")
                 .arg(bytesText(source, QLatin1String("bytes")), 9)
                 .arg(source.value(QLatin1String("name")).toString(),
                      processes > 1 ? QStringLiteral("  (%1 processes)").arg(processes) : QString());
  }
  return (lines << strategy).join(u'\n');
}

QString history(const QJsonArray& records) {
  if (records.isEmpty()) return QStringLiteral("No cleaning has been recorded yet.");
  QStringList lines{row({QStringLiteral("when"), QStringLiteral("gained"), QStringLiteral("compressed"),
                         QStringLiteral("into"), QStringLiteral("to disk"), QStringLiteral("given back"),
                         QStringLiteral("still free"), QStringLiteral("came back"), QStringLiteral("by")})};
  for (const QJsonValue& value : records) {
    const QJsonObject record = value.toObject();
    lines << row({localTime(record), cell(record, QLatin1String("gainedBytes")),
                  cell(record, QLatin1String("compressedBytes")), cell(record, QLatin1String("compressedIntoBytes")),
                  cell(record, QLatin1String("swappedToDiskBytes")), cell(record, QLatin1String("givenBackBytes")),
                  cell(record, QLatin1String("stillFreeBytes")), cell(record, QLatin1String("cameBackBytes")),
                  record.value(QLatin1String("method")).toString()});
  }
  return lines.join(u'\n');
}

}  // namespace halvard::cleaning_text
