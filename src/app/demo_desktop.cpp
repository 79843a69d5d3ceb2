#include "app/demo_desktop.h"

#include <algorithm>
#include <cmath>

namespace halvard {
namespace {

constexpr std::int64_t kMiB = 1024 * 1024;
constexpr std::int64_t kPhysical = 16 * 1024 * kMiB;
constexpr std::int64_t kBusyBytes = 6200 * kMiB;
constexpr std::int64_t kIdleBytesAtFirst = 2100 * kMiB;
constexpr std::int64_t kBytesAPurgedBuffer = kMiB;

PageCount pages(std::int64_t bytes) {
  return static_cast<PageCount>(bytes / 4096);
}

}  // namespace

DemoDesktop::DemoDesktop(const Platform& real) : m_real(real), m_idleBytes(kIdleBytesAtFirst) {
  m_hostStatistics.setPhysicalMemory(kPhysical);
  m_purgeHostStatistics.setPhysicalMemory(kPhysical);
  m_purgeableMemory.onOperation = [this](const std::string& operation) {
    if (operation == "discard") m_idleBytes = std::max<std::int64_t>(0, m_idleBytes - kBytesAPurgedBuffer);
    if (operation == "begin") m_clock.sleepFor(std::chrono::milliseconds(2));
  };
  addApplications();
  // Whoever starts the demo wants to see the panel.
  ShowcaseDefaults(m_defaultsStore, m_clock, {}).notifyShowcaseDialogDataThatShowedAutomaticallyVersion(0);
  connect(&m_breath, &QTimer::timeout, this, &DemoDesktop::breathe);
  m_breath.start(500);
  breathe();
}

void DemoDesktop::addApplications() {
  struct Demo {
    const char* name;
    const char* icon;
    std::int64_t megabytes;
  };
  constexpr Demo applications[] = {
      {"Web Browser", "web-browser", 1460},        {"Mail", "internet-mail", 612},
      {"Office Writer", "x-office-document", 404}, {"Image Editor", "applications-graphics", 371},
      {"Music", "applications-multimedia", 188},   {"Files", "system-file-manager", 96},
      {"Terminal", "utilities-terminal", 58},
  };
  std::int32_t pid = 1000;
  for (const Demo& demo : applications) {
    m_processTable.add(pid, 1, QString::fromLatin1(demo.name), static_cast<ByteCount>(demo.megabytes * kMiB));
    m_runningApplications.add(pid, QString::fromLatin1(demo.name))->iconName = QString::fromLatin1(demo.icon);
    ++pid;
  }
}

void DemoDesktop::breathe() {
  ++m_breaths;
  if (m_idleBytes < kIdleBytesAtFirst) m_idleBytes += 4 * kMiB;
  const auto swell = static_cast<std::int64_t>(180.0 * std::sin(m_breaths / 9.0)) * kMiB;
  VmStatistics64 counters;
  counters.internal_page_count = pages(kBusyBytes + m_idleBytes + swell);
  counters.wire_count = pages(1100 * kMiB);
  counters.compressor_page_count = pages((kIdleBytesAtFirst - m_idleBytes) / 4);
  m_hostStatistics.setStatistics64(counters);
}

Platform DemoDesktop::platform() {
  return {m_clock,
          m_hostStatistics,
          m_purgeHostStatistics,
          m_processorTicks,
          m_real.processInformation,
          m_purgeableMemory,
          m_processTable,
          m_runningApplications,
          m_defaultsStore,
          m_real.statusItem,
          m_real.windowHints,
          m_real.appearance,
          m_real.userNotifications,
          m_distributedNotifications,
          m_controlServer,
          m_real.scripts,
          m_loginItems,
          {m_real.promotion.workspace, m_fetcher, m_beacon, m_real.promotion.unpacker, m_volumes, std::nullopt},
          m_disk.platform(),
          {m_copies, m_real.lifecycle.folders, m_objectStore, m_fetcher, m_real.lifecycle.workspace, std::nullopt}};
}

}  // namespace halvard
