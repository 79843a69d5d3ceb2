#include <malloc.h>

#include <QSignalSpy>
#include <QtTest>
#include <algorithm>

#include "files_searcher/disk_tree.h"
#include "files_searcher/duplicates_searcher.h"
#include "files_searcher/metadata_pass.h"
#include "files_searcher/walk_metadata_queries.h"
#include "platform/fake/fake_disk.h"
#include "platform/linux/files/linux_folder_reader.h"

using namespace halvard;

namespace {

/// Counts the passes by the reading of the rules, which every pass does once.
class CountedMounts : public FakeSearchMounts {
 public:
  std::unique_ptr<MountRules> rules() const override {
    ++passes;
    return FakeSearchMounts::rules();
  }
  mutable std::atomic<int> passes = 0;
};

struct Search {
  DiskTree tree;
  LinuxFolderReader reader;
  CountedMounts mounts;
  FakeApplicationCatalog catalog;
  FakeBackgroundPriority priority;
  WalkMetadataQueries queries{reader, mounts, catalog, priority, 2};

  struct Answer {
    QList<QByteArray> paths;
    bool finished = false;
  };
  std::unique_ptr<FileMetadataQuery> start(std::vector<QByteArray> scopes, FileMetadataPredicate predicate,
                                           Answer& answer) {
    return queries.startQuery(std::move(scopes), predicate,
                              [&answer](std::shared_ptr<const FileMetadataResults> results) {
                                answer.finished = true;
                                for (std::size_t index = 0; index < results->count(); ++index)
                                  answer.paths << results->path(index);
                                std::sort(answer.paths.begin(), answer.paths.end());
                              });
  }
};

FileMetadataPredicate between(std::optional<ByteCount> larger, std::optional<ByteCount> smaller = {}) {
  return {.applications = false, .largerThan = larger, .smallerThan = smaller};
}

}  // namespace

class TestMetadataQueries : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void onePassAnswersAllQueries() {
    Search search;
    for (const char* folder : {"home", "home/one", "home/two", "opt", "opt/Draw.app", "layer"})
      search.tree.addFolder(folder);
    search.tree.addFile("home/one/large\n\xff", 3000, false);
    search.tree.addFile("home/two/exact", 2000, false);
    search.tree.addFile("home/loose", 2001, false);
    search.tree.addFile("layer/hidden", 9000, false);
    search.tree.addFile("opt/Draw.app/AppRun", 5000);
    search.tree.addFile("opt/Draw.app/Other.AppImage", 10);
    // More names than one call delivers, wherever AppRun stands among them.
    for (int file = 0; file < 1200; ++file)
      search.tree.addFile("opt/Draw.app/a name of usual length " + QByteArray::number(file) + ".AppImage", 0);
    search.tree.addFile("opt/Tool.AppImage", 700);
    QCOMPARE(::symlink("one", search.tree.at("home/link").constData()), 0);
    search.mounts.hidden = {search.tree.at("layer")};
    search.catalog.listed = {{QStringLiteral("org.x"), "/usr/share/applications/org.x.desktop", 12345},
                             {QStringLiteral("org.y"), search.tree.at("opt/Draw.app/usr/bin/draw"), 1}};
    Search::Answer large;
    Search::Answer home;
    Search::Answer applications;
    const auto first = search.start({search.tree.path()}, between(2000), large);
    const auto second = search.start({search.tree.at("home/one"), search.tree.at("home/loose"), search.tree.at("none")},
                                     between(1000, 3000), home);
    const auto third = search.start({search.tree.at("opt")},
                                    {.applications = true, .largerThan = {}, .smallerThan = {}}, applications);
    QTRY_VERIFY(large.finished && home.finished && applications.finished);
    QCOMPARE(search.mounts.passes, 1);
    QCOMPARE(large.paths, (QList<QByteArray>{search.tree.at("home/loose"), search.tree.at("home/one/large\n\xff"),
                                             search.tree.at("opt/Draw.app/AppRun")}));
    QCOMPARE(home.paths, QList<QByteArray>{search.tree.at("home/loose")});
    QCOMPARE(applications.paths, (QList<QByteArray>{search.tree.at("opt/Draw.app"), search.tree.at("opt/Tool.AppImage"),
                                                    "/usr/share/applications/org.x.desktop"}));
    QCOMPARE(search.queries.progress(), 1.0);
  }

  void scopesAreReadWhereTheWalkMeetsThem() {
    Search search;
    for (const char* folder : {"disk", "disk/home", "disk/home/user", "disk/data", "home", "home/user", "home/other"})
      search.tree.addFolder(folder);
    search.tree.addFile("disk/home/user/file", 10);
    search.tree.addFile("disk/data/file", 10);
    search.tree.addFile("home/user/unseen", 10);
    search.tree.addFile("home/other/file", 10);
    search.mounts.elsewhere = {{search.tree.at("home/user"), search.tree.at("disk/home/user")},
                               {search.tree.at("home/other/data"), search.tree.at("disk/data")}};
    Search::Answer user;
    Search::Answer other;
    const auto first = search.start({search.tree.at("home/user")}, between(0), user);
    const auto second = search.start({search.tree.at("home/other")}, between(0), other);
    QTRY_VERIFY(user.finished && other.finished);
    QCOMPARE(user.paths, QList<QByteArray>{search.tree.at("disk/home/user/file")});
    QCOMPARE(other.paths, (QList<QByteArray>{search.tree.at("disk/data/file"), search.tree.at("home/other/file")}));
  }

  void aQueryDuringAPassWaitsForTheNext() {
    Search search;
    search.tree.addFile("file", 10);
    Search::Answer first;
    Search::Answer second;
    std::unique_ptr<FileMetadataQuery> late;
    const auto early = search.queries.startQuery({search.tree.path()}, between(0), [&](auto) {
      first.finished = true;
      late = search.start({search.tree.path()}, between(0), second);
    });
    QTRY_VERIFY(second.finished);
    QVERIFY(first.finished);
    QCOMPARE(search.mounts.passes, 2);
    QCOMPARE(second.paths.size(), 1);
  }

  void droppedQueriesEndThePassAtOnce() {
    Search search;
    search.mounts.entries = 1000;
    Search::Answer slow;
    Search::Answer next;
    auto whole = search.start({"/"}, between(1), slow);
    auto same = search.start({"/usr"}, between(1), slow);
    QTRY_VERIFY(search.queries.progress() > 0);
    whole.reset();
    QVERIFY(search.queries.progress() > 0);
    search.tree.addFile("file", 10);
    const auto query = search.start({search.tree.path()}, between(0), next);
    QElapsedTimer sinceDropped;
    sinceDropped.start();
    same.reset();
    QTRY_VERIFY(next.finished);
    QVERIFY2(sinceDropped.elapsed() < 400, qPrintable(QString::number(sinceDropped.elapsed())));
    QCOMPARE(next.paths.size(), 1);
    QVERIFY(!slow.finished);
  }

  void theServiceMayGoBeforeItsQueries() {
    auto search = std::make_unique<Search>();
    Search::Answer answer;
    std::unique_ptr<FileMetadataQuery> query;
    {
      WalkMetadataQueries queries(search->reader, search->mounts, search->catalog, search->priority, 2);
      query = queries.startQuery({"/"}, between(1), [&](auto) { answer.finished = true; });
      QTRY_VERIFY(search->mounts.passes > 0);
    }
    QCoreApplication::processEvents();
    QVERIFY(!answer.finished);
  }

  void memoryGrowsWithWhatIsFoundNotWithWhatIsWalked() {
    constexpr int kFolders = 40;
    constexpr int kFiles = 250;
    Search search;
    for (int folder = 0; folder < kFolders; ++folder) {
      const QByteArray name = search.tree.addFolder("folder" + QByteArray::number(folder));
      for (int file = 0; file < kFiles; ++file) {
        search.tree.addFile(QFileInfo(QString::fromUtf8(name)).fileName().toUtf8() + "/a file of usual length " +
                                QByteArray::number(file) + ".jpeg",
                            1000, false);
      }
    }
    const MetadataPass pass(search.reader, search.mounts, search.catalog, nullptr, 1);
    const auto kept = [&](ByteCount largerThan) {
      std::atomic<std::uint64_t> seen = 0;
      const std::size_t before = ::mallinfo2().uordblks;
      const auto results = pass.run({{{search.tree.path()}, between(largerThan)}}, seen, {});
      Separator groups = DuplicatesSearcher::findDuplicatesInFiles({results.front()});
      groups.calculateTotalSizeOfDuplicates();
      return std::pair(results.front()->count(), ::mallinfo2().uordblks - before);
    };
    if (::mallinfo2().uordblks == 0) QSKIP("the sanitizer's allocator does not count");
    kept(1000);
    const auto [none, withoutFinds] = kept(1000);
    const auto [all, withFinds] = kept(999);
    QCOMPARE(none, 0U);
    QCOMPARE(all, std::size_t{kFolders * kFiles});
    QVERIFY2(withoutFinds < 8 * 1024, qPrintable(QString::number(withoutFinds)));
    QVERIFY2(withFinds <= 130 * all, qPrintable(QString::number(withFinds / all)));
  }

  void moreQueriesThanOnePassHolds() {
    Search search;
    search.tree.addFile("file", 10);
    std::vector<Search::Answer> answers(11);
    std::vector<std::unique_ptr<FileMetadataQuery>> running;
    for (Search::Answer& answer : answers)
      running.push_back(search.start({search.tree.path()}, between(0), answer));
    for (const Search::Answer& answer : answers)
      QTRY_COMPARE(answer.paths.size(), 1);
    QCOMPARE(search.mounts.passes, 2);
  }
};

QTEST_GUILESS_MAIN(TestMetadataQueries)
#include "test_metadata_queries.moc"
