#include <QtTest>

#include "platform/linux/reclaim/protected_programs.h"
#include "platform/linux/reclaim/reclaim_forecast.h"
#include "platform/linux/reclaim/victim_selection.h"
#include "platform/linux/reclaim/victim_source.h"

using namespace halvard;

namespace {

constexpr ByteCount kMiB = 1 << 20;

/// A process of the user with 100 MiB that does nothing.
ReclaimCandidate process(std::int32_t pid, const char* program, std::int32_t parent = 1) {
  ReclaimCandidate candidate;
  candidate.pid = pid;
  candidate.parentPid = parent;
  candidate.startTime = static_cast<std::uint64_t>(pid) * 10;
  candidate.program = QString::fromLatin1(program);
  candidate.isOwn = true;
  candidate.anonymousBytes = 100 * kMiB;
  return candidate;
}

ReclaimCandidate application(std::int32_t pid, const char* name, const char* unit = "") {
  ReclaimCandidate candidate = process(pid, name);
  candidate.application = pid;
  candidate.applicationName = QString::fromLatin1(name);
  candidate.isRegular = true;
  candidate.unit = unit;
  return candidate;
}

/// Belongs to the application with that pid.
ReclaimCandidate helper(std::int32_t pid, const ReclaimCandidate& owner, std::int32_t parent = 1) {
  ReclaimCandidate candidate = owner;
  candidate.pid = pid;
  candidate.parentPid = parent;
  candidate.program = QStringLiteral("helper");
  return candidate;
}

ReclaimPolicy policy(Focus focus = {}) {
  ReclaimPolicy result;
  result.self = 900;
  result.focus = focus;
  return result;
}

Focus on(std::int32_t pid) {
  return {Focus::Kind::Process, pid};
}

std::vector<std::int32_t> pids(const std::vector<Victim>& victims) {
  std::vector<std::int32_t> result;
  for (const Victim& victim : victims)
    result.push_back(victim.pid);
  return result;
}

using Pids = std::vector<std::int32_t>;

}  // namespace

class TestVictimSelection : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void backgroundApplicationsComeFirstAndTheColdestOfThem() {
    ReclaimCandidate warm = application(10, "mail");
    warm.recentUse = 0.019;
    ReclaimCandidate older = application(11, "office");
    older.lifetimeUse = 0.001;
    ReclaimCandidate younger = application(12, "music");
    younger.lifetimeUse = 0.01;
    ReclaimCandidate larger = application(13, "images");
    larger.lifetimeUse = 0.01;
    larger.anonymousBytes = 101 * kMiB;
    const ReclaimCandidate coldest = process(14, "indexer");
    QCOMPARE(pids(selectVictims({coldest, warm, younger, larger, older}, policy())), (Pids{11, 13, 12, 10, 14}));
    const auto victims = selectVictims({older}, policy());
    QCOMPARE(victims[0].startTime, 110u);
    QCOMPARE(victims[0].name, QStringLiteral("office"));
  }

  void whoIsLeftAlone_data() {
    QTest::addColumn<int>("change");
    QTest::addColumn<bool>("isTaken");
    QTest::newRow("an idle program") << 0 << true;
    QTest::newRow("another user's") << 1 << false;
    QTest::newRow("at work") << 2 << false;
    QTest::newRow("just below work") << 3 << true;
    QTest::newRow("holds little") << 4 << false;
    QTest::newRow("holds just enough") << 5 << true;
    QTest::newRow("compositor by name") << 6 << false;
    QTest::newRow("tray host by the desktop's word") << 7 << false;
    QTest::newRow("excluded by program") << 8 << false;
    QTest::newRow("excluded by application") << 9 << false;
    QTest::newRow("the first process") << 10 << false;
  }

  void whoIsLeftAlone() {
    QFETCH(int, change);
    ReclaimCandidate one = application(20, "viewer");
    ReclaimPolicy rules = policy();
    if (change == 1) one.isOwn = false;
    if (change == 2) one.recentUse = kBusyUse;
    if (change == 3) one.recentUse = kBusyUse - 0.001;
    if (change == 4) one.anonymousBytes = kLeastVictimBytes - 1;
    if (change == 5) one.anonymousBytes = kLeastVictimBytes;
    if (change == 6) one.program = QStringLiteral("kwin_wayland");
    if (change == 7) rules.servants = {20};
    if (change == 8) rules.exclusions = {QStringLiteral("VIEWER")};
    if (change == 9) one.program = QStringLiteral("viewer-bin");
    if (change == 9) rules.exclusions = {QStringLiteral("Viewer")};
    if (change == 10) one.pid = 1;
    QTEST(!selectVictims({one}, rules).empty(), "isTaken");
  }

  void theFocusedApplicationIsSparedWithAllThatBelongsToIt() {
    const ReclaimCandidate browser = application(30, "browser", "/app.slice/app-browser-1.scope");
    const ReclaimCandidate tab = helper(31, browser, 30);
    ReclaimCandidate orphan = process(32, "downloader");
    orphan.unit = browser.unit;
    const ReclaimCandidate terminal = application(40, "terminal");
    const ReclaimCandidate shell = process(41, "bash", 40);
    const ReclaimCandidate job = process(42, "editor", 41);
    const std::vector<ReclaimCandidate> all{browser, tab, orphan, terminal, shell, job};
    QCOMPARE(pids(selectVictims(all, policy(on(30)))), (Pids{40, 41, 42}));
    // A window of a helper is the whole application's.
    QCOMPARE(pids(selectVictims(all, policy(on(31)))), (Pids{40, 41, 42}));
    QCOMPARE(pids(selectVictims(all, policy(on(40)))), (Pids{30, 31, 32}));
    QCOMPARE(selectVictims(all, policy(on(999))).size(), all.size());
  }

  void whereTheFocusIsUnknownNoApplicationWithWindowsIsTouched() {
    const ReclaimCandidate browser = application(30, "browser");
    ReclaimCandidate daemon = application(31, "sync");
    daemon.isRegular = false;
    const std::vector<ReclaimCandidate> all{browser, daemon, process(32, "indexer")};
    QCOMPARE(pids(selectVictims(all, policy({Focus::Kind::Unknown, 0}))), (Pids{31, 32}));
    QCOMPARE(pids(selectVictims(all, policy())), (Pids{30, 31, 32}));
  }

  void thisProgramItsHelpersAndItsStartersAreSpared() {
    const std::vector<ReclaimCandidate> all{process(50, "xterm"), process(51, "bash", 50),
                                            process(900, "halvardctl", 51), process(901, "some-helper", 900),
                                            process(52, "other", 50)};
    QCOMPARE(pids(selectVictims(all, policy())), (Pids{52}));
  }

  void parentsThatFormARingEnd() {
    const std::vector<ReclaimCandidate> all{process(60, "one", 61), process(61, "two", 60)};
    QCOMPARE(selectVictims(all, policy(on(62))).size(), 2u);
  }

  void aUnitCountsOnlyAsAWhole() {
    const ReclaimCandidate mail = application(70, "mail", "/app.slice/app-mail-1.scope");
    ReclaimCandidate small = helper(71, mail);
    small.anonymousBytes = 1;
    const ReclaimCandidate music = application(72, "music", "/app.slice/app-music-1.scope");
    ReclaimCandidate player = helper(73, music);
    player.recentUse = 1;
    const auto units = selectUnits({mail, small, music, player, process(74, "no-unit")}, policy());
    QCOMPARE(pids(units), (Pids{70}));
    QCOMPARE(units[0].bytes, 100 * kMiB);
    QCOMPARE(selectUnits({mail, helper(75, mail)}, policy())[0].bytes, 200 * kMiB);
  }

  void namesOfProtectedPrograms() {
    for (const char* name :
         {"Xorg", "gnome-shell", "xfwm4", "pipewire-pulse", "ibus-daemon", "fcitx5", "plasmashell", "systemd",
          "systemd-logind", "dbus-daemon", "halvard", "halvard-purge-worker", "halvardctl"})
      QVERIFY2(isProtectedProgram(QString::fromLatin1(name)), name);
    for (const char* name : {"firefox", "Xeyes", "swaylock", "", "python3"})
      QVERIFY2(!isProtectedProgram(QString::fromLatin1(name)), name);
  }

  void aForecastEndsWhereSwapIsFull() {
    const std::vector<Victim> victims{{1, 1, QStringLiteral("a"), 100, {}},
                                      {2, 1, QStringLiteral("b"), 50, {}},
                                      {3, 1, QStringLiteral("a"), 100, {}}};
    ReclaimForecast all = forecastOf(ReclaimMethod::PageOut, victims, 1000, 0.25);
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
    for (const char* text : {"", "RssAnon:", "RssAnon:\t12", "RssAnon:\tx kB\n", "RssAnon:\t99999999999999999999 kB\n"})
      QCOMPARE(parseAnonymousResident(text), 0u);
  }
};

QTEST_APPLESS_MAIN(TestVictimSelection)
#include "test_victim_selection.moc"
