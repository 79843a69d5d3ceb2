#include <QSemaphore>
#include <QtTest>

#include "core/color.h"
#include "core/jobs.h"
#include "core/macos_version.h"
#include "core/notification_center.h"
#include "core/weak_delegates.h"
#include "platform/fake/fake_clock.h"

using namespace halvard;
using namespace std::chrono_literals;

namespace {
struct Listener : WeakTarget {
  explicit Listener(int number) : id(number) {}
  int id;
};
}  // namespace

class TestBasics : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void versionsCompareByNumber() {
    const MacOSVersion missing;
    QVERIFY(missing.is_10_9_orHigher() && missing.is_10_11_orHigher());
    QVERIFY(missing.isMacOSHasVersion(QStringLiteral("10.9"), true, false));
    const MacOSVersion old(QStringLiteral("10.8.5"));
    QVERIFY(!old.is_10_9_orHigher());
    QVERIFY(old.isMacOSHasVersion(QStringLiteral("10.9"), true, false));
    QVERIFY(old.isMacOSHasVersion(QStringLiteral("99"), true, true));
    QVERIFY(!old.isMacOSHasVersion(QStringLiteral("10.8"), false, false));
    const MacOSVersion yosemite(QStringLiteral("10.10"));
    QVERIFY(yosemite.is_10_9_orHigher() && yosemite.is_10_10_orHigher() && !yosemite.is_10_11_orHigher());
    QVERIFY(yosemite.isMacOSHasVersion(QStringLiteral("10.10"), false, false));
  }

  void hexColoursTakeThreeFourSixOrEightDigits() {
    QCOMPARE(Color::fromHex(QStringLiteral("#0a5")), (Color{0, 0xaa, 0x55, 255}));
    QCOMPARE(Color::fromHex(QStringLiteral("#0A58")), (Color{0, 0xaa, 0x55, 0x88}));
    QCOMPARE(Color::fromHex(QStringLiteral("#535353")), (Color{0x53, 0x53, 0x53, 255}));
    QCOMPARE(Color::fromHex(QStringLiteral("#01020304")), (Color{1, 2, 3, 4}));
    for (const char* bad : {"", "#", "535353", "#12", "#12345", "#1234567", "#gg0000", "#+1-2 3", "#123456789"}) {
      QVERIFY2(!Color::fromHex(QString::fromLatin1(bad)), bad);
    }
  }

  void notificationsReachLivingObserversInOrder() {
    NotificationCenter centre;
    QStringList heard;
    QObject first;
    auto second = std::make_unique<QObject>();
    centre.addObserver(QStringLiteral("A"), &first, [&](const QVariant& object) {
      heard << QStringLiteral("first ") + object.toString();
      second.reset();
    });
    centre.addObserver(QStringLiteral("A"), second.get(), [&](const QVariant&) { heard << QStringLiteral("second"); });
    centre.post(QStringLiteral("B"));
    centre.post(QStringLiteral("A"), QStringLiteral("x"));
    QCOMPARE(heard, QStringList{QStringLiteral("first x")});
  }

  void weakListenersAreCalledNewestFirstAndPruned() {
    WeakDelegates<Listener> listeners;
    Listener one(1);
    auto two = std::make_unique<Listener>(2);
    Listener three(3);
    listeners.add(one);
    listeners.add(*two);
    listeners.add(three);
    listeners.add(one);
    two.reset();
    QCOMPARE(listeners.count(), 4u);
    std::vector<int> order;
    listeners.invoke([&](Listener& listener) {
      order.push_back(listener.id);
      if (listener.id == 3) listeners.add(three);
    });
    QCOMPARE(order, (std::vector{1, 3, 1}));
    QCOMPARE(listeners.count(), 4u);
    listeners.remove(one);
    QCOMPARE(listeners.count(), 2u);
  }

  void scheduledCallRunsOnceAndCanBeCancelled() {
    FakeClock clock;
    ScheduledCall call(clock);
    int runs = 0;
    call.start(1s, [&] { ++runs; });
    clock.advance(999ms);
    QCOMPARE(runs, 0);
    call.start(1s, [&] { runs += 10; });
    clock.advance(1ms);
    QCOMPARE(runs, 0);
    clock.advance(999ms);
    QCOMPARE(runs, 10);
    QVERIFY(!call.isPending());
    call.start(1s, [&] { ++runs; });
    call.cancel();
    clock.advance(10s);
    QCOMPARE(runs, 10);
  }

  void jobsDeliverOnTheOwnersThreadInOrder() {
    JobQueue queue(QStringLiteral("test"));
    QObject owner;
    std::vector<int> results;
    for (int number = 0; number < 5; ++number) {
      queue.run(
          &owner, [number](std::stop_token) { return number; },
          [&](int result) {
            QCOMPARE(QThread::currentThread(), owner.thread());
            results.push_back(result);
          });
    }
    QTRY_COMPARE(results, (std::vector{0, 1, 2, 3, 4}));
  }

  void jobResultsWithoutReceiverAreDropped() {
    auto queue = std::make_unique<JobQueue>(QStringLiteral("test"));
    auto owner = std::make_unique<QObject>();
    QObject other;
    QSemaphore started, go;
    bool delivered = false;
    bool sawStop = false;
    const auto work = [&](std::stop_token token) {
      started.release();
      go.acquire();
      sawStop = token.stop_requested();
    };
    Job job = queue->run(owner.get(), work, [&] { delivered = true; });
    started.acquire();
    owner.reset();
    QVERIFY(!job.isPending());
    LatestJob latest;
    latest.replace(queue->run(
        &other, [](std::stop_token) { return 1; }, [&](int) { delivered = true; }));
    int newest = 0;
    latest.replace(queue->run(
        &other, [](std::stop_token) { return 2; }, [&](int result) { newest = result; }));
    go.release();
    QTRY_COMPARE(newest, 2);
    QVERIFY(sawStop);
    QVERIFY(!delivered);
  }

  void queueDestroyedWhileWorkRunsStopsAndWaits() {
    QObject owner;
    bool finished = false;
    {
      JobQueue queue(QStringLiteral("test"));
      QSemaphore started;
      queue.run(
          &owner,
          [&](std::stop_token token) {
            started.release();
            while (!token.stop_requested())
              std::this_thread::yield();
            finished = true;
          },
          [] { QFAIL("delivered after the queue was gone"); });
      started.acquire();
    }
    QVERIFY(finished);
    QCoreApplication::processEvents();
  }
};

QTEST_GUILESS_MAIN(TestBasics)
#include "test_basics.moc"
