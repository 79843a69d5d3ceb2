#include "cli/memory_commands.h"

#include <QEventLoop>
#include <QJsonDocument>
#include <utility>

#include "cli/cleaning_text.h"
#include "cli/status_text.h"
#include "core/clock.h"
#include "core/jobs.h"
#include "memory/purge_record.h"
#include "platform/ports/control_channel.h"

namespace halvard {

using namespace std::chrono_literals;

namespace {

/// Long enough for a processor figure that means something, short enough not to be felt.
constexpr std::chrono::milliseconds kProcessorSample = 200ms;
constexpr int kInterrupted = 130;
/// How late a second look may be.
constexpr std::chrono::seconds kPatience{10};

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

std::optional<MemoryCommands::CleanOptions> MemoryCommands::parseClean(const QStringList& words) {
  CleanOptions options;
  options.json = words.contains(QStringLiteral("--json"));
  options.waits = words.contains(QStringLiteral("--wait"));
  options.isDryRun = words.contains(QStringLiteral("--dry-run"));
  const bool isKnown = words.size() == int{options.json} + int{options.waits} + int{options.isDryRun};
  return isKnown && !(options.waits && options.isDryRun) ? std::optional(options) : std::nullopt;
}

int MemoryCommands::runClean(const QStringList& arguments) {
  const std::optional<CleanOptions> options = parseClean(arguments);
  if (!options) return m_output.fail(QStringLiteral("usage: clean [--wait | --dry-run] [--json]"), kExitUsage);
  if (options->isDryRun) return forecastHere(options->json);
  return m_control.isProgramRunning() ? cleanInProgram(*options) : cleanHere(*options);
}

int MemoryCommands::cleanInProgram(const CleanOptions& options) {
  connect(&m_control, &ControlClient::progressed, this, &MemoryCommands::showProgress);
  connect(&m_control, &ControlClient::finished, this,
          [this, options](const QJsonObject& record) { showFinished(record, options); });
  connect(&m_control, &ControlClient::rechecked, this,
          [this, options](const QJsonObject& record) { showRechecked(record, options); });
  connect(&m_control, &ControlClient::programGone, this, [this] {
    Q_EMIT ended(m_output.fail(m_hasFinished ? QStringLiteral("the program ended before the second look")
                                             : QStringLiteral("the program ended before the cleaning did"),
                               kExitFailure));
  });
  const Result<bool> started = m_control.startCleaning();
  if (!started) return m_output.fail(started.error().message, kExitFailure);
  if (!started.value()) return m_output.fail(QStringLiteral("a cleaning is running already"), kExitFailure);
  return waitForEnd();
}

int MemoryCommands::cleanHere(const CleanOptions& options) {
  PurgeControllerView view;
  LocalProgram local(m_services, view);
  if (!local.refresh()) {
    return m_output.fail(QStringLiteral("the memory counters of this machine cannot be read"), kExitFailure);
  }
  connect(&local.controller(), &ZPPurgeController::purgeProgressed, this, &MemoryCommands::showProgress);
  connect(&local.controller(), &ZPPurgeController::purgeFinished, this,
          [this, options](const PurgeReport& report) { showFinished(purgeRecord(report), options); });
  connect(&local.journal(), &PurgeJournal::rechecked, this,
          [this, options](const PurgeReport& report) { showRechecked(purgeRecord(report), options); });
  local.controller().onFreeMemory(ZPPurgeController::Sender::None);
  return waitForEnd();
}

int MemoryCommands::forecastHere(bool json) {
  JobQueue queue(QStringLiteral("forecast"));
  queue.run(
      this, [&memory = m_services.purgeableMemory](std::stop_token) { return memory.forecast(); },
      [this, json](const ReclaimForecast& forecast) {
        const QJsonObject record = forecastRecord(forecast);
        m_output.print(json ? jsonText(record) : cleaning_text::forecast(record));
        Q_EMIT ended(kExitSuccess);
      });
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

void MemoryCommands::showFinished(const QJsonObject& record, const CleanOptions& options) {
  // The program may clean again while this one waits for the second look.
  if (std::exchange(m_hasFinished, true)) return;
  Q_EMIT cleaned();
  if (!m_shownBar.isEmpty()) std::fputs("\r\033[K", m_output.err);
  if (!options.json || !options.waits) m_output.print(options.json ? jsonText(record) : cleaning_text::purge(record));
  if (!options.waits) {
    Q_EMIT ended(kExitSuccess);
    return;
  }
  m_services.clock.callAfter(PurgeJournal::kRecheckDelay + kPatience, this, [this] {
    Q_EMIT ended(m_output.fail(QStringLiteral("another cleaning came before the second look"), kExitFailure));
  });
}

void MemoryCommands::showRechecked(const QJsonObject& record, const CleanOptions& options) {
  if (!options.waits) return;
  m_output.print(options.json ? jsonText(record) : cleaning_text::recheck(record));
  Q_EMIT ended(kExitSuccess);
}

}  // namespace halvard
