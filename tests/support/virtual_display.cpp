#include "support/virtual_display.h"

#include <QProcessEnvironment>
#include <csignal>
#include <optional>

#include <sys/prctl.h>

namespace halvard::test {

namespace {

constexpr int kStartMilliseconds = 20'000;

void endWithTest(QProcess& process) {
  process.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
}

// What the process has printed once that ends with `end`; nothing when it does not in time.
std::optional<QByteArray> waitForOutput(QProcess& process, const char* end) {
  QByteArray text;
  while (!text.endsWith(end)) {
    if (!process.waitForReadyRead(kStartMilliseconds)) return std::nullopt;
    text += process.readAllStandardOutput();
  }
  return text;
}

void endNow(QProcess& process) {
  process.kill();
  process.waitForFinished();
}

}  // namespace

VirtualDisplay::VirtualDisplay() {
  endWithTest(m_server);
  m_server.start(QStringLiteral("Xvfb"),
                 {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"), QStringLiteral("0"),
                  QStringLiteral("1024x768x24"), QStringLiteral("-nolisten"), QStringLiteral("tcp"),
                  // Otherwise the end of the last client starts it anew, under the feet of the next.
                  QStringLiteral("-noreset")});
  if (const auto number = waitForOutput(m_server, "\n")) m_name = ':' + number->trimmed();
}

VirtualDisplay::~VirtualDisplay() {
  for (const auto& program : m_programs)
    endNow(*program);
  stop();
}

bool VirtualDisplay::isRunning() const {
  return !m_name.isEmpty() && m_server.state() == QProcess::Running;
}

QProcess* VirtualDisplay::start(const QString& program, const QStringList& arguments, const QStringList& environment) {
  auto process = std::make_unique<QProcess>();
  endWithTest(*process);
  QProcessEnvironment values = QProcessEnvironment::systemEnvironment();
  values.insert(QStringLiteral("DISPLAY"), QString::fromLatin1(m_name));
  for (const QString& variable : environment)
    values.insert(variable.section(QLatin1Char('='), 0, 0), variable.section(QLatin1Char('='), 1));
  process->setProcessEnvironment(values);
  process->setStandardErrorFile(QProcess::nullDevice());
  process->start(program, arguments);
  if (!process->waitForStarted()) return nullptr;
  return m_programs.emplace_back(std::move(process)).get();
}

void VirtualDisplay::end(QProcess* program) {
  endNow(*program);
  std::erase_if(m_programs, [program](const auto& owned) { return owned.get() == program; });
}

bool VirtualDisplay::startWindowManager() {
  // The command runs once the manager takes windows; one mapped while it starts may be overlooked.
  QProcess* manager = start(QStringLiteral("openbox"), {QStringLiteral("--sm-disable"), QStringLiteral("--startup"),
                                                        QStringLiteral("echo ready")});
  return manager && waitForOutput(*manager, "ready\n");
}

void VirtualDisplay::stop() {
  endNow(m_server);
}

}  // namespace halvard::test
