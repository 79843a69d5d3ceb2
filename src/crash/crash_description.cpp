#include "crash/crash_description.h"

#include <QRegularExpression>

namespace halvard {

QString withoutHomeFolder(const QString& text, const QString& homeFolder) {
  if (homeFolder.size() < 2) return text;  // "/" would be everywhere
  const QRegularExpression home(QRegularExpression::escape(homeFolder) + QStringLiteral("(?!\\w|-|\\.\\w)"),
                                QRegularExpression::UseUnicodePropertiesOption);
  return QString(text).replace(home, QStringLiteral("~"));
}

}  // namespace halvard
