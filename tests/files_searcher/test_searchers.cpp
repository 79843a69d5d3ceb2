#include <QtTest>
#include <set>

#include "files_searcher/disk_parts.h"
#include "files_searcher/searcher_manager.h"
#include "preferences/stored_keys.h"
#include "support/texts.h"

using namespace halvard;
using namespace std::chrono_literals;

namespace {

constexpr ByteCount kMebibyte = 1024 * 1024;

struct Figures : SearcherManagerDelegate {
  void onSpotlightManagerFoundJunkFilesInfo(const JunkFilesViewInfo& info) override { keep(0, junk, info); }
  void onSpotlightManagerFoundApplicationsInfo(const ApplicationsUnusedViewInfo& info) override {
    keep(1, applications, info);
  }
  void onSpotlightManagerFoundLargetAndOldFilesInfo(const LargeAndOldFilesViewInfo& info) override {
    keep(2, large, info);
  }
  void onSpotlightManagerFoundDuplicatesInfo(const DuplicateFilesViewInfo& info) override { keep(3, duplicates, info); }

  template <class Info>
  void keep(int number, Info& place, const Info& info) {
    place = info;
    order << number;
  }
  JunkFilesViewInfo junk;
  ApplicationsUnusedViewInfo applications;
  LargeAndOldFilesViewInfo large;
  DuplicateFilesViewInfo duplicates;
  QList<int> order;
};

struct Disk : DiskParts {
  std::optional<Figures> figures{std::in_place};
  std::optional<SearcherManager> manager;

  SearcherManager& start() {
    manager.emplace(services, store).startSearchWithDelegate(*figures, false);
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
    const auto& asked = disk.queries.asked;
    QCOMPARE(asked.size(), 3u);
    QVERIFY(asked[Disk::Applications].predicate.applications);
    QCOMPARE(asked[Disk::Large].scopes, std::vector<QByteArray>{"/"});
    QCOMPARE(asked[Disk::Large].predicate.largerThan, ByteCount(20000000));
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
    for (const auto& [time, asked] : {std::pair(StoredValue{std::int64_t{60}}, 6u),
                                      {StoredValue{text("60")}, 3u},
                                      {StoredValue{std::int64_t{0}}, 3u},
                                      {StoredValue{std::numeric_limits<double>::quiet_NaN()}, 3u},
                                      {StoredValue{1e300}, 3u}}) {
      Disk disk;
      disk.store.setObject(stored_keys::testRescanDiskJunkTime, time);
      disk.start();
      disk.clock.advance(60s);
      QCOMPARE(disk.queries.asked.size(), asked);
      QCOMPARE(disk.queries.isRunning(Disk::Large), asked == 3u);
    }
  }

  void smallDuplicatesAreSoughtOnlyWhenLargeOnesAreFew() {
    Disk disk;
    disk.tree.addFile(".hidden", 1);
    disk.start();
    const std::set<QByteArray> scopes(disk.queries.asked[Disk::Duplicates].scopes.begin(),
                                      disk.queries.asked[Disk::Duplicates].scopes.end());
    for (const char* name : {".hidden", ".cache", "Downloads"})
      QVERIFY2(scopes.contains(disk.tree.at(name)), name);
    QVERIFY(!scopes.contains(disk.tree.at("Library")));
    const auto sizes = [&](std::size_t query) {
      const FileMetadataPredicate& predicate = disk.queries.asked[query].predicate;
      return std::pair(predicate.largerThan, predicate.smallerThan);
    };
    const std::optional<ByteCount> small = 50000, mebibyte = kMebibyte;
    QVERIFY(sizes(Disk::Duplicates) == std::pair(mebibyte, std::optional<ByteCount>()));
    const auto large = disk.queries.answer(Disk::Duplicates, {{"/a.x", 2 * kMebibyte}, {"/b.x", 2 * kMebibyte}});
    QTRY_COMPARE(disk.queries.asked.size(), 4u);
    QVERIFY(sizes(Disk::SecondPass) == std::pair(small, mebibyte));
    const auto few = disk.queries.answer(Disk::SecondPass, {{"/c.x", 60000}, {"/d.x", 60000}, {"/e.y", 60000}});
    QTRY_COMPARE(disk.figures->duplicates, (DuplicateFilesViewInfo{4 * kMebibyte + 120000, 4}));
    QTRY_VERIFY(large.expired() && few.expired());
    QCOMPARE(disk.queries.asked.size(), 4u);
  }

  void onlyFilesUnusedForMoreThanNinetyDaysAreOld() {
    Disk disk;
    disk.dates.dates["/none"] = std::nullopt;
    for (const int days : {91, 90, 89})
      disk.dates.dates['/' + QByteArray::number(days)] = disk.clock.now() - days * 24h;
    const QByteArray sparse = disk.tree.addFile("sparse", 1 << 30, false);
    disk.start();
    std::vector<FakeFileMetadataQueries::Found> files{{"/91", std::nullopt}, {sparse, 1 << 30}};
    for (const char* path : {"/91", "/90", "/89", "/none"})
      files.push_back({path, 25000000});
    disk.queries.answer(Disk::Large, files);
    QTRY_COMPARE(disk.figures->large, (LargeAndOldFilesViewInfo{25000000, 1}));
  }

  void applicationsFollowTheirRules() {
    Disk disk;
    for (const char* bundle : {"opt/Small.app", "opt/System.app", "opt/Unknown.app"}) {
      disk.tree.addFolder(bundle);
      disk.tree.addFile(QByteArray(bundle) + "/AppRun", 10000);
    }
    const QByteArray system = disk.tree.at("opt/System.app");
    disk.catalog.identifiers = {{system, text("COM.APPLE.SAFARI")}, {"/u/NoId.app", std::nullopt}};
    disk.start();
    for (int warning = 0; warning < 2; ++warning)
      QTest::ignoreMessage(QtWarningMsg, "Returned size is impossibly small.");
    disk.queries.answer(Disk::Applications, {{disk.tree.at("opt/Small.app"), 1500},
                                             {system, 90000},
                                             {"/u/Tiny.app", 2000},
                                             {"/u/Draw.app", 2001},
                                             {"/u/Draw.app/Inner.app", 5000},
                                             {"/u/Sizeless.app", std::nullopt},
                                             {"/u/NoId.app", 5000}});
    // Draw as told; Small and Unknown measured; the others do not count.
    const ByteCount block = disk.reader.attributes(disk.tree.at("opt/Small.app/AppRun"))->allocatedSize;
    QTRY_COMPARE(disk.figures->applications, (ApplicationsUnusedViewInfo{2001 + 2 * block, 3}));
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
    QTRY_VERIFY((manager.startSearchWithDelegate(*disk.figures, false), disk.figures->order.contains(1)));
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

    disk.queries.answer(5, {});
    QTRY_VERIFY(disk.figures->order.contains(2));
    manager.startSearchForType(DiskInfoType::LargeAndOld);
    manager.cancelSearches();
    disk.figures->order.clear();
    manager.startSearchForced(false);
    QVERIFY2(disk.queries.isRunning(9) && !disk.figures->order.contains(2), "the earlier figure is not fresh again");
  }
};

QTEST_GUILESS_MAIN(TestSearchers)
#include "test_searchers.moc"
