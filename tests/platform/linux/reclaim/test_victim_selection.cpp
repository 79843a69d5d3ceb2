#include <QtTest>
#include <functional>

#include "candidates.h"
#include "platform/linux/reclaim/protected_programs.h"
#include "platform/linux/reclaim/reclaim_forecast.h"
#include "platform/linux/reclaim/victim_source.h"

using namespace halvard;
using test::application;
using test::process;

namespace {

/// Belongs to the application with that pid.
ReclaimCandidate helper(std::int32_t pid, const ReclaimCandidate& owner, std::int32_t parent = 1) {
  ReclaimCandidate candidate = owner;
  candidate.pid = pid;
  candidate.parentPid = parent;
  candidate.program = QStringLiteral("helper");
  return candidate;
}

ReclaimPolicy policy(Focus::Kind kind = Focus::Kind::Nobody, std::int32_t focused = 0) {
  ReclaimPolicy result;
  result.self = 900;
  result.focus = {kind, focused};
  return result;
}

ReclaimPolicy focusOn(std::int32_t pid) {
  return policy(Focus::Kind::Process, pid);
}

using Pids = std::vector<std::int32_t>;

Pids pids(const std::vector<Victim>& victims) {
  Pids result;
  for (const Victim& victim : victims)
    result.push_back(victim.pid);
  return result;
}

}  // namespace

class TestVictimSelection : public QObject {
  Q_OBJECT

 private Q_SLOTS:
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
    QCOMPARE(victims[0].name, QStringLiteral("office"));
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
        {"compositor by name", false, [](auto& one, auto&) { one.program = QStringLiteral("kwin_wayland"); }},
        {"tray host by the desktop's word", false, [](auto&, auto& rules) { rules.servants = {20}; }},
        {"excluded by program", false, [](auto&, auto& rules) { rules.exclusions = {QStringLiteral("VIEWER")}; }},
        {"excluded by application", false,
         [](auto& one, auto& rules) {
           one.program = QStringLiteral("viewer-bin");
           rules.exclusions = {QStringLiteral("Viewer")};
         }},
        {"the first process", false, [](auto& one, auto&) { one.pid = 1; }},
    };
    for (const auto& [name, isTaken, change] : cases) {
      ReclaimCandidate one = application(20, "viewer");
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
    QCOMPARE(pids(selectVictims(all, focusOn(30))), (Pids{40, 43, 41, 42}));
    // A window of a helper is the whole application's.
    QCOMPARE(pids(selectVictims(all, focusOn(31))), (Pids{40, 43, 41, 42}));
    QCOMPARE(pids(selectVictims(all, focusOn(40))), (Pids{30, 31, 43, 32}));
    QCOMPARE(selectVictims(all, focusOn(999)).size(), all.size());
    // Where it is unknown no application with windows is touched.
    QCOMPARE(pids(selectVictims(all, policy(Focus::Kind::Unknown))), (Pids{43, 32, 41, 42}));
  }

  void thisProgramItsHelpersAndItsStartersAreSpared() {
    const std::vector<ReclaimCandidate> all{process(50, "xterm"), process(51, "bash", 50),
                                            process(900, "halvardctl", 51), process(901, "some-helper", 900),
                                            process(52, "other", 50)};
    QCOMPARE(pids(selectVictims(all, policy())), (Pids{52}));
    // Parents that form a ring end.
    QCOMPARE(selectVictims({process(60, "one", 61), process(61, "two", 60)}, focusOn(62)).size(), 2u);
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
    QCOMPARE(units[0].bytes, ByteCount{50} << 20);
  }

  void namesOfProtectedPrograms() {
    for (const char* name : {"Xorg", "pipewire-pulse", "ibus-daemon", "systemd-logind", "halvardctl"})
      QVERIFY2(isProtectedProgram(QString::fromLatin1(name)), name);
    for (const char* name : {"firefox", "Xeyes", "swaylock", ""})
      QVERIFY2(!isProtectedProgram(QString::fromLatin1(name)), name);
  }

  void aForecastEndsWhereSwapIsFull() {
    const QString name = QStringLiteral("a");
    const std::vector<Victim> victims{
        {1, 1, name, 100, {}}, {2, 1, QStringLiteral("b"), 50, {}}, {3, 1, name, 100, {}}};
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

QTEST_APPLESS_MAIN(TestVictimSelection)
#include "test_victim_selection.moc"
