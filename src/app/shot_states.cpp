#include "app/shot_states.h"

#include <QMap>
#include <functional>

#include "app/application.h"
#include "app/disk_shot_states.h"
#include "app/main_interface.h"
#include "app/promotion.h"
#include "menubar/summary_view.h"
#include "promo/ui/rate_dialog_view.h"

namespace halvard::shot_states {
namespace {

using Opener = std::function<void(MainInterface&)>;

void openPanel(MainInterface& interface) {
  interface.panel().processActionOfStatusItem(false);
}

void openDetailed(MainInterface& interface) {
  openPanel(interface);
  interface.panel().changeWindowStateTo(interface.panel().windowState() | PanelWindow::DetailedFlag, false);
}

/// After a purge, as its second look leaves it.
void showPurge(MainInterface& interface) {
  PurgeReport report;
  report.gainedBytes = 1'085'276'160;
  report.swap = SwapLedger{1'288'490'189, 203'423'744, 0, -12'582'912, 1'289'748'480};
  report.recheck = PurgeRecheck{std::chrono::seconds(60), 1'071'644'672, 2'202'009};
  report.outcome = {ReclaimMethod::PageOut, 1'288'490'189,
                    QStringLiteral("idle programs are paged out page for page; nobody else has to wait")};
  interface.panel().summary().fillLastCleanedLabelWithSize(report.gainedBytes, QStringLiteral("at 15:45"));
  interface.panel().onPurgedMemory();
  interface.showPurge(report);
}

/// With this many stars golden, as under the pointer.
void openRateDialog(MainInterface& interface, int stars) {
  interface.panel().close();
  interface.promotion().services().defaults.setCleanedSize(13'421'772'800);
  interface.promotion().rateDialog().pleaseShowWindowSafe();
  interface.promotion().rateDialog().view()->fillStars(stars);
}

/// A disk that is nearly full, whatever those of this machine are like.
struct FullDisk : MountedVolumes {
  std::optional<std::vector<MountedVolume>> mountedLocalVolumes() override {
    return {{{QStringLiteral("/home"), QStringLiteral("home"), QStringLiteral("ext4"), true}}};
  }
  std::optional<VolumeSpace> spaceAtPath(const QString&) override {
    return VolumeSpace{512'110'190'592, 3'650'722'201};
  }
  std::optional<QString> startupDiskFreeSize() override { return std::nullopt; }
};

void warnOfFullDisk(MainInterface& interface) {
  openPanel(interface);
  const PromotionServices& services = interface.promotion().services();
  FullDisk disk;
  PromoFreeSpaceChecker checker(disk, services.defaults, services.clock, std::chrono::seconds(0));
  FreeSpaceWarning(checker, services.defaults, services.userNotifications, services.clock).start();
}

const QMap<QString, Opener>& openers() {
  static const QMap<QString, Opener> known{
      {QStringLiteral("panel"), openPanel},
      {QStringLiteral("detailed"), openDetailed},
      {QStringLiteral("detached"),
       [](MainInterface& interface) {
         openPanel(interface);
         interface.panel().showTriangle(false);
       }},
      {QStringLiteral("cleaning"),
       [](MainInterface& interface) {
         openPanel(interface);
         interface.startCleaning();
       }},
      {QStringLiteral("cleaned"),
       [](MainInterface& interface) {
         openPanel(interface);
         showPurge(interface);
       }},
      {QStringLiteral("cleaned-detailed"),
       [](MainInterface& interface) {
         openDetailed(interface);
         showPurge(interface);
       }},
      {QStringLiteral("menu"),
       [](MainInterface& interface) {
         openPanel(interface);
         interface.preferencesButtonPressed();
       }},
      {QStringLiteral("preferences"),
       [](MainInterface& interface) {
         interface.panel().close();
         interface.showPreferencesWindow();
       }},
      {QStringLiteral("autostart"),
       [](MainInterface& interface) {
         interface.panel().close();
         interface.showAutostartPopupWindow(1'288'490'189);
       }},
      {QStringLiteral("news"),
       [](MainInterface& interface) {
         openPanel(interface);
         interface.newsButtonPressed();
       }},
      {QStringLiteral("showcase"),
       [](MainInterface& interface) {
         interface.panel().close();
         interface.promotion().showOptimizationTools();
       }},
      {QStringLiteral("rate"), [](MainInterface& interface) { openRateDialog(interface, 0); }},
      {QStringLiteral("rate-poor"), [](MainInterface& interface) { openRateDialog(interface, 2); }},
      {QStringLiteral("rate-good"), [](MainInterface& interface) { openRateDialog(interface, 5); }},
      {QStringLiteral("full-disk"), warnOfFullDisk},
      {QStringLiteral("about"),
       [](MainInterface& interface) {
         interface.panel().close();
         interface.showAboutScreen();
       }},
  };
  return known;
}

}  // namespace

bool isKnown(const QString& name) {
  return openers().contains(name) || disk_shot_states::names().contains(name);
}

void open(const QString& name, Application& program) {
  if (openers().contains(name)) return openers().value(name)(program.interface());
  openPanel(program.interface());
  disk_shot_states::open(name, program.diskSection(), program.interface().panel());
}

QString names() {
  return (openers().keys() + disk_shot_states::names()).join(QStringLiteral(", "));
}

}  // namespace halvard::shot_states
