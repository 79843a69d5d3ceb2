#pragma once

#include <QObject>
#include <QTimer>
#include <atomic>

#include "app/application.h"
#include "app/demo_disk.h"
#include "core/clock.h"
#include "platform/fake/fake_control_server.h"
#include "platform/fake/fake_defaults_store.h"
#include "platform/fake/fake_distributed_notification_center.h"
#include "platform/fake/fake_host_statistics.h"
#include "platform/fake/fake_http_beacon.h"
#include "platform/fake/fake_http_fetcher.h"
#include "platform/fake/fake_login_item_service.h"
#include "platform/fake/fake_mounted_volumes.h"
#include "platform/fake/fake_object_store.h"
#include "platform/fake/fake_process_table.h"
#include "platform/fake/fake_processor_ticks.h"
#include "platform/fake/fake_purgeable_memory.h"
#include "platform/fake/fake_running_applications.h"
#include "platform/fake/fake_running_copies.h"

namespace halvard {

/// A made-up machine for `halvard --demo`: 16 GiB, memory that comes and goes, a few applications. It reads nothing of
/// the real one and stores nothing.
class DemoDesktop : public QObject {
  Q_OBJECT

 public:
  /// The machine, shown by the visible parts of the real one.
  explicit DemoDesktop(const Platform& real);

  Platform platform();

 private:
  void breathe();
  void addApplications();

  const Platform m_real;
  SystemClock m_clock;
  FakeHostStatistics m_hostStatistics;
  FakeHostStatistics m_purgeHostStatistics;
  FakeProcessorTicks m_processorTicks;
  FakePurgeableMemory m_purgeableMemory;
  FakeProcessTable m_processTable;
  FakeRunningApplications m_runningApplications;
  FakeDefaultsStore m_defaultsStore;
  FakeDistributedNotificationCenter m_distributedNotifications;
  /// The name on the bus is the real program's.
  FakeControlServer m_controlServer;
  FakeLoginItemService m_loginItems;
  FakeHttpFetcher m_fetcher;
  FakeHttpBeacon m_beacon;
  FakeMountedVolumes m_volumes;
  DemoDisk m_disk;
  FakeRunningCopies m_copies;
  FakeObjectStore m_objectStore;
  QTimer m_breath;
  int m_breaths = 0;
  /// Bytes of application memory that a purge may still page out.
  std::atomic<std::int64_t> m_idleBytes;
};

}  // namespace halvard
