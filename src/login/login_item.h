#pragma once

#include <QString>
#include <optional>

#include "platform/ports/login_item_service.h"

namespace halvard {

/// One job of the user's that starts at login.
struct LoginItem {
  QString bundleIdentifier;
  /// Only where the program is the main one of a bundle with an identifier.
  std::optional<QString> executablePath;
  std::optional<QString> applicationName;

  static LoginItem itemFromServiceManagementDictionary(const JobDescription& job, const LoginItemService& service);

  /// The bundle is looked for three folders above the program; without one that has an identifier the job's label is
  /// the identifier and the path is dropped. A job without a label has an empty identifier then.
  void setupWithServiceManagementDictionary(const JobDescription& job, const LoginItemService& service);

  /// Whether the job counts as a login item. Generous: true without "PID", with "EnableTransactions" or without
  /// "ProgramArguments"; else only when "OnDemand" is the number 0.
  static bool jobIsSandboxed(const JobDescription& job);
};

}  // namespace halvard
