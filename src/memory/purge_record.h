#pragma once

#include <QJsonObject>
#include <QString>

#include "memory/purge_report.h"
#include "platform/ports/purgeable_memory.h"

namespace halvard {

/// "page-out", "control-groups", "fill" or "none".
QString methodName(ReclaimMethod method);

/// One sentence for people: how memory was or would be freed, and what that can and cannot do here.
QString strategyLine(ReclaimMethod method, const QString& explanation);

/// The record of one purge, for scripts and the history: `time` (ISO 8601, UTC), `seconds`, `method`, `strategy` (see
/// strategyLine), `freedBytes`, `gainedBytes`, `usedBefore`, `usedAfter`, `kernelBytes`; where the machine tells about
/// its swap `compressedBytes`, `compressedIntoBytes`, `swappedToDiskBytes`, `givenBackBytes` and `pagedOutBytes`; after
/// the second look `recheckSeconds`, `stillFreeBytes` and `cameBackBytes`. What is not known is left out.
QJsonObject purgeRecord(const PurgeReport& report);

/// What a purge could do now: `method`, `strategy`, `gainBytes`, `pageOutBytes`, and `sources`, an array of `name`,
/// `pid`, `processes` and `bytes`. The method is "none" when there is nothing useful to free.
QJsonObject forecastRecord(const ReclaimForecast& forecast);

}  // namespace halvard
