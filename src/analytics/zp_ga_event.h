#pragma once

#include <QString>
#include <array>
#include <optional>

#include "branding/branding.h"

namespace halvard {

/// What is counted. The numbers are fixed.
enum class ZPGAEvent : std::int32_t {
  Unknown = 0,
  JunkCleanerClicked = 1,
  DiskAnalyzerClicked = 2,
  UninstallerClicked = 3,
  DuplicatesToolClicked = 4,
  ShowcaseClosedByUser = 5,
};

/// How an event is named when it is sent.
struct ZPGAEventData {
  QString category;
  QString action;
  std::optional<QString> label;
};

/// The event of a click on a tool; nothing for SiblingApp::None.
std::optional<ZPGAEvent> clickEvent(SiblingApp tool);

/// The actions of the clicks are the tools' names, blanks as underscores. A value that is no event stops the process.
ZPGAEventData eventData(ZPGAEvent event, const Branding& branding);

}  // namespace halvard
