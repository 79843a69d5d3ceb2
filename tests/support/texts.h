#pragma once

#include <QStringList>
#include <initializer_list>

namespace halvard {

inline QString text(const char* utf8) {
  return QString::fromUtf8(utf8);
}

inline QStringList texts(std::initializer_list<const char*> utf8) {
  QStringList result;
  for (const char* const each : utf8)
    result << text(each);
  return result;
}

/// The words of a command line.
inline QStringList words(const char* line) {
  return text(line).split(u' ', Qt::SkipEmptyParts);
}

}  // namespace halvard
