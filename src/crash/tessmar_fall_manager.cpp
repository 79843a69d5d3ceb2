#include "crash/tessmar_fall_manager.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cstdio>
#include <utility>

#include "core/clock.h"
#include "crash/crash_report_files.h"
#include "crash/handler/crash_handler.h"

namespace halvard {

FallManagerSettings FallManagerSettings::standard(CrashIdentity identity) {
  const QString program = QFile::decodeName(QByteArray::fromStdString(crash_handler::executablePath()));
  return {std::move(identity), QFileInfo(program).path() + QStringLiteral("/halvard-crash-reporter"), program,
          crashReportFolder()};
}

TessmarFallManager::TessmarFallManager(CacheManager& cache, FallManagerSettings settings)
    : m_cache(cache), m_settings(std::move(settings)) {}

void TessmarFallManager::start() {
  setFallHandlers();
  countMissedCrashes();
  if (m_logs) std::fputs("[Tessmar Fall Manager] Loaded.\n", stderr);
}

void TessmarFallManager::setFallHandlers() {
  const CrashReportFiles reports(m_settings.reportFolder);
  reports.makeFolder();
  const auto now = std::chrono::duration_cast<std::chrono::seconds>(SystemClock().now().time_since_epoch());
  const std::string present = crash_handler::reportFileName(now.count() + 1, 0);
  // The handler may add one and removes none.
  reports.prune(CrashReportFiles::kKeptReports - 1, QString::fromStdString(present));
  crash_handler::Settings settings;
  settings.reporterPath = QFile::encodeName(m_settings.reporterPath).toStdString();
  settings.programPath = QFile::encodeName(m_settings.programPath).toStdString();
  settings.reportFolder = QFile::encodeName(m_settings.reportFolder).toStdString();
  settings.homeFolder = QFile::encodeName(QDir::homePath()).toStdString();
  settings.reportHead = reportHead().toStdString();
  settings.programName = m_settings.identity.bundleName.toStdString();
  settings.silenceLimit = m_settings.silenceLimit;
  crash_handler::install(settings);
}

QString TessmarFallManager::reportHead() const {
  const CrashIdentity& identity = m_settings.identity;
  return QStringLiteral("Bundle Identifier: %1\nApp Version: %2 (%3)\n")
      .arg(identity.bundleIdentifier, identity.shortVersion, identity.version);
}

void TessmarFallManager::countMissedCrashes() {
  for (int missed = CrashReportFiles(m_settings.reportFolder).takeUncounted(); missed > 0; --missed)
    m_cache.incrementCrashesCount();
}

void TessmarFallManager::turnOnLogs() {
  m_logs = true;
  crash_handler::setLogging(true);
}

void TessmarFallManager::turnOffLogs() {
  m_logs = false;
  crash_handler::setLogging(false);
}

}  // namespace halvard
