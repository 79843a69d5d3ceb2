#pragma once

#include <QString>

#include "core/result.h"

namespace halvard {

/// "$XDG_STATE_HOME/halvard/crashes", by default below "~/.local/state".
QString crashReportFolder();

/// The crash reports that are kept, one text file each; the names sort by time.
class CrashReportFiles {
 public:
  static constexpr int kKeptReports = 20;

  explicit CrashReportFiles(QString folder) : m_folder(std::move(folder)) {}

  /// Makes the folder, for the user alone. False when that fails.
  bool makeFolder() const;

  QString path(const QString& name) const { return m_folder + QLatin1Char('/') + name; }

  /// Writes a report of that name, whole or not at all, and removes the oldest above kKeptReports.
  Result<void> save(const QString& name, const QString& report) const;

  /// Removes the oldest reports above `kept`, first those whose name is later than `present`, the name of a report of
  /// this time.
  void prune(int kept, const QString& present) const;

  /// How many crashes were reported without being counted since the last call. Each counts once, whoever asks.
  int takeUncounted() const;

 private:
  QString m_folder;
};

}  // namespace halvard
