#include "platform/linux/sqlite/sqlite_object_store.h"

#include <sqlite3.h>

#include "platform/linux/sqlite/sqlite_connection.h"

namespace halvard {
namespace {

class SqliteObjectContext : public ObjectContext {
 public:
  Result<void> open(const QString& file) {
    const bool isOpen = m_connection.open(file, SqliteConnection::Mode::create) == SQLITE_OK;
    // The first statement that looks into the file: what is no database is found out here.
    const bool isStore = isOpen && run("CREATE TABLE IF NOT EXISTS metadata (key TEXT PRIMARY KEY, value)");
    if (!isStore || !run("BEGIN")) return Error{m_connection.lastError()};
    m_saved = changes();
    return {};
  }

  bool commitEditing() override { return true; }
  bool hasChanges() const override { return changes() != m_saved; }
  Result<void> save() override {
    if (!run("COMMIT")) return Error{m_connection.lastError()};
    m_saved = changes();
    if (!run("BEGIN")) return Error{m_connection.lastError()};
    return {};
  }

 private:
  bool run(const char* sql) { return m_connection.run(sql) == SQLITE_OK; }
  std::int64_t changes() const {
    int code = SQLITE_OK;
    const SqliteValue value = m_connection.firstValue("SELECT total_changes()", code);
    const auto* count = std::get_if<std::int64_t>(&value);
    return count ? *count : m_saved;
  }

  mutable SqliteConnection m_connection;
  std::int64_t m_saved = 0;
};

}  // namespace

Result<std::unique_ptr<ObjectContext>> SqliteObjectStore::open(const QString& file) {
  auto context = std::make_unique<SqliteObjectContext>();
  if (const Result<void> opened = context->open(file); !opened) return opened.error();
  return std::unique_ptr<ObjectContext>(std::move(context));
}

}  // namespace halvard
