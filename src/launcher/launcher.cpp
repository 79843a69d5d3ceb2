#include "launcher/launcher.h"

#include <QFileInfo>
#include <QProcess>
#include <utility>

#include "platform/ports/distributed_notification_center.h"

namespace halvard {

Launcher::Launcher(DistributedNotificationCenter& notifications, Clock& clock, QString applicationIdentifier,
                   std::function<void()> quit)
    : m_notifications(notifications),
      m_clock(clock),
      m_applicationIdentifier(std::move(applicationIdentifier)),
      m_quit(std::move(quit)) {}

Result<void> Launcher::start(const QString& program) {
  if (!QFileInfo(program).isExecutable()) return Error{program + QStringLiteral(" is not there to be started")};
  // Before the application runs, so that its answer cannot come too early.
  m_notifications.addObserver(QStringLiteral("TERMINATEHELPER"), m_applicationIdentifier, this,
                              [this](const QString&) { finish(); });
  if (!QProcess::startDetached(program, {})) return Error{program + QStringLiteral(" could not be started")};
  m_clock.callAfter(patience, this, [this] { finish(); });
  return {};
}

void Launcher::finish() {
  if (m_quit) std::exchange(m_quit, nullptr)();
}

}  // namespace halvard
