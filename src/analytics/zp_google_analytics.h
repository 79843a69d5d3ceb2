#pragma once

#include <QObject>
#include <functional>

#include "analytics/zp_ga_event.h"
#include "core/jobs.h"

namespace halvard {

class HttpBeacon;
class ShowcaseDefaults;

/// What an event says about the program and the user, besides the anonymous identifier of the installation.
struct AnalyticsFacts {
  /// Empty ones are sent as "App Name" and "App Version".
  QString applicationName;
  QString applicationVersion;
  /// The user's first preferred language, like "en-US".
  QString language;
};

/// Reports events to the maker's collection endpoint. Sends nothing, and makes no identifier, while there is no
/// endpoint or no tracking id, or where the user has DO_NOT_TRACK set in the environment. Main thread.
class ZPGoogleAnalytics : public QObject {
  Q_OBJECT

 public:
  using Random = std::function<std::uint32_t()>;

  /// The references outlive this object. `random` makes the number that keeps caches from answering.
  ZPGoogleAnalytics(const Branding& branding, ShowcaseDefaults& defaults, HttpBeacon& beacon, AnalyticsFacts facts,
                    Random random = systemRandom);

  /// Sends the event in the background and returns at once. Failures are silent, nothing is tried again.
  void send(ZPGAEvent event);

  /// True when $DO_NOT_TRACK is set to anything but "0".
  static bool isTrackingRefused();
  /// The first of the languages the user prefers, or else the locale's name.
  static QString preferredLanguage();
  static std::uint32_t systemRandom();

 private:
  QByteArray payload(const ZPGAEventData& event);

  const Branding& m_branding;
  ShowcaseDefaults& m_defaults;
  HttpBeacon& m_beacon;
  const AnalyticsFacts m_facts;
  const Random m_random;
  JobQueue m_queue;
};

}  // namespace halvard
