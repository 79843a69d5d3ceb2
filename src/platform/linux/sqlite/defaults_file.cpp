#include "platform/linux/sqlite/defaults_file.h"

#include <QFile>
#include <QFileInfo>
#include <cstring>
#include <utility>

#include <sqlite3.h>
#include <cerrno>

namespace halvard {

using namespace std::chrono_literals;

namespace {

constexpr std::int64_t schemaVersion = 1;

const QStringList& companionSuffixes() {
  static const QStringList suffixes{QStringLiteral("-wal"), QStringLiteral("-shm"), QStringLiteral("-journal")};
  return suffixes;
}

DefaultsFileFault faultOf(int code) {
  switch (code & 0xff) {
    case SQLITE_OK:
    case SQLITE_ROW:
    case SQLITE_DONE:
      return DefaultsFileFault::none;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
    case SQLITE_ERROR:  // our statements do not fit its tables: somebody else's database
      return DefaultsFileFault::damaged;
    case SQLITE_BUSY:
      return DefaultsFileFault::busy;
    default:
      return DefaultsFileFault::unavailable;
  }
}

}  // namespace

DefaultsFile::DefaultsFile(QString path, QString domain)
    : m_path(std::move(path)),
      m_encodedPath(QFile::encodeName(m_path)),
      m_folder(QFileInfo(m_path).absolutePath()),
      m_domain(std::move(domain)) {}

void DefaultsFile::setPatience(std::chrono::milliseconds patience) {
  m_patience = patience;
  m_connection.setPatience(patience);
}

DefaultsFileOutcome DefaultsFile::open(bool create) {
  close();
  if (!create && !identityNow()) {
    if (errno == ENOENT) return {DefaultsFileFault::absent, {}};
    return {DefaultsFileFault::unavailable, QString::fromLocal8Bit(std::strerror(errno))};
  }
  if (create) {
    if (const Result<void> made = makePrivateFolder(m_folder); !made) {
      return {DefaultsFileFault::unavailable, made.error().message};
    }
  }
  const FolderLock lock(m_folder);
  m_connection.setPatience(m_isBusy && !create ? 0ms : m_patience);
  const auto mode = create ? SqliteConnection::Mode::create : SqliteConnection::Mode::existing;
  if (const int code = m_connection.open(m_path, mode); code != SQLITE_OK) return closeWith(outcome(code));
  m_identity = identityNow();
  // Before SQLite makes a log that inherits the permissions and stays behind.
  if (m_connection.isReadOnly()) {
    return closeWith({DefaultsFileFault::unavailable, QStringLiteral("the file is read-only")});
  }
  if (DefaultsFileOutcome prepared = prepareFile(); !prepared) return closeWith(std::move(prepared));
  m_versionStatement = m_connection.prepare("PRAGMA data_version");
  m_readVersion = -1;
  m_isBusy = false;
  m_connection.setPatience(m_patience);
  return {};
}

void DefaultsFile::close() {
  m_versionStatement = {};
  m_connection.close();
}

bool DefaultsFile::isInPlace() const {
  const std::optional<FileIdentity> now = identityNow();
  return now && m_identity && now->isSameFile(*m_identity);
}

bool DefaultsFile::hasChanged() {
  const int code = m_versionStatement.step();
  const bool changed = code != SQLITE_ROW || m_versionStatement.integer(0) != m_readVersion;
  m_versionStatement.reset();
  return changed;
}

DefaultsFileOutcome DefaultsFile::read(DefaultsValues& values, int& unreadableRows) {
  // The version first: a commit between the two is then read again, never missed.
  if (m_versionStatement.step() == SQLITE_ROW) m_readVersion = m_versionStatement.integer(0);
  m_versionStatement.reset();
  if (DefaultsFileOutcome version = checkVersion(); !version) return closeWith(std::move(version));
  SqliteStatement rows = m_connection.prepare("SELECT key, kind, value FROM defaults WHERE domain = ?1");
  rows.bind(1, m_domain);
  values.clear();
  unreadableRows = 0;
  int code = rows.step();
  for (; code == SQLITE_ROW; code = rows.step()) {
    std::optional<StoredValue> value = decode({rows.text(1), rows.value(2)});
    if (value) {
      values.insert_or_assign(rows.text(0), *std::move(value));
    } else {
      ++unreadableRows;
    }
  }
  return outcome(code);
}

bool DefaultsFile::readWithoutWriting(DefaultsValues& values) {
  m_connection.setPatience(m_isBusy ? 0ms : m_patience);
  const bool hasLog = QFileInfo(m_path + QStringLiteral("-wal")).size() > 0;
  if (hasLog && readIn(SqliteConnection::Mode::readOnly, values)) return true;
  return readIn(SqliteConnection::Mode::readImmutable, values);
}

bool DefaultsFile::readIn(SqliteConnection::Mode mode, DefaultsValues& values) {
  bool done = false;
  if (m_connection.open(m_path, mode) == SQLITE_OK) {
    int unreadableRows = 0;
    done = static_cast<bool>(read(values, unreadableRows));
  }
  close();
  return done;
}

DefaultsFileOutcome DefaultsFile::write(const DefaultsChanges& changes) {
  DefaultsFileOutcome result = outcome(m_connection.run("BEGIN IMMEDIATE"));
  if (result) result = checkVersion();
  if (result) result = outcome(writeRows(changes));
  return result ? result : closeWith(std::move(result));
}

int DefaultsFile::writeRows(const DefaultsChanges& changes) {
  if (changes.clear) {
    SqliteStatement clear = m_connection.prepare("DELETE FROM defaults WHERE domain = ?1");
    clear.bind(1, m_domain);
    if (const int code = clear.step(); code != SQLITE_DONE) return code;
  }
  SqliteStatement put = m_connection.prepare("INSERT OR REPLACE INTO defaults VALUES(?1, ?2, ?3, ?4)");
  SqliteStatement remove = m_connection.prepare("DELETE FROM defaults WHERE domain = ?1 AND key = ?2");
  for (const auto& [key, value] : changes.values) {
    SqliteStatement& statement = value ? put : remove;
    statement.bind(1, m_domain);
    statement.bind(2, key);
    if (value) {
      const EncodedValue encoded = encode(*value);
      statement.bind(3, encoded.kind);
      statement.bind(4, encoded.value);
    }
    if (const int code = statement.step(); code != SQLITE_DONE) return code;
    statement.reset();
  }
  return m_connection.run("COMMIT");
}

Result<std::optional<QString>> DefaultsFile::setAside() {
  const FolderLock lock(m_folder);
  const bool mine = isInPlace();
  // Renamed while open: closing a file in place would work its log into it, and remove the log.
  const Result<QString> moved = mine ? halvard::setAside(m_path, companionSuffixes()) : QString();
  close();
  if (!mine) return std::optional<QString>();
  if (!moved) return moved.error();
  return std::optional(moved.value());
}

DefaultsFileOutcome DefaultsFile::prepareFile() {
  // Before anything is changed: the file may be another program's business.
  const DefaultsFileOutcome version = checkVersion();
  if (!version && version.fault != DefaultsFileFault::absent) return version;
  int code = m_connection.run("PRAGMA journal_mode = WAL");
  if (code == SQLITE_OK) code = m_connection.run("PRAGMA synchronous = FULL");
  // A log of 64 pages is 256 KiB: settings are few, the log need not outgrow them.
  if (code == SQLITE_OK) code = m_connection.run("PRAGMA wal_autocheckpoint = 64");
  if (code != SQLITE_OK) return outcome(code);
  const SqliteValue check = m_connection.firstValue("PRAGMA quick_check(1)", code);
  if (code != SQLITE_ROW) return outcome(code);
  if (check != SqliteValue(QStringLiteral("ok"))) {
    return {DefaultsFileFault::damaged, std::get_if<QString>(&check) ? std::get<QString>(check) : QString()};
  }
  return makeSchema();
}

DefaultsFileOutcome DefaultsFile::checkVersion() {
  int code = SQLITE_OK;
  const SqliteValue version = m_connection.firstValue("PRAGMA user_version", code);
  if (code != SQLITE_ROW) return outcome(code);
  if (version == SqliteValue(schemaVersion)) return {};
  if (version == SqliteValue(std::int64_t{0})) return {DefaultsFileFault::absent, QStringLiteral("it was emptied")};
  return {DefaultsFileFault::newer, QStringLiteral("made by a newer version of the program")};
}

DefaultsFileOutcome DefaultsFile::makeSchema() {
  DefaultsFileOutcome version = checkVersion();
  if (version.fault != DefaultsFileFault::absent) return version;
  // ANY in a strict table keeps every value exactly as it was given.
  const int code = m_connection.run(
      "BEGIN IMMEDIATE;"
      "CREATE TABLE IF NOT EXISTS defaults(domain TEXT NOT NULL, key TEXT NOT NULL, kind TEXT NOT NULL, value ANY,"
      " PRIMARY KEY(domain, key)) STRICT, WITHOUT ROWID;"
      "PRAGMA user_version = 1;"
      "COMMIT");
  return outcome(code);
}

DefaultsFileOutcome DefaultsFile::outcome(int code) const {
  const DefaultsFileFault fault = faultOf(code);
  return {fault, fault == DefaultsFileFault::none ? QString() : m_connection.lastError()};
}

DefaultsFileOutcome DefaultsFile::closeWith(DefaultsFileOutcome reason) {
  if (reason.fault == DefaultsFileFault::damaged) return reason;
  m_connection.rollBack();
  m_isBusy = reason.fault == DefaultsFileFault::busy;
  close();
  return reason;
}

}  // namespace halvard
