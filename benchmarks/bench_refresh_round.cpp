// One refresh round as the program runs it every second: the counters read, every figure and text made, the picture
// chosen, and the status item told of what differs.
#include <benchmark/benchmark.h>

#include "core/macos_version.h"
#include "memory/memory_snapshot.h"
#include "menubar/status_item_controller.h"
#include "platform/fake/fake_appearance.h"
#include "platform/fake/fake_defaults_store.h"
#include "platform/fake/fake_status_bar_item.h"
#include "platform/linux/procfs/linux_host_statistics.h"
#include "preferences/preferences_model.h"

namespace {

using namespace halvard;

struct NoLogin : StartAtLoginSwitch {
  void setIsEnabledForHelperApp(bool, const std::function<void()>&) override {}
};

void refreshRound(benchmark::State& state) {
  LinuxHostStatistics host;
  const MacOSVersion version;
  FakeStatusBarItem item;
  FakeAppearance appearance;
  FakeDefaultsStore store;
  NoLogin login;
  PreferencesModel preferences(store, login);
  StatusItemController statusItem(item, appearance, preferences, QStringLiteral("Halvard"));
  MemorySnapshot snapshot(host, version);
  snapshot.initValues();
  for (auto _ : state) {
    benchmark::DoNotOptimize(snapshot.updateMemoryStatictics());
    statusItem.fillTitle(snapshot);
    statusItem.updateStatusItem(snapshot);
  }
}
BENCHMARK(refreshRound)->Unit(benchmark::kMicrosecond);

}  // namespace
