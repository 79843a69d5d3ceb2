#pragma once

#include <QObject>
#include <QRect>
#include <optional>

#include "analytics/zp_google_analytics.h"
#include "promo/free_space_warning.h"
#include "promo/promo_free_space_checker.h"
#include "promo/promo_manager.h"
#include "promo/showcase_schedule.h"
#include "promo/ui/news_dialog_wc.h"
#include "promo/ui/rate_dialog_wc.h"
#include "promo/ui/showcase_dialog_wc.h"

namespace halvard {

/// The part of the machine that the promotion channel alone needs. All of it outlives the channel.
struct PromotionPlatform {
  Workspace& workspace;
  HttpFetcher& fetcher;
  HttpBeacon& beacon;
  ZipUnpacker& unpacker;
  MountedVolumes& volumes;
  /// $XDG_DATA_HOME. Pages are kept below it; nothing: they are never downloaded.
  std::optional<QString> applicationSupportFolder;
};

/// What the promotion channel works with. All of it outlives the channel.
struct PromotionServices {
  PromotionPlatform platform;
  Clock& clock;
  ShowcaseDefaults& defaults;
  NotificationCenter& notifications;
  UserNotificationCenter& userNotifications;
  const Branding& branding;
};

/// Joins the pages, the warning of full disks, the rate dialog and the usage events with the program. Reads the feeds
/// when it is made, so it is made once no other copy of the program runs. Main thread.
class Promotion : public QObject {
  Q_OBJECT

 public:
  Promotion(const PromotionServices& services, PageWindow::Make makeWindow);

  /// From here on the showcase and the warning come by themselves, each by its rules.
  void start();

  PromoManager& manager() { return m_manager; }
  RateDialgoWC& rateDialog() { return m_rate; }
  const PromotionServices& services() const { return m_services; }

  /// Opens the news next to the settings button, which stands at `button` on the screen.
  void newsButtonPressed(const QRect& button, const QRect& screen);
  /// Lower left corner of news of this size: right of the button, or left of it where the screen ends too soon, and
  /// with its upper edge.
  static QPoint newsPosition(const QRect& button, const QRect& screen, QSize news);
  void hideNews() { m_news.hideItself(); }
  /// True while the news or the showcase are open. Their windows may belong to another process.
  bool hasPageOpen() const { return m_news.visible() || m_showcase.isOpen(); }

  /// Counts a click on a tool that is not installed.
  void toolOffered(halvard::SiblingApp tool);
  /// Opens the showcase.
  void showOptimizationTools() { m_showcase.pleaseShowWindow(); }
  /// Does nothing: the rate dialog has no entry of its own.
  void rateButtonPressed() { m_rate.showWindowByUser(); }
  /// Opens the rate dialog when its rules allow and every star leads somewhere.
  void showRateDialogAutomaticallyIfNeeded();

 Q_SIGNALS:
  /// The main window is to be shown and made active.
  void mainWindowRequested();
  /// The disk section is to be shown.
  void diskUsageRequested();

 private:
  const PromotionServices m_services;
  PromoManager m_manager;
  ZPGoogleAnalytics m_analytics;
  PromoFreeSpaceChecker m_freeSpaceChecker;
  FreeSpaceWarning m_freeSpaceWarning;
  NewsDialogWC m_news;
  ShowcaseDialogWC m_showcase;
  ShowcaseSchedule m_showcaseSchedule;
  RateDialgoWC m_rate;
};

}  // namespace halvard
