// Which way is taken when, and what a step of each does. The unified hierarchy is a made-up folder.
#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

#include "candidates.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_purgeable_memory.h"
#include "platform/linux/reclaim/control_group_strategy.h"
#include "platform/linux/reclaim/fill_strategy.h"
#include "platform/linux/reclaim/page_out_strategy.h"
#include "platform/linux/reclaim/reclaim_pace.h"
#include "platform/linux/reclaim/strategic_purgeable_memory.h"
#include "platform/linux/reclaim/victim_queue.h"
#include "support/scripted_readings.h"

using namespace halvard;
using namespace std::chrono_literals;
using test::application;
using test::ScriptedReadings;

namespace {

constexpr ByteCount kMiB = 1 << 20;

struct ScriptedVictims : VictimSource {
  Reading reading;
  std::optional<std::int32_t> focused;
  Reading read() override { return reading; }
  std::optional<std::int32_t> focusedProcess() override { return focused; }
};

/// So many buffers of 10 MiB, as a purge begins them.
void takeSteps(PurgeableSession& session, int count) {
  for (int index = 0; index < count; ++index)
    session.makeData(10 * kMiB)->beginContentAccess();
}

struct ClosedStrategy : ReclaimStrategy {
  Result<std::unique_ptr<PurgeableSession>> open() override { return Error{QStringLiteral("not here")}; }
  Result<ReclaimForecast> forecast() override { return Error{QStringLiteral("not here")}; }
};

}  // namespace

class TestReclaimStrategies : public QObject {
  Q_OBJECT

 private:
  FakeClock m_clock;
  ScriptedReadings m_readings;
  ScriptedVictims m_victims;
  std::unique_ptr<QTemporaryDir> m_root;
  const ReclaimCandidate m_one = application(10, "one", "/app.slice/one.scope");

  QString place(const char* path) const { return m_root->filePath(QString::fromLatin1(path)); }
  void write(const char* path, const QByteArray& text) {
    QDir().mkpath(QFileInfo(place(path)).path());
    QFile file(place(path));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(text);
  }
  QByteArray asked() {
    QFile file(place("app.slice/one.scope/memory.reclaim"));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("none");
  }
  ControlGroupStrategy groups() { return {m_victims, m_readings, m_clock, m_root->path().toStdString()}; }
  /// A session that may ask one unit.
  std::unique_ptr<PurgeableSession> openOn(const ReclaimCandidate& unit) {
    m_victims.reading.candidates = {unit};
    return groups().open().value();
  }

 private Q_SLOTS:
  void init() {
    m_readings = ScriptedReadings();
    m_victims.reading = {};
    m_victims.focused.reset();
    m_root = std::make_unique<QTemporaryDir>();
    write("cgroup.controllers", "memory\n");
    write("app.slice/one.scope/memory.reclaim", "");
    write("app.slice/one.scope/memory.swap.current", "0\n");
  }

  void thePaceStopsForGood() {
    const std::pair<std::function<void(std::optional<GuardReadings>&)>, QString> cases[] = {
        {[](auto& now) { now->swapFree = now->swapTotal / 5; }, QStringLiteral("swap is four fifths full")},
        {[](auto& now) { now->somePressure->average10 = 4000; },
         QStringLiteral("other programs are waiting for memory")},
        {[](auto& now) { now.reset(); }, QStringLiteral("the machine does not say how much memory it has")}};
    for (const auto& [change, refusal] : cases) {
      m_readings = ScriptedReadings();
      ReclaimPace pace(m_readings, m_clock);
      QVERIFY(pace.mayStep() && pace.refusal().isEmpty());
      change(m_readings.readings);
      QVERIFY(!pace.mayStep());
      QCOMPARE(pace.refusal(), refusal);
      m_readings = ScriptedReadings();
      QVERIFY(!pace.mayStep());
      QCOMPARE(m_readings.calls, 0);
    }
  }

  void thePaceWaitsForOthersButNotForEver() {
    ReclaimPace pace(m_readings, m_clock);
    QVERIFY(pace.mayStep());
    m_readings.stallPerReading = 30ms;
    m_clock.onSleep = [&](std::chrono::milliseconds) {
      if (m_clock.sleeps().size() == 3) m_readings.stallPerReading = 0ms;
    };
    QVERIFY(pace.mayStep());
    QCOMPARE(m_clock.sleeps(), std::vector(3, 100ms));
    m_readings.stallPerReading = 30ms;
    QVERIFY(!pace.mayStep());
    QCOMPARE(m_clock.sleeps().size(), 3u + 10);
  }

  void aUnitIsAskedInStepsAndMoreThanItHoldsNever() {
    m_victims.reading.candidates = {m_one, application(11, "without", "/app.slice/without.scope"),
                                    application(12, "outside", "/../outside.scope")};
    auto strategy = groups();
    const auto forecast = strategy.forecast();
    QVERIFY(forecast && forecast.value().method == ReclaimMethod::ControlGroups);
    QCOMPARE(forecast.value().pageOutBytes, 25 * kMiB);
    auto session = strategy.open().value();
    takeSteps(*session, 1);
    QVERIFY(asked().startsWith("10485760 swappiness=200"));
    const int calls = m_readings.calls;
    takeSteps(*session, 10);
    QVERIFY(asked().startsWith("5242880 "));
    // Two more steps and the question that ends them; what is left to do is nothing, and costs nothing.
    QVERIFY(m_readings.calls - calls <= 3);
    QVERIFY(session->outcome().method == ReclaimMethod::ControlGroups);
    const auto last = session->makeData(kMiB);
    session.reset();
    last->beginContentAccess();
    // A large step is cut into 32 MiB at once.
    ReclaimCandidate large = m_one;
    large.anonymousBytes = 500 * kMiB;
    openOn(large)->makeData(40 * kMiB)->beginContentAccess();
    QVERIFY(asked().startsWith("8388608 "));
  }

  void whoComesToTheFrontMeanwhileIsSpared() {
    const auto session = openOn(m_one);
    takeSteps(*session, 1);
    m_victims.focused = 10;
    takeSteps(*session, 1);
    QVERIFY2(asked().startsWith("10485760 "), "it does not ask the screen at every step");
    write("app.slice/one.scope/memory.reclaim", "");
    m_clock.advance(VictimQueue::kLookInterval);
    takeSteps(*session, 10);
    QCOMPARE(asked(), QByteArray());
  }

  void whatCannotBeDoneIsSaidInOneLine() {
    auto strategy = groups();
    QVERIFY(strategy.open().error().message.startsWith(QStringLiteral("no idle application has a control group")));
    QFile::remove(place("cgroup.controllers"));
    QCOMPARE(strategy.open().error().message, QStringLiteral("control groups are not of version 2"));
    PageOutStrategy pageOut(m_victims, m_readings, m_clock, "/nonexistent/worker");
    QVERIFY(pageOut.open().error().message.contains(QStringLiteral("cap_sys_nice")));
    m_readings.readings->swapTotal = 0;
    QCOMPARE(strategy.open().error().message, QStringLiteral("there is no swap to page out to"));
    QCOMPARE(pageOut.forecast().error().message, QStringLiteral("there is no swap to page out to"));
  }

  void theFirstOpenWayIsTakenAndTheClosedOnesExplained() {
    ClosedStrategy closed;
    FakePurgeableMemory fill;
    FillStrategy last(fill, m_readings);
    StrategicPurgeableMemory memory({closed, last});
    auto session = memory.openSession();
    takeSteps(*session, 10);
    QCOMPARE(fill.sizes().size(), 10u);
    QCOMPARE(session->outcome().explanation, QStringLiteral("not here"));
    const ReclaimForecast forecast = memory.forecast();
    QVERIFY(forecast.method == ReclaimMethod::Fill && forecast.explanation.endsWith(QStringLiteral("; not here")));
    m_readings.readings->swapTotal = 0;
    QVERIFY(memory.forecast().method == ReclaimMethod::None);
    StrategicPurgeableMemory nothing({closed});
    auto dead = nothing.openSession();
    QVERIFY(!dead->isAlive());
    takeSteps(*dead, 1);
    QCOMPARE(dead->outcome().explanation, QStringLiteral("not here"));
  }
};

QTEST_GUILESS_MAIN(TestReclaimStrategies)
#include "test_reclaim_strategies.moc"
