#pragma once

#include <QUrl>
#include <chrono>

#include "branding/branding.h"

namespace halvard {

class DefaultsStore;

/// Fixed addresses and intervals of the promotion channel. An immutable value, loaded once at start-up.
class PromoSettings {
 public:
  static constexpr std::chrono::seconds TIME_BETWEEN_UPDATE_NOTIFICATIONS_AND_SHOW_CASE{604800};
  /// The pace at which the program asks whether a disk is full.
  static constexpr std::chrono::seconds TIME_BETWEEN_TRY_TO_CHECK_DISK{86400};

  /// `store` is only read: for the test overrides.
  static PromoSettings LoadHalvardData(const Branding& branding, const DefaultsStore& store);

  /// The feeds. Empty when the maker has none.
  QUrl getShowcaseXMLWebURL() const { return feed(QStringLiteral("tools.xml")); }
  QUrl getNewsXMLWebURL() const { return feed(QStringLiteral("news2.xml")); }
  /// Reserved: nothing reads this feed.
  QUrl getAdvertisimentXMLWebURL() const { return feed(QStringLiteral("messages.xml")); }
  /// The program's page in a store; empty when there is none.
  QUrl getRateTheAppLink() const { return m_storePage; }

  /// The shortest time between two measurings of the disks: 5 days unless overridden.
  std::chrono::seconds TIME_BETWEEN_REAL_DISK_CHECKS{432000};
  /// Whether size calculations are logged.
  bool IS_NEED_SHOW_CALCULATION_LOG = false;

 private:
  QUrl feed(const QString& name) const;

  QUrl m_feedFolder;
  QUrl m_storePage;
};

}  // namespace halvard
