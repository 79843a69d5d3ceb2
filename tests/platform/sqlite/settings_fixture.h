#pragma once

#include <QFile>
#include <QMutex>
#include <QTemporaryDir>
#include <bit>
#include <memory>

#include "platform/linux/sqlite/sqlite_defaults_store.h"

namespace halvard::test {

/// A folder for one settings file, and the lines its stores report.
struct SettingsFolder {
  QTemporaryDir folder;
  QString path = folder.filePath(QStringLiteral("config/defaults.db"));
  QMutex mutex;
  QStringList lines;

  std::unique_ptr<SqliteDefaultsStore> open(const QString& domain = QStringLiteral("test")) {
    return std::make_unique<SqliteDefaultsStore>(path, domain, [this](const QString& line) {
      const QMutexLocker lock(&mutex);
      lines << line;
    });
  }

  QByteArray content(const QString& name) const {
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
  }

  void replaceContent(const QByteArray& bytes) {
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate)) file.write(bytes);
  }

  /// A sound file with `count` values "0", "1", … in its main part, no log beside it.
  void fill(int count) {
    const auto store = open();
    for (int number = 0; number < count; ++number)
      store->setObject(QString::number(number), {std::int64_t{number}});
    store->synchronize();
  }
};

/// Equal kind and content, to the last bit of every real.
inline bool isIdentical(const StoredValue& left, const StoredValue& right) {
  if (left.value.index() != right.value.index()) return false;
  if (const auto* real = left.as<double>()) {
    return std::bit_cast<std::uint64_t>(*real) == std::bit_cast<std::uint64_t>(*right.as<double>());
  }
  if (const auto* array = left.as<StoredValue::Array>()) {
    const auto& other = *right.as<StoredValue::Array>();
    return std::equal(array->begin(), array->end(), other.begin(), other.end(), isIdentical);
  }
  if (const auto* dictionary = left.as<StoredValue::Dictionary>()) {
    const auto& other = *right.as<StoredValue::Dictionary>();
    return std::equal(
        dictionary->begin(), dictionary->end(), other.begin(), other.end(),
        [](const auto& a, const auto& b) { return a.first == b.first && isIdentical(a.second, b.second); });
  }
  return left == right;
}

}  // namespace halvard::test
