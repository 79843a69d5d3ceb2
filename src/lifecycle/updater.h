#pragma once

#include <QObject>
#include <QString>
#include <QUrl>
#include <QVersionNumber>
#include <optional>

#include "core/clock.h"
#include "core/jobs.h"
#include "lifecycle/appcast.h"
#include "lifecycle/update_signature.h"

namespace halvard {

class AlertPresenter;
class DefaultsStore;
class HttpFetcher;
class Workspace;

/// What the updater works with. All of it outlives the updater.
struct UpdaterServices {
  DefaultsStore& store;
  HttpFetcher& fetcher;
  Workspace& workspace;
  AlertPresenter& alerts;
  Clock& clock;
};

/// Looks for newer versions in a feed whose entries are signed, and offers to open the page of one. It downloads
/// nothing but the feed and installs nothing. Off, and silent, without a feed address or a valid key. Main thread.
class Updater : public QObject {
  Q_OBJECT

 public:
  static constexpr std::chrono::hours kCheckInterval{24};

  /// `version` is the running one, `publicKey` the Base64 of the maker's key.
  Updater(const UpdaterServices& services, const QUrl& feed, const QString& publicKey, const QString& name,
          const QString& version);

  bool isOn() const { return m_key && !m_feed.isEmpty(); }

  /// Off at first; takes effect with the next resetUpdateCycle().
  void setAutomaticallyChecksForUpdates(bool automatically) { m_checksAutomatically = automatically; }
  /// Looks when the last look is a day old, and from then on once a day.
  void resetUpdateCycle();
  /// Looks now and tells the user what came of it.
  void checkForUpdates();

 Q_SIGNALS:
  /// A look has ended, whatever came of it.
  void checked();

 private:
  using Outcome = Result<std::optional<AppcastEntry>>;

  std::chrono::milliseconds timeToNextCheck() const;
  void waitForNextCheck();
  void check();
  void finish(const Outcome& outcome);
  void offer(const AppcastEntry& update);
  void tell(const QString& message, const QString& information);

  const UpdaterServices m_services;
  const QUrl m_feed;
  const std::optional<UpdateKey> m_key;
  const QString m_name;
  const QVersionNumber m_version;
  bool m_checksAutomatically = false;
  bool m_askedByUser = false;
  /// The version that was offered by itself; it is offered so once a run.
  QVersionNumber m_offered;
  ScheduledCall m_nextCheck;
  JobQueue m_queue{QStringLiteral("update")};
  LatestJob m_check;
};

}  // namespace halvard
