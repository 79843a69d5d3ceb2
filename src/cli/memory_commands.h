#pragma once

#include <QObject>
#include <QStringList>

#include "cli/command.h"
#include "cli/local_program.h"
#include "core/result.h"

namespace halvard {

class ControlClient;

/// `status`, `watch` and `clean`: asked of the running program where there is one, done here otherwise.
/// Each runs an event loop of its own and returns an exit code.
class MemoryCommands : public QObject {
  Q_OBJECT

 public:
  /// All outlive this object. `showsProgress`: a person reads the error stream.
  MemoryCommands(const CliServices& services, ControlClient& control, const CommandOutput& output, bool showsProgress);

  int runStatus(const QStringList& arguments);
  /// One line a second until interrupted.
  int runWatch(const QStringList& arguments);
  /// `clean [--wait] [--json]`, `clean --dry-run [--json]`. A dry run is made here in any case, and changes nothing.
  int runClean(const QStringList& arguments);

 public Q_SLOTS:
  /// Ends whatever runs, as an interrupt does.
  void interrupt();

 Q_SIGNALS:
  /// The memory is freed; a second look may follow.
  void cleaned();
  void ended(int exitCode);

 private:
  bool wantsJson(const QString& command, const QStringList& arguments, int& exitCode) const;
  Result<QJsonObject> readStatus(LocalProgram& local);
  int waitForEnd();
  struct CleanOptions {
    bool json = false;
    bool waits = false;
    bool isDryRun = false;
  };
  static std::optional<CleanOptions> parseClean(const QStringList& words);
  int cleanHere(const CleanOptions& options);
  int cleanInProgram(const CleanOptions& options);
  int forecastHere(bool json);
  void showProgress(double progress);
  /// The purge has ended: ends the command, unless it waits for the second look.
  void showFinished(const QJsonObject& record, const CleanOptions& options);
  void showRechecked(const QJsonObject& record, const CleanOptions& options);

  CliServices m_services;
  ControlClient& m_control;
  const CommandOutput& m_output;
  bool m_showsProgress;
  QString m_shownBar;
  bool m_hasFinished = false;
};

}  // namespace halvard
