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

  void helpersAreFolded_data() {
    QTest::addColumn<QString>("processes");  // "[app|own] PID PARENT NAME SIZE [GROUP]", in the order of the table
    QTest::addColumn<QString>("list");
    const auto row = [](const char* name, const char* processes, const char* list) {
      QTest::newRow(name) << text(processes) << text(list);
    };
    row("into the nearest of several ancestors", "32 31 helper 1|app 31 30 Editor 10|app 30 1 Terminal 10",
        "Editor 11|Terminal 10");
    for (const int generations : {10, 11}) {
      QString chain = text("app 100 1 App 1000");
      for (int pid = 101; pid < 100 + generations; ++pid)
        chain += QStringLiteral("|%1 %2 middle 0").arg(pid).arg(pid - 1);
      chain += QStringLiteral("|%1 %2 helper 1").arg(100 + generations).arg(99 + generations);
      QTest::addRow("over %d generations", generations) << chain << text(generations == 10 ? "App 1001" : "App 1000");
    }
    row("by group", "app 10 1 A 10|app 20 1 B 5|30 1 orphan 1 20|31 1 stranger 1 99", "A 10|B 6");
    row("by name into each of that name",
        "app 10 1 Safari 100|app 11 1 Safari 50|app 12 1 safari 20|20 1 Safari_Web_Content 1|"
        "21 1 safari_web_content 1|22 1 Mail_Web_Content 1",
        "Safari 101|Safari 51|safari 20");
    row("no further than to an ancestor",
        "app 10 1 Safari 100|app 12 1 Else 20|app 11 1 Safari 50|20 12 Safari_Web_Content 1",
        "Safari 101|Safari 50|Else 21");
    row("unless they are this program, which is no reading either",
        "app 10 1 Terminal 10|own 11 10 Own 1000|12 10 unreadable ?", "Terminal 20");
    row("with the last size that could be read", "app 10 1 First ?|app 11 1 Second 40|app 12 1 Third ?|13 12 helper ?",
        "Third 80|Second 40|First 0");
  }
  void helpersAreFolded() {
    QFETCH(QString, processes);
    World world;
    for (const QString& line : processes.split(QLatin1Char('|'))) {
      QStringList words = line.split(QLatin1Char(' '));
      const QString kind = words[0][0].isDigit() ? QString() : words.takeFirst();
      const std::int32_t pid = words[0].toInt();
      const QString name = QString(words[2]).replace(QLatin1Char('_'), QLatin1Char(' '));
      const auto size = words[3] == text("?") ? std::nullopt : std::optional<ByteCount>(words[3].toULongLong());
      if (kind == text("own")) world.applications.current = pid;
      if (words.size() > 4) world.applications.setGroup(pid, words[4].toInt());
      world.table.add(pid, words[1].toInt(), name, size);
      if (!kind.isEmpty()) world.applications.add(pid, name);
    }
    QTEST(world.summary().join(QLatin1Char('|')), "list");
    QTEST(world.summary().join(QLatin1Char('|')), "list");
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

  void policiesPlaceApplications_data() {
    QTest::addColumn<int>("policy");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("icon");
    QTest::addColumn<QString>("expected");  // listed, folded into its parent, or dropped
    const int regular = 0, accessory = 1, prohibited = 2;
    const QString listed = text("listed"), folded = text("folded"), dropped = text("dropped");
    QTest::newRow("regular") << regular << text("X") << QString() << false << listed;
    QTest::newRow("prohibited") << prohibited << text("X") << text("/opt/x") << true << folded;
    QTest::newRow("accessory") << accessory << text("X") << text("/opt/x") << true << listed;
    QTest::newRow("accessory at the root") << accessory << text("X") << text("/") << true << dropped;
    QTest::newRow("accessory, no icon") << accessory << text("X") << text("/opt/x") << false << dropped;
    QTest::newRow("accessory, no location") << accessory << text("X") << QString() << true << dropped;
    QTest::newRow("accessory below System") << accessory << text("X") << text("/System/x") << true << dropped;
    QTest::newRow("Google") << accessory << text("Google Updater") << text("/opt/x") << true << folded;
    QTest::newRow("google") << accessory << text("google") << text("/opt/x") << true << listed;
    QTest::newRow("Safari") << accessory << text("SafariX") << text("/opt/x") << true << folded;
    QTest::newRow("Dropbox") << accessory << text("Dropbox Finder Integration") << text("/opt/x") << true << folded;
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
