// One settings write (set, then synchronise: on stable storage when it returns) and one read of the settings store, on
// the file system of the temporary folder (TMPDIR). Wall-clock time: a write mostly waits for the disk.

#include <benchmark/benchmark.h>
#include <QTemporaryDir>

#include "platform/linux/sqlite/sqlite_defaults_store.h"
#include "preferences/preference_item.h"

namespace {

using halvard::SqliteDefaultsStore;

const QString key = QStringLiteral("main_window:state:detailed");
const QString domain = QStringLiteral("bench");

// As many values as the program keeps.
struct Settings {
  QTemporaryDir folder;
  QString path = folder.filePath(QStringLiteral("defaults.db"));
  SqliteDefaultsStore store{path, domain};

  Settings() {
    for (std::int64_t number = 0; number < 60; ++number)
      store.setObject(QStringLiteral("key%1").arg(number), {number});
    store.setObject(key, {true});
    store.synchronize();
  }
};

void writeSetting(benchmark::State& state) {
  Settings settings;
  std::int64_t number = 0;
  for (auto _ : state) {
    settings.store.setObject(key, {++number});
    if (!settings.store.synchronize()) state.SkipWithError("the file cannot be written");
  }
}
BENCHMARK(writeSetting)->UseRealTime()->Unit(benchmark::kMicrosecond);

void readSetting(benchmark::State& state) {
  Settings settings;
  for (auto _ : state)
    benchmark::DoNotOptimize(settings.store.objectForKey(key));
}
BENCHMARK(readSetting)->UseRealTime();

void readPreferenceItem(benchmark::State& state) {
  Settings settings;
  halvard::PreferenceItem<bool> item(settings.store, false, key);
  for (auto _ : state) {
    benchmark::DoNotOptimize(item.value());
    benchmark::ClobberMemory();
  }
}
BENCHMARK(readPreferenceItem)->UseRealTime();

void openSettings(benchmark::State& state) {
  Settings settings;
  for (auto _ : state)
    benchmark::DoNotOptimize(SqliteDefaultsStore(settings.path, domain).objectForKey(key));
}
BENCHMARK(openSettings)->UseRealTime()->Unit(benchmark::kMicrosecond);

}  // namespace
