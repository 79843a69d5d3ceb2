#include "app/shot_states.h"

#include <QMap>
#include <functional>

#include "app/main_interface.h"
#include "menubar/summary_view.h"

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
  return openers().contains(name);
}

void open(const QString& name, MainInterface& interface) {
  openers().value(name)(interface);
}

QString names() {
  return openers().keys().join(QStringLiteral(", "));
}

}  // namespace halvard::shot_states
