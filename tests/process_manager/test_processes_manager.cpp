#include <QtTest>
#include <cerrno>
#include <latch>

#include "core/notification_center.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_process_table.h"
#include "platform/fake/fake_running_applications.h"
#include "process_manager/process_tracker.h"
#include "process_manager/processes_manager.h"
#include "support/texts.h"

using namespace halvard;
using namespace std::chrono_literals;

namespace {

constexpr ByteCount kMegabyte = 1'048'576;

struct World {
  FakeProcessTable table;
  FakeRunningApplications applications;
  FakeClock clock;
  ProcessesManager manager{table, applications, clock};

  // "[KIND[:PATH]] PID PARENT NAME SIZE [GROUP]": an underscore in the name is a space, "?" a size that cannot be read.
  void add(const QString& line) {
    QStringList words = line.split(u' ');
    const QStringList kind = words[0][0].isDigit() ? QStringList() : words.takeFirst().split(u':');
    const std::int32_t pid = words[0].toInt();
    const QString name = words[2].replace(u'_', u' ');
    const auto size = words[3] == text("?") ? std::nullopt : std::optional<ByteCount>(words[3].toULongLong());
    table.add(pid, words[1].toInt(), name, size);
    if (words.size() > 4) applications.setGroup(pid, words[4].toInt());
    if (kind.isEmpty()) return;
    const auto app = applications.add(pid, name);
    if (kind[0] == text("own")) applications.current = pid;
    if (kind[0] == text("prohibited")) app->policy = ActivationPolicy::Prohibited;
    if (kind.size() < 2) return;
    app->policy = ActivationPolicy::Accessory;
    app->url = kind[1].isEmpty() ? std::nullopt : std::optional(QUrl::fromLocalFile(kind[1]));
    if (kind[0] == text("iconless")) app->iconName.reset();
  }
  std::shared_ptr<FakeRunningApplication> addApplication(std::int32_t pid, const QString& name, ByteCount size) {
    table.add(pid, 1, name, size);
    return applications.add(pid, name);
  }
  ApplicationEntries list() {
    QObject context;
    ApplicationList result;
    manager.getTopProcessCompletion(&context, [&](ApplicationList list) { result = std::move(list); });
    return QTest::qWaitFor([&] { return result != nullptr; }) ? *result : ApplicationEntries();
  }
  // "name size" of every entry, in order.
  QString summary() {
    QStringList lines;
    for (const ApplicationEntry& entry : list())
      lines << text("%1 %2").arg(entry.name.value_or(text("-"))).arg(entry.size.value());
    return lines.join(u'|');
  }
};

// A world whose large applications are watched.
struct TrackedWorld : World {
  struct Step {
    std::vector<std::int32_t> quits;
    std::chrono::milliseconds time;
    int posts;
  };
  NotificationCenter notifications;
  ProcessTracker tracker{manager, notifications, clock};
  std::map<std::int32_t, std::shared_ptr<FakeRunningApplication>> apps;
  QObject observer;
  int posts = 0;

  explicit TrackedWorld(std::initializer_list<std::pair<std::int32_t, ByteCount>> sizes = {}) {
    notifications.addObserver(text("HugeProcessTerminated"), &observer, [this](const QVariant& object) {
      QVERIFY(!object.isValid());
      ++posts;
    });
    for (const auto& [pid, size] : sizes)
      apps[pid] = addApplication(pid, QString::number(pid), size);
    tracker.startTrackingHugeProcesses();
  }
  // Each time: these applications quit, so much time passes, its readings arrive, and there are so many posts.
  void play(std::initializer_list<Step> steps) {
    for (const Step& step : steps) {
      for (const std::int32_t pid : step.quits) {
        apps[pid]->terminated = true;
        table.remove(pid);
        applications.remove(pid);
      }
      clock.advance(step.time);
      list();
      QCOMPARE(posts, step.posts);
    }
  }
};

// A helper that many generations below its application.
QByteArray helperBelow(int generations) {
  QByteArray chain = "app 100 1 App 1000";
  for (int pid = 101; pid < 100 + generations; ++pid)
    chain += "|" + QByteArray::number(pid) + " " + QByteArray::number(pid - 1) + " middle 0";
  return chain + "|999 " + QByteArray::number(99 + generations) + " helper 1";
}

}  // namespace

class TestProcessesManager : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void applicationsAreListedLargestFirstWithTheirHelpers() {
    World world;
    for (const char* line : {"1 0 init 1000", "app 10 1 Small 5", "app 20 1 Large 50", "21 20 child 7",
                             "22 21 grandchild 3", "30 1 daemon 500"})
      world.add(text(line));
    const ApplicationEntries entries = world.list();
    QCOMPARE(world.summary(), text("Large 60|Small 5"));
    QCOMPARE(entries[0].pid, 20);
    QCOMPARE(entries[0].helpers, (std::vector<std::int32_t>{21, 22}));
    QCOMPARE(entries[0].icon, text("large"));
    QCOMPARE(entries[0].url, QUrl::fromLocalFile(text("/usr/share/applications/large.desktop")));
    QVERIFY(entries[1].helpers.empty());
  }

  void processesAreListedFoldedOrDropped() {
    const std::pair<QByteArray, const char*> tables[] = {
        // Into the nearest of several ancestors, as far as ten generations up.
        {"32 31 helper 1|app 31 30 Editor 10|app 30 1 Terminal 10", "Editor 11|Terminal 10"},
        {helperBelow(10), "App 1001"},
        {helperBelow(11), "App 1000"},
        // A process may seem its own parent.
        {"11 11 own 1|app 10 1 A 10", "A 10"},
        // By group.
        {"app 10 1 A 10|app 20 1 B 5|30 1 orphan 1 20|31 1 stranger 1 99", "A 10|B 6"},
        // By name into each of that name, no further than to an ancestor.
        {"app 10 1 Safari 100|app 11 1 Safari 50|app 12 1 safari 20|20 1 Safari_Web_Content 1|"
         "21 1 safari_web_content 1|22 1 Mail_Web_Content 1",
         "Safari 101|Safari 51|safari 20"},
        {"app 10 1 Safari 100|app 12 1 Else 20|app 11 1 Safari 50|20 12 Safari_Web_Content 1",
         "Safari 101|Safari 50|Else 21"},
        // Not this program, which is no reading either.
        {"app 10 1 Terminal 10|own 11 10 Own 1000|12 10 unreadable ?", "Terminal 20"},
        // With the last size that could be read.
        {"app 10 1 First ?|app 11 1 Second 40|app 12 1 Third ?|13 12 helper ?", "Third 80|Second 40|First 0"},
        // By activation policy, location and maker.
        {"app 10 1 P 9|prohibited 11 10 X 1", "P 10"},
        {"app 10 1 P 9|accessory:/opt/x 11 10 X 1", "P 9|X 1"},
        {"app 10 1 P 9|accessory:/ 11 10 X 1", "P 9"},
        {"app 10 1 P 9|accessory: 11 10 X 1", "P 9"},
        {"app 10 1 P 9|iconless:/opt/x 11 10 X 1", "P 9"},
        {"app 10 1 P 9|accessory:/System/x 11 10 X 1", "P 9"},
        {"app 10 1 P 9|accessory:/opt/x 11 10 Google_Updater 1", "P 10"},
        {"app 10 1 P 9|accessory:/opt/x 11 10 google 1", "P 9|google 1"},
        {"app 10 1 P 9|accessory:/opt/x 11 10 SafariX 1", "P 10"},
        {"app 10 1 P 9|accessory:/opt/x 11 10 Dropbox_Finder_Integration 1", "P 10"},
    };
    for (const auto& [processes, list] : tables) {
      World world;
      for (const QByteArray& line : processes.split('|'))
        world.add(text(line));
      QCOMPARE(world.summary(), text(list));
      QCOMPARE(world.summary(), text(list));
    }
  }

  void parentsAreRememberedButNotForAReusedPid() {
    FakeProcessTable table;
    table.add(10, 1, text("app"), 1);
    table.add(11, 10, text("launcher"), 1);
    table.add(12, 11, text("helper"), 1);
    Ancestry ancestry(table);
    const auto pass = [&] { ancestry.update(*table.read().processes); };
    pass();
    QVERIFY(ancestry.isProcess(12, 10));
    // The launcher ends, the helper gets another parent: it stays the application's.
    table.remove(11);
    table.process(12).parentPid = 1;
    pass();
    QVERIFY(ancestry.isProcess(12, 10));
    // The launcher's pid names another process now: it is nobody's parent of old.
    table.add(11, 10, text("other"), 1);
    pass();
    QVERIFY(!ancestry.isProcess(12, 11) && ancestry.isProcess(12, 1));
    QVERIFY(ancestry.isProcess(11, 10));
    // The helper's own pid is reused.
    table.remove(12);
    table.add(12, 11, text("again"), 1);
    pass();
    QVERIFY(ancestry.isProcess(12, 11));
    table.process(12).parentPid = 1;
    QVERIFY(ancestry.isProcess(12, 11));
    ancestry.clear();
    QVERIFY(!ancestry.isProcess(12, 11));
  }

  void unreadableTableGivesNoListAGrowingOneIsReadAgain() {
    World world;
    world.addApplication(10, text("App"), 1);
    for (const auto& [errors, isRead] :
         {std::pair(std::deque{EACCES}, false), {{ENOMEM, ENOMEM}, true}, {{ENOMEM, EIO}, false}}) {
      world.table.queueErrors(errors);
      QCOMPARE(!world.list().empty(), isRead);
    }
    QCOMPARE(world.table.readings(), 1 + 3 + 2);
  }

  void namesAreRememberedForAnHourAndNotForAReusedPid() {
    World world;
    const auto app = world.addApplication(10, text("Old"), 1);
    QCOMPARE(world.summary(), text("Old 1"));
    app->name = text("New");
    world.table.process(10).residentBytes = 2;
    QCOMPARE(world.summary(), text("Old 2"));
    QCOMPARE(app->nameQuestions.load(), 1);
    for (const char* name : {"New", "Newer"}) {
      app->name = text(name);
      world.clock.advance(3599s);
      QVERIFY(!world.summary().startsWith(text(name)));
      world.clock.advance(1s);
      QTRY_COMPARE(world.summary(), text(name) + text(" 2"));
      QTRY_COMPARE(world.clock.pendingCalls(), 1u);
    }
    world.applications.add(10, text("Other"));
    QCOMPARE(world.summary(), text("Other 2"));
    world.applications.remove(10);
    QCOMPARE(world.summary(), QString());
  }

  void resultsArriveOnTheMainThreadAndOnlyForTheLiving() {
    auto world = std::make_unique<World>();
    for (std::int32_t pid = 11; pid <= 16; ++pid)
      world->addApplication(pid, text("App"), 1);
    QList<std::size_t> arrived;
    const auto ask = [&](QObject* context) {
      const auto keep = [&](const ApplicationList& list) {
        QCOMPARE(QThread::currentThread(), QCoreApplication::instance()->thread());
        arrived << list->size();
      };
      world->manager.getTopProcessCompletion(context, keep);
      world->manager.getTopFiveProcessCompletion(context, keep);
    };
    auto gone = std::make_unique<QObject>();
    ask(gone.get());
    gone.reset();
    QObject staying;
    ask(&staying);
    QVERIFY(arrived.isEmpty());
    QTRY_COMPARE(arrived, (QList<std::size_t>{6, 5}));
    ask(&staying);
    world.reset();
    QCoreApplication::processEvents();
    QCOMPARE(arrived.size(), 2);
  }

  void firstStepComesAfterOneInterval() {
    TrackedWorld world;
    world.tracker.startTrackingHugeProcesses();
    world.clock.advance(4999ms);
    QCOMPARE(world.table.readings(), 0);
    world.play({{{}, 1ms, 0}});
    QCOMPARE(world.table.readings(), 2);  // the tracker's and that of play()
    world.play({{{}, 5s, 0}});
    QCOMPARE(world.table.readings(), 4);
    world.tracker.stopTrackingHugeProcesses();
    QVERIFY(!world.tracker.isTracking());
    world.play({{{}, 5s, 0}});
    QCOMPARE(world.table.readings(), 5);
  }

  void quitsAreAnnouncedBySize() {
    // Just up to and above 50 MB, just below and from 250 MB on.
    const std::tuple<ByteCount, int, int> sizes[] = {
        {52'428'800, 0, 0}, {52'428'801, 0, 1}, {262'143'999, 0, 1}, {262'144'000, 1, 1}};
    for (const auto& [size, atOnce, later] : sizes) {
      TrackedWorld world({{10, size}, {11, 400 * kMegabyte}});
      world.play({{{}, 5s, 0}, {{10}, 5s, atOnce}, {{}, 59'999ms, atOnce}, {{}, 1ms, later}, {{}, 300s, later}});
    }
  }

  void oneAnnouncementStandsForAllQuitsOfTheDelayWhichAreNotAddedUp() {
    constexpr ByteCount small = 100 * kMegabyte;
    TrackedWorld world({{10, 2 * small}, {14, 2 * small}, {11, small}, {12, 3 * small}, {13, small}});
    // The delay begins with the first two and is over 60 s later; a large one comes in place of the delayed one.
    world.play({{{}, 5s, 0}, {{10, 14}, 5s, 0}, {{11}, 50s, 0}, {{}, 10s, 1}});
    world.play({{{}, 5s, 1}, {{13}, 5s, 1}, {{12}, 5s, 2}, {{}, 300s, 2}});
  }

  void aQuitIsSeenOnceThoughTheNextListIsLate() {
    TrackedWorld world({{10, 300 * kMegabyte}});
    world.play({{{}, 5s, 0}});
    std::latch goesOn{1};
    world.manager.queue().run(
        &world.observer, [&goesOn](std::stop_token) { goesOn.wait(); }, [] {});
    world.apps[10]->terminated = true;
    world.clock.advance(15s);
    goesOn.count_down();
    QCOMPARE(world.posts, 1);
  }

  void stoppingKeepsThePendingAnnouncementAndTheLastList() {
    TrackedWorld world({{10, 100 * kMegabyte}, {11, 300 * kMegabyte}});
    world.play({{{}, 5s, 0}, {{10}, 5s, 0}});
    world.tracker.stopTrackingHugeProcesses();
    world.play({{{}, 60s, 1}, {{11}, 300s, 1}});
    world.tracker.startTrackingHugeProcesses();
    world.play({{{}, 5s, 2}});
  }
};

QTEST_GUILESS_MAIN(TestProcessesManager)
#include "test_processes_manager.moc"
