#include "platform/linux/sqlite/sqlite_defaults_store.h"

#include <QStandardPaths>
#include <cstdio>
#include <utility>

namespace halvard {
namespace {

// A file is replaced at most once by each of a few processes; more than that is not a race but a fault.
constexpr int writeAttempts = 4;

void printToStandardError(const QString& line) {
  std::fprintf(stderr, "halvard: %s\n", line.toLocal8Bit().constData());
}

}  // namespace

QString defaultsFilePath(const QString& domain) {
  const QString configuration = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
  return configuration + QLatin1Char('/') + domain + QStringLiteral("/defaults.db");
}

SqliteDefaultsStore::SqliteDefaultsStore(const QString& path, const QString& domain, Report report,
                                         std::chrono::milliseconds patience)
    : m_file(path, domain), m_report(report ? std::move(report) : printToStandardError) {
  m_file.setPatience(patience);
  openForReading();
}

SqliteDefaultsStore::~SqliteDefaultsStore() {
  m_file.setPatience(kUsualPatience);
  synchronize();
}

void SqliteDefaultsStore::setPatience(std::chrono::milliseconds patience) {
  const std::lock_guard file(m_fileMutex);
  m_file.setPatience(patience);
}

void SqliteDefaultsStore::tellOfUnwritten(std::function<void()> tell) {
  const std::lock_guard file(m_fileMutex);
  m_tellOfUnwritten = std::move(tell);
  if (!m_writing.isEmpty()) m_tellOfUnwritten();
}

std::optional<StoredValue> SqliteDefaultsStore::objectForKey(const QString& key) const {
  // While another thread writes, what is in memory is as new as it gets; waiting for the disk would add nothing.
  if (const std::unique_lock file(m_fileMutex, std::try_to_lock); file.owns_lock()) refresh();
  const std::lock_guard values(m_valuesMutex);
  return known(key);
}

std::optional<StoredValue> SqliteDefaultsStore::known(const QString& key) const {
  for (const DefaultsChanges* changes : {&m_pending, &std::as_const(m_writing)}) {
    if (const auto found = changes->values.find(key); found != changes->values.end()) return found->second;
    if (changes->clear) return std::nullopt;
  }
  const auto found = m_committed.find(key);
  return found == m_committed.end() ? std::nullopt : std::optional(found->second);
}

void SqliteDefaultsStore::setObject(const QString& key, StoredValue value) {
  const std::lock_guard values(m_valuesMutex);
  m_pending.values.insert_or_assign(key, std::move(value));
}

void SqliteDefaultsStore::removeObject(const QString& key) {
  const std::lock_guard values(m_valuesMutex);
  m_pending.values.insert_or_assign(key, std::nullopt);
}

void SqliteDefaultsStore::removePersistentDomain() {
  const std::lock_guard values(m_valuesMutex);
  m_pending = {.clear = true, .values = {}};
}

QStringList SqliteDefaultsStore::keys() const {
  if (const std::unique_lock file(m_fileMutex, std::try_to_lock); file.owns_lock()) refresh();
  const std::lock_guard values(m_valuesMutex);
  DefaultsValues all = m_committed;
  m_writing.applyTo(all);
  m_pending.applyTo(all);
  QStringList names;
  for (const auto& entry : all)
    names << entry.first;
  return names;
}

bool SqliteDefaultsStore::synchronize() {
  const std::lock_guard file(m_fileMutex);
  {
    const std::lock_guard values(m_valuesMutex);
    m_writing.append(std::exchange(m_pending, {}));
    if (m_writing.isEmpty()) return true;
  }
  for (int attempt = 0; attempt < writeAttempts; ++attempt) {
    const DefaultsFileOutcome outcome = writeOut();
    if (outcome.fault == DefaultsFileFault::damaged) {
      setAsideDamaged(outcome.message);
    } else if (!outcome) {
      reportUnusable(outcome);
      return false;
    } else if (m_writing.isEmpty()) {
      return true;
    }
  }
  return false;
}

// What was written is no longer in m_writing.
DefaultsFileOutcome SqliteDefaultsStore::writeOut() const {
  if (!m_file.isOpen() || !m_file.isInPlace()) {
    if (DefaultsFileOutcome opened = m_file.open(true); !opened) return opened;
  }
  DefaultsFileOutcome outcome = m_file.write(m_writing);
  if (outcome && m_file.isInPlace()) {
    const std::lock_guard values(m_valuesMutex);
    std::exchange(m_writing, {}).applyTo(m_committed);
    m_reported.clear();
  } else if (outcome) {
    m_file.close();  // another process set the file aside: what went into it counts for nothing
  }
  return outcome;
}

void SqliteDefaultsStore::refresh() const {
  if (m_file.isOpen() && m_file.isInPlace()) {
    if (m_file.hasChanged()) reload();
  } else if (m_file.isOpen() || m_file.identityNow() != m_failedIdentity) {
    openForReading();
  }
}

void SqliteDefaultsStore::openForReading() const {
  const std::optional<FileIdentity> identity = m_file.identityNow();
  const DefaultsFileOutcome outcome = m_file.open(false);
  const bool isBusy = outcome.fault == DefaultsFileFault::busy;
  m_failedIdentity = outcome || isBusy ? std::nullopt : identity;
  if (outcome) return reload();
  if (outcome.fault == DefaultsFileFault::damaged) return replaceDamaged(outcome.message);
  DefaultsValues values;
  // Past the lock of another process one sees the file without its latest changes: better than nothing, no more.
  const bool isReadable = outcome.fault == DefaultsFileFault::unavailable || (isBusy && m_committed.empty());
  const bool replaced = outcome.fault == DefaultsFileFault::absent || (isReadable && m_file.readWithoutWriting(values));
  if (outcome.fault != DefaultsFileFault::absent) reportUnusable(outcome);
  if (!replaced) return;
  const std::lock_guard lock(m_valuesMutex);
  m_committed.swap(values);
}

void SqliteDefaultsStore::reload() const {
  DefaultsValues values;
  int unreadableRows = 0;
  const DefaultsFileOutcome outcome = m_file.read(values, unreadableRows);
  if (outcome.fault == DefaultsFileFault::damaged) return replaceDamaged(outcome.message);
  if (!outcome) return reportUnusable(outcome);
  if (unreadableRows > 0) {
    report(QStringLiteral("settings file %1: %2 values are not understood").arg(m_file.path()).arg(unreadableRows));
  }
  const std::lock_guard lock(m_valuesMutex);
  m_committed.swap(values);
}

// Found by reading: nobody may write for long.
void SqliteDefaultsStore::replaceDamaged(const QString& reason) const {
  setAsideDamaged(reason);
  if (m_writing.isEmpty()) return;
  if (const DefaultsFileOutcome outcome = writeOut(); !outcome) reportUnusable(outcome);
  if (!m_writing.isEmpty() && m_tellOfUnwritten) m_tellOfUnwritten();
}

void SqliteDefaultsStore::setAsideDamaged(const QString& reason) const {
  const Result<std::optional<QString>> moved = m_file.setAside();
  m_failedIdentity.reset();
  if (!moved) {
    m_failedIdentity = m_file.identityNow();
    return report(QStringLiteral("settings file %1 is damaged (%2) and cannot be set aside: %3")
                      .arg(m_file.path(), reason, moved.error().message));
  }
  if (!moved.value()) return;  // another process has: its new file is read next time
  report(QStringLiteral("settings file %1 is damaged (%2): kept as %3, starting anew")
             .arg(m_file.path(), reason, *moved.value()));
  // What was read while the file was sound goes into the new one.
  const std::lock_guard values(m_valuesMutex);
  DefaultsChanges rescued;
  for (auto& [key, value] : std::exchange(m_committed, {}))
    rescued.values.emplace(key, value);
  rescued.append(std::exchange(m_writing, {}));
  m_writing = std::move(rescued);
}

void SqliteDefaultsStore::reportUnusable(const DefaultsFileOutcome& outcome) const {
  report(QStringLiteral("settings file %1: %2; settings are kept in memory").arg(m_file.path(), outcome.message));
}

void SqliteDefaultsStore::report(const QString& trouble) const {
  if (trouble == m_reported) return;
  m_reported = trouble;
  m_report(trouble);
}

}  // namespace halvard
