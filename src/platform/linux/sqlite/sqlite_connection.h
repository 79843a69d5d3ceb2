#pragma once

#include <QString>
#include <chrono>
#include <memory>

#include "platform/linux/sqlite/stored_value_encoding.h"

struct sqlite3;
struct sqlite3_stmt;

namespace halvard {

/// How long those who use a settings file wait for one another unless told otherwise.
inline constexpr std::chrono::milliseconds kUsualPatience = std::chrono::seconds(5);

/// One compiled SQL statement. Its connection must outlive it.
class SqliteStatement {
 public:
  /// Binds parameter `index`, counted from 1.
  void bind(int index, const SqliteValue& value);
  /// SQLITE_ROW, SQLITE_DONE or an error code; the code of the failed compilation when there is nothing to run.
  int step();
  void reset();
  /// The cell of the current row, counted from 0.
  SqliteValue value(int column) const;
  QString text(int column) const;
  std::int64_t integer(int column) const;

 private:
  friend class SqliteConnection;
  struct Finalizer {
    void operator()(sqlite3_stmt* statement) const;
  };
  std::unique_ptr<sqlite3_stmt, Finalizer> m_statement;
  int m_failure = 0;
};

/// One connection to an SQLite file, for one thread at a time. Closed when destroyed.
class SqliteConnection {
 public:
  enum class Mode {
    existing,      ///< read and write, the file must exist
    create,        ///< read and write, made when missing
    readOnly,      ///< no writing, other processes seen
    readImmutable  ///< no writing, and no file beside it may be written either; changes of others are not seen
  };

  /// How long everything waits for the locks of others, from now on.
  void setPatience(std::chrono::milliseconds patience);

  /// An SQLite result code; a failed connection is closed.
  int open(const QString& path, Mode mode);
  void close();
  bool isOpen() const { return m_database != nullptr; }
  /// True also when the file was to be written and its permissions forbade it.
  bool isReadOnly() const;

  SqliteStatement prepare(const char* sql);
  /// Runs one statement to its end; SQLITE_OK or an error code.
  int run(const char* sql);
  /// The first cell of the first row; SQLITE_ROW or an error code in `code`.
  SqliteValue firstValue(const char* sql, int& code);
  /// Undoes an open transaction.
  void rollBack();

  /// The reason of the last failure, in words.
  QString lastError() const;

 private:
  struct Closer {
    void operator()(sqlite3* database) const;
  };
  std::unique_ptr<sqlite3, Closer> m_database;
  QString m_openError;
  std::chrono::milliseconds m_patience = kUsualPatience;
};

}  // namespace halvard
