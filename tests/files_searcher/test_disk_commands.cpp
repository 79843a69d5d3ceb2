#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

#include "files_searcher/disk_commands.h"
#include "files_searcher/disk_tree.h"
#include "files_searcher/walk_metadata_queries.h"
#include "platform/fake/fake_defaults_store.h"
#include "platform/fake/fake_disk.h"
#include "platform/linux/files/linux_folder_reader.h"

using namespace halvard;

namespace {

struct Line {
  Line() {
    for (const char* folder : {".cache", "Downloads", ".local", ".local/share", ".local/share/Trash", "opt"})
      tree.addFolder(folder);
  }
  int run(const QByteArrayList& words) {
    char* outText = nullptr;
    char* errorText = nullptr;
    std::size_t outSize = 0;
    std::size_t errorSize = 0;
    std::FILE* const out = ::open_memstream(&outText, &outSize);
    std::FILE* const error = ::open_memstream(&errorText, &errorSize);
    const int code = DiskCommands(services, store, out, error, showsProgress).run(words).value_or(-1);
    ::fclose(out);
    ::fclose(error);
    output = QByteArray(outText, static_cast<qsizetype>(outSize));
    errors = QByteArray(errorText, static_cast<qsizetype>(errorSize));
    ::free(outText);
    ::free(errorText);
    return code;
  }
  DiskTree tree;
  SystemClock clock;
  FakeDefaultsStore store;
  LinuxFolderReader reader;
  FakeSearchMounts mounts;
  FakeApplicationCatalog catalog;
  FakeLastUsedDates dates;
  FakeBackgroundPriority priority;
  FakeStandardFolders folders{tree.path()};
  PathsGenerator paths{folders};
  BundleExcludeList excludeList;
  WalkMetadataQueries queries{reader, mounts, catalog, priority, 2};
  DiskSearchServices services{clock, reader, catalog, dates, priority, paths, excludeList, queries};
  bool showsProgress = false;
  QByteArray output;
  QByteArray errors;
};

}  // namespace

class TestDiskCommands : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void wrongWordsAreOneLineAndTwo_data() {
    QTest::addColumn<QByteArrayList>("words");
    QTest::newRow("scan") << QByteArrayList{"scan", "--xml"};
    QTest::newRow("scan twice") << QByteArrayList{"scan", "--json", "--json"};
    QTest::newRow("large") << QByteArrayList{"large", "/home\n"};
    QTest::newRow("duplicates") << QByteArrayList{"duplicates", "x"};
    QTest::newRow("size of nothing") << QByteArrayList{"size"};
    QTest::newRow("size of two") << QByteArrayList{"size", "/a", "/b"};
    QTest::newRow("size with an unknown word") << QByteArrayList{"size", "--all"};
  }
  void wrongWordsAreOneLineAndTwo() {
    QFETCH(QByteArrayList, words);
    Line line;
    QCOMPARE(line.run(words), 2);
    QVERIFY(line.output.isEmpty());
    QCOMPARE(line.errors.count('\n'), 1);
    QVERIFY(line.errors.startsWith("halvardctl: ") && line.errors.endsWith('\n'));
  }

  void otherCommandsAreNotItsOwn() {
    Line line;
    QCOMPARE(line.run({"status"}), -1);
    QCOMPARE(line.run({}), -1);
    QVERIFY(line.errors.isEmpty());
  }

  void sizeIsAllocatedBytes() {
    Line line;
    line.tree.addFile("Downloads/.DS_Store", 5000);
    line.tree.addFile("Downloads/\xff film", 50000);
    QCOMPARE(line.run({"size", line.tree.at("Downloads")}), 0);
    QCOMPARE(line.output, QByteArray::number(sizeByDu(line.tree.at("Downloads"))) + '\n');
    const ByteCount film = line.reader.attributes(line.tree.at("Downloads/\xff film"))->allocatedSize;
    QCOMPARE(line.run({"size", line.tree.at("Downloads"), "--ignore-root-ds-store"}), 0);
    QCOMPARE(line.output, QByteArray::number(film) + '\n');
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
    const QJsonObject group = QJsonDocument::fromJson(line.output).array().at(0).toObject();
    QCOMPARE(group[QStringLiteral("size")].toInt(), 60000);
    QCOMPARE(group[QStringLiteral("paths")].toArray().size(), 2);
    QVERIFY(line.errors.endsWith("\r\033[K"));
  }
};

QTEST_GUILESS_MAIN(TestDiskCommands)
#include "test_disk_commands.moc"
