#include <QThread>
#include <QtTest>
#include <cerrno>

#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_process_table.h"
#include "platform/fake/fake_running_applications.h"
#include "process_manager/processes_manager.h"

using namespace halvard;
using namespace std::chrono_literals;

namespace {
QString text(const char* latin1) {
  return QString::fromLatin1(latin1);
}
}  // namespace

class TestProcessesManager : public QObject {
  Q_OBJECT

  struct World {
    FakeProcessTable table;
    FakeRunningApplications applications;
    FakeClock clock;
    ProcessesManager manager{table, applications, clock};

    std::shared_ptr<FakeRunningApplication> addApplication(std::int32_t pid, std::int32_t parent, const QString& name,
                                                           std::optional<ByteCount> size) {
      table.add(pid, parent, name, size);
      return applications.add(pid, name);
    }
    ApplicationEntries list(bool five = false) {
      QObject context;
      ApplicationList result;
      const auto keep = [&](ApplicationList list) { result = std::move(list); };
      five ? manager.getTopFiveProcessCompletion(&context, keep) : manager.getTopProcessCompletion(&context, keep);
      return QTest::qWaitFor([&] { return result != nullptr; }) ? *result : ApplicationEntries();
    }
    // "name size" of every entry, in order.
    QStringList summary() {
      QStringList lines;
      for (const ApplicationEntry& entry : list())
        lines << QStringLiteral("%1 %2").arg(entry.name.value_or(text("-"))).arg(entry.size.value());
      return lines;
    }
  };

 private Q_SLOTS:
  void applicationsAreListedLargestFirstWithTheirHelpers() {
    World world;
    world.table.add(1, 0, text("init"), 1000);
    world.addApplication(10, 1, text("Small"), 5);
    world.addApplication(20, 1, text("Large"), 50);
    world.table.add(21, 20, text("child"), 7);
    world.table.add(22, 21, text("grandchild"), 3);
    world.table.add(30, 1, text("daemon"), 500);
    const ApplicationEntries entries = world.list();
    QCOMPARE(entries.size(), 2u);
    QCOMPARE(entries[0].pid, 20);
    QCOMPARE(entries[0].size, 60u);
    QCOMPARE(entries[0].helpers, (std::vector<std::int32_t>{21, 22}));
    QCOMPARE(entries[0].icon, text("large"));
    QCOMPARE(entries[0].url, QUrl::fromLocalFile(text("/usr/share/applications/large.desktop")));
    QCOMPARE(entries[1].size, 5u);
    QVERIFY(entries[1].helpers.empty());
  }

  void nearestOfSeveralListedAncestorsTakesTheHelper() {
    World world;  // newest first, as the table promises
    world.table.add(32, 31, text("helper"), 1);
    world.addApplication(31, 30, text("Editor"), 10);
    world.addApplication(30, 1, text("Terminal"), 10);
    QCOMPARE(world.summary(), (QStringList{text("Editor 11"), text("Terminal 10")}));
  }

  void ancestryReachesTenParentsFar_data() {
    QTest::addColumn<int>("generations");
    QTest::addColumn<bool>("folded");
    QTest::newRow("1") << 1 << true;
    QTest::newRow("10") << 10 << true;
    QTest::newRow("11") << 11 << false;
  }
  void ancestryReachesTenParentsFar() {
    QFETCH(int, generations);
    QFETCH(bool, folded);
    World world;
    world.addApplication(100, 1, text("App"), 1000);
    for (int pid = 101; pid < 100 + generations; ++pid)
      world.table.add(pid, pid - 1, text("middle"), 0);
    world.table.add(100 + generations, 99 + generations, text("helper"), 1);
    QCOMPARE(world.list()[0].size, folded ? 1001u : 1000u);
  }

  void ancestryEndsAtZeroAndAtUnknownParents() {
    FakeProcessTable table;
    table.add(5, 4, text("child"), 1);
    table.add(6, 0, text("rootless"), 1);
    table.add(7, 7, text("own parent"), 1);
    Ancestry ancestry(table);
    QVERIFY(ancestry.isProcess(5, 4));
    QCOMPARE(ancestry.ancestors(5), (std::vector<std::int32_t>{4, -1}));
    QCOMPARE(ancestry.ancestors(6), (std::vector<std::int32_t>{0}));
    QVERIFY(ancestry.ancestors(0).empty() && ancestry.ancestors(-1).empty());
    QCOMPARE(ancestry.ancestors(7).size(), Ancestry::kSteps);
    QVERIFY(!ancestry.isProcess(6, 6));
    QCOMPARE(ancestry.cachedGetParentIDFrom(4), Ancestry::kNoParent);
    QCOMPARE(table.parentQuestions(4), 1);
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

  void groupsCountAsAncestry() {
    World world;
    world.addApplication(10, 1, text("A"), 10);
    world.addApplication(20, 1, text("B"), 5);
    world.table.add(30, 1, text("orphan"), 1);
    world.table.add(31, 1, text("stranger"), 1);
    world.applications.setGroup(30, 20);
    world.applications.setGroup(31, 99);
    QCOMPARE(world.summary(), (QStringList{text("A 10"), text("B 6")}));
  }

  void helpersByNameCountForEveryApplicationOfThatName() {
    World world;
    world.addApplication(10, 1, text("Safari"), 100);
    world.addApplication(11, 1, text("Safari"), 50);
    world.addApplication(12, 1, text("safari"), 20);
    world.table.add(20, 1, text("Safari Web Content"), 1);
    world.table.add(21, 1, text("safari web content"), 1);
    world.table.add(22, 1, text("Mail Web Content"), 1);
    QCOMPARE(world.summary(), (QStringList{text("Safari 101"), text("Safari 51"), text("safari 20")}));
    // An ancestor ends the search, also after a match by name.
    World other;
    other.addApplication(10, 1, text("Safari"), 100);
    other.addApplication(12, 1, text("Else"), 20);
    other.addApplication(11, 1, text("Safari"), 50);
    other.table.add(20, 12, text("Safari Web Content"), 1);
    QCOMPARE(other.summary(), (QStringList{text("Safari 101"), text("Safari 50"), text("Else 21")}));
  }

  void policiesPlaceApplications_data() {
    QTest::addColumn<int>("policy");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("icon");
    QTest::addColumn<QString>("expected");  // listed, folded into its parent, or dropped
    const int regular = 0, accessory = 1, prohibited = 2;
    const QString listed = text("listed"), folded = text("folded"), dropped = text("dropped");
    QTest::newRow("regular") << regular << text("X") << QString() << false << listed;
    QTest::newRow("regular below System") << regular << text("X") << text("/System/x") << true << listed;
    QTest::newRow("prohibited") << prohibited << text("X") << text("/opt/x") << true << folded;
    QTest::newRow("accessory") << accessory << text("X") << text("/opt/x") << true << listed;
    QTest::newRow("accessory, two components") << accessory << text("X") << text("/opt") << true << listed;
    QTest::newRow("accessory at the root") << accessory << text("X") << text("/") << true << dropped;
    QTest::newRow("accessory, no icon") << accessory << text("X") << text("/opt/x") << false << dropped;
    QTest::newRow("accessory, no location") << accessory << text("X") << QString() << true << dropped;
    QTest::newRow("accessory below System") << accessory << text("X") << text("/System/x") << true << dropped;
    QTest::newRow("accessory below Systems") << accessory << text("X") << text("/Systems/x") << true << listed;
    QTest::newRow("accessory, System deeper") << accessory << text("X") << text("/opt/System/x") << true << listed;
    QTest::newRow("Google") << accessory << text("Google Updater") << text("/opt/x") << true << folded;
    QTest::newRow("Googled") << accessory << text("Googled") << text("/opt/x") << false << folded;
    QTest::newRow("google") << accessory << text("google") << text("/opt/x") << true << listed;
    QTest::newRow("Safari") << accessory << text("SafariX") << text("/opt/x") << true << folded;
    QTest::newRow("Dropbox") << accessory << text("Dropbox Finder Integration") << text("/opt/x") << true << folded;
    QTest::newRow("Dropbox 2") << accessory << text("Dropbox Finder Integration 2") << text("/opt/x") << true << listed;
  }
  void policiesPlaceApplications() {
    QFETCH(int, policy);
    QFETCH(QString, name);
    QFETCH(QString, path);
    QFETCH(bool, icon);
    QFETCH(QString, expected);
    World world;
    world.addApplication(10, 1, text("Parent"), 100);
    const auto app = world.addApplication(11, 10, name, 1);
    app->policy = static_cast<ActivationPolicy>(policy);
    app->url = path.isEmpty() ? std::nullopt : std::optional(QUrl::fromLocalFile(path));
    app->iconName = icon ? std::optional(text("x")) : std::nullopt;
    QStringList lines{expected == text("folded") ? text("Parent 101") : text("Parent 100")};
    if (expected == text("listed")) lines << name + text(" 1");
    QCOMPARE(world.summary(), lines);
  }

  void ownProcessIsNeitherListedNorFolded() {
    World world;
    world.applications.current = 11;
    world.addApplication(10, 1, text("Terminal"), 10);
    world.addApplication(11, 10, text("Own"), 1000);
    world.table.add(12, 10, text("unreadable"), std::nullopt);
    // A failed reading repeats the last one of the pass; the program's own was none.
    QCOMPARE(world.summary(), QStringList{text("Terminal 20")});
  }

  void failedReadingsRepeatTheLastSizeOfThePass() {
    World world;
    world.addApplication(10, 1, text("First"), std::nullopt);
    world.addApplication(11, 1, text("Second"), 40);
    world.addApplication(12, 1, text("Third"), std::nullopt);
    world.table.add(13, 12, text("helper"), std::nullopt);
    QCOMPARE(world.summary(), (QStringList{text("Third 80"), text("Second 40"), text("First 0")}));
    QCOMPARE(world.summary(), (QStringList{text("Third 80"), text("Second 40"), text("First 0")}));
  }

  void unreadableTableGivesNoListAGrowingOneIsReadAgain() {
    World world;
    world.addApplication(10, 1, text("App"), 1);
    world.table.queueErrors({EACCES});
    QVERIFY(world.list().empty());
    QCOMPARE(world.table.readings(), 1);
    world.table.queueErrors({ENOMEM, ENOMEM});
    QCOMPARE(world.list().size(), 1u);
    QCOMPARE(world.table.readings(), 4);
    world.table.queueErrors({ENOMEM, EIO});
    QVERIFY(world.list().empty());
  }

  void namesAreRememberedForAnHour() {
    World world;
    const auto app = world.addApplication(10, 1, text("Old"), 1);
    QCOMPARE(world.summary(), QStringList{text("Old 1")});
    app->name = text("New");
    world.table.process(10).residentBytes = 2;
    QCOMPARE(world.summary(), QStringList{text("Old 2")});
    QCOMPARE(app->nameQuestions.load(), 1);
    for (const char* name : {"New", "Newer"}) {
      app->name = text(name);
      world.clock.advance(3599s);
      QVERIFY(!world.summary().first().startsWith(text(name)));
      world.clock.advance(1s);
      QTRY_COMPARE(world.summary().first(), text(name) + text(" 2"));
      QTRY_COMPARE(world.clock.pendingCalls(), 1u);
    }
  }

  void reusedPidIsAnotherApplication() {
    World world;
    world.addApplication(10, 1, text("Old"), 1);
    QCOMPARE(world.summary(), QStringList{text("Old 1")});
    world.applications.add(10, text("New"));
    QCOMPARE(world.summary(), QStringList{text("New 1")});
    world.applications.remove(10);
    QVERIFY(world.summary().isEmpty());
  }

  void topFiveKeepsTheFirstFive() {
    World world;
    for (std::int32_t count = 1; count <= 7; ++count) {
      world.addApplication(count + 1, 1, QString::number(count), static_cast<ByteCount>(count));
      const ApplicationEntries five = world.list(true);
      QCOMPARE(five.size(), std::min<std::size_t>(5, static_cast<std::size_t>(count)));
      QCOMPARE(five.front().size, static_cast<ByteCount>(count));
    }
  }

  void listsBuiltEarlierStayAsTheyWere() {
    World world;
    const auto app = world.addApplication(10, 1, text("App"), 1);
    const ApplicationEntries before = world.list();
    world.table.process(10).residentBytes = 2;
    QCOMPARE(world.list()[0].size, 2u);
    QCOMPARE(before[0].size, 1u);
    QVERIFY(before[0].app == app && !before[0].app->isTerminated());
    app->terminated = true;
    QVERIFY(before[0].app->isTerminated());
  }

  void resultsArriveOnTheMainThreadAndOnlyForTheLiving() {
    World world;
    world.addApplication(10, 1, text("App"), 1);
    int arrived = 0;
    auto gone = std::make_unique<QObject>();
    QObject staying;
    const auto count = [&](const ApplicationList&) {
      QCOMPARE(QThread::currentThread(), QCoreApplication::instance()->thread());
      ++arrived;
    };
    world.manager.getTopProcessCompletion(gone.get(), count);
    world.manager.getTopFiveProcessCompletion(gone.get(), count);
    gone.reset();
    world.manager.getTopProcessCompletion(&staying, count);
    world.manager.getTopFiveProcessCompletion(&staying, count);
    QCOMPARE(arrived, 0);
    QTRY_COMPARE(arrived, 2);
    {
      World shortLived;
      shortLived.manager.getTopProcessCompletion(&staying, count);
    }
    QCoreApplication::processEvents();
    QCOMPARE(arrived, 2);
  }
};

QTEST_GUILESS_MAIN(TestProcessesManager)
#include "test_processes_manager.moc"
