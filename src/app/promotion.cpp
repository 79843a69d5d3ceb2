#include "app/promotion.h"

#include <QCoreApplication>
#include <QSysInfo>

#include "core/application_identity.h"
#include "preferences/showcase_defaults.h"

namespace halvard {
namespace {

ApplicationFacts applicationFacts() {
  return {.name = application_identity::kDisplayName,
          .displayName = {},
          .version = QCoreApplication::applicationVersion(),
          .buildVersion = {},
          .systemVersion = QSysInfo::kernelVersion() + QStringLiteral(", ") + QSysInfo::prettyProductName()};
}

AnalyticsFacts analyticsFacts(const ApplicationFacts& facts) {
  return {.applicationName = facts.name,
          .applicationVersion = facts.getAppReleaseVersionWithBuildNumber(),
          .language = ZPGoogleAnalytics::preferredLanguage()};
}

}  // namespace

Promotion::Promotion(const PromotionServices& services, PageWindow::Make makeWindow)
    : m_services(services),
      m_manager({services.defaults, services.platform.fetcher, services.platform.unpacker, services.platform.workspace,
                 services.userNotifications, services.notifications, services.branding,
                 services.platform.applicationSupportFolder},
                PromoSettings::LoadHalvardData(services.branding, services.defaults.store()), applicationFacts()),
      m_analytics(services.branding, services.defaults, services.platform.beacon, analyticsFacts(m_manager.facts())),
      m_freeSpaceChecker(services.platform.volumes, services.defaults, services.clock,
                         m_manager.settings().TIME_BETWEEN_REAL_DISK_CHECKS),
      m_freeSpaceWarning(m_freeSpaceChecker, services.defaults, services.userNotifications, services.clock),
      m_news(m_manager, services.platform.workspace, services.notifications, services.clock, makeWindow),
      m_showcase(m_manager, services.platform.workspace, services.notifications, services.clock, makeWindow),
      m_showcaseSchedule(services.defaults, m_manager.getShowcaseDownloader(), services.clock,
                         [this] { m_showcase.pleaseShowWindow(); }),
      m_rate(m_manager, services.defaults, services.clock) {
  connect(&m_manager, &PromoManager::mainWindowRequested, this, &Promotion::mainWindowRequested);
  connect(&m_manager, &PromoManager::diskUsageRequested, this, &Promotion::diskUsageRequested);
  connect(&m_showcase, &ShowcaseDialogWC::mainWindowRequested, this, &Promotion::mainWindowRequested);
  connect(&m_showcase, &ShowcaseDialogWC::closed, this, [this] { m_analytics.send(ZPGAEvent::ShowcaseClosedByUser); });
}

void Promotion::start() {
  m_showcaseSchedule.pleaseShowWindowIfNeedAutomaticallyWithDelay();
  m_freeSpaceWarning.start();
}

void Promotion::newsButtonPressed(const QRect& button, const QRect& screen) {
  const QSize news = m_manager.getNewsDowloader().getWindowSize().toSize();
  m_news.showAtPosition(newsPosition(button, screen, news));
}

QPoint Promotion::newsPosition(const QRect& button, const QRect& screen, QSize news) {
  constexpr int spare = 28;
  constexpr int inset = 30;
  const int room = screen.x() + screen.width() - button.x();
  const int right = button.x() + button.width();
  return {room < spare + news.width() ? right - news.width() - inset : right, button.y() + news.height()};
}

void Promotion::toolOffered(SiblingApp tool) {
  if (const auto event = clickEvent(tool)) m_analytics.send(*event);
}

void Promotion::showRateDialogAutomaticallyIfNeeded() {
  m_rate.showWindowAutomaticallyIfNeeded();
  const Branding& branding = m_services.branding;
  if (branding.storePage.isEmpty() || branding.supportAddress.isEmpty()) return;
  if (!m_services.defaults.isNeedShowRateDialogAutomatically()) return;
  m_services.defaults.notifyRateDialogDataThatRateDialogShowedAutomatically(true);
  m_rate.pleaseShowWindow();
}

}  // namespace halvard
