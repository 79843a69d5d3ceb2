#include <QtTest>
#include <mutex>

#include "memory/purge_manager.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_host_statistics.h"
#include "platform/fake/fake_purgeable_memory.h"

using namespace halvard;
using namespace std::chrono_literals;

namespace {

constexpr ByteCount kBlock = PurgeManager::kAllocationBlockSize;

struct Course : PurgeManagerDelegate {
  void onPurgeManagerStartPurge() override { events << QStringLiteral("start"); }
  void onPurgeManagerEndPurge() override { events << QStringLiteral("end"); }
  void onPurgeManagerPurgingProgress(float value) override { progress.push_back(value); }
  QStringList events;
  std::vector<float> progress;
};

struct Purge {
  Purge() {
    manager.setDelegate(&course);
    host.setPhysicalMemory(3 * kBlock + kBlock / 2);
  }
  /// Runs one purge to its end.
  void run() {
    bool done = false;
    manager.purgeWithCompletion([&] { done = true; });
    QTRY_VERIFY(done);
  }
  FakeHostStatistics host;
  FakePurgeableMemory memory;
  FakeClock clock;
  Course course;
  PurgeManager manager{host, memory, clock};
};

}  // namespace

class TestPurgeManager : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void fillsAllOfMemoryPausesThenReleasesInOrder() {
    Purge purge;
    std::vector<std::size_t> operationsAtPauses;
    purge.clock.onSleep = [&](std::chrono::milliseconds duration) {
      if (duration == 1000ms) operationsAtPauses.push_back(purge.memory.operations().size());
    };
    purge.run();
    const std::vector<std::string> expected{"make 0",    "begin 0", "zero 0",    "make 1", "begin 1",
                                            "zero 1",    "make 2",  "begin 2",   "zero 2", "end 0",
                                            "discard 0", "end 1",   "discard 1", "end 2",  "discard 2"};
    QCOMPARE(purge.memory.numberedOperations(), expected);
    QCOMPARE(operationsAtPauses, std::vector<std::size_t>{9});
    QCOMPARE(purge.memory.sizes(), std::vector<ByteCount>(3, 10 * 1024 * 1024));
    QCOMPARE(purge.memory.sessionsOpen(), 0);
    QCOMPARE(purge.course.events, (QStringList{QStringLiteral("start"), QStringLiteral("end")}));
    const std::vector<float> expectedProgress{0.0F, 0.5F / 3, 1.0F / 3, 0.5F, 0.5F / 3 + 0.5F, 1.0F / 3 + 0.5F, 1.0F};
    QCOMPARE(purge.course.progress, expectedProgress);
  }

  void smallProgressIsNotReported() {
    Purge purge;
    purge.host.setPhysicalMemory(1000 * kBlock);
    purge.run();
    // Steps of 0.0005: a report each time the change exceeds 0.01, and the forced ones.
    const auto& progress = purge.course.progress;
    QVERIFY2(progress.size() > 90 && progress.size() < 105, qPrintable(QString::number(progress.size())));
    for (std::size_t index = 1; index + 1 < progress.size(); ++index) {
      const bool forced = progress[index] == 0.5F || progress[index] == 1.0F;
      QVERIFY(forced || progress[index] - progress[index - 1] > 0.01F);
    }
  }

  void waitsUntilFreeMemoryRisesAboveTheStartButNotForEver() {
    Purge purge;
    const auto waits = [&purge] { return std::ranges::count(purge.clock.sleeps(), 250ms); };
    // Reading 1 is the start; the purge reads again after the release, each time a quarter of a second apart.
    for (const PageCount pages : {1000u, 1000u, 1001u, 1000u, 999u, 0u})
      purge.host.queueStatistics64({.active_count = pages});
    purge.run();
    QCOMPARE(purge.host.readings(), 5);
    QCOMPARE(waits(), 3);
    purge.host.setStatistics64({.active_count = 1000});
    purge.run();
    QCOMPARE(purge.host.readings(), 5 + 21);
    QCOMPARE(waits(), 3 + 20);
  }

  void lostWorkerEndsThePurgeNormally() {
    for (const int steps : {0, 4}) {
      Purge purge;
      purge.memory.dieAfter(steps);
      purge.run();
      QCOMPARE(static_cast<int>(purge.memory.operations().size()), steps);
      QCOMPARE(purge.course.progress.back(), 1.0F);
      QCOMPARE(purge.course.events.last(), QStringLiteral("end"));
    }
  }

  void secondPurgeCannotStartWhileOneRuns() {
    Purge purge;
    std::atomic<bool> hold = true;
    purge.clock.onSleep = [&](std::chrono::milliseconds duration) {
      while (duration == 1000ms && hold)
        std::this_thread::yield();
    };
    int completions = 0;
    purge.manager.purgeWithCompletion([&] {
      ++completions;
      // Still running as far as the manager is concerned: the completion is cleared after this call.
      purge.manager.purgeWithCompletion([&] { completions += 100; });
    });
    purge.manager.purgeWithCompletion([&] { completions += 10; });
    hold = false;
    QTRY_COMPARE(completions, 1);
    QCOMPARE(purge.memory.sessionsOpened(), 1);
    purge.run();
    QCOMPARE(purge.memory.sessionsOpened(), 2);
  }

  void destructionInTheMiddleDropsTheCompletion() {
    FakeHostStatistics host;
    FakePurgeableMemory memory;
    SystemClock clock;
    bool completed = false;
    {
      PurgeManager manager(host, memory, clock);
      manager.purgeWithCompletion([&] { completed = true; });
      QTRY_VERIFY(!memory.operations().empty());
    }
    QCoreApplication::processEvents();
    QVERIFY(!completed);
    QCOMPARE(memory.sessionsOpen(), 0);
  }
};

QTEST_GUILESS_MAIN(TestPurgeManager)
#include "test_purge_manager.moc"
