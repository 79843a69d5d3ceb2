#pragma once

#include <QString>
#include <chrono>
#include <cstdint>
#include <optional>

#include "core/clock.h"
#include "core/units.h"
#include "platform/ports/defaults_store.h"

namespace halvard {

/// Where the top left corner of a window stands, in screen coordinates as stored (32-bit precision).
struct WindowFramePosition {
  float left;
  float top;
  bool operator==(const WindowFramePosition&) const = default;
};

/// What the settings of one downloaded page are called, and what holds while nothing newer is downloaded.
struct DownloadedHTMLData {
  QString prefs_next_update_date_key;
  QString prefs_version_key;
  QString prefs_html_folder_path_key;
  QString prefs_html_file_path_key;
  QString prefs_window_width_key;
  QString prefs_window_height_key;
  /// Seconds between two readings of the feed.
  std::int32_t seconds_between_update = 0;
  /// Version and window size (logical pixels) of the page that ships with the program.
  std::int32_t embedded_version = 0;
  std::int32_t embedded_width = 0;
  std::int32_t embedded_height = 0;
  /// The page's file inside its folder.
  QString file_name_to_load;
};

/// Typed access to the settings store, in the groups of those who use them. Every save, set and notify operation writes
/// its values and then synchronises. Main thread.
/// Numbers are read by the rules of number_conversion.h; a value that is no number, no date or no text where one is
/// wanted reads as absent.
class ShowcaseDefaults {
 public:
  /// The references must outlive this object. `applicationVersion` is the version of the program, like "4.2.1".
  ShowcaseDefaults(DefaultsStore& store, const Clock& clock, QString applicationVersion);

  /// For keys that no accessor covers.
  DefaultsStore& store() { return m_store; }

  // Generic accessors: the default when the value is absent or cannot be converted.
  /// Written as an unsigned number.
  std::uint64_t getUnsignedLongLongValueForKey(const QString& key, std::uint64_t defaultValue) const;
  void saveUnsignedLongLongValue(std::uint64_t value, const QString& key);
  /// Written as a bool.
  bool getBoolValueForKey(const QString& key, bool defaultValue) const;
  void saveBoolValue(bool value, const QString& key);
  /// The stored object of whatever kind; the default when absent.
  StoredValue getArrayValueForKey(const QString& key, const StoredValue& defaultValue) const;
  void saveArrayValue(StoredValue value, const QString& key);

  /// All memory freed so far in bytes; 0 at first.
  ByteCount cleanedSize() const;
  void setCleanedSize(ByteCount size);
  /// Whether to offer start at login after a cleaning; true at first.
  bool showAutostartPopupAfterPurge() const;
  void setShowAutostartPopupAfterPurge(bool show);

  // Panel window.
  /// Locked to the status item; true at first.
  void saveWindowLockedState(bool locked);
  bool isWindowLocked() const;
  /// Shows its detailed state; true at first.
  void saveWindowDetailedState(bool detailed);
  bool isWindowDetailed() const;
  /// Both edges, rounded to 32-bit floating point.
  void saveWindowFramePosition(double leftEdge, double topEdge);
  /// Nothing unless both edges are stored.
  std::optional<WindowFramePosition> restoreWindowFramePosition() const;

  // Showcase dialog.
  /// No next date is stored, or it has come.
  bool isTimeToShowShowcaseDialogIsNow() const;
  /// No shown version is stored, or it is smaller.
  bool isNeedShowShowcaseWithVersion(std::int64_t version) const;
  /// A next date is stored.
  bool isShowcaseShowedBefore() const;
  /// Always true.
  bool isCanShowShowcaseDialogAutomatically() const;
  /// Notes that automatic showing is allowed when the answer before is false: in practice never.
  void notifyAboutShowcaseTryToShowAutomatically();
  /// Allowed, due and not yet shown in this version.
  bool isNeedShowShowcaseDialogAutomaticallyWithVersion(std::int64_t version) const;
  /// Next date in 7 days.
  void notifyShowcaseDialogDataThatShowedAutomaticallyVersion(std::int64_t version);

  // Downloaded pages. The first three fill in the six keys.
  static void initShowcaseDownloaderData(DownloadedHTMLData& data);
  static void initNewsDownloaderData(DownloadedHTMLData& data);
  static void initAdsDownloaderData(DownloadedHTMLData& data);
  /// 1 January 1970 when none is stored.
  Clock::Instant getDownloadedHTMLNextUpdateDateUsingData(const DownloadedHTMLData& data) const;
  /// That date has come.
  bool isNeedUpdateDownloadedHTMLUsingData(const DownloadedHTMLData& data) const;
  /// Next update in `seconds_between_update`.
  void notifyThatHTMLWasDownloadedUsingData(const DownloadedHTMLData& data);
  /// The stored version; the embedded one when none is stored.
  std::int64_t getCurrentDownloadedHTMLVersionUsingData(const DownloadedHTMLData& data) const;
  /// The stored version is smaller than `version`, that of the server.
  bool isNeedLoadFromServerNewHTMLWithVersion(std::int64_t version, const DownloadedHTMLData& data) const;
  /// The larger of the stored and the embedded version.
  std::int64_t getDownloadedHTMLVersionUsingData(const DownloadedHTMLData& data) const;
  /// True while no downloaded page is newer than the one shipped with the program.
  bool isNeedShowEmbeddedHTMLUsingData(const DownloadedHTMLData& data) const;
  /// Nothing while the embedded page is shown.
  std::optional<QString> getDownloadedHTMLFolderPathUsingData(const DownloadedHTMLData& data) const;
  std::optional<QString> getDownloadedHTMLFilePathUsingData(const DownloadedHTMLData& data) const;
  /// Logical pixels.
  std::int64_t getDownloadedHTMLWindowWidthUsingData(const DownloadedHTMLData& data) const;
  std::int64_t getDownloadedHTMLWindowHeightUsingData(const DownloadedHTMLData& data) const;
  /// Makes the page in `folder` the current one. Returns the folder it replaces, for the caller to delete; nothing when
  /// there was none or it is the same.
  std::optional<QString> saveNewHTMLFolder(const QString& folder, std::int64_t version, double windowWidth,
                                           double windowHeight, const DownloadedHTMLData& data);

  // Promotion notifications and warnings.
  /// 1 January 1970 when none is stored.
  Clock::Instant getNotificationsNextUpdateDate() const;
  /// That date has come.
  bool isNeedLoadFromServerDataAboutNotifications() const;
  /// Next update in `timeToNextUpdate`.
  void notifyPromoManagerDataThatNotificationsWasUpdated(std::chrono::seconds timeToNextUpdate);
  /// 0 when none was shown.
  std::int64_t getShowedNotificationID() const;
  /// No notification of this or a higher number was shown.
  bool isNeedShowNotificationWithID(std::int64_t id) const;
  void notifyPromoManagerDataThatShowedNotificationWithID(std::int64_t id);
  /// The user has not read the news of this or a higher version.
  bool isHasFreshNewsBaseOnCurrenVersion(std::int64_t version) const;
  void setReadedNewsVersion(std::int64_t version);
  /// When the last free-space warning was shown.
  std::optional<Clock::Instant> getLastLackOfSpaceWarningDate() const;
  void setNowAsLastLackOfSpaceWarningDate();
  /// Counts one more showing of the product and returns the new count; 0, and nothing stored, without a product.
  std::uint64_t getShowNumberOfAdForProduct(const std::optional<QString>& product);
  /// The next of the messages 0 to `totalCount` - 1, in rotation; 0 when there are none.
  std::int64_t getLackOfDiskMemoryMessageIDwithTotalCount(std::int64_t totalCount);

  // Rate dialog.
  /// Starts over when the first two components of the version are not those of the last start.
  void notifyRateDialogDataThatAppStarted();
  /// Forgets what was counted; next date in 14 days.
  void onFirstStartOrVersionChangedTo(const QString& version);
  /// Next date in 30 days; counts the showing when it was automatic.
  void notifyRateDialogDataThatRateDialogShowedAutomatically(bool automatically);
  void notifyRateDialogDataThatUserClickOnStar();
  /// The C of "Clicked" is U+0421.
  bool isUserAlreadyСlickedOnStar() const;
  /// How often the dialog showed itself.
  std::int64_t getCountOfRateDialogAutoShowed() const;
  /// No next date is stored, or it has come.
  bool isTimeToShowRateDialogIsNow() const;
  /// Never before 500 MiB were freed, after a click on a star, or after three showings.
  bool isNeedShowRateDialogAutomatically() const;
  /// The first two components of the application's version.
  QString buildAppVersionWith2Numbers() const;

  /// The anonymous identifier of this installation for analytics: a random UUID, stored on first use.
  QString analyticsUserIdentifier();

 private:
  std::optional<std::int64_t> integerForKey(const QString& key) const;
  std::optional<QString> textForKey(const QString& key) const;
  std::optional<Clock::Instant> dateForKey(const QString& key) const;
  /// True when the date is absent or not in the future.
  bool isDue(const QString& key) const;
  StoredValue dateFromNow(std::chrono::seconds delay) const;
  void save(const QString& key, StoredValue value);

  DefaultsStore& m_store;
  const Clock& m_clock;
  const QString m_applicationVersion;
};

}  // namespace halvard
