#include <QtTest>

#include "files_searcher/application_bundles.h"
#include "files_searcher/copy_applications_task.h"
#include "files_searcher/disk_commands.h"
#include "files_searcher/disk_parts.h"
#include "files_searcher/path_utilities.h"
#include "files_searcher/separator.h"
#include "files_searcher/walk_metadata_queries.h"
#include "platform/linux/files/linux_application_catalog.h"
#include "support/captured_output.h"
#include "support/test_folder.h"
#include "support/texts.h"
#include "support/zip_builder.h"

using namespace halvard;
using namespace halvard::path_utilities;

namespace {

struct Line : DiskParts {
  int run(const QByteArrayList& words) {
    const test::CapturedOutput captured;
    const auto [out, err] = captured.output();
    const int code = DiskCommands(walkServices, store, out, err, showsProgress).run(words).value_or(-1);
    output = captured.out();
    errors = captured.err();
    return code;
  }
  FakeSearchMounts mounts;
  WalkMetadataQueries walk{reader, mounts, catalog, priority, 2};
  DiskSearchServices walkServices{clock, reader, catalog, dates, priority, paths, excludeList, walk};
  bool showsProgress = false;
  QByteArray output;
  QByteArray errors;
};

}  // namespace

class TestScanParts : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void pathsAreComparedByWholeNames() {
    QVERIFY(isParentPathForPath("/a/b", "/a/b/c"));
    QVERIFY(isParentPathForPath("/a/b", "/a/b/"));
    for (const char* other : {"/a/bc", "/a/b", "/a"})
      QVERIFY2(!isParentPathForPath("/a/b", other), other);
  }

  void duplicatesShareExtensionAndSize() {
    Separator files;
    QCOMPARE(files.calculateTotalSizeOfDuplicates().count, 0u);
    const std::tuple<Separator::Item, std::optional<QByteArray>, std::optional<ByteCount>> items[] = {
        {1, "a.txt", 10},   {2, "b.txt", 10}, {3, "c.txt", 10},       {3, "c.txt", 10},
        {4, "d.png", 10},   {5, "e.txt", 11}, {6, "none", 7},         {7, "also none", 7},
        {8, "x.tar.gz", 5}, {9, "y.gz", 5},   {10, std::nullopt, 10}, {11, "f.txt", std::nullopt}};
    for (const auto& [item, name, size] : items)
      files.addObject(item, name, size);
    const Separator::Totals totals = files.calculateTotalSizeOfDuplicates();
    QCOMPARE(totals.size, ByteCount(3 * 10 + 2 * 7 + 2 * 5));
    QCOMPARE(totals.count, 7u);
    std::vector<std::vector<Separator::Item>> groups;
    files.forEachGroup([&](const Separator::Group& group) { groups.push_back(group.items); });
    QCOMPARE(groups, (std::vector<std::vector<Separator::Item>>{{8, 9}, {6, 7}, {1, 2, 3}}));
  }

  void bundlesAreFoundOutsideOfEachOtherAndTwentyLevelsDeep() {
    DiskParts disk;
    DiskTree& tree = disk.tree;
    const ApplicationBundles bundles(disk.reader, disk.catalog, disk.folders);
    for (const char* folder : {"Draw.app", "Draw.app/Inner.app", "maker", "maker/Write", ".hidden", "folder.app"})
      tree.addFolder(QByteArray("opt/") + folder);
    for (const char* file : {"Draw.app/AppRun", "Draw.app/Inner.app/AppRun", "maker/Write/AppRun", ".hidden/AppRun",
                             "Tool.AppImage", "Twice.AppImage", "plain"})
      tree.addFile(QByteArray("opt/") + file, 10);
    QCOMPARE(::link(tree.at("opt/Twice.AppImage").constData(), tree.at("opt/Again.AppImage").constData()), 0);
    QCOMPARE(::symlink("maker", tree.at("opt/linked").constData()), 0);
    auto found = bundles.applicationsPathsArrayFromApplicationFolder();
    std::sort(found.begin(), found.end());
    QCOMPARE(found, (std::vector<QByteArray>{tree.at("opt/Draw.app"), tree.at("opt/Tool.AppImage"),
                                             tree.at("opt/maker/Write")}));
    QVERIFY(bundles.applicationsPathsArrayFromFolder(tree.at("missing"), 1).empty());

    QCOMPARE(::rename(tree.at("opt").constData(), tree.at("store").constData()), 0);
    QCOMPARE(::symlink("store", tree.at("opt").constData()), 0);
    for (const QByteArray& path : bundles.applicationsPathsArrayFromApplicationFolder())
      QVERIFY2(path.startsWith(tree.at("store/")), "found twice, under two names");

    // The folder's own entries are the first level.
    QByteArray path = "opt";
    for (int level = 1; level <= 21; ++level) {
      tree.addFolder(path + "/Deep");
      tree.addFile(path + "/Deep/AppRun", 1);
      path += "/d";
      tree.addFolder(path);
    }
    QCOMPARE(bundles.applicationsPathsArrayFromApplicationFolder().size(), found.size() + 20);
  }

  void shippedToolsAreUnpackedOnce() {
    if (QStandardPaths::findExecutable(text("unzip")).isEmpty()) QSKIP("unzip is not installed");
    const TestFolder folder, resources;
    const LinuxApplicationCatalog catalog;
    const QString support = folder.path("it's \"my\" $HOME");
    const CopyApplicationsTask task(resources.path(), support, catalog);
    task.copyApplications();
    QVERIFY(!QFile::exists(support));
    QVERIFY(!task.findAppPathForBundleIDs({text("org.x.Tool")}));

    resources.write("Applications/Tool.zip", zipArchive({{"Tool.app/org.x.Tool.desktop", "tool"}}));
    task.copyApplications();
    const QString unpacked = support + text("/Applications/Tool.app");
    const QString entry = unpacked + text("/org.x.Tool.desktop");
    QTRY_VERIFY(QFile::exists(entry));
    const auto found = task.findAppPathForBundleIDs({text("org.y"), text("org.x.Tool")});
    QVERIFY(found && found->path == unpacked && found->identifier == text("org.x.Tool"));
    QVERIFY(!task.findAppPathForBundleIDs({text("org.y")}));

    QVERIFY(QFile::remove(entry));
    task.copyApplications();
    QVERIFY(QDir(unpacked).isEmpty());
    CopyApplicationsTask(resources.path(), std::nullopt, catalog).copyApplications();
  }

  void wrongWordsAreOneLineAndTwo() {
    Line line;
    for (const char* words :
         {"scan --xml", "scan --json --json", "large /home\n", "duplicates x", "size", "size /a /b", "size --all"}) {
      QVERIFY2(line.run(QByteArray(words).split(' ')) == 2, words);
      QVERIFY2(line.output.isEmpty() && line.errors.startsWith("halvardctl: ") && line.errors.endsWith('\n'), words);
      QCOMPARE(line.errors.count('\n'), 1);
    }
    QVERIFY2(line.run({"status"}) == -1 && line.errors.isEmpty(), "not its own");
  }

  void sizeIsAllocatedBytesAndOnlyTheRootDsStoreIsIgnored() {
    Line line;
    const QByteArray downloads = line.tree.at("Downloads");
    const ByteCount own = line.reader.attributes(line.tree.addFile("Downloads/.DS_Store", 5000))->allocatedSize;
    QCOMPARE(line.run({"size", downloads, "--ignore-root-ds-store"}), 0);
    QCOMPARE(line.output, QByteArray("0\n"));
    for (const char* folder : {"below", "other", "other/.DS_Store"})
      line.tree.addFolder(QByteArray("Downloads/") + folder);
    for (const char* file : {"\xff film", "below/.DS_Store", "other/.DS_Store/file"})
      line.tree.addFile(QByteArray("Downloads/") + file, 50000);
    for (const auto& [path, ignored] : {std::pair(downloads, own), {downloads + "/other", ByteCount{0}}}) {
      QCOMPARE(line.run({"size", path}), 0);
      QCOMPARE(line.output, QByteArray::number(sizeByDu(path)) + '\n');
      QCOMPARE(line.run({"size", path, "--ignore-root-ds-store"}), 0);
      QCOMPARE(line.output, QByteArray::number(sizeByDu(path) - ignored) + '\n');
    }
    QCOMPARE(line.run({"size", line.tree.at("missing")}), 1);
    QVERIFY(line.output.isEmpty() && line.errors.contains("missing"));
  }

  void duplicatesAreListedInGroups() {
    Line line;
    line.tree.addFile("Downloads/a\nb.txt", 60000);
    line.tree.addFile(".cache/\xff.txt", 60000);
    line.tree.addFile("Downloads/other.txt", 60001);
    QCOMPARE(line.run({"duplicates"}), 0);
    QVERIFY(line.output.startsWith("58.6 KB each, 2 files\n  "));
    QCOMPARE(line.output.count('\n'), 3);
    QVERIFY(line.output.contains("/a\\nb.txt\n") && line.output.contains("/\xff.txt\n"));
    line.showsProgress = true;
    QCOMPARE(line.run({"duplicates", "--json"}), 0);
    const QJsonValue group = QJsonDocument::fromJson(line.output).array().at(0);
    QCOMPARE(group[u"size"].toInt(), 60000);
    QCOMPARE(group[u"paths"].toArray().size(), 2);
    QVERIFY(line.errors.endsWith("\r\033[K"));
  }
};

QTEST_GUILESS_MAIN(TestScanParts)
#include "test_scan_parts.moc"
