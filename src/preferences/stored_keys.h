#pragma once

#include <QString>

/// Every key of the settings store. They are part of the stored format: no byte of them ever changes.
/// The comment gives the kind, the default when absent and the meaning.
namespace halvard::stored_keys {

// Preference items (PreferencesModel).
/// bool, false: free memory automatically.
inline const QString autoFree = QStringLiteral("AutoFree");
/// real fraction 0..1, 0.8: free automatically only above this memory use.
inline const QString usageLimit = QStringLiteral("UsageLimit");
/// real fraction 0..1, 0.2: free automatically only below this CPU use.
inline const QString cpuUsageLimit = QStringLiteral("CPUUsageLimit");
/// integer index, 1: the former frequency, read for migration only.
inline const QString frequency = QStringLiteral("Frequency");
/// real seconds, migrated from the former frequency: interval of automatic freeing.
inline const QString frequencyNew = QStringLiteral("FrequencyNew");
/// bool, true: free memory after a large application quits.
inline const QString purgeAfterHugeAppQuit = QStringLiteral("PurgeAfterHugeAppQuit");
/// integer 0..3, 1: text beside the status icon.
inline const QString visionPrefIndex = QStringLiteral("VisionPrefIndex");
/// bool, true: scan the disk usage at start-up.
inline const QString scanDiskUsageAtStartUp = QStringLiteral("main_window:disk_usage_state:detailed");
/// bool, true: post a notification after freeing.
inline const QString showFreeUpNotification = QStringLiteral("ShowFreeUpNotification");

// Overrides for testing: only ever read; what is not a number means the default.
/// seconds, 7200.
inline const QString testPurgeFrequencyOften = QStringLiteral("ATEST:PURGE_FREG_OFTEN");
/// seconds, 14400.
inline const QString testPurgeFrequencyNormally = QStringLiteral("ATEST:PURGE_FREG_NORMALLY");
/// seconds, 28800.
inline const QString testPurgeFrequencyRarely = QStringLiteral("ATEST:PURGE_FREG_RARELY");
/// whole seconds, 432000: interval between real free-space checks; read once a process.
inline const QString testTimeBetweenRealDiskChecks = QStringLiteral("ATEST:TIME_BETWEEN_REAL_DISK_CHECKS");
/// seconds, 86400: after which a disk-junk search is repeated.
inline const QString testRescanDiskJunkTime = QStringLiteral("ATEST:RESCAN_DISK_JUNK_TIME");
/// bool, false: log size calculations; read once a process.
inline const QString testShowCalculationLog = QStringLiteral("ATEST:IS_NEED_SHOW_CALCULATION_LOG");

// Freeing memory.
/// bool, false: true from the first run of the purge controller on.
inline const QString initialized = QStringLiteral("Initialized");
/// bool, true (written on the first run): the show-information state.
inline const QString showInfo = QStringLiteral("ShowInfo");
/// unsigned bytes, 0: all memory freed so far.
inline const QString cleanedSize = QStringLiteral("KEY_cleanedSize");
/// bool, true: offer start at login after a cleaning.
inline const QString showAutostartPopupAfterClean = QStringLiteral("KEY_showAutostartPopupAfterClean");
/// any kind, none: an earlier start-at-login switch, removed once migrated.
inline const QString autoStart = QStringLiteral("AutoStart");

/// array of strings, none: names of programs and applications that a cleaning leaves alone.
inline const QString cleaningExclusions = QStringLiteral("cleaning:exclusions");
/// string (JSON array of purge records, oldest first), none: the latest cleanings.
inline const QString cleaningHistory = QStringLiteral("cleaning:history");

// Panel window.
/// bool, true: locked to the status item.
inline const QString windowLocked = QStringLiteral("main_window:state:lock");
/// bool, true: shows its detailed state.
inline const QString windowDetailed = QStringLiteral("main_window:state:detailed");
/// real (32-bit precision), none: left edge of the detached panel.
inline const QString windowX = QStringLiteral("main_window:state:x");
/// real (32-bit precision), none: top edge of the detached panel.
inline const QString windowY = QStringLiteral("main_window:state:y");

// Application and disk usage.
/// bool, false: do not offer again to move into the applications folder.
inline const QString suppressMoveToApplications = QStringLiteral("suppressAlertMoveScoperToApplications");
/// unsigned, none: state last shown by the disk-usage view.
inline const QString lastViewedSearchResults = QStringLiteral("LastViewedSearchResults");
/// data, none: access grant for "/"; grants of other folders stand under the folder's path.
inline const QString diskAccessData = QStringLiteral("DISK_ACCESS_DATA");

// Showcase dialog.
/// date, none (due now).
inline const QString showcaseNextShowDate = QStringLiteral("SHOW_CASE_DIALOG_DATA:next_show_date");
/// integer, none (any version is new).
inline const QString showcaseShowedVersion = QStringLiteral("SHOW_CASE_DIALOG_DATA:showed_version");
/// bool, only ever written true.
inline const QString showcaseIsCanShowDialog = QStringLiteral("SHOW_CASE_DIALOG_DATA:is_can_show_dialog");

// Promotion notifications, news and warnings.
/// date, 1970 (due now): next download of the notifications feed.
inline const QString notificationsNextUpdateDate = QStringLiteral("PROMO_MANAGER:notifications_next_update_date");
/// integer, 0: highest notification already shown.
inline const QString showedNotificationId = QStringLiteral("PROMO_MANAGER:showed_notification_id");
/// bool: a reserved name, not used.
inline const QString isCanLoadNotifications = QStringLiteral("PROMO_MANAGER:is_can_load_notifications_server_data");
/// integer, none (news are fresh): news version the user has read.
inline const QString newsLastReadedVersion = QStringLiteral("PROMO_MANAGER:news:last_readed_version");
/// date, none: when the last free-space warning was shown.
inline const QString lackOfSpaceWarningDate = QStringLiteral("PROMO_MANAGER:LackOfSpaceWarningDate");
/// integer, none: index of the free-space message shown last.
inline const QString lackOfDiskMemoryMessageId = QStringLiteral("PROMO_MANAGER:LackOfDiskMemoryMessageID");
/// dictionary of product identifier to unsigned count, none.
inline const QString showNumberDictionary = QStringLiteral("PROMO_MANAGER:ShowNumberDictionary");

// Downloaded pages: date (1970), integer, string, string, real, real a group.
inline const QString showcasePageNextUpdateDate = QStringLiteral("PROMO_MANAGER:showcase:next_update_date");
inline const QString showcasePageVersion = QStringLiteral("PROMO_MANAGER:show_case:version");
inline const QString showcasePageFolderPath = QStringLiteral("PROMO_MANAGER:show_case:folder_path");
inline const QString showcasePageFilePath = QStringLiteral("PROMO_MANAGER:show_case:file_path");
inline const QString showcasePageWindowWidth = QStringLiteral("PROMO_MANAGER:show_case:window_width");
inline const QString showcasePageWindowHeight = QStringLiteral("PROMO_MANAGER:show_case:window_height");
inline const QString newsPageNextUpdateDate = QStringLiteral("PROMO_MANAGER:news:next_update_date");
inline const QString newsPageVersion = QStringLiteral("PROMO_MANAGER:news:version");
inline const QString newsPageFolderPath = QStringLiteral("PROMO_MANAGER:news:folder_path");
inline const QString newsPageFilePath = QStringLiteral("PROMO_MANAGER:news:file_path");
inline const QString newsPageWindowWidth = QStringLiteral("PROMO_MANAGER:news:window_width");
inline const QString newsPageWindowHeight = QStringLiteral("PROMO_MANAGER:news:window_height");
inline const QString adsPageNextUpdateDate = QStringLiteral("PROMO_MANAGER:ads:next_update_date");
inline const QString adsPageVersion = QStringLiteral("PROMO_MANAGER:ads:version");
inline const QString adsPageFolderPath = QStringLiteral("PROMO_MANAGER:ads:folder_path");
inline const QString adsPageFilePath = QStringLiteral("PROMO_MANAGER:ads:file_path");
inline const QString adsPageWindowWidth = QStringLiteral("PROMO_MANAGER:ads:window_width");
inline const QString adsPageWindowHeight = QStringLiteral("PROMO_MANAGER:ads:window_height");

// Rate dialog.
/// date, none (due now).
inline const QString rateNextShowDate = QStringLiteral("RATE_DIALOG_DATA:next_show_date");
/// string of two version components, none: version the rate data were last reset for.
inline const QString rateCurrentAppVersion = QStringLiteral("RATE_DIALOG_DATA:current_app_version");
/// bool, false: the user has clicked a star.
inline const QString rateIsUserSelectStar = QStringLiteral("RATE_DIALOG_DATA:is_user_select_star");
/// integer, 0: how often the dialog showed itself.
inline const QString rateCountOfAutoShow = QStringLiteral("RATE_DIALOG_DATA:count_of_auto_show");

// Updater.
/// date, none (due now): when a newer version was last looked for.
inline const QString updaterLastCheckDate = QStringLiteral("UPDATER:last_check_date");

// Analytics and crashes.
/// string (UUID), generated on first use: anonymous client identifier.
inline const QString analyticsUserId = QStringLiteral("ga:user_id");
/// integer, 0: crashes since the last report.
inline const QString crashesCount = QStringLiteral("Crashes:CrashesCountKey");
/// bool, false: the user chose to ignore crash reports.
inline const QString sendCrashReportsDisabled = QStringLiteral("Crashes:SendCrashReportsDisabled");

}  // namespace halvard::stored_keys
