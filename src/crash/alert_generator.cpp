#include "crash/alert_generator.h"

#include <utility>

namespace halvard {
namespace {

enum Button { relaunch, reportUs };

}  // namespace

AlertGenerator::AlertGenerator(AlertServices services, QString bundleName)
    : m_services(std::move(services)), m_bundleName(std::move(bundleName)) {}

void AlertGenerator::showAlertWith(const std::optional<CrashException>& exception,
                                   const std::optional<SignalInformation>& signal) {
  if (std::exchange(m_shown, true)) return;
  m_services.cache.incrementCrashesCount();
  m_services.counted();
  const Alert shown = content();
  const std::optional<AlertAnswer> answer = m_services.alert.runModal(shown);
  if (!answer) {
    m_services.exit();
    return;
  }
  m_services.cache.setSendCrashReportsDisabled(shown.suppression && !answer->suppressionIsOn);
  if (answer->button == relaunch) m_services.relaunch();
  if (answer->button == reportUs && !m_services.email.generateEmailWith(exception, signal)) m_services.mailRefused();
  m_services.clock.callAfter(std::chrono::milliseconds(200), this, m_services.exit);
}

Alert AlertGenerator::content() const {
  Alert content;
  content.message = tr("The application %1 quit unexpectedly.").arg(m_bundleName);
  content.informativeText =
      tr("Mac OS X and other applications are not affected.\n\nClick Relaunch to launch the application again. Click "
         "Report Us to see more details and send report to the developers for improving the application.");
  content.buttons = {tr("Relaunch"), tr("Report Us..."), tr("Ignore")};
  if (m_services.cache.sendCrashReportsDisabled())
    content.suppression = tr("Send Crash Reports to Tessmar automatically");
  content.isCritical = true;
  return content;
}

}  // namespace halvard
