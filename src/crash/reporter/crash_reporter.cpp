#include "crash/reporter/crash_reporter.h"

#include <cxxabi.h>
#include <QDir>
#include <QProcess>
#include <QSocketNotifier>
#include <QSysInfo>
#include <QTimer>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "branding/branding.h"
#include "catalogue/catalogue.h"
#include "core/application_identity.h"
#include "crash/handler/crash_handler.h"
#include "platform/linux/crash/display.h"
#include "platform/linux/crash/dwfl_thread_stacks.h"
#include "platform/linux/crash/isolated_thread_stacks.h"
#include "widgets/alert_window.h"
#include "widgets/application_icon.h"

namespace halvard {
namespace {

using crash_handler::CrashMessage;
using crash_handler::Progress;
using namespace std::chrono_literals;

/// How often the dying process hears that somebody works for it; far more often than it needs.
constexpr std::chrono::seconds kLifeSign = 1s;
constexpr std::chrono::seconds kLongestReading = 15s;
constexpr std::chrono::seconds kLongestEnd = 5s;

std::optional<CrashException> exceptionOf(const CrashMessage& message) {
  if (message.signal != 0) return std::nullopt;
  if (message.exceptionType[0] == '\0')
    return CrashException{QStringLiteral("std::terminate was called without an exception")};
  int status = 0;
  const std::unique_ptr<char, decltype(&std::free)> readable(
      abi::__cxa_demangle(message.exceptionType, nullptr, nullptr, &status), &std::free);
  QString reason = QString::fromUtf8(readable ? readable.get() : message.exceptionType);
  if (message.exceptionReason[0] != '\0') reason += QStringLiteral(": ") + QString::fromUtf8(message.exceptionReason);
  return CrashException{reason};
}

std::optional<SignalInformation> signalOf(const CrashMessage& message) {
  if (message.signal == 0) return std::nullopt;
  return SignalInformation{message.signalCode, message.signalErrno, message.signal, message.signalStatus};
}

BSBacktraceLogger readBacktraces(DyingProcess& dying, const CrashMessage& message) {
  constexpr std::size_t handlerFrames = 32;
  DwflThreadStacks reader;
  IsolatedThreadStacks isolated(reader, kLongestReading, [&dying] { dying.tell(Progress::alive); });
  ThreadStacks stacks = isolated.read(message.process, BSBacktraceLogger::kFrameLimit + handlerFrames);
  if (stacks) {
    for (ThreadStack& stack : *stacks) {
      if (stack.thread == message.thread) removeHandlerFrames(stack, message.instruction);
    }
  }
  return {std::move(stacks), message.process, message.thread};
}

}  // namespace

CrashReporter::CrashReporter(DyingProcess& dying, const CrashMessage& message, QString program)
    : m_dying(dying),
      m_message(message),
      m_program(std::move(program)),
      m_exception(exceptionOf(message)),
      m_signal(signalOf(message)),
      m_reports(crashReportFolder()),
      m_reportName(QString::fromStdString(crash_handler::reportFileName(message.time, message.process))),
      m_backtraces(readBacktraces(dying, message)),
      m_store(defaultsFilePath(application_identity::kBundleIdentifier), application_identity::kBundleIdentifier),
      m_cache(m_store),
      m_email({m_cache, m_clock, m_backtraces, m_workspace}, surroundings()),
      m_alert({m_cache, m_email, *this, m_clock, [this] { secureReport(); }, [this] { m_relaunches = true; },
               [this] { sayWhatHappened(); }, [this] { letGo(); }},
              application_identity::kDisplayName) {
  m_email.setCrash(m_exception, m_signal);
}

CrashSurroundings CrashReporter::surroundings() const {
  const QString version = QStringLiteral(HALVARD_VERSION);
  return {{application_identity::kBundleIdentifier, application_identity::kDisplayName, version, version},
          QSysInfo::kernelVersion() + QStringLiteral(", ") + QSysInfo::prettyProductName(),
          systemUptime(),
          QDir::homePath(),
          m_reports.path(m_reportName),
          Branding::load(Branding::systemConfigDirectories()).supportAddress};
}

void CrashReporter::run() {
  m_alert.showAlertWith(m_exception, m_signal);
  if (m_application) QApplication::exec();
  // The other copy must be gone: the new one would find it and leave.
  if (m_relaunches) QProcess::startDetached(m_program, {});
}

void CrashReporter::secureReport() {
  saveReport();
  // Not before: a display that Qt cannot open ends this program. The texts of the alert, which follow, need it.
  if (hasDisplay()) openDisplay();
}

void CrashReporter::saveReport() {
  // Should the settings be locked by the dying process itself, they are written once it is gone.
  m_dying.tell(Progress::counted);
  const Result<void> saved = m_reports.save(m_reportName, m_email.getErrorRecordString());
  m_saved = static_cast<bool>(saved);
  if (m_saved) m_dying.tell(Progress::saved);
}

std::optional<AlertAnswer> CrashReporter::runModal(const Alert& content) {
  if (!m_application) {
    sayWhatHappened();
    return std::nullopt;
  }
  AlertWindow window(application_identity::kDisplayName, content);
  QSocketNotifier gone(m_dying.descriptor(), QSocketNotifier::Read);
  QObject::connect(&gone, &QSocketNotifier::activated, &window, &QDialog::reject);
  window.exec();
  return window.answer();
}

void CrashReporter::openDisplay() {
  static int count = 1;
  static char name[] = "halvard-crash-reporter";
  static char* arguments[] = {name, nullptr};
  m_application = std::make_unique<QApplication>(count, arguments);
  QApplication::setQuitOnLastWindowClosed(false);
  installCatalogue(*m_application);
  QApplication::setDesktopFileName(application_identity::kBundleIdentifier);
  QApplication::setWindowIcon(applicationIcon());
  auto* const timer = new QTimer(m_application.get());
  QObject::connect(timer, &QTimer::timeout, m_application.get(), [this] { m_dying.tell(Progress::alive); });
  timer->start(kLifeSign);
}

void CrashReporter::letGo() {
  m_dying.tell(Progress::leave);
  m_dying.waitForEnd(kLongestEnd);
  m_store.synchronize();
  if (m_application) QTimer::singleShot(0, m_application.get(), &QApplication::quit);
}

void CrashReporter::sayWhatHappened() const {
  const QString cause = m_signal ? QStringLiteral("signal %1").arg(m_signal->number)
                                 : m_exception->reason.section(QLatin1Char('\n'), 0, 0);
  const QString line = QStringLiteral("%1: quit unexpectedly (%2); the report %3 %4\n")
                           .arg(application_identity::kDisplayName, cause,
                                m_saved ? QStringLiteral("is in") : QStringLiteral("cannot be written to"),
                                m_reports.path(m_reportName));
  std::fputs(line.toLocal8Bit().constData(), stderr);
}

}  // namespace halvard
