#include "cli/memory_commands.h"

#include <QEventLoop>
#include <QJsonDocument>

#include "cli/status_text.h"
#include "core/clock.h"
#include "memory/memory_status.h"
#include "platform/ports/control_channel.h"

namespace halvard {

using namespace std::chrono_literals;

namespace {

/// Long enough for a processor figure that means something, short enough not to be felt.
constexpr std::chrono::milliseconds kProcessorSample = 200ms;
constexpr int kInterrupted = 130;

QString jsonText(const QJsonObject& record) {
  return QString::fromUtf8(QJsonDocument(record).toJson(QJsonDocument::Indented)).trimmed();
}

}  // namespace

MemoryCommands::MemoryCommands(const CliServices& services, ControlClient& control, const CommandOutput& output,
                               bool showsProgress)
    : m_services(services), m_control(control), m_output(output), m_showsProgress(showsProgress) {}

void MemoryCommands::interrupt() {
  Q_EMIT ended(kInterrupted);
}

int MemoryCommands::waitForEnd() {
  QEventLoop loop;
  connect(this, &MemoryCommands::ended, &loop, &QEventLoop::exit);
  return loop.exec();
}

bool MemoryCommands::wantsJson(const QString& command, const QStringList& arguments, int& exitCode) const {
  const bool isKnown = arguments.isEmpty() || arguments == QStringList{QStringLiteral("--json")};
  exitCode = isKnown ? kExitSuccess : m_output.fail(QStringLiteral("usage: %1 [--json]").arg(command), kExitUsage);
  return !arguments.isEmpty();
}

Result<QJsonObject> MemoryCommands::readStatus(LocalProgram& local) {
  if (m_control.isProgramRunning()) return m_control.status();
  if (!local.refresh()) return Error{QStringLiteral("the memory counters of this machine cannot be read")};
  return local.status();
}

int MemoryCommands::runStatus(const QStringList& arguments) {
  int exitCode = kExitSuccess;
  const bool json = wantsJson(QStringLiteral("status"), arguments, exitCode);
  if (exitCode != kExitSuccess) return exitCode;
  PurgeControllerView view;
  LocalProgram local(m_services, view);
  if (!m_control.isProgramRunning()) {
    local.status();  // the processor figure counts from here
    m_services.clock.callAfter(kProcessorSample, this, [this] { Q_EMIT ended(kExitSuccess); });
    if (const int code = waitForEnd()) return code;
  }
  const Result<QJsonObject> status = readStatus(local);
  if (!status) return m_output.fail(status.error().message, kExitFailure);
  m_output.print(json ? jsonText(status.value()) : status_text::screen(status.value()));
  return kExitSuccess;
}

int MemoryCommands::runWatch(const QStringList& arguments) {
  if (!arguments.isEmpty()) return m_output.fail(QStringLiteral("usage: watch"), kExitUsage);
  PurgeControllerView view;
  LocalProgram local(m_services, view);
  QObject context;
  std::function<void()> tick = [&] {
    const Result<QJsonObject> status = readStatus(local);
    if (!status) {
      Q_EMIT ended(m_output.fail(status.error().message, kExitFailure));
      return;
    }
    m_output.print(status_text::line(status.value()));
    m_services.clock.callAfter(1s, &context, tick);
  };
  local.status();
  m_services.clock.callAfter(kProcessorSample, &context, tick);
  return waitForEnd();
}

int MemoryCommands::runClean(const QStringList& arguments) {
  int exitCode = kExitSuccess;
  const bool json = wantsJson(QStringLiteral("clean"), arguments, exitCode);
  if (exitCode != kExitSuccess) return exitCode;
  return m_control.isProgramRunning() ? cleanInProgram(json) : cleanHere(json);
}

int MemoryCommands::cleanInProgram(bool json) {
  connect(&m_control, &ControlClient::progressed, this, &MemoryCommands::showProgress);
  connect(&m_control, &ControlClient::finished, this, [this, json](const QJsonObject& record) {
    printRecord(record, json);
    Q_EMIT ended(kExitSuccess);
  });
  connect(&m_control, &ControlClient::programGone, this, [this] {
    Q_EMIT ended(m_output.fail(QStringLiteral("the program ended before the cleaning did"), kExitFailure));
  });
  const Result<bool> started = m_control.startCleaning();
  if (!started) return m_output.fail(started.error().message, kExitFailure);
  if (!started.value()) return m_output.fail(QStringLiteral("a cleaning is running already"), kExitFailure);
  return waitForEnd();
}

int MemoryCommands::cleanHere(bool json) {
  PurgeControllerView view;
  LocalProgram local(m_services, view);
  if (!local.refresh()) {
    return m_output.fail(QStringLiteral("the memory counters of this machine cannot be read"), kExitFailure);
  }
  connect(&local.controller(), &ZPPurgeController::purgeProgressed, this, &MemoryCommands::showProgress);
  connect(&local.controller(), &ZPPurgeController::purgeFinished, this, [this, json](const PurgeReport& report) {
    printRecord(purgeRecord(report), json);
    Q_EMIT ended(kExitSuccess);
  });
  local.controller().onFreeMemory(ZPPurgeController::Sender::None);
  return waitForEnd();
}

void MemoryCommands::showProgress(double progress) {
  if (!m_showsProgress) return;
  const QString bar = status_text::bar(progress, 40);
  if (bar == m_shownBar) return;
  m_shownBar = bar;
  std::fprintf(m_output.err, "\r%s", bar.toUtf8().constData());
  std::fflush(m_output.err);
}

void MemoryCommands::printRecord(const QJsonObject& record, bool json) {
  if (!m_shownBar.isEmpty()) std::fputs("\r\033[K", m_output.err);
  m_output.print(json ? jsonText(record) : status_text::purge(record));
}

}  // namespace halvard
