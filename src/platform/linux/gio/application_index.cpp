#include "platform/linux/gio/application_index.h"

#include <QDir>
#include <algorithm>

namespace halvard {

namespace {

QString lastPart(const QString& id) {
  return id.section(QLatin1Char('.'), -1);
}

QByteArray fileName(const QByteArray& path) {
  return path.mid(path.lastIndexOf('/') + 1);
}

void insertFirst(QHash<QString, InstalledApplicationPointer>& hash, const QString& key,
                 const InstalledApplicationPointer& entry) {
  if (!key.isEmpty() && !hash.contains(key)) hash.insert(key, entry);
}

bool isAssignment(const QByteArray& word) {
  return word.indexOf('=') > 0 && !word.startsWith('-');
}

bool isPlaceholder(const QByteArray& word) {
  return (word.size() == 2 && word[0] == '%') || word.startsWith("@@");
}

}  // namespace

QByteArrayList programAndArguments(const QByteArrayList& words) {
  auto begin = words.begin();
  if (begin != words.end() && fileName(*begin) == "env") {
    do
      ++begin;
    while (begin != words.end() && isAssignment(*begin));
  }
  QByteArrayList result;
  std::remove_copy_if(begin, words.end(), std::back_inserter(result), isPlaceholder);
  return result;
}

ApplicationIndex::ApplicationIndex(std::vector<InstalledApplication> entries) {
  for (InstalledApplication& value : entries) {
    if (m_byId.contains(value.id)) continue;
    if (value.name.isEmpty()) {  // deleted
      m_byId.insert(value.id, nullptr);
      continue;
    }
    const auto entry = std::make_shared<const InstalledApplication>(std::move(value));
    insertFirst(m_byId, entry->id, entry);
    insertFirst(m_byFoldedId, entry->id.toCaseFolded(), entry);
    insertFirst(m_byFile, entry->file, entry);
    insertFirst(m_byWindowClass, entry->windowClass.toCaseFolded(), entry);
    if (!entry->isVisible()) continue;
    insertFirst(m_byLastPart, lastPart(entry->id).toCaseFolded(), entry);
    if (entry->inTerminal || entry->program.isEmpty()) continue;
    m_byProgram[entry->program].push_back(entry);
    if (entry->resolvedProgram != entry->program) m_byProgram[entry->resolvedProgram].push_back(entry);
  }
}

InstalledApplicationPointer ApplicationIndex::byIds(const QStringList& ids) const {
  for (const QString& id : ids) {
    if (auto entry = m_byId.value(id)) return entry;
  }
  for (const QString& id : ids) {
    if (auto entry = m_byFoldedId.value(id.toCaseFolded())) return entry;
  }
  return nullptr;
}

InstalledApplicationPointer ApplicationIndex::byFile(const QString& file) const {
  return file.isEmpty() ? nullptr : m_byFile.value(QDir::cleanPath(file));
}

InstalledApplicationPointer ApplicationIndex::byWindow(const QString& applicationId, const QString& className,
                                                       const QString& instance) const {
  if (auto entry = m_byId.value(applicationId)) return entry;
  const QStringList halves{className.toCaseFolded(), instance.toCaseFolded()};
  for (const auto* hash : {&m_byWindowClass, &m_byFoldedId, &m_byLastPart}) {
    for (const QString& half : halves) {
      if (auto entry = hash->value(half)) return entry;
    }
  }
  return nullptr;
}

const std::vector<InstalledApplicationPointer>& ApplicationIndex::startedBy(const QByteArray& program) const {
  static const std::vector<InstalledApplicationPointer> none;
  const auto found = m_byProgram.constFind(program);
  return found == m_byProgram.constEnd() ? none : *found;
}

InstalledApplicationPointer ApplicationIndex::byProgram(const QByteArray& executable,
                                                        const QByteArrayList& arguments) const {
  InstalledApplicationPointer best;
  const auto rank = [](const InstalledApplicationPointer& entry) {
    const bool isCalledLikeProgram = entry->id == QString::fromUtf8(fileName(entry->program));
    return std::pair(entry->arguments.size(), isCalledLikeProgram);
  };
  for (const QByteArray& program : {executable, arguments.value(1)}) {
    for (const InstalledApplicationPointer& entry : startedBy(program)) {
      const bool hasAllWords =
          std::ranges::all_of(entry->arguments, [&](const QByteArray& word) { return arguments.contains(word); });
      if (hasAllWords && (!best || rank(entry) > rank(best))) best = entry;
    }
    if (best) return best;
  }
  return nullptr;
}

}  // namespace halvard
