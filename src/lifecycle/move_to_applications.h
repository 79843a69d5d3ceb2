#pragma once

#include <QObject>
#include <QString>
#include <functional>
#include <optional>

#include "core/jobs.h"
#include "core/result.h"

namespace halvard {

class AlertPresenter;
class DefaultsStore;
class RunningCopies;
class StandardFolders;
struct AlertAnswer;

/// What the offer works with. All of it outlives the offer.
struct MoveServices {
  DefaultsStore& store;
  AlertPresenter& alerts;
  RunningCopies& copies;
  const StandardFolders& folders;
};

/// Offers to copy the program's bundle into a folder for applications when it runs from elsewhere. Main thread.
class MoveToApplications : public QObject {
  Q_OBJECT

 public:
  /// Where the copy stands; nothing: there is none, and the start-up goes on.
  using Done = std::function<void(const std::optional<QString>& newPath)>;

  /// `bundle` is the one that runs; nothing for a program without one, which is never offered anything.
  MoveToApplications(const MoveServices& services, std::optional<QString> bundle, QString appName);

  /// Calls `done` once: at once where nothing is to be asked, else after the answer and the copying, which goes on off
  /// this thread. A failure has been shown by then. The running bundle is left where it is.
  void copyAppToApplications(Done done);

 private:
  bool isOffered() const;
  QString target() const;
  void answered(const AlertAnswer& answer, const Done& done);
  void staged(const Result<QString>& copy, const QString& target, const Done& done);
  void showFailure(const Error& error);

  const MoveServices m_services;
  const std::optional<QString> m_bundle;
  const QString m_appName;
  JobQueue m_copying{QStringLiteral("move")};
};

}  // namespace halvard
