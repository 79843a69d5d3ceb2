#pragma once

#include <QString>

/// What the crash record is made of.
namespace halvard {

/// Who crashed.
struct CrashIdentity {
  QString bundleIdentifier;
  /// The name the user knows.
  QString bundleName;
  QString shortVersion;
  QString version;
};

/// An uncaught exception.
struct CrashException {
  /// Its C++ type, readable, and what() when it has one.
  QString reason;
};

/// The fields of siginfo_t that the record shows.
struct SignalInformation {
  int code = 0;
  int errorNumber = 0;
  int number = 0;
  int status = 0;
};

/// "~" for the home folder wherever it stands in `text`; paths beside it that only begin the same stay.
QString withoutHomeFolder(const QString& text, const QString& homeFolder);

}  // namespace halvard
