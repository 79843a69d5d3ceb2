#include <QtTest>

#include "files_searcher/application_bundles.h"
#include "files_searcher/bundle_exclude_list.h"
#include "files_searcher/copy_applications_task.h"
#include "files_searcher/disk_tree.h"
#include "files_searcher/path_utilities.h"
#include "files_searcher/separator.h"
#include "platform/fake/fake_disk.h"
#include "platform/linux/files/linux_application_catalog.h"
#include "platform/linux/files/linux_folder_reader.h"

using namespace halvard;

class TestScanParts : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void parentsAreToldByWholeNames() {
    using path_utilities::isParentPathForPath;
    QVERIFY(isParentPathForPath("/a/b", "/a/b/c"));
    QVERIFY(isParentPathForPath("/a/b", "/a/b/"));
    QVERIFY(!isParentPathForPath("/a/b", "/a/bc"));
    QVERIFY(!isParentPathForPath("/a/b", "/a/b"));
    QVERIFY(!isParentPathForPath("/a/b/c", "/a/b"));
  }

  void occurrencesDoNotOverlap() {
    using path_utilities::numberOccurencesSubstring;
    QCOMPARE(numberOccurencesSubstring("/A.app/B.app", ".app"), 2u);
    QCOMPARE(numberOccurencesSubstring("aaaa", "aa"), 2u);
    QCOMPARE(numberOccurencesSubstring("aaa", "aa"), 1u);
    QCOMPARE(numberOccurencesSubstring("", "aa"), 0u);
    QCOMPARE(numberOccurencesSubstring("aa", ""), 0u);
  }

  void lastUseIsAskedForLocalFilesOnly() {
    FakeLastUsedDates dates;
    dates.dates["/none"] = std::nullopt;
    QVERIFY(path_utilities::filesLastAccessDate(QUrl(QStringLiteral("file:///a b")), dates));
    QVERIFY(!path_utilities::filesLastAccessDate(QUrl(QStringLiteral("file:///none")), dates));
    QVERIFY(!path_utilities::filesLastAccessDate(QUrl(QStringLiteral("https://example.org/a")), dates));
  }

  void systemApplicationsAreKnownInAnyCase() {
    const BundleExcludeList list;
    QVERIFY(list.isSystemBundleID(std::nullopt));
    QVERIFY(list.isSystemBundleID(QStringLiteral("COM.APPLE.SAFARI")));
    QVERIFY(list.isSystemBundleID(QStringLiteral("org.gnome.nautilus")));
    QVERIFY(!list.isSystemBundleID(QStringLiteral("org.gimp.GIMP")));
    QVERIFY(!list.isSystemBundleID(QString()));
  }

  void duplicatesShareExtensionAndSize() {
    Separator files;
    const auto add = [&](Separator::Item item, const char* name, ByteCount size) {
      files.addObject(item, QByteArray(name), size);
    };
    QCOMPARE(files.calculateTotalSizeOfDuplicates().count, 0u);
    add(1, "a.txt", 10);
    add(2, "b.txt", 10);
    add(3, "c.txt", 10);
    add(3, "c.txt", 10);
    add(4, "d.png", 10);
    add(5, "e.txt", 11);
    add(6, "none", 7);
    add(7, "also none", 7);
    add(8, "x.tar.gz", 5);
    add(9, "y.gz", 5);
    files.addObject(10, std::nullopt, 10);
    files.addObject(11, QByteArray("f.txt"), std::nullopt);
    const Separator::Totals totals = files.calculateTotalSizeOfDuplicates();
    QCOMPARE(totals.size, ByteCount(3 * 10 + 2 * 7 + 2 * 5));
    QCOMPARE(totals.count, 7u);
    std::vector<std::vector<Separator::Item>> groups;
    files.forEachGroup([&](const Separator::Group& group) { groups.push_back(group.items); });
    QCOMPARE(groups, (std::vector<std::vector<Separator::Item>>{{8, 9}, {6, 7}, {1, 2, 3}}));
  }

  void bundlesAreFoundOutsideOfEachOther() {
    DiskTree tree;
    const LinuxFolderReader reader;
    const FakeApplicationCatalog catalog;
    const FakeStandardFolders folders(tree.path());
    const ApplicationBundles bundles(reader, catalog, folders);
    for (const char* folder : {"opt", "opt/Draw.app", "opt/Draw.app/Inner.app", "opt/maker", "opt/maker/Write",
                               "opt/.hidden", "opt/folder.app"})
      tree.addFolder(folder);
    for (const char* file : {"opt/Draw.app/AppRun", "opt/Draw.app/Inner.app/AppRun", "opt/maker/Write/AppRun",
                             "opt/.hidden/AppRun", "opt/Tool.AppImage", "opt/Twice.AppImage", "opt/plain"})
      tree.addFile(file, 10);
    QCOMPARE(::link(tree.at("opt/Twice.AppImage").constData(), tree.at("opt/Again.AppImage").constData()), 0);
    QCOMPARE(::symlink("maker", tree.at("opt/linked").constData()), 0);
    auto found = bundles.applicationsPathsArrayFromApplicationFolder();
    std::sort(found.begin(), found.end());
    QCOMPARE(found, (std::vector<QByteArray>{tree.at("opt/Draw.app"), tree.at("opt/Tool.AppImage"),
                                             tree.at("opt/maker/Write")}));
    QVERIFY(bundles.applicationsPathsArrayFromFolder(tree.at("missing"), 1).empty());
  }

  void bundlesAreSoughtTwentyLevelsDeep() {
    DiskTree tree;
    const LinuxFolderReader reader;
    const FakeApplicationCatalog catalog;
    const FakeStandardFolders folders(tree.path());
    QByteArray path = "opt";
    tree.addFolder(path);
    // The folder's own entries are the first level.
    for (int level = 1; level <= 21; ++level) {
      const QByteArray bundle = path + "/Bundle" + QByteArray::number(level);
      tree.addFolder(bundle);
      tree.addFile(bundle + "/AppRun", 1);
      path += "/d";
      tree.addFolder(path);
    }
    QCOMPARE(ApplicationBundles(reader, catalog, folders).applicationsPathsArrayFromApplicationFolder().size(), 20u);
  }

  void shippedToolsAreUnpackedOnce() {
    if (QStandardPaths::findExecutable(QStringLiteral("unzip")).isEmpty()) QSKIP("unzip is not installed");
    DiskTree tree;
    const LinuxApplicationCatalog catalog;
    const QString resources = QFile::decodeName(tree.addFolder("resources"));
    const QString support = QFile::decodeName(tree.path()) + QStringLiteral("/it's \"my\" $HOME");
    const CopyApplicationsTask task(resources, support, catalog);
    task.copyApplications();
    QVERIFY(!QFile::exists(support));
    QVERIFY(!task.findAppPathForBundleIDs({QStringLiteral("org.x.Tool")}));

    for (const char* folder : {"resources/Applications", "Tool.app"})
      tree.addFolder(folder);
    tree.addFile("Tool.app/org.x.Tool.desktop", 10);
    QProcess zip;
    zip.setWorkingDirectory(QFile::decodeName(tree.path()));
    zip.start(QStringLiteral("python3"),
              {QStringLiteral("-m"), QStringLiteral("zipfile"), QStringLiteral("-c"),
               QStringLiteral("resources/Applications/Tool.zip"), QStringLiteral("Tool.app")});
    QVERIFY(zip.waitForFinished() && zip.exitCode() == 0);
    task.copyApplications();
    const QString unpacked = support + QStringLiteral("/Applications/Tool.app");
    QTRY_VERIFY(QFile::exists(unpacked + QStringLiteral("/org.x.Tool.desktop")));
    const auto found = task.findAppPathForBundleIDs({QStringLiteral("org.y"), QStringLiteral("org.x.Tool")});
    QVERIFY(found && found->path == unpacked && found->identifier == QStringLiteral("org.x.Tool"));
    QVERIFY(!task.findAppPathForBundleIDs({QStringLiteral("org.y")}));

    QVERIFY(QFile::remove(unpacked + QStringLiteral("/org.x.Tool.desktop")));
    task.copyApplications();
    QVERIFY(QDir(unpacked).isEmpty());
    CopyApplicationsTask(resources, std::nullopt, catalog).copyApplications();
  }
};

QTEST_GUILESS_MAIN(TestScanParts)
#include "test_scan_parts.moc"
