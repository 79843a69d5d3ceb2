// Whose memory is given up, which way is taken when, and what a step of each does. The unified hierarchy is a made-up
// folder.
#include <QtTest>
#include <functional>

#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_purgeable_memory.h"
#include "platform/linux/reclaim/control_group_strategy.h"
#include "platform/linux/reclaim/fill_strategy.h"
#include "platform/linux/reclaim/page_out_strategy.h"
#include "platform/linux/reclaim/reclaim_forecast.h"
#include "platform/linux/reclaim/reclaim_pace.h"
#include "platform/linux/reclaim/strategic_purgeable_memory.h"
#include "platform/linux/reclaim/victim_queue.h"
#include "platform/linux/reclaim/victim_source.h"
#include "support/scripted_readings.h"
#include "support/test_folder.h"
#include "support/texts.h"

using namespace halvard;
using namespace std::chrono_literals;
using test::ScriptedReadings;

namespace {

constexpr ByteCount kMiB = 1 << 20;

/// A process of the user with 25 MiB that does nothing.
ReclaimCandidate process(std::int32_t pid, const char* program, std::int32_t parent = 1) {
  ReclaimCandidate candidate;
  candidate.pid = pid;
  candidate.parentPid = parent;
  candidate.startTime = static_cast<std::uint64_t>(pid) * 10;
  candidate.program = QString::fromLatin1(program);
  candidate.isOwn = true;
  candidate.anonymousBytes = 25 * kMiB;
  return candidate;
}

/// An application with windows, and the only process of it.
ReclaimCandidate application(std::int32_t pid, const char* name, const char* unit = "") {
  ReclaimCandidate candidate = process(pid, name);
  candidate.application = pid;
  candidate.applicationName = candidate.program;
  candidate.isRegular = true;
  candidate.unit = unit;
  return candidate;
}

/// Belongs to the application with that pid.
ReclaimCandidate helper(std::int32_t pid, const ReclaimCandidate& owner, std::int32_t parent = 1) {
  ReclaimCandidate candidate = owner;
  candidate.pid = pid;
  candidate.parentPid = parent;
  candidate.program = text("helper");
  return candidate;
}

/// Of this program, with the focus on a process; 0: on nobody's.
ReclaimPolicy policy(std::int32_t focused = 0) {
  ReclaimPolicy result;
  result.self = 900;
  result.focus = {focused > 0 ? Focus::Kind::Process : Focus::Kind::Nobody, focused};
  return result;
}

using Pids = std::vector<std::int32_t>;

Pids pids(const std::vector<Victim>& victims) {
  Pids result;
  for (const Victim& victim : victims)
    result.push_back(victim.pid);
  return result;
}

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
  Result<std::unique_ptr<PurgeableSession>> open() override { return Error{text("not here")}; }
  Result<ReclaimForecast> forecast() override { return Error{text("not here")}; }
};

}  // namespace

class TestReclaim : public QObject {
  Q_OBJECT

 private:
  FakeClock m_clock;
  ScriptedReadings m_readings;
  ScriptedVictims m_victims;
  std::unique_ptr<TestFolder> m_root;
  const ReclaimCandidate m_one = application(10, "one", "/app.slice/one.scope");

  QByteArray asked() { return m_root->read("app.slice/one.scope/memory.reclaim"); }
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
    m_root = std::make_unique<TestFolder>();
    m_root->write("cgroup.controllers", "memory\n");
    m_root->write("app.slice/one.scope/memory.reclaim", "");
    m_root->write("app.slice/one.scope/memory.swap.current", "0\n");
  }

  void thePaceStopsForGood() {
    const std::pair<std::function<void(std::optional<GuardReadings>&)>, QString> cases[] = {
        {[](auto& now) { now->swapFree = now->swapTotal / 5; }, text("swap is four fifths full")},
        {[](auto& now) { now->somePressure->average10 = 4000; }, text("other programs are waiting for memory")},
        {[](auto& now) { now.reset(); }, text("the machine does not say how much memory it has")}};
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
                                    application(12, "outside", "/app.slice/../app.slice/one.scope")};
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
    // Nothing has gone to swap for it.
    QVERIFY(session->outcome().method == ReclaimMethod::None && !session->outcome().explanation.isEmpty());
    const auto last = session->makeData(kMiB);
    session.reset();
    last->beginContentAccess();
    // A large step is cut into 32 MiB at once.
    ReclaimCandidate large = m_one;
    large.anonymousBytes = 500 * kMiB;
    openOn(large)->makeData(40 * kMiB)->beginContentAccess();
    QVERIFY(asked().startsWith("8388608 "));
    // As if all that is asked for went to swap.
    const QString inSwap = m_root->path("app.slice/one.scope/memory.swap.current");
    QVERIFY(QFile::remove(inSwap) && QFile::link(text("memory.reclaim"), inSwap));
    m_root->write("app.slice/one.scope/memory.reclaim", "");
    const auto fruitful = openOn(m_one);
    takeSteps(*fruitful, 1);
    QVERIFY(fruitful->outcome().method == ReclaimMethod::ControlGroups);
    QCOMPARE(fruitful->outcome().pagedOutBytes, 10 * kMiB);
  }

  void whoComesToTheFrontMeanwhileIsSpared() {
    const auto session = openOn(m_one);
    takeSteps(*session, 1);
    m_victims.focused = 10;
    m_root->write("app.slice/one.scope/memory.reclaim", "");
    takeSteps(*session, 1);
    QVERIFY2(asked().startsWith("10485760 "), "it does not ask the screen at every step");
    m_root->write("app.slice/one.scope/memory.reclaim", "");
    m_clock.advance(VictimQueue::kLookInterval);
    takeSteps(*session, 10);
    QCOMPARE(asked(), QByteArray());
  }

  void whatCannotBeDoneIsSaidInOneLine() {
    auto strategy = groups();
    QVERIFY(strategy.open().error().message.startsWith(text("no idle application has a control group")));
    QFile::remove(m_root->path("cgroup.controllers"));
    QCOMPARE(strategy.open().error().message, text("control groups are not of version 2"));
    PageOutStrategy pageOut(m_victims, m_readings, m_clock, "/nonexistent/worker");
    QVERIFY(pageOut.open().error().message.contains(text("cap_sys_nice")));
    m_readings.readings->swapTotal = 0;
    QCOMPARE(strategy.open().error().message, text("there is no swap to page out to"));
    QCOMPARE(pageOut.forecast().error().message, text("there is no swap to page out to"));
  }

  void theFirstOpenWayIsTakenAndTheClosedOnesExplained() {
    ClosedStrategy closed;
    FakePurgeableMemory fill;
    FillStrategy last(fill, m_readings);
    StrategicPurgeableMemory memory({closed, last});
    auto session = memory.openSession();
    takeSteps(*session, 10);
    QCOMPARE(fill.sizes().size(), 10u);
    QCOMPARE(session->outcome().explanation, text("not here"));
    const ReclaimForecast forecast = memory.forecast();
    QVERIFY(forecast.method == ReclaimMethod::Fill && forecast.explanation.endsWith(text("; not here")));
    m_readings.readings->swapTotal = 0;
    QVERIFY(memory.forecast().method == ReclaimMethod::None);
    StrategicPurgeableMemory nothing({closed});
    auto dead = nothing.openSession();
    QVERIFY(!dead->isAlive());
    takeSteps(*dead, 1);
    QCOMPARE(dead->outcome().explanation, text("not here"));
  }

  void backgroundApplicationsComeFirstAndTheColdestOfThem() {
    std::vector<ReclaimCandidate> all{process(14, "indexer"), application(10, "mail"), application(12, "music"),
                                      application(13, "images"), application(11, "office")};
    all[1].recentUse = 0.019;
    all[2].lifetimeUse = all[3].lifetimeUse = 0.01;
    ++all[3].anonymousBytes;
    all[4].lifetimeUse = 0.001;
    const auto victims = selectVictims(all, policy());
    QCOMPARE(pids(victims), (Pids{11, 13, 12, 10, 14}));
    QCOMPARE(victims[0].startTime, 110u);
    QCOMPARE(victims[0].name, text("office"));
  }

  void whoIsLeftAlone() {
    using Change = std::function<void(ReclaimCandidate&, ReclaimPolicy&)>;
    const struct {
      const char* name;
      bool isTaken;
      Change change;
    } cases[] = {
        {"another user's", false, [](auto& one, auto&) { one.isOwn = false; }},
        {"at work", false, [](auto& one, auto&) { one.recentUse = kBusyUse; }},
        {"just below work", true, [](auto& one, auto&) { one.recentUse = kBusyUse - 0.001; }},
        {"holds little", false, [](auto& one, auto&) { one.anonymousBytes = kLeastVictimBytes - 1; }},
        {"holds just enough", true, [](auto& one, auto&) { one.anonymousBytes = kLeastVictimBytes; }},
        {"compositor by name", false, [](auto& one, auto&) { one.program = text("sway"); }},
        {"named almost like one", true, [](auto& one, auto&) { one.program = text("swaylock"); }},
        {"of a family by name", false, [](auto& one, auto&) { one.program = text("ibus-daemon"); }},
        {"tray host by the desktop's word", false, [](auto&, auto& rules) { rules.servants = {20}; }},
        {"excluded by program", false, [](auto&, auto& rules) { rules.exclusions = {text("VIEWER-BIN")}; }},
        {"excluded by application", false, [](auto&, auto& rules) { rules.exclusions = {text("Viewer")}; }},
        {"the first process", false, [](auto& one, auto&) { one.pid = 1; }},
    };
    for (const auto& [name, isTaken, change] : cases) {
      ReclaimCandidate one = application(20, "viewer-bin");
      one.applicationName = text("viewer");
      ReclaimPolicy rules = policy();
      change(one, rules);
      QVERIFY2(!selectVictims({one}, rules).empty() == isTaken, name);
    }
  }

  void theFocusedApplicationIsSparedWithAllThatBelongsToIt() {
    const ReclaimCandidate browser = application(30, "browser", "/app.slice/app-browser-1.scope");
    ReclaimCandidate orphan = process(32, "downloader");
    orphan.unit = browser.unit;
    ReclaimCandidate sync = application(43, "sync");
    sync.isRegular = false;
    const std::vector<ReclaimCandidate> all{browser,
                                            helper(31, browser, 30),
                                            orphan,
                                            application(40, "terminal"),
                                            process(41, "bash", 40),
                                            process(42, "editor", 41),
                                            sync};
    QCOMPARE(pids(selectVictims(all, policy(30))), (Pids{40, 43, 41, 42}));
    // A window of a helper is the whole application's.
    QCOMPARE(pids(selectVictims(all, policy(31))), (Pids{40, 43, 41, 42}));
    QCOMPARE(pids(selectVictims(all, policy(40))), (Pids{30, 31, 43, 32}));
    QCOMPARE(selectVictims(all, policy(999)).size(), all.size());
    // Where it is unknown no application with windows is touched.
    ReclaimPolicy unknown = policy();
    unknown.focus.kind = Focus::Kind::Unknown;
    QCOMPARE(pids(selectVictims(all, unknown)), (Pids{43, 32, 41, 42}));
  }

  void thisProgramItsHelpersAndItsStartersAreSpared() {
    const std::vector<ReclaimCandidate> all{process(50, "xterm"), process(51, "bash", 50),
                                            process(900, "halvardctl", 51), process(901, "some-helper", 900),
                                            process(52, "other", 50)};
    QCOMPARE(pids(selectVictims(all, policy())), (Pids{52}));
    // Parents that form a ring end.
    QCOMPARE(selectVictims({process(60, "one", 61), process(61, "two", 60)}, policy(62)).size(), 2u);
  }

  void aUnitCountsOnlyAsAWhole() {
    const ReclaimCandidate mail = application(70, "mail", "/app.slice/app-mail-1.scope");
    ReclaimCandidate small = helper(71, mail);
    small.anonymousBytes = 1;
    const ReclaimCandidate music = application(72, "music", "/app.slice/app-music-1.scope");
    ReclaimCandidate player = helper(73, music);
    player.recentUse = 1;
    const auto units = selectUnits({mail, small, helper(75, mail), music, player, process(74, "no-unit")}, policy());
    QCOMPARE(pids(units), (Pids{70}));
    QCOMPARE(units[0].bytes, 50 * kMiB);
  }

  void aForecastEndsWhereSwapIsFull() {
    const QString name = text("a");
    const std::vector<Victim> victims{{1, 1, name, 100, {}}, {2, 1, text("b"), 50, {}}, {3, 1, name, 100, {}}};
    const ReclaimForecast all = forecastOf(ReclaimMethod::PageOut, victims, 1000, 0.25);
    QCOMPARE(all.pageOutBytes, 250u);
    QCOMPARE(all.gainBytes, 187u);
    QCOMPARE(all.sources.size(), 2u);
    QCOMPARE(all.sources[0].processes, 2);
    QCOMPARE(forecastOf(ReclaimMethod::PageOut, victims, 120, 0).pageOutBytes, 120u);
    QVERIFY(forecastOf(ReclaimMethod::PageOut, victims, 0, 0).method == ReclaimMethod::None);
    GuardReadings swap;
    swap.swapTotal = 1000;
    swap.swapFree = 900;
    QCOMPARE(roomInSwap(swap), 700u);
    swap.swapFree = 100;
    QCOMPARE(roomInSwap(swap), 0u);
  }

  void anonymousMemoryIsReadFromTheStatus() {
    QCOMPARE(parseAnonymousResident("Name:\tx\nRssAnon:\t     120 kB\nRssFile:\t 4 kB\n"), 120u * 1024);
    for (const char* text : {"", "RssAnon:", "RssAnon:\tx kB\n", "RssAnon:\t99999999999999999999 kB\n"})
      QCOMPARE(parseAnonymousResident(text), 0u);
  }
};

QTEST_GUILESS_MAIN(TestReclaim)
#include "test_reclaim.moc"
