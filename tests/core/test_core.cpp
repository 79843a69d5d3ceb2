#include <QtTest>
#include <cmath>

#include "core/clock.h"
#include "core/color.h"
#include "core/jobs.h"
#include "core/macos_version.h"
#include "core/notification_center.h"
#include "core/size_format.h"
#include "core/weak_delegates.h"
#include "platform/fake/fake_clock.h"
#include "support/texts.h"

using namespace halvard;
using namespace halvard::size_format;
using namespace std::chrono_literals;

namespace {
constexpr std::int64_t kKiB = 1024;
constexpr std::int64_t kMiB = 1024 * kKiB;
constexpr std::int64_t kGiB = 1024 * kMiB;

struct Listener : WeakTarget {
  explicit Listener(int number) : id(number) {}
  int id;
};

auto giving(int number) {
  return [number](std::stop_token) { return number; };
}
}  // namespace

class TestCore : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void versionsCompareByNumber() {
    const MacOSVersion missing, old(text("10.8.5")), yosemite(text("10.10"));
    QVERIFY(missing.is_10_11_orHigher() && missing.isMacOSHasVersion(text("10.9"), true, false));
    QVERIFY(!old.is_10_9_orHigher() && old.isMacOSHasVersion(text("10.9"), true, false));
    QVERIFY(old.isMacOSHasVersion(text("99"), true, true));
    QVERIFY(!old.isMacOSHasVersion(text("10.8"), false, false));
    QVERIFY(yosemite.is_10_9_orHigher() && yosemite.is_10_10_orHigher() && !yosemite.is_10_11_orHigher());
    QVERIFY(yosemite.isMacOSHasVersion(text("10.10"), false, false));
  }

  void longDelaysEndOnWholeSecondsOrATwentiethNearer() {
    const auto delay = [](std::chrono::milliseconds wanted, std::chrono::milliseconds now) {
      return joinedDelay(wanted, std::chrono::steady_clock::time_point(now)).count();
    };
    QCOMPARE(delay(1s, 70'000ms), 1000);
    QCOMPARE(delay(1s, 70'050ms), 950);
    QCOMPARE(delay(1s, 70'051ms), 950);
    QCOMPARE(delay(1s, 69'951ms), 1049);
    QCOMPARE(delay(1s, 69'600ms), 1050);
    QCOMPARE(delay(5s, 70'250ms), 4750);
    QCOMPARE(delay(5s, 69'749ms), 5250);
  }

  void delayedCallsMayRepeatWaitAndEndTheirContext() {
    SystemClock clock;
    auto context = std::make_unique<QObject>();
    QStringList told;
    std::function<void()> again = [&] {
      told << text("again");
      if (told.size() < 3) clock.callAfter(1ms, context.get(), again);
    };
    clock.callAfter(1ms, context.get(), again);
    QTRY_COMPARE(told, texts({"again", "again", "again"}));
    QCOMPARE(context->children().size(), 0);

    clock.callAfter(1ms, context.get(), [&] {
      QEventLoop loop;
      clock.callAfter(1ms, context.get(), [&] { told << text("within"); });
      clock.callAfter(2ms, context.get(), [&] { loop.quit(); });
      loop.exec();
      context.reset();
      told << text("ended");
    });
    clock.callAfter(1s, context.get(), [&] { told << text("never"); });
    QTRY_COMPARE(told.mid(3), texts({"within", "ended"}));

    ScheduledCall call(clock);
    int times = 0;
    call.start(1ms, [&] {
      QVERIFY(!call.isPending());
      call.start(1ms, [&] { times += 100; });
      call.start(1ms, [&] {
        ++times;
        call.start(1ms, [&] { times += 10; });
      });
    });
    QTRY_COMPARE(times, 11);
    QVERIFY(!call.isPending());
    call.start(1ms, [&] { ++times; });
    call.cancel();
    QVERIFY(!call.isPending());
  }

  void hexColoursTakeThreeFourSixOrEightDigits() {
    QCOMPARE(Color::fromHex(text("#0a5")), (Color{0, 0xaa, 0x55, 255}));
    QCOMPARE(Color::fromHex(text("#0A58")), (Color{0, 0xaa, 0x55, 0x88}));
    QCOMPARE(Color::fromHex(text("#535353")), (Color{0x53, 0x53, 0x53, 255}));
    QCOMPARE(Color::fromHex(text("#01020304")), (Color{1, 2, 3, 4}));
    for (const char* bad : {"", "#", "535353", "#12", "#12345", "#1234567", "#gg0000", "#+1-2 3", "#123456789"})
      QVERIFY2(!Color::fromHex(text(bad)), bad);
  }

  void notificationsReachLivingObserversInOrder() {
    NotificationCenter centre;
    QStringList heard;
    QObject first;
    auto second = std::make_unique<QObject>();
    centre.addObserver(text("A"), &first, [&](const QVariant& object) {
      heard << object.toString();
      second.reset();
    });
    centre.addObserver(text("A"), second.get(), [&](const QVariant&) { heard << text("second"); });
    centre.post(text("B"));
    centre.post(text("A"), text("x"));
    QCOMPARE(heard, texts({"x"}));
  }

  void weakListenersAreCalledNewestFirstAndPruned() {
    WeakDelegates<Listener> listeners;
    Listener one(1), three(3);
    auto two = std::make_unique<Listener>(2);
    for (Listener* listener : {&one, two.get(), &three, &one})
      listeners.add(*listener);
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
    call.start(1s, [&] { runs += 10; });
    clock.advance(999ms);
    QCOMPARE(runs, 0);
    clock.advance(1ms);
    QCOMPARE(runs, 10);
    QVERIFY(!call.isPending());
    call.start(1s, [&] { ++runs; });
    call.cancel();
    clock.advance(10s);
    QCOMPARE(runs, 10);
  }

  void jobsDeliverOnTheOwnersThreadInOrder() {
    JobQueue queue(text("test"));
    QObject owner;
    std::vector<int> results;
    for (int number = 0; number < 5; ++number) {
      queue.run(&owner, giving(number), [&](int result) {
        QCOMPARE(QThread::currentThread(), owner.thread());
        results.push_back(result);
      });
    }
    QTRY_COMPARE(results, (std::vector{0, 1, 2, 3, 4}));
  }

  void jobResultsWithoutReceiverAreDropped() {
    JobQueue queue(text("test"));
    auto owner = std::make_unique<QObject>();
    QObject other;
    QSemaphore started, go;
    bool delivered = false, sawStop = false;
    const auto work = [&](std::stop_token token) {
      started.release();
      go.acquire();
      sawStop = token.stop_requested();
    };
    const Job job = queue.run(owner.get(), work, [&] { delivered = true; });
    started.acquire();
    owner.reset();
    QVERIFY(!job.isPending());
    LatestJob latest;
    latest.replace(queue.run(&other, giving(1), [&](int) { delivered = true; }));
    int newest = 0;
    latest.replace(queue.run(&other, giving(2), [&](int result) { newest = result; }));
    go.release();
    QTRY_COMPARE(newest, 2);
    QVERIFY(sawStop && !delivered);
  }

  void queueDestroyedWhileWorkRunsStopsAndWaits() {
    QObject owner;
    QSemaphore started;
    bool finished = false;
    const auto work = [&](std::stop_token token) {
      started.release();
      while (!token.stop_requested())
        std::this_thread::yield();
      finished = true;
    };
    {
      JobQueue queue(text("test"));
      queue.run(&owner, work, [] { QFAIL("delivered after the queue was gone"); });
      started.acquire();
    }
    QVERIFY(finished);
    QCoreApplication::processEvents();
  }

  void binaryFormatterSwitchesUnitAtAThousand() {
    QStringList written;
    const std::int64_t sizes[] = {
        -2048,      0,          999,         1000,        1023,        9 * kKiB,          10 * kKiB,
        100 * kKiB, 999 * kKiB, 1000 * kKiB, 1000 * kMiB, 1000 * kGiB, 5000 * 1024 * kGiB};
    for (const std::int64_t bytes : sizes)
      written << stringFromSize(bytes);
    QCOMPARE(written, texts({"-2048 bytes", "0 bytes", "999 bytes", "0.98 KB", "1.00 KB", "9.00 KB", "10.0 KB",
                             "100 KB", "999 KB", "0.98 MB", "0.98 GB", "0.98 TB", "5000 TB"}));
  }

  void decimalFormatters() {
    struct Row {
      ByteCount bytes;
      const char *dot0, *dot1, *digits3, *special, *onlyMB;
    };
    const Row rows[] = {
        {0, "Zero Bytes", "0 B", "0 B", "0 B", "0 B"},
        {999, "999 B", "999 B", "999 B", "999 B", "999 B"},
        {1000, "1 KB", "1 KB", "1 KB", "1 KB", "1000 B"},
        {1001, "1 KB", "1 KB", "1 KB", "1 KB", "1 KB"},
        {1'040, "1 KB", "1 KB", "1.04 KB", "1 KB", "1 KB"},
        {1'060, "1.1 KB", "1.1 KB", "1.06 KB", "1.1 KB", "1 KB"},
        {1'960, "2 KB", "2 KB", "1.96 KB", "2 KB", "2 KB"},
        {1'000'000, "1 MB", "1 MB", "1 MB", "1 MB", "1000 KB"},
        {1'500'000, "1.5 MB", "1.5 MB", "1.5 MB", "1.5 MB", "1.5 MB"},
        {15'500'000, "16 MB", "15.5 MB", "15.5 MB", "15 MB", "15.5 MB"},
        {123'400'000, "123 MB", "123.4 MB", "123 MB", "123 MB", "123.4 MB"},
        {1'000'000'000, "1 GB", "1 GB", "1 GB", "1 GB", "1000.0 MB"},
        {12'045'678'901, "12 GB", "12 GB", "12 GB", "12 GB", "12 045 MB"},
        {999'940'000'000'000'000, "1000 PB", "999.9 PB", "1000 PB", "999 PB", "999940000 000 MB"},
        {1'000'000'000'000'000'000, "1 PB", "1", "1", "1", "1000000000 000 MB"},
    };
    for (const auto& [bytes, dot0, dot1, digits3, special, onlyMB] : rows) {
      QCOMPARE(formatMemoryStringDot0(bytes), text(dot0));
      QCOMPARE(formatMemoryStringDot0NSnum(QVariant::fromValue(bytes)), text(dot0));
      QCOMPARE(formatMemoryStringDot1(bytes), text(dot1));
      QCOMPARE(formatMemoryStringDot1NSnum(QVariant::fromValue(bytes)), text(dot1));
      QCOMPARE(convertToStringFromFileSize(bytes), text(dot1));
      QCOMPARE(formatMemoryStringDot1With3DigitsExactly(bytes), text(digits3));
      QCOMPARE(convertToStringFromFileSizeSpecial(bytes), text(special));
      QCOMPARE(convertToStringFromFileSizeOnlyMB(bytes), text(onlyMB));
    }
  }
};

QTEST_GUILESS_MAIN(TestCore)
#include "test_core.moc"
