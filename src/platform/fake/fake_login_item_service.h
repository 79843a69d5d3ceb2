#pragma once

#include <QStringList>

#include "platform/ports/login_item_service.h"

namespace halvard {

/// A scripted login session in memory.
class FakeLoginItemService : public LoginItemService {
 public:
  /// Adds or removes a description of the job with nothing but its label.
  bool setEnabled(const QString& jobIdentifier, bool enabled) override;
  std::vector<JobDescription> copyAllJobDictionaries() const override { return jobs; }
  bool isJobRunning(const QString& jobIdentifier) const override { return running.contains(jobIdentifier); }
  std::optional<BundleInformation> bundleAt(const QString& folder, const QString& executable) const override;
  std::vector<SessionLoginItem> sessionLoginItems() const override { return sessionItems; }
  bool removeSessionLoginItem(const QString& reference) override;
  /// The location is the reference too.
  bool appendSessionLoginItem(const QString& location, bool hidden) override;

  /// What may be changed by hand: the state of the session.
  std::vector<JobDescription> jobs;
  QStringList running;
  std::map<QString, BundleInformation> bundles;  // by folder
  std::vector<SessionLoginItem> sessionItems;
  /// Every change is refused while true.
  bool refuses = false;
  /// The hidden property of the last append.
  std::optional<bool> appendedHidden;
};

}  // namespace halvard
