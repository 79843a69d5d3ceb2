#include <QtTest>

#include "files_searcher/disk_tree.h"
#include "files_searcher/searcher_manager.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_defaults_store.h"
#include "platform/fake/fake_disk.h"
#include "platform/linux/files/linux_folder_reader.h"
#include "preferences/stored_keys.h"

using namespace halvard;
using namespace std::chrono_literals;

namespace {

constexpr ByteCount kMebibyte = 1024 * 1024;

struct Figures : SearcherManagerDelegate {
  void onSpotlightManagerFoundJunkFilesInfo(const JunkFilesViewInfo& info) override {
    junk = info;
    order << 0;
  }
  void onSpotlightManagerFoundApplicationsInfo(const ApplicationsUnusedViewInfo& info) override {
    applications = info;
    order << 1;
  }
  void onSpotlightManagerFoundLargetAndOldFilesInfo(const LargeAndOldFilesViewInfo& info) override {
    large = info;
    order << 2;
  }
  void onSpotlightManagerFoundDuplicatesInfo(const DuplicateFilesViewInfo& info) override {
    duplicates = info;
    order << 3;
  }
  JunkFilesViewInfo junk;
  ApplicationsUnusedViewInfo applications;
  LargeAndOldFilesViewInfo large;
  DuplicateFilesViewInfo duplicates;
  QList<int> order;
};

struct Disk {
  Disk() {
    for (const char* folder : {".cache", "Downloads", ".local", ".local/share", ".local/share/Trash", "opt", "Library"})
      tree.addFolder(folder);
  }
  /// Lets the junk searcher start, and everything come to rest that needs no answer.
  void startJunk() {
    for (const auto step : {0ms, 200ms, 200ms, 200ms})
      clock.advance(step);
  }
  DiskTree tree;
  FakeClock clock;
  FakeDefaultsStore store;
  LinuxFolderReader reader;
  FakeApplicationCatalog catalog;
  FakeLastUsedDates dates;
  FakeBackgroundPriority priority;
  FakeStandardFolders folders{tree.path()};
  PathsGenerator paths{folders};
  BundleExcludeList excludeList;
  FakeFileMetadataQueries queries;
  DiskSearchServices services{clock, reader, catalog, dates, priority, paths, excludeList, queries};
  std::optional<Figures> figures{std::in_place};
  std::unique_ptr<SearcherManager> manager;

  SearcherManager& start() {
    manager = std::make_unique<SearcherManager>(services, store);
    manager->startSearchWithDelegate(*figures, false);
    return *manager;
  }
  // The order in which the manager asks.
  enum : std::size_t { Applications, Large, Duplicates, SecondPass };
};

}  // namespace

class TestSearchers : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void fourFiguresAndTheirTotal() {
    Disk disk;
    disk.tree.addFile("Downloads/film", 50000);
    disk.tree.addFile("Downloads/.DS_Store", 5000);
    disk.tree.addFile(".cache/page", 9000);
    SearcherManager& manager = disk.start();
    QCOMPARE(disk.queries.asked.size(), 3u);
    QVERIFY(disk.queries.asked[Disk::Applications].predicate.applications);
    QCOMPARE(disk.queries.asked[Disk::Large].scopes, std::vector<QByteArray>{"/"});
    QCOMPARE(disk.queries.asked[Disk::Large].predicate.largerThan, ByteCount(20000000));
    disk.queries.answer(Disk::Applications, {{"/u/Draw.app", 3000}, {"/u/Write.app", 4000}});
    disk.queries.answer(Disk::Large, {{"/f", 25000000}});
    disk.queries.answer(Disk::Duplicates, {{"/a.txt", 80 * kMebibyte}, {"/b.txt", 80 * kMebibyte}, {"/c", 5}});
    QTRY_COMPARE(disk.figures->order.size(), 3);
    QCOMPARE(manager.getTotalCalculatedSize(), ByteCount(0));
    disk.startJunk();
    QTRY_COMPARE(disk.figures->order.size(), 4);
    QCOMPARE(disk.figures->applications, (ApplicationsUnusedViewInfo{7000, 2}));
    QCOMPARE(disk.figures->large, (LargeAndOldFilesViewInfo{25000000, 1}));
    QCOMPARE(disk.figures->duplicates, (DuplicateFilesViewInfo{160 * kMebibyte, 2}));
    QCOMPARE(disk.queries.asked.size(), 3u);
    const auto blocks = [&](const char* path) { return disk.reader.attributes(disk.tree.at(path))->allocatedSize; };
    QCOMPARE(disk.figures->junk, (JunkFilesViewInfo{blocks(".cache/page"), blocks("Downloads/film"), 0}));
    QCOMPARE(manager.getTotalCalculatedSize(), disk.figures->junk.total() + 7000 + 25000000 + 160 * kMebibyte);
  }

  void freshResultsAreToldAgainAndRunningSearchesLeftAlone() {
    Disk disk;
    SearcherManager& manager = disk.start();
    disk.startJunk();
    QTRY_COMPARE(disk.figures->order, QList<int>{0});
    manager.startSearchForced(false);
    QCOMPARE(disk.queries.asked.size(), 3u);
    QCOMPARE(disk.figures->order, (QList<int>{0, 0}));
    disk.queries.answer(Disk::Large, {});
    disk.queries.answer(Disk::Applications, {});
    QTRY_COMPARE(disk.figures->order.size(), 4);
    disk.queries.answer(Disk::Duplicates, {});
    QTRY_COMPARE(disk.queries.asked.size(), 4u);
    disk.queries.answer(Disk::SecondPass, {});
    QTRY_COMPARE(disk.figures->order.size(), 5);
    disk.figures->order.clear();
    manager.startSearchForced(false);
    QCOMPARE(disk.figures->order, (QList<int>{0, 1, 2, 3}));
    QCOMPARE(disk.queries.asked.size(), 4u);

    disk.clock.advance(86400s - 1s);
    QCOMPARE(disk.queries.asked.size(), 4u);
    disk.clock.advance(2s);
    QCOMPARE(disk.queries.asked.size(), 7u);
    QCOMPARE(manager.getTotalCalculatedSize(), ByteCount(0));
  }

  void rescanTimeCanBeStored() {
    Disk disk;
    disk.store.setObject(stored_keys::testRescanDiskJunkTime, StoredValue{std::int64_t{60}});
    disk.start();
    disk.clock.advance(60s);
    QCOMPARE(disk.queries.asked.size(), 6u);
    QVERIFY(!disk.queries.isRunning(Disk::Large));
    disk.store.setObject(stored_keys::testRescanDiskJunkTime, StoredValue{QStringLiteral("60")});
    Disk other;
    other.start();
    other.clock.advance(60s);
    QCOMPARE(other.queries.asked.size(), 3u);
  }

  void smallDuplicatesAreSoughtOnlyWhenLargeOnesAreFew() {
    Disk disk;
    disk.tree.addFile(".hidden", 1);
    disk.start();
    const auto& scopes = disk.queries.asked[Disk::Duplicates].scopes;
    const auto has = [&](const char* name) {
      return std::find(scopes.begin(), scopes.end(), disk.tree.at(name)) != scopes.end();
    };
    QVERIFY(has(".hidden") && has(".cache") && has("Downloads") && !has("Library"));
    QCOMPARE(disk.queries.asked[Disk::Duplicates].predicate.largerThan, ByteCount(1048576));
    QVERIFY(!disk.queries.asked[Disk::Duplicates].predicate.smallerThan);
    disk.queries.answer(Disk::Duplicates, {{"/a.x", 2 * kMebibyte}, {"/b.x", 2 * kMebibyte}});
    QTRY_COMPARE(disk.queries.asked.size(), 4u);
    QCOMPARE(disk.queries.asked[Disk::SecondPass].predicate.largerThan, ByteCount(50000));
    QCOMPARE(disk.queries.asked[Disk::SecondPass].predicate.smallerThan, ByteCount(1048576));
    disk.queries.answer(Disk::SecondPass, {{"/c.x", 60000}, {"/d.x", 60000}, {"/e.y", 60000}});
    QTRY_COMPARE(disk.figures->duplicates, (DuplicateFilesViewInfo{4 * kMebibyte + 120000, 4}));
    QCOMPARE(disk.queries.asked.size(), 4u);
  }

  void onlyFilesUnusedForMoreThanNinetyDaysAreOld() {
    Disk disk;
    const auto day = 24h;
    disk.dates.dates = {{"/91", disk.clock.now() - 91 * day},
                        {"/90", disk.clock.now() - 90 * day},
                        {"/89", disk.clock.now() - 89 * day},
                        {"/none", std::nullopt}};
    const QByteArray sparse = disk.tree.addFile("sparse", 1 << 30, false);
    disk.start();
    disk.queries.answer(Disk::Large, {{"/91", 25000000},
                                      {"/90", 25000000},
                                      {"/89", 25000000},
                                      {"/none", 25000000},
                                      {"/91", std::nullopt},
                                      {sparse, 1 << 30}});
    QTRY_COMPARE(disk.figures->large, (LargeAndOldFilesViewInfo{25000000, 1}));
  }

  void applicationsFollowTheirRules() {
    Disk disk;
    const auto bundle = [&](const char* name) {
      const QByteArray path = disk.tree.addFolder(name);
      disk.tree.addFile(QByteArray(name) + "/AppRun", 10000);
      return path;
    };
    const QByteArray small = bundle("opt/Small.app");
    const QByteArray system = bundle("opt/System.app");
    const QByteArray unknown = bundle("opt/Unknown.app");
    disk.catalog.identifiers = {{system, QStringLiteral("com.apple.safari")}, {"/u/NoId.app", std::nullopt}};
    disk.start();
    const ByteCount block = disk.reader.attributes(small + "/AppRun")->allocatedSize;
    QTest::ignoreMessage(QtWarningMsg, "Returned size is impossibly small.");
    QTest::ignoreMessage(QtWarningMsg, "Returned size is impossibly small.");
    disk.queries.answer(Disk::Applications, {{small, 1500},
                                             {system, 90000},
                                             {"/u/Tiny.app", 2000},
                                             {"/u/Draw.app", 2001},
                                             {"/u/Draw.app/Inner.app", 5000},
                                             {"/u/Sizeless.app", std::nullopt},
                                             {"/u/NoId.app", 5000}});
    // Draw as told; Small and Unknown measured; the others do not count.
    QTRY_COMPARE(disk.figures->applications, (ApplicationsUnusedViewInfo{2001 + 2 * block, 3}));
    QVERIFY(disk.reader.attributes(unknown));
  }

  void refusedQueriesEndEmpty() {
    Disk disk;
    disk.queries.refuses = true;
    disk.start();
    QTRY_COMPARE(disk.figures->order.size(), 3);
    QCOMPARE(disk.figures->large, LargeAndOldFilesViewInfo{});
    QCOMPARE(disk.figures->duplicates, DuplicateFilesViewInfo{});
    QCOMPARE(disk.queries.asked.size(), 4u);
  }

  void applicationsAreKeptForALaterDelegate() {
    Disk disk;
    SearcherManager& manager = disk.start();
    disk.figures.reset();
    disk.queries.answer(Disk::Applications, {{"/u/Draw.app", 3000}});
    QCoreApplication::processEvents();
    disk.figures.emplace();
    QTRY_VERIFY([&] {
      manager.startSearchWithDelegate(*disk.figures, false);
      return disk.figures->order.contains(1);
    }());
    QCOMPARE(disk.queries.asked.size(), 3u);
  }

  void oneTypeStartsAnewAndCancelledOnesAreIdle() {
    Disk disk;
    SearcherManager& manager = disk.start();
    manager.startSearchForType(DiskInfoType::LargeAndOld);
    QVERIFY(!disk.queries.isRunning(Disk::Large) && disk.queries.isRunning(3));
    manager.startSearchForType(static_cast<DiskInfoType>(9));
    QCOMPARE(disk.queries.asked.size(), 4u);
    manager.cancelSearches();
    QVERIFY(!disk.queries.isRunning(3) && !disk.queries.isRunning(Disk::Applications));
    disk.clock.advance(1s);
    manager.startSearchForced(false);
    QCOMPARE(disk.queries.asked.size(), 7u);
  }
};

QTEST_GUILESS_MAIN(TestSearchers)
#include "test_searchers.moc"
