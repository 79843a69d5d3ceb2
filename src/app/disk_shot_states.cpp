#include "app/disk_shot_states.h"

#include <QFileDialog>
#include <QLineEdit>
#include <QMap>
#include <QTimer>
#include <functional>

#include "app/disk_section.h"
#include "menubar/panel_window.h"

namespace halvard::disk_shot_states {
namespace {

using Action = std::function<void(AdBasedOnSpotlightVC&)>;

constexpr int kLookMilliseconds = 100;

void showDetailed(PanelWindow& panel) {
  if (!panel.isWindowWithDetailedAd())
    panel.changeWindowStateTo(panel.windowState() | PanelWindow::DetailedAdFlag, false);
}

void scan(DiskSection& disk, PanelWindow& panel) {
  disk.access().saveAccessToDisk();
  showDetailed(panel);
}

/// Scans, and then does something with what was found.
void afterScan(DiskSection& disk, PanelWindow& panel, const Action& action) {
  scan(disk, panel);
  auto* const timer = new QTimer(&panel);
  QObject::connect(timer, &QTimer::timeout, &panel, [&disk, timer, action] {
    if (disk.controller()->isScanning()) return;
    timer->deleteLater();
    action(*disk.controller());
  });
  timer->start(kLookMilliseconds);
}

void chooseFolder(PanelWindow& panel, const QString& path) {
  auto* const dialog = panel.findChild<QFileDialog*>();
  auto* const name = dialog ? dialog->findChild<QLineEdit*>() : nullptr;
  if (!name) return;
  name->setText(path);
  static_cast<QDialog*>(dialog)->accept();
}

using Opener = std::function<void(DiskSection&, PanelWindow&)>;

Opener page(AdBasedOnSpotlightVC::State state) {
  return [state](DiskSection& disk, PanelWindow& panel) {
    afterScan(disk, panel, [state](AdBasedOnSpotlightVC& section) { section.showView(state); });
  };
}

const QMap<QString, Opener>& openers() {
  using Section = AdBasedOnSpotlightVC;
  static const QMap<QString, Opener> known{
      {QStringLiteral("disk-asks"), [](DiskSection&, PanelWindow& panel) { showDetailed(panel); }},
      {QStringLiteral("disk-grant"),
       [](DiskSection& disk, PanelWindow&) { disk.controller()->showDetailedDiskUsagePressedBlueButton(); }},
      {QStringLiteral("disk-wrong-folder"),
       [](DiskSection& disk, PanelWindow& panel) {
         disk.controller()->showDetailedDiskUsagePressedBlueButton();
         QTimer::singleShot(kLookMilliseconds, &panel, [&panel] { chooseFolder(panel, QStringLiteral("/usr")); });
       }},
      {QStringLiteral("disk-scanning"), scan},
      {QStringLiteral("disk-results"),
       [](DiskSection& disk, PanelWindow& panel) { afterScan(disk, panel, [](Section&) {}); }},
      {QStringLiteral("disk-compact"),
       [](DiskSection& disk, PanelWindow& panel) {
         afterScan(disk, panel, [](Section& section) { section.showDetailedDiskUsagePressed(); });
       }},
      {QStringLiteral("disk-junk"), page(Section::JunkFiles)},
      {QStringLiteral("disk-duplicates"), page(Section::Duplicates)},
      {QStringLiteral("disk-large"), page(Section::LargeAndOld)},
      {QStringLiteral("disk-applications"), page(Section::Applications)},
      {QStringLiteral("disk-detailed"),
       [](DiskSection& disk, PanelWindow& panel) {
         panel.changeWindowStateTo(panel.windowState() | PanelWindow::DetailedFlag, false);
         scan(disk, panel);
       }},
  };
  return known;
}

}  // namespace

QStringList names() {
  return openers().keys();
}

void open(const QString& name, DiskSection& disk, PanelWindow& panel) {
  openers().value(name)(disk, panel);
}

}  // namespace halvard::disk_shot_states
