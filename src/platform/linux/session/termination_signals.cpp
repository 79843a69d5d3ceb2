#include "platform/linux/session/termination_signals.h"

#include <QSocketNotifier>

#include <signal.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace halvard {
namespace {

constexpr int kSignals[] = {SIGTERM, SIGINT, SIGHUP};

/// Where the handler leaves word. Set before the handler is installed.
volatile sig_atomic_t g_descriptor = -1;

void leaveWord(int) {
  const eventfd_t one = 1;
  [[maybe_unused]] const ssize_t written = write(g_descriptor, &one, sizeof one);
}

void handleWith(void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  for (const int number : kSignals)
    sigaction(number, &action, nullptr);
}

}  // namespace

// A handler, not a blocked mask with a signalfd: a mask is inherited by every program that this one starts.
TerminationSignals::TerminationSignals(QObject* parent) : QObject(parent) {
  const int descriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (descriptor < 0) return;
  g_descriptor = descriptor;
  m_notifier = std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Read);
  connect(m_notifier.get(), &QSocketNotifier::activated, this, [this, descriptor] {
    eventfd_t count = 0;
    eventfd_read(descriptor, &count);
    Q_EMIT terminationRequested();
  });
  handleWith(leaveWord);
}

TerminationSignals::~TerminationSignals() {
  if (!m_notifier) return;
  handleWith(SIG_DFL);
  close(static_cast<int>(m_notifier->socket()));
}

}  // namespace halvard
