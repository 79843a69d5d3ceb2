#include "menubar/purge_details.h"

#include <QCoreApplication>
#include <QStringList>
#include <algorithm>

#include "core/size_format.h"
#include "memory/purge_record.h"

namespace halvard {
namespace {

constexpr qsizetype kHintColumns = 60;

QString amount(std::int64_t bytes) {
  return size_format::stringFromDifference(bytes);
}

struct Texts {
  Q_DECLARE_TR_FUNCTIONS(PurgeDetails)

 public:
  /// Before the second look.
  static PurgeDetails atOnce(const PurgeReport& report) {
    const SwapLedger swap = report.swap.value_or(SwapLedger{});
    if (report.gainedBytes < 0)
      return {tr("gain %1: more is used than before").arg(amount(report.gainedBytes)),
              tr("gain %1").arg(amount(report.gainedBytes)),
              {}};
    if (report.outcome.method == ReclaimMethod::None) {
      // The figure beside it is the machine's own, so that it must not look as if it came from here.
      if (report.gainedBytes > 0) return {tr("others gave it back by themselves"), tr("given back by others"), {}};
      return {tr("nothing useful to free"), tr("nothing to free"), {}};
    }
    if (swap.compressedBytes > 0) {
      return {tr("%1 compressed into %2").arg(amount(swap.compressedBytes), amount(swap.compressedIntoBytes)),
              tr("%1 compressed").arg(amount(swap.compressedBytes)),
              {}};
    }
    if (swap.swappedToDiskBytes > 0) {
      return {tr("%1 moved to the disk").arg(amount(swap.swappedToDiskBytes)),
              tr("%1 to the disk").arg(amount(swap.swappedToDiskBytes)),
              {}};
    }
    return {tr("nothing was paged out"), tr("nothing paged out"), {}};
  }

  static PurgeDetails later(const PurgeReport& report) {
    // Others may have ended meanwhile.
    const std::int64_t left = std::min(report.recheck->stillFreeBytes, report.gainedBytes);
    const QString share = left == report.gainedBytes ? tr("all") : amount(left);
    return {
        tr("still free: %1 of %2").arg(share, amount(report.gainedBytes)), tr("still free: %1").arg(amount(left)), {}};
  }

  static QStringList ledger(const PurgeReport& report) {
    QStringList lines{tr("Gain: %1").arg(amount(report.gainedBytes))};
    if (report.swap) {
      lines << tr("Compressed: %1 into %2")
                   .arg(amount(report.swap->compressedBytes), amount(report.swap->compressedIntoBytes))
            << tr("Moved to disk swap: %1").arg(amount(report.swap->swappedToDiskBytes))
            << tr("Given back by applications: %1").arg(amount(report.swap->givenBackBytes));
    }
    if (report.recheck) {
      lines << tr("Still free after a minute: %1").arg(amount(report.recheck->stillFreeBytes));
      if (report.recheck->cameBackBytes)
        lines << tr("Came back from swap: %1").arg(amount(*report.recheck->cameBackBytes));
    }
    return lines;
  }
};

/// Broken at blanks.
QStringList wrapped(const QString& text) {
  QStringList lines{QString()};
  for (const QString& word : text.split(u' ')) {
    QString& line = lines.last();
    if (line.isEmpty())
      line = word;
    else if (line.size() + 1 + word.size() <= kHintColumns)
      line += u' ' + word;
    else
      lines << word;
  }
  return lines;
}

}  // namespace

PurgeDetails purgeDetails(const PurgeReport& report) {
  const bool gainedHere = report.gainedBytes > 0 && report.outcome.method != ReclaimMethod::None;
  PurgeDetails details = report.recheck && gainedHere ? Texts::later(report) : Texts::atOnce(report);
  const QString strategy = strategyLine(report.outcome.method, report.outcome.explanation);
  details.hint = (Texts::ledger(report) << QString() << wrapped(strategy)).join(u'\n');
  return details;
}

}  // namespace halvard
