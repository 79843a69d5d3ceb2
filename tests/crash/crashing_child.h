#pragma once

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <cstdint>
#include <memory>
#include <vector>

namespace halvard::test {

/// Runs the victim with folders of its own and tells what it leaves behind.
class CrashingChild {
 public:
  struct End {
    /// False when it was killed by a signal or did not end within 30 seconds.
    bool exited = false;
    /// The status, or the signal that killed it.
    int code = -1;
    QByteArray errorOutput;
  };

  CrashingChild();
  /// Kills what is still running.
  ~CrashingChild();

  /// Without a display unless it is set.
  QProcessEnvironment environment;

  QString homePath() const { return m_folder.path(); }
  QString reportFolder() const { return m_folder.path() + QStringLiteral("/state/halvard/crashes"); }

  void start(const QStringList& arguments);
  bool isRunning() const { return m_process && m_process->state() != QProcess::NotRunning; }
  qint64 processId() const { return m_process->processId(); }
  /// Blocks until the victim has ended.
  End waitForEnd();
  /// Both.
  End run(const QStringList& arguments);

  /// Of what was stored by then; -1 when the settings are damaged.
  int crashesCount() const;
  /// The texts of all reports, the oldest first.
  QStringList reports() const;
  /// Every process started by this child or its children that still runs.
  std::vector<std::int32_t> processesLeft() const;

 private:
  QTemporaryDir m_folder;
  std::unique_ptr<QProcess> m_process;
};

}  // namespace halvard::test
