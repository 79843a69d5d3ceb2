#pragma once

#include <QMap>
#include <QStringList>

#include "platform/ports/workspace.h"

namespace halvard {

/// Remembers what it was asked to open.
class FakeWorkspace : public Workspace {
 public:
  bool openURL(const QUrl& url) override {
    opened << url;
    return true;
  }
  bool canOpenURL(const QUrl& url) override { return !missingSchemes.contains(url.scheme()); }
  std::optional<QString> pathOfApplication(const QString& identifier) override {
    return installed.contains(identifier) ? std::optional(installed.value(identifier)) : std::nullopt;
  }
  bool launchApplication(const QString& identifier) override {
    launched << identifier;
    return installed.contains(identifier);
  }

  /// Schemes that no program takes.
  QStringList missingSchemes;
  QList<QUrl> opened;
  /// Identifiers, in order, installed or not.
  QStringList launched;
  /// Identifier to the path of its entry.
  QMap<QString, QString> installed;
};

}  // namespace halvard
