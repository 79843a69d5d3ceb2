#include <QtTest>

#include "core/notification_center.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_process_table.h"
#include "platform/fake/fake_running_applications.h"
#include "process_manager/process_tracker.h"
#include "process_manager/processes_manager.h"

using namespace halvard;
using namespace std::chrono_literals;

namespace {
constexpr ByteCount kMegabyte = 1'048'576;
}

class TestProcessTracker : public QObject {
  Q_OBJECT

  struct World {
    FakeProcessTable table;
    FakeRunningApplications applications;
    FakeClock clock;
    NotificationCenter notifications;
    ProcessesManager manager{table, applications, clock};
    ProcessTracker tracker{manager, notifications, clock};
    QObject observer;
    int posts = 0;

    World() {
      notifications.addObserver(QStringLiteral("HugeProcessTerminated"), &observer, [this](const QVariant& object) {
        QVERIFY(!object.isValid());
        ++posts;
      });
    }
    std::shared_ptr<FakeRunningApplication> add(std::int32_t pid, ByteCount size) {
      table.add(pid, 1, QString::number(pid), size);
      return applications.add(pid, QString::number(pid));
    }
    void quit(const std::shared_ptr<FakeRunningApplication>& app) {
      app->terminated = true;
      table.remove(app->processIdentifier());
      applications.remove(app->processIdentifier());
    }
    // Lets time pass up to the next reading, and waits until that reading has arrived.
    void step(std::chrono::milliseconds time = ProcessTracker::trackingInterval()) {
      clock.advance(time);
      QObject context;
      bool arrived = false;
      manager.getTopProcessCompletion(&context, [&](const ApplicationList&) { arrived = true; });
      QVERIFY(QTest::qWaitFor([&] { return arrived; }));
    }
  };

 private Q_SLOTS:
  void firstStepComesAfterOneInterval() {
    World world;
    world.tracker.startTrackingHugeProcesses();
    world.tracker.startTrackingHugeProcesses();
    world.clock.advance(4999ms);
    QCOMPARE(world.table.readings(), 0);
    world.step(1ms);
    QCOMPARE(world.table.readings(), 2);  // the tracker's and that of step()
    world.step();
    QCOMPARE(world.table.readings(), 4);
    world.tracker.stopTrackingHugeProcesses();
    QVERIFY(!world.tracker.isTracking());
    world.step();
    QCOMPARE(world.table.readings(), 5);
  }

  void quitsAreAnnouncedBySize_data() {
    QTest::addColumn<quint64>("size");
    QTest::addColumn<int>("postsAtOnce");
    QTest::addColumn<int>("postsAfterDelay");
    QTest::newRow("50 MB") << quint64(52'428'800) << 0 << 0;
    QTest::newRow("just above 50 MB") << quint64(52'428'801) << 0 << 1;
    QTest::newRow("just below 250 MB") << quint64(262'143'999) << 0 << 1;
    QTest::newRow("250 MB") << quint64(262'144'000) << 1 << 1;
  }
  void quitsAreAnnouncedBySize() {
    QFETCH(quint64, size);
    QFETCH(int, postsAtOnce);
    QFETCH(int, postsAfterDelay);
    World world;
    world.tracker.startTrackingHugeProcesses();
    const auto app = world.add(10, size);
    world.add(11, 400 * kMegabyte);
    world.step();
    world.quit(app);
    world.step();
    QCOMPARE(world.posts, postsAtOnce);
    world.clock.advance(59'999ms);
    QCOMPARE(world.posts, postsAtOnce);
    world.clock.advance(1ms);
    QCOMPARE(world.posts, postsAfterDelay);
    world.step(300s);
    QCOMPARE(world.posts, postsAfterDelay);
  }

  void oneAnnouncementStandsForAllQuitsOfTheDelayWhichAreNotAddedUp() {
    World world;
    world.tracker.startTrackingHugeProcesses();
    const auto first = world.add(10, 200 * kMegabyte);
    const auto twin = world.add(14, 200 * kMegabyte);
    const auto second = world.add(11, 100 * kMegabyte);
    const auto large = world.add(12, 300 * kMegabyte);
    const auto third = world.add(13, 100 * kMegabyte);
    world.step();
    world.quit(first);
    world.quit(twin);
    world.step();  // the delay begins
    world.quit(second);
    world.step(50s);
    QCOMPARE(world.posts, 0);
    world.clock.advance(10s);
    QCOMPARE(world.posts, 1);  // 60 s after the first
    world.step();
    world.quit(third);
    world.step();
    world.quit(large);
    world.step();
    QCOMPARE(world.posts, 2);  // at once, in place of the delayed one
    world.step(300s);
    QCOMPARE(world.posts, 2);
  }

  void stoppingKeepsThePendingAnnouncementAndTheLastList() {
    World world;
    world.tracker.startTrackingHugeProcesses();
    const auto small = world.add(10, 100 * kMegabyte);
    const auto large = world.add(11, 300 * kMegabyte);
    world.step();
    world.quit(small);
    world.step();
    world.tracker.stopTrackingHugeProcesses();
    world.clock.advance(60s);
    QCOMPARE(world.posts, 1);
    world.quit(large);
    world.clock.advance(300s);
    QCOMPARE(world.posts, 1);
    world.tracker.startTrackingHugeProcesses();
    world.step();
    QCOMPARE(world.posts, 2);
  }
};

QTEST_GUILESS_MAIN(TestProcessTracker)
#include "test_process_tracker.moc"
