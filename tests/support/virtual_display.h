#pragma once

#include <QProcessEnvironment>
#include <memory>
#include <vector>

#include "support/owned_process.h"

namespace halvard::test {

/// An X server of its own without a screen, and programs on it. All end with this object, and with the test program
/// when that dies.
class VirtualDisplay {
 public:
  VirtualDisplay() {
    // With a reset the end of the last client would start it anew, under the feet of the next.
    m_server.start(QStringLiteral("Xvfb"),
                   QStringLiteral("-displayfd 1 -screen 0 1024x768x24 -nolisten tcp -noreset").split(u' '));
    m_number = m_server.readUntil("\n").trimmed();
  }

  /// False when no Xvfb is installed or it did not start: a reason to skip or fail.
  bool isRunning() const { return !m_number.isEmpty() && m_server.state() == QProcess::Running; }
  /// ":7".
  QByteArray name() const { return ':' + m_number; }

  /// Starts a program on the display, `environment` ("NAME=value") added to that of the test; null when it did not
  /// start. Owned by this object.
  OwnedProcess* start(const QString& program, const QStringList& arguments = {}, const QStringList& environment = {}) {
    auto process = std::make_unique<OwnedProcess>();
    QProcessEnvironment values = QProcessEnvironment::systemEnvironment();
    values.insert(QStringLiteral("DISPLAY"), QString::fromLatin1(name()));
    for (const QString& variable : environment)
      values.insert(variable.section(u'=', 0, 0), variable.section(u'=', 1));
    process->setProcessEnvironment(values);
    process->setStandardErrorFile(QProcess::nullDevice());
    process->start(program, arguments);
    if (!process->waitForStarted()) return nullptr;
    return m_programs.emplace_back(std::move(process)).get();
  }
  /// Ends one of start() and waits for it.
  void end(QProcess* program) {
    std::erase_if(m_programs, [program](const auto& owned) { return owned.get() == program; });
  }
  /// openbox, ready to manage windows; false when it did not start.
  bool startWindowManager() {
    // The command runs once the manager takes windows; one mapped while it starts may be overlooked.
    OwnedProcess* manager =
        start(QStringLiteral("openbox"),
              {QStringLiteral("--sm-disable"), QStringLiteral("--startup"), QStringLiteral("echo ready")});
    return manager && !manager->readUntil("ready\n").isEmpty();
  }

  /// Ends the server; its programs lose their connections.
  void stop() { m_server.end(); }

 private:
  OwnedProcess m_server;
  QByteArray m_number;
  std::vector<std::unique_ptr<OwnedProcess>> m_programs;
};

}  // namespace halvard::test
