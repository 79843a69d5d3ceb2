#pragma once

#include <QProcess>
#include <memory>
#include <vector>

namespace halvard::test {

/// An X server of its own without a screen, and programs on it. All end with this object, and with the test program
/// when that dies.
class VirtualDisplay {
 public:
  VirtualDisplay();
  ~VirtualDisplay();
  VirtualDisplay(const VirtualDisplay&) = delete;
  VirtualDisplay& operator=(const VirtualDisplay&) = delete;

  /// False when no Xvfb is installed or it did not start: a reason to skip or fail.
  bool isRunning() const;
  /// ":7".
  QByteArray name() const { return m_name; }

  /// Starts a program on the display, `environment` ("NAME=value") added to that of the test; null when it did not
  /// start. Owned by this object.
  QProcess* start(const QString& program, const QStringList& arguments = {}, const QStringList& environment = {});
  /// Ends one of start() and waits for it.
  void end(QProcess* program);
  /// openbox, ready to manage windows; false when it did not start.
  bool startWindowManager();

  /// Ends the server; its programs lose their connections.
  void stop();

 private:
  QProcess m_server;
  QByteArray m_name;
  std::vector<std::unique_ptr<QProcess>> m_programs;
};

}  // namespace halvard::test
