#pragma once

#include <QByteArray>
#include <QCoreApplication>
#include <chrono>
#include <optional>

#include "core/clock.h"
#include "crash/bs_backtrace_logger.h"
#include "crash/cache_manager.h"
#include "crash/crash_description.h"
#include "platform/ports/workspace.h"

namespace halvard {

/// Facts about the machine and the crash that the record and the mail show.
struct CrashSurroundings {
  CrashIdentity identity;
  /// Kernel and distribution.
  QString systemVersion;
  std::chrono::seconds systemUptime{0};
  /// Replaced by "~" in everything that is written.
  QString homeFolder;
  /// The report's file.
  QString reportPath;
  /// Empty: the user chooses whom to write to.
  QString supportAddress;
};

/// What the generator reads and uses. All of it outlives the generator.
struct EmailServices {
  const CacheManager& cache;
  const Clock& clock;
  const BSBacktraceLogger& backtraces;
  Workspace& workspace;
};

/// Writes the crash record and puts it into a new message of the user's mail program. Nothing is sent.
class EmailGenerator {
  Q_DECLARE_TR_FUNCTIONS(EmailGenerator)

 public:
  /// Mail programs, above all those inside a browser, cut addresses that are much longer than this.
  static constexpr qsizetype kLongestAddress = 8000;

  EmailGenerator(const EmailServices& services, CrashSurroundings surroundings);

  /// Keeps both for getErrorRecordString() and opens the message. False when no mail program took it.
  bool generateEmailWith(const std::optional<CrashException>& exception,
                         const std::optional<SignalInformation>& signal);

  /// The record of `exception` or `signal`; with neither, it ends after the description of the main thread.
  void setCrash(const std::optional<CrashException>& exception, const std::optional<SignalInformation>& signal);
  QString getErrorRecordString() const;

  /// The message with `body` in it; a body that makes the address too long is cut after a line and followed by the path
  /// of the report's file.
  bool createEmailOfType(const QString& type, const QString& body);

  /// Percent-escaped UTF-8: only letters, digits and "-._~" stay.
  static QByteArray encodedString(const QString& text);

 private:
  QString head() const;
  QString reason() const;
  QString signature() const;
  QByteArray address(const QString& type, const QString& body) const;
  QString shortened(const QString& type, const QString& body) const;

  EmailServices m_services;
  const CrashSurroundings m_surroundings;
  std::optional<CrashException> m_exception;
  std::optional<SignalInformation> m_signal;
};

}  // namespace halvard
