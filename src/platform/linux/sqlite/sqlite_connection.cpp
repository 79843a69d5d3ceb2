#include "platform/linux/sqlite/sqlite_connection.h"

#include <QFile>
#include <QUrl>

#include <sqlite3.h>

namespace halvard {
namespace {

struct Binder {
  sqlite3_stmt* statement;
  int index;

  void operator()(std::nullptr_t) const { sqlite3_bind_null(statement, index); }
  void operator()(std::int64_t number) const { sqlite3_bind_int64(statement, index, number); }
  void operator()(double number) const { sqlite3_bind_double(statement, index, number); }
  void operator()(const QString& text) const {
    const QByteArray bytes = text.toUtf8();
    sqlite3_bind_text64(statement, index, bytes.constData(), static_cast<sqlite3_uint64>(bytes.size()),
                        SQLITE_TRANSIENT, SQLITE_UTF8);
  }
  // constData() is never null, so that empty data stay a blob and do not become NULL.
  void operator()(const QByteArray& bytes) const {
    sqlite3_bind_blob64(statement, index, bytes.constData(), static_cast<sqlite3_uint64>(bytes.size()),
                        SQLITE_TRANSIENT);
  }
};

int openFlags(SqliteConnection::Mode mode) {
  // The caller serialises; SQLite need not lock as well.
  const int common = SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_PRIVATECACHE;
  switch (mode) {
    case SqliteConnection::Mode::existing:
      return common | SQLITE_OPEN_READWRITE;
    case SqliteConnection::Mode::create:
      return common | SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
    default:
      return common | SQLITE_OPEN_READONLY | SQLITE_OPEN_URI;
  }
}

QByteArray openName(const QString& path, SqliteConnection::Mode mode) {
  if (mode == SqliteConnection::Mode::existing || mode == SqliteConnection::Mode::create)
    return QFile::encodeName(path);
  const QByteArray address = QUrl::fromLocalFile(path).toEncoded();
  return mode == SqliteConnection::Mode::readImmutable ? address + "?immutable=1" : address;
}

}  // namespace

void SqliteStatement::Finalizer::operator()(sqlite3_stmt* statement) const {
  sqlite3_finalize(statement);
}

void SqliteStatement::bind(int index, const SqliteValue& value) {
  if (m_statement) std::visit(Binder{m_statement.get(), index}, value);
}

int SqliteStatement::step() {
  return m_statement ? sqlite3_step(m_statement.get()) : m_failure;
}

void SqliteStatement::reset() {
  sqlite3_reset(m_statement.get());
}

SqliteValue SqliteStatement::value(int column) const {
  sqlite3_stmt* const statement = m_statement.get();
  switch (sqlite3_column_type(statement, column)) {
    case SQLITE_INTEGER:
      return std::int64_t{sqlite3_column_int64(statement, column)};
    case SQLITE_FLOAT:
      return sqlite3_column_double(statement, column);
    case SQLITE_TEXT:
      return text(column);
    case SQLITE_BLOB: {
      const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement, column));
      return QByteArray(bytes, sqlite3_column_bytes(statement, column));
    }
    default:
      return nullptr;
  }
}

QString SqliteStatement::text(int column) const {
  const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(m_statement.get(), column));
  return QString::fromUtf8(bytes, sqlite3_column_bytes(m_statement.get(), column));
}

std::int64_t SqliteStatement::integer(int column) const {
  return sqlite3_column_int64(m_statement.get(), column);
}

void SqliteConnection::Closer::operator()(sqlite3* database) const {
  sqlite3_close_v2(database);
}

int SqliteConnection::open(const QString& path, Mode mode) {
  sqlite3* database = nullptr;
  const int code = sqlite3_open_v2(openName(path, mode).constData(), &database, openFlags(mode), nullptr);
  m_database.reset(database);
  if (code != SQLITE_OK) {
    m_openError = QString::fromUtf8(sqlite3_errstr(code));
    m_database.reset();
    return code;
  }
  setPatience(m_patience);
  return SQLITE_OK;
}

void SqliteConnection::setPatience(std::chrono::milliseconds patience) {
  m_patience = patience;
  if (m_database) sqlite3_busy_timeout(m_database.get(), static_cast<int>(patience.count()));
}

void SqliteConnection::close() {
  m_database.reset();
}

bool SqliteConnection::isReadOnly() const {
  return m_database && sqlite3_db_readonly(m_database.get(), "main") == 1;
}

SqliteStatement SqliteConnection::prepare(const char* sql) {
  SqliteStatement result;
  sqlite3_stmt* statement = nullptr;
  result.m_failure = sqlite3_prepare_v3(m_database.get(), sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
  result.m_statement.reset(statement);
  return result;
}

int SqliteConnection::run(const char* sql) {
  return sqlite3_exec(m_database.get(), sql, nullptr, nullptr, nullptr);
}

SqliteValue SqliteConnection::firstValue(const char* sql, int& code) {
  SqliteStatement statement = prepare(sql);
  code = statement.step();
  return code == SQLITE_ROW ? statement.value(0) : SqliteValue();
}

void SqliteConnection::rollBack() {
  if (m_database && !sqlite3_get_autocommit(m_database.get())) run("ROLLBACK");
}

QString SqliteConnection::lastError() const {
  return m_database ? QString::fromUtf8(sqlite3_errmsg(m_database.get())) : m_openError;
}

}  // namespace halvard
