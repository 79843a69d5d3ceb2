#include "analytics/zp_ga_event.h"

namespace halvard {
namespace {

ZPGAEventData ofProgram(const QString& action) {
  return {.category = QStringLiteral("Halvard"), .action = action, .label = std::nullopt};
}

ZPGAEventData clickOn(SiblingApp tool, const Branding& branding) {
  const auto sibling = branding.siblings.find(tool);
  const QString name = sibling == branding.siblings.end() ? QString() : sibling->second.own.name;
  return ofProgram(QString(name).replace(QLatin1Char(' '), QLatin1Char('_')));
}

}  // namespace

std::optional<ZPGAEvent> clickEvent(SiblingApp tool) {
  switch (tool) {
    case SiblingApp::JunkCleaner:
      return ZPGAEvent::JunkCleanerClicked;
    case SiblingApp::Uninstaller:
      return ZPGAEvent::UninstallerClicked;
    case SiblingApp::DiskAnalyzer:
      return ZPGAEvent::DiskAnalyzerClicked;
    case SiblingApp::DuplicatesTool:
      return ZPGAEvent::DuplicatesToolClicked;
    case SiblingApp::None:
      break;
  }
  return std::nullopt;
}

ZPGAEventData eventData(ZPGAEvent event, const Branding& branding) {
  switch (event) {
    case ZPGAEvent::Unknown:
      return {QStringLiteral("unknown"), QStringLiteral("unknoen"), std::nullopt};
    case ZPGAEvent::JunkCleanerClicked:
      return clickOn(SiblingApp::JunkCleaner, branding);
    case ZPGAEvent::DiskAnalyzerClicked:
      return clickOn(SiblingApp::DiskAnalyzer, branding);
    case ZPGAEvent::UninstallerClicked:
      return clickOn(SiblingApp::Uninstaller, branding);
    case ZPGAEvent::DuplicatesToolClicked:
      return clickOn(SiblingApp::DuplicatesTool, branding);
    case ZPGAEvent::ShowcaseClosedByUser:
      return ofProgram(QStringLiteral("Close_user"));
  }
  qFatal("no usage event has the number %d", static_cast<int>(event));
}

}  // namespace halvard
