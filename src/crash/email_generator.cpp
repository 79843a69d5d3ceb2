#include "crash/email_generator.h"

#include <QDateTime>
#include <QUrl>
#include <utility>

namespace halvard {
namespace {

const QString kAppNamePlaceholder = QStringLiteral("#appname#");

QString localTime(Clock::Instant instant) {
  const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(instant.time_since_epoch());
  return QDateTime::fromMSecsSinceEpoch(milliseconds.count()).toString(QStringLiteral("dd-MM-yyyy HH:mm"));
}

}  // namespace

EmailGenerator::EmailGenerator(const EmailServices& services, CrashSurroundings surroundings)
    : m_services(services), m_surroundings(std::move(surroundings)) {}

bool EmailGenerator::generateEmailWith(const std::optional<CrashException>& exception,
                                       const std::optional<SignalInformation>& signal) {
  setCrash(exception, signal);
  return createEmailOfType(QStringLiteral("Crash Report"), getErrorRecordString());
}

void EmailGenerator::setCrash(const std::optional<CrashException>& exception,
                              const std::optional<SignalInformation>& signal) {
  m_exception = exception;
  m_signal = signal;
}

QString EmailGenerator::getErrorRecordString() const {
  return withoutHomeFolder(head() + reason(), m_surroundings.homeFolder);
}

QString EmailGenerator::head() const {
  const CrashIdentity& identity = m_surroundings.identity;
  QString text;
  text += QStringLiteral("Bundle Identifier: %1\n").arg(identity.bundleIdentifier);
  text += QStringLiteral("App Version: %1 (%2)\n").arg(identity.shortVersion, identity.version);
  text += QStringLiteral("Crashes Count: %1\n").arg(m_services.cache.crashesCount());
  text += QStringLiteral("Date: %1\n").arg(localTime(m_services.clock.now()));
  text += QStringLiteral("System Uptime(s): %1\n").arg(m_surroundings.systemUptime.count());
  text += QStringLiteral("Class Name: NSProcessInfo\n");
  text += QStringLiteral("Thread: <Thread %1>{number = 1, name = main}\n\n").arg(m_services.backtraces.mainThread());
  return text;
}

QString EmailGenerator::reason() const {
  const BSBacktraceLogger& backtraces = m_services.backtraces;
  if (m_exception) {
    return QStringLiteral("Exception Reason: %1\n\n").arg(m_exception->reason) +
           backtraces.callStackSymbols().join(QLatin1Char('\n')) + QStringLiteral("\n\nOther threads: \n\n") +
           backtraces.bs_backtraceOfAllThread();
  }
  if (!m_signal) return {};
  return QStringLiteral("Signal error. Code %1, errno %2, signo %3, status %4")
             .arg(m_signal->code)
             .arg(m_signal->errorNumber)
             .arg(m_signal->number)
             .arg(m_signal->status) +
         QStringLiteral("\n\nThreads: \n\n") + backtraces.bs_backtraceOfAllThread();
}

QString EmailGenerator::signature() const {
  return tr("\n\nSent from:\n#appname# v#appversion#\nOS X #osversion#\n")
      .replace(kAppNamePlaceholder, m_surroundings.identity.bundleName)
      .replace(QStringLiteral("#appversion#"), m_surroundings.identity.shortVersion)
      .replace(QStringLiteral("#osversion#"), m_surroundings.systemVersion);
}

bool EmailGenerator::createEmailOfType(const QString& type, const QString& body) {
  const QByteArray whole = address(type, body);
  const QByteArray opened = whole.size() <= kLongestAddress ? whole : address(type, shortened(type, body));
  return m_services.workspace.openURL(QUrl::fromEncoded(opened, QUrl::StrictMode));
}

QByteArray EmailGenerator::address(const QString& type, const QString& body) const {
  const QString subject = QString(kAppNamePlaceholder + QLatin1Char(' ') + type)
                              .replace(kAppNamePlaceholder, m_surroundings.identity.bundleName);
  return "mailto:" + QUrl::toPercentEncoding(m_surroundings.supportAddress, "!*'();:@&=+$,/?") +
         "?SUBJECT=" + encodedString(subject) + "&BODY=" + encodedString(body + signature());
}

QString EmailGenerator::shortened(const QString& type, const QString& body) const {
  const QString file = withoutHomeFolder(m_surroundings.reportPath, m_surroundings.homeFolder);
  const QString notice = tr("\n[...]\n\nThe whole report is in this file, please attach it:\n%1\n").arg(file);
  QString kept;
  for (const QString& line : body.split(QLatin1Char('\n'))) {
    const QString longer = kept + line + QLatin1Char('\n');
    if (address(type, longer + notice).size() > kLongestAddress) break;
    kept = longer;
  }
  return kept + notice;
}

QByteArray EmailGenerator::encodedString(const QString& text) {
  return QUrl::toPercentEncoding(text);
}

}  // namespace halvard
