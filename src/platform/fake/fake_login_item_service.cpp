#include "platform/fake/fake_login_item_service.h"

#include <algorithm>

namespace halvard {

bool FakeLoginItemService::setEnabled(const QString& jobIdentifier, bool enabled) {
  if (refuses) return false;
  const StoredValue label{jobIdentifier};
  std::erase_if(jobs, [&](const JobDescription& job) {
    const auto found = job.find(QStringLiteral("Label"));
    return found != job.end() && found->second == label;
  });
  if (enabled) jobs.push_back({{QStringLiteral("Label"), label}});
  return true;
}

std::optional<BundleInformation> FakeLoginItemService::bundleAt(const QString& folder, const QString&) const {
  const auto found = bundles.find(folder);
  return found == bundles.end() ? std::nullopt : std::optional(found->second);
}

bool FakeLoginItemService::removeSessionLoginItem(const QString& reference) {
  if (refuses) return false;
  std::erase_if(sessionItems, [&](const SessionLoginItem& item) { return item.reference == reference; });
  return true;
}

bool FakeLoginItemService::appendSessionLoginItem(const QString& location, bool hidden) {
  if (refuses) return false;
  sessionItems.push_back({location, location});
  appendedHidden = hidden;
  return true;
}

}  // namespace halvard
