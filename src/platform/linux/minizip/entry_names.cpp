#include "platform/linux/minizip/entry_names.h"

#include <QStringDecoder>
#include <QStringList>
#include <algorithm>

namespace halvard {
namespace {

Error refused(const char* why, const QByteArray& name) {
  return {QString::fromLatin1(why) + QStringLiteral(": ") + QString::fromUtf8(name.left(200))};
}

bool hasForbiddenCharacter(const QString& name) {
  return std::any_of(name.begin(), name.end(), [](QChar c) {
    return c.unicode() < 0x20 || c.unicode() == 0x7f || c == QLatin1Char('\\') || c == QLatin1Char(':');
  });
}

bool isStep(const QString& component) {
  return !component.isEmpty() && component != QLatin1String(".") && component != QLatin1String("..") &&
         component.toUtf8().size() <= 255;
}

QString folded(const QString& name) {
  return name.normalized(QString::NormalizationForm_KC).toCaseFolded();
}

}  // namespace

Result<QString> EntryNames::accept(const QByteArray& name, bool isFolder) {
  QStringDecoder decode(QStringDecoder::Utf8);
  QString path = decode(name);
  if (decode.hasError()) return refused("a name that is not UTF-8", name);
  if (isFolder) path.chop(1);
  const QStringList components = path.split(QLatin1Char('/'));
  const bool steps = std::all_of(components.begin(), components.end(), isStep);
  if (!steps || hasForbiddenCharacter(path)) return refused("a name that leads elsewhere", name);
  if (components.size() > m_maximumDepth) return refused("folders too deep", name);

  // Two spellings of one folder are as bad as two of one file: each ancestor counts under the spelling first used.
  QString above;
  for (const QString& component : components.first(components.size() - 1)) {
    above += component + QLatin1Char('/');
    if (m_seen.contains(folded(above)) && !m_folders.contains(above)) return refused("a name used twice", name);
    m_seen.insert(folded(above));
    m_folders.insert(above);
    if (m_seen.contains(folded(above.chopped(1)))) return refused("a file that is also a folder", name);
  }
  const QString key = isFolder ? path + QLatin1Char('/') : path;
  const bool knownFolder = isFolder && m_folders.contains(key);
  if (!knownFolder && (m_seen.contains(folded(path)) || m_seen.contains(folded(path + QLatin1Char('/'))))) {
    return refused("a name used twice", name);
  }
  m_seen.insert(folded(key));
  if (isFolder) m_folders.insert(key);
  return path;
}

}  // namespace halvard
