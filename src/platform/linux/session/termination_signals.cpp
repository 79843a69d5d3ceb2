#include "platform/linux/session/termination_signals.h"

#include <QSocketNotifier>

#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace halvard {

TerminationSignals::TerminationSignals(QObject* parent) : QObject(parent) {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : {SIGTERM, SIGINT, SIGHUP})
    sigaddset(&signals, number);
  // Threads started from here on inherit the mask, so that the descriptor is the only place where they arrive.
  if (pthread_sigmask(SIG_BLOCK, &signals, nullptr) != 0) return;
  const int descriptor = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
  if (descriptor < 0) return;
  m_notifier = std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Read);
  connect(m_notifier.get(), &QSocketNotifier::activated, this, [this, descriptor] {
    signalfd_siginfo information;
    while (read(descriptor, &information, sizeof information) == static_cast<ssize_t>(sizeof information)) {
    }
    Q_EMIT terminationRequested();
  });
}

TerminationSignals::~TerminationSignals() {
  if (m_notifier) close(static_cast<int>(m_notifier->socket()));
}

}  // namespace halvard
