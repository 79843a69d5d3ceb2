#pragma once

#include <QMutex>
#include <memory>

#include "platform/linux/sqlite/sqlite_defaults_store.h"
#include "support/test_folder.h"
#include "support/texts.h"

namespace halvard {

/// A folder for one settings file, and the lines its stores report.
struct SettingsFolder {
  TestFolder folder;
  QString path = folder.path("config/defaults.db");
  QMutex mutex;
  QStringList lines;

  SqliteDefaultsStore::Report report() {
    return [this](const QString& line) {
      const QMutexLocker lock(&mutex);
      lines << line;
    };
  }

  std::unique_ptr<SqliteDefaultsStore> open(const char* domain = "test") {
    return std::make_unique<SqliteDefaultsStore>(path, text(domain), report());
  }

  /// A sound file with `count` values "0", "1", … in its main part, no log beside it.
  void fill(int count) {
    const auto store = open();
    for (int number = 0; number < count; ++number)
      store->setObject(QString::number(number), {std::int64_t{number}});
    store->synchronize();
  }
};

/// True when the value is on the disk.
inline bool save(SqliteDefaultsStore& store, const QString& key, StoredValue value) {
  store.setObject(key, std::move(value));
  return store.synchronize();
}

}  // namespace halvard
