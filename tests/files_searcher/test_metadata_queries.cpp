#include <malloc.h>

#include <QtTest>
#include <algorithm>

#include "files_searcher/disk_parts.h"
#include "files_searcher/duplicates_searcher.h"
#include "files_searcher/metadata_pass.h"
#include "files_searcher/walk_metadata_queries.h"

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

struct Answer {
  QList<QByteArray> paths;
  bool finished = false;
};

struct Search : DiskParts {
  CountedMounts mounts;
  std::optional<WalkMetadataQueries> walk{std::in_place, reader, mounts, catalog, priority, 2};

  auto start(std::vector<QByteArray> scopes, FileMetadataPredicate predicate, Answer& answer,
             std::function<void()> then = {}) {
    return walk->startQuery(std::move(scopes), predicate, [&answer, then](auto results) {
      answer.finished = true;
      for (std::size_t index = 0; index < results->count(); ++index)
        answer.paths << results->path(index);
      std::sort(answer.paths.begin(), answer.paths.end());
      if (then) then();
    });
  }
  /// Files of the whole tree.
  auto startInTree(Answer& answer, std::function<void()> then = {}) {
    return start({tree.path()}, larger(0), answer, std::move(then));
  }
  static FileMetadataPredicate larger(ByteCount limit, std::optional<ByteCount> smaller = {}) {
    return {.applications = false, .largerThan = limit, .smallerThan = smaller};
  }
};

}  // namespace

class TestMetadataQueries : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void onePassAnswersAllQueries() {
    Search search;
    DiskTree& tree = search.tree;
    for (const char* folder : {"home", "home/one", "home/two", "opt/Draw.app", "layer"})
      tree.addFolder(folder);
    const QByteArray large = tree.addFile("home/one/large\n\xff", 3000, false);
    tree.addFile("home/two/exact", 2000, false);
    const QByteArray loose = tree.addFile("home/loose", 2001, false);
    tree.addFile("layer/hidden", 9000, false);
    tree.addFile("opt/Draw.app/AppRun", 5000);
    tree.addFile("opt/Draw.app/Other.AppImage", 10);
    // More names than one call delivers, wherever AppRun stands among them.
    for (int file = 0; file < 1200; ++file)
      tree.addFile("opt/Draw.app/a name of usual length " + QByteArray::number(file) + ".AppImage", 0);
    const QByteArray tool = tree.addFile("opt/Tool.AppImage", 700);
    QCOMPARE(::symlink("one", tree.at("home/link").constData()), 0);
    search.mounts.hidden = {tree.at("layer")};
    const QByteArray entry = "/usr/share/applications/org.x.desktop";
    search.catalog.listed = {{QStringLiteral("org.x"), entry, 12345},
                             {QStringLiteral("org.y"), tree.at("opt/Draw.app/usr/bin/draw"), 1}};
    Answer all, home, applications;
    const auto first = search.start({tree.path()}, Search::larger(2000), all);
    const auto second = search.start({tree.at("home/one"), loose, tree.at("none")}, Search::larger(1000, 3000), home);
    const auto third =
        search.start({tree.at("opt")}, {.applications = true, .largerThan = {}, .smallerThan = {}}, applications);
    QTRY_VERIFY(all.finished && home.finished && applications.finished);
    QCOMPARE(search.mounts.passes, 1);
    QCOMPARE(all.paths, (QList<QByteArray>{loose, large, tree.at("opt/Draw.app/AppRun")}));
    QCOMPARE(home.paths, QList<QByteArray>{loose});
    QCOMPARE(applications.paths, (QList<QByteArray>{tree.at("opt/Draw.app"), tool, entry}));
    QCOMPARE(search.walk->progress(), 1.0);
  }

  void scopesAreReadWhereTheWalkMeetsThem() {
    Search search;
    DiskTree& tree = search.tree;
    for (const char* folder : {"disk", "disk/home", "disk/home/user", "disk/data", "home", "home/user", "home/other"})
      tree.addFolder(folder);
    for (const char* file : {"disk/home/user/file", "disk/data/file", "home/user/unseen", "home/other/file"})
      tree.addFile(file, 10);
    search.mounts.elsewhere = {{tree.at("home/user"), tree.at("disk/home/user")},
                               {tree.at("home/other/data"), tree.at("disk/data")}};
    Answer user, other;
    const auto first = search.start({tree.at("home/user")}, Search::larger(0), user);
    const auto second = search.start({tree.at("home/other")}, Search::larger(0), other);
    QTRY_VERIFY(user.finished && other.finished);
    QCOMPARE(user.paths, QList<QByteArray>{tree.at("disk/home/user/file")});
    QCOMPARE(other.paths, (QList<QByteArray>{tree.at("disk/data/file"), tree.at("home/other/file")}));
  }

  void scopesOnAMountThatIsNotEnteredAreLeftOut() {
    Search search;
    const QByteArray scope = "/proc/sys/vm", file = "/proc/meminfo";
    const auto mount = search.reader.mountOf(scope);
    QVERIFY(mount && mount == search.reader.mountOf(file) && mount != search.reader.mountOf(search.tree.path()));
    for (const bool enters : {true, false}) {
      if (!enters) search.mounts.refused = {*mount};
      Answer below, single;
      const auto first = search.start({scope}, {}, below);
      const auto second = search.start({file}, {}, single);
      QTRY_VERIFY(below.finished && single.finished);
      QVERIFY(below.paths.isEmpty() == !enters && single.paths.isEmpty() == !enters);
    }
  }

  void queriesThatAPassCannotTakeWaitForTheNext() {
    Search search;
    search.tree.addFile("file", 10);
    Answer first, second;
    std::unique_ptr<FileMetadataQuery> late;
    const auto early = search.startInTree(first, [&] { late = search.startInTree(second); });
    QTRY_COMPARE(second.paths.size(), 1);
    QCOMPARE(search.mounts.passes, 2);
    // More than ScopeTree::kMostQueries.
    std::vector<Answer> answers(11);
    std::vector<std::unique_ptr<FileMetadataQuery>> running;
    for (Answer& answer : answers)
      running.push_back(search.startInTree(answer));
    for (const Answer& answer : answers)
      QTRY_COMPARE(answer.paths.size(), 1);
    QCOMPARE(search.mounts.passes, 4);
  }

  void droppedQueriesEndThePassAtOnce() {
    Search search;
    search.mounts.entries = 1000;
    Answer slow, next;
    auto whole = search.start({"/"}, Search::larger(1), slow);
    auto same = search.start({"/usr"}, Search::larger(1), slow);
    QTRY_VERIFY(search.walk->progress() > 0);
    whole.reset();
    QVERIFY(search.walk->progress() > 0);
    search.tree.addFile("file", 10);
    const auto query = search.startInTree(next);
    QElapsedTimer sinceDropped;
    sinceDropped.start();
    same.reset();
    QTRY_VERIFY(next.finished);
    QVERIFY2(sinceDropped.elapsed() < 400, qPrintable(QString::number(sinceDropped.elapsed())));
    QVERIFY(!slow.finished);
  }

  void theServiceMayGoBeforeItsQueries() {
    Search search;
    Answer answer;
    const auto query = search.start({"/"}, Search::larger(1), answer);
    QTRY_VERIFY(search.mounts.passes > 0);
    search.walk.reset();
    QCoreApplication::processEvents();
    QVERIFY(!answer.finished);
  }

  void memoryGrowsWithWhatIsFoundNotWithWhatIsWalked() {
    if (::mallinfo2().uordblks == 0) QSKIP("the sanitizer's allocator does not count");
    constexpr int kFiles = 10'000;
    Search search;
    for (int file = 0; file < kFiles; ++file) {
      const QByteArray folder = "folder" + QByteArray::number(file / 250);
      if (file % 250 == 0) search.tree.addFolder(folder);
      search.tree.addFile(folder + "/a file of usual length " + QByteArray::number(file) + ".jpeg", 1000, false);
    }
    const MetadataPass pass(search.reader, search.mounts, search.catalog, nullptr, 1);
    const auto kept = [&](ByteCount largerThan) {
      std::atomic<std::uint64_t> seen = 0;
      const std::size_t before = ::mallinfo2().uordblks;
      const auto results = pass.run({{{search.tree.path()}, Search::larger(largerThan)}}, seen, {});
      Separator groups = DuplicatesSearcher::findDuplicatesInFiles({results.front()});
      groups.calculateTotalSizeOfDuplicates();
      return std::pair(results.front()->count(), ::mallinfo2().uordblks - before);
    };
    kept(1000);
    const auto [none, withoutFinds] = kept(1000);
    const auto [all, withFinds] = kept(999);
    QCOMPARE(none, 0U);
    QCOMPARE(all, std::size_t{kFiles});
    QVERIFY2(withoutFinds < 8 * 1024, qPrintable(QString::number(withoutFinds)));
    QVERIFY2(withFinds <= 130 * all, qPrintable(QString::number(withFinds / all)));
  }
};

QTEST_GUILESS_MAIN(TestMetadataQueries)
#include "test_metadata_queries.moc"
