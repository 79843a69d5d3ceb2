// Opens one window of the promotion channel, to be looked at.
#include <QApplication>
#include <QTextStream>

#include "core/notification_center.h"
#include "platform/fake/fake_defaults_store.h"
#include "platform/fake/fake_user_notification_center.h"
#include "platform/fake/fake_workspace.h"
#include "platform/linux/minizip/minizip_unpacker.h"
#include "platform/linux/network/qt_http_fetcher.h"
#include "promo/promo_manager.h"
#include "promo/ui/news_dialog_wc.h"
#include "promo/ui/rate_dialog_view.h"
#include "promo/ui/rate_dialog_wc.h"
#include "promo/ui/showcase_dialog_wc.h"
#include "promo/ui/text_page_window.h"
#include "promo/ui/viewer_page_window.h"

using namespace halvard;

namespace {

/// Says what would be opened.
struct TalkingWorkspace : FakeWorkspace {
  bool openURL(const QUrl& url) override {
    QTextStream(stdout) << "open " << url.toString() << Qt::endl;
    return true;
  }
};

PageWindow::Make maker(bool text) {
  if (!text) return pageWindowMaker();
  return [](PageWindow::Look look) { return std::make_unique<TextPageWindow>(look); };
}

}  // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  application.setQuitOnLastWindowClosed(false);
  FakeDefaultsStore store;
  SystemClock clock;
  ShowcaseDefaults defaults(store, clock, QStringLiteral("0.1"));
  defaults.setCleanedSize(13'421'772'800);
  QtHttpFetcher fetcher("Halvard");
  MinizipUnpacker unpacker;
  TalkingWorkspace workspace;
  FakeUserNotificationCenter userNotifications;
  NotificationCenter notifications;
  const Branding branding = Branding::load({});
  PromoManager promo({defaults, fetcher, unpacker, workspace, userNotifications, notifications, branding, std::nullopt},
                     PromoSettings::LoadHalvardData(branding, store),
                     {.name = QStringLiteral("Halvard"),
                      .displayName = {},
                      .version = QStringLiteral("0.1"),
                      .buildVersion = {},
                      .systemVersion = {}});

  const QString what = application.arguments().value(1);
  const bool text = application.arguments().value(2) == QLatin1String("text");
  NewsDialogWC news(promo, workspace, notifications, clock, maker(text));
  ShowcaseDialogWC showcase(promo, workspace, notifications, clock, maker(text));
  RateDialgoWC rate(promo, defaults, clock);
  QObject::connect(&showcase, &ShowcaseDialogWC::closed, [] { QTextStream(stdout) << "showcase closed" << Qt::endl; });
  QObject::connect(&showcase, &ShowcaseDialogWC::mainWindowRequested,
                   [] { QTextStream(stdout) << "main window" << Qt::endl; });
  if (what == QLatin1String("news")) news.showAtPosition({600, 20});
  if (what == QLatin1String("showcase")) showcase.pleaseShowWindow();
  if (what == QLatin1String("rate")) {
    rate.pleaseShowWindowSafe();
    rate.view()->fillStars(application.arguments().value(2, QStringLiteral("3")).toInt());
  }
  return application.exec();
}
