#pragma once

#include <QApplication>
#include <memory>

#include "core/clock.h"
#include "crash/alert_generator.h"
#include "crash/bs_backtrace_logger.h"
#include "crash/crash_report_files.h"
#include "platform/linux/crash/dying_process.h"
#include "platform/linux/gio/gio_workspace.h"
#include "platform/linux/sqlite/sqlite_defaults_store.h"

namespace halvard {

/// One crash from the message to the end: stacks, count, report, alert, answer. Composes the reporter's services.
class CrashReporter : private CrashAlert {
 public:
  /// `dying` must outlive this object. `program` is what a relaunch starts.
  CrashReporter(DyingProcess& dying, const crash_handler::CrashMessage& message, QString program);

  /// Returns when everything is done and the crashed process has left.
  void run();

 private:
  CrashSurroundings surroundings() const;
  void secureReport();
  void saveReport();
  std::optional<AlertAnswer> runModal(const Alert& content) override;
  void openDisplay();
  void letGo();
  void sayWhatHappened() const;

  DyingProcess& m_dying;
  const crash_handler::CrashMessage m_message;
  const QString m_program;
  std::optional<CrashException> m_exception;
  std::optional<SignalInformation> m_signal;
  const CrashReportFiles m_reports;
  const QString m_reportName;
  BSBacktraceLogger m_backtraces;
  SystemClock m_clock;
  SqliteDefaultsStore m_store;
  CacheManager m_cache;
  GioWorkspace m_workspace;
  EmailGenerator m_email;
  AlertGenerator m_alert;
  std::unique_ptr<QApplication> m_application;
  bool m_saved = false;
  bool m_relaunches = false;
};

}  // namespace halvard
