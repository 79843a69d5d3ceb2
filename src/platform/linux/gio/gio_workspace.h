#pragma once

#include "platform/ports/workspace.h"

namespace halvard {

/// The desktop's associations and entries, through GIO. Stateless.
class GioWorkspace : public Workspace {
 public:
  bool openURL(const QUrl& url) override;
  bool canOpenURL(const QUrl& url) override;
  std::optional<QString> pathOfApplication(const QString& identifier) override;
  bool launchApplication(const QString& identifier) override;
};

}  // namespace halvard
