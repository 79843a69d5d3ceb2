#include "preferences/known_keys.h"

#include <algorithm>
#include <numeric>
#include <vector>

#include "preferences/stored_keys.h"

namespace halvard::stored_keys {
namespace {

/// Single-character changes that turn one text into the other.
int editDistance(const QString& left, const QString& right) {
  std::vector<int> row(static_cast<std::size_t>(right.size()) + 1);
  std::iota(row.begin(), row.end(), 0);
  for (qsizetype i = 0; i < left.size(); ++i) {
    int diagonal = row[0];
    row[0] = static_cast<int>(i) + 1;
    for (qsizetype j = 0; j < right.size(); ++j) {
      const auto column = static_cast<std::size_t>(j);
      const int replaced = diagonal + (left[i] == right[j] ? 0 : 1);
      diagonal = row[column + 1];
      row[column + 1] = std::min({replaced, row[column] + 1, diagonal + 1});
    }
  }
  return row.back();
}

QStringList sortedKeys() {
  QStringList keys{autoFree,
                   usageLimit,
                   cpuUsageLimit,
                   frequency,
                   frequencyNew,
                   purgeAfterHugeAppQuit,
                   visionPrefIndex,
                   scanDiskUsageAtStartUp,
                   showFreeUpNotification,
                   testPurgeFrequencyOften,
                   testPurgeFrequencyNormally,
                   testPurgeFrequencyRarely,
                   testTimeBetweenRealDiskChecks,
                   testRescanDiskJunkTime,
                   testShowCalculationLog,
                   initialized,
                   showInfo,
                   cleanedSize,
                   showAutostartPopupAfterClean,
                   autoStart,
                   cleaningExclusions,
                   cleaningHistory,
                   windowLocked,
                   windowDetailed,
                   windowX,
                   windowY,
                   suppressMoveToApplications,
                   lastViewedSearchResults,
                   diskAccessData,
                   showcaseNextShowDate,
                   showcaseShowedVersion,
                   showcaseIsCanShowDialog,
                   notificationsNextUpdateDate,
                   showedNotificationId,
                   isCanLoadNotifications,
                   newsLastReadedVersion,
                   lackOfSpaceWarningDate,
                   lackOfDiskMemoryMessageId,
                   showNumberDictionary,
                   showcasePageNextUpdateDate,
                   showcasePageVersion,
                   showcasePageFolderPath,
                   showcasePageFilePath,
                   showcasePageWindowWidth,
                   showcasePageWindowHeight,
                   newsPageNextUpdateDate,
                   newsPageVersion,
                   newsPageFolderPath,
                   newsPageFilePath,
                   newsPageWindowWidth,
                   newsPageWindowHeight,
                   adsPageNextUpdateDate,
                   adsPageVersion,
                   adsPageFolderPath,
                   adsPageFilePath,
                   adsPageWindowWidth,
                   adsPageWindowHeight,
                   rateNextShowDate,
                   rateCurrentAppVersion,
                   rateIsUserSelectStar,
                   rateCountOfAutoShow,
                   updaterLastCheckDate,
                   analyticsUserId,
                   crashesCount,
                   sendCrashReportsDisabled};
  keys.sort();
  return keys;
}

}  // namespace

const QStringList& all() {
  static const QStringList keys = sortedKeys();
  return keys;
}

bool isKnown(const QString& key) {
  return key.startsWith(u'/') || std::binary_search(all().begin(), all().end(), key);
}

QString nearest(const QString& key) {
  const auto distance = [&](const QString& known) { return editDistance(key.toLower(), known.toLower()); };
  const QStringList& keys = all();
  const auto best = std::min_element(keys.begin(), keys.end(), [&](const QString& left, const QString& right) {
    return distance(left) < distance(right);
  });
  return distance(*best) * 2 <= static_cast<int>(key.size()) ? *best : QString();
}

}  // namespace halvard::stored_keys
