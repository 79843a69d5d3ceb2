#pragma once

#include <chrono>
#include <optional>

#include "platform/linux/sqlite/defaults_changes.h"
#include "platform/linux/sqlite/file_identity.h"
#include "platform/linux/sqlite/sqlite_connection.h"

namespace halvard {

/// Why the settings file cannot be used.
enum class DefaultsFileFault {
  none,
  absent,      ///< there is no file
  damaged,     ///< it is not, or no longer, a settings file
  newer,       ///< a newer program made it
  busy,        ///< another process keeps it locked
  unavailable  ///< it cannot be reached, read or written, for now
};

struct DefaultsFileOutcome {
  DefaultsFileFault fault = DefaultsFileFault::none;
  /// The reason in words.
  QString message;

  explicit operator bool() const { return fault == DefaultsFileFault::none; }
};

/// The settings file as one domain sees it: opening, reading, writing and setting aside, without memory of its own.
/// One thread at a time; several processes at once.
///
/// The file is an SQLite database with a write-ahead log, synchronous FULL: when a commit has returned, the log is on
/// stable storage. `user_version` counts the schema.
class DefaultsFile {
 public:
  DefaultsFile(QString path, QString domain);

  /// How long reading, writing and opening wait for others that use the file, kUsualPatience unless told. Opening for
  /// reading waits once: not again until the file could be opened.
  void setPatience(std::chrono::milliseconds patience);

  const QString& path() const { return m_path; }
  bool isOpen() const { return m_connection.isOpen(); }

  /// Opens the file, and makes it with its folder when `create`. Any fault leaves it closed, except that a damaged file
  /// stays open, for setAside() alone.
  DefaultsFileOutcome open(bool create);
  void close();

  /// False when another file, or none, stands at the path now.
  bool isInPlace() const;
  std::optional<FileIdentity> identityNow() const { return identityOf(m_encodedPath); }
  /// True when another connection committed since the last read().
  bool hasChanged();

  /// Rows that cannot be understood are left out and counted. A file that has become newer is closed.
  DefaultsFileOutcome read(DefaultsValues& values, int& unreadableRows);
  /// As read(), for a closed file that cannot be opened for writing; leaves it closed.
  bool readWithoutWriting(DefaultsValues& values);
  /// All or nothing. A fault closes the file as in open().
  DefaultsFileOutcome write(const DefaultsChanges& changes);

  /// Gives the file that turned out to be damaged another name, and closes it. Nothing when another process was faster.
  Result<std::optional<QString>> setAside();

 private:
  bool readIn(SqliteConnection::Mode mode, DefaultsValues& values);
  DefaultsFileOutcome prepareFile();
  /// Absent for a file without a schema. A newer program may have changed the schema since the file was opened.
  DefaultsFileOutcome checkVersion();
  DefaultsFileOutcome makeSchema();
  int writeRows(const DefaultsChanges& changes);
  DefaultsFileOutcome outcome(int code) const;
  /// Leaves a damaged file open.
  DefaultsFileOutcome closeWith(DefaultsFileOutcome reason);

  const QString m_path;
  const QByteArray m_encodedPath;
  const QString m_folder;
  const QString m_domain;
  SqliteConnection m_connection;
  SqliteStatement m_versionStatement;
  std::chrono::milliseconds m_patience = kUsualPatience;
  bool m_isBusy = false;
  std::optional<FileIdentity> m_identity;  // of the file opened last
  std::int64_t m_readVersion = 0;
};

}  // namespace halvard
