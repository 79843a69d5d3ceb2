// Writes settings for the tests: settings_writer FILE PREFIX FIRST COUNT [SHARED-KEY]
// Sets "<prefix><number>" and the shared key to each number in turn and, once the store has acknowledged it, prints the
// number. A store that refuses ends the program with status 1.

#include <unistd.h>
#include <cstdio>
#include <cstdlib>

#include "platform/linux/sqlite/sqlite_defaults_store.h"

int main(int argc, char** argv) {
  if (argc < 5) return 2;
  halvard::SqliteDefaultsStore store(QString::fromLocal8Bit(argv[1]), QStringLiteral("test"));
  const QString prefix = QString::fromLocal8Bit(argv[2]);
  const long first = std::atol(argv[3]);
  for (long number = first; number < first + std::atol(argv[4]); ++number) {
    store.setObject(prefix + QString::number(number), {std::int64_t{number}});
    if (argc > 5) store.setObject(QString::fromLocal8Bit(argv[5]), {std::int64_t{number}});
    if (!store.synchronize()) return 1;
    char line[32];
    const int length = std::snprintf(line, sizeof line, "%ld\n", number);
    if (::write(STDOUT_FILENO, line, static_cast<std::size_t>(length)) != length) return 3;
  }
  return 0;
}
