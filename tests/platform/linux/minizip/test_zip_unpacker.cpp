#include <QtTest>

#include <sys/stat.h>

#include "platform/linux/minizip/minizip_unpacker.h"
#include "support/test_folder.h"
#include "support/texts.h"
#include "support/zip_builder.h"

using namespace halvard;

namespace {

QByteArray deep(int folders) {
  return QByteArray("d/").repeated(folders) + "x";
}

struct Place : TestFolder {
  Result<void> unpack(const QByteArray& content) const {
    constexpr UnpackLimits limits{.maximumSize = 100000, .maximumEntries = 20, .maximumDepth = 4};
    QDir().mkpath(path("inner"));
    return MinizipUnpacker().unzipFileAtPath(write("a.zip", content), path("inner"), limits, {});
  }
};

}  // namespace

class TestZipUnpacker : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void anHonestArchiveComesOutAsItWentIn() {
    const Place place;
    const std::vector<ZipEntry> files = {{"news.html", "<p>", S_IFREG | 0755},
                                         {"img/a.png", QByteArray(70000, 'i')},
                                         {"img/\xc3\xa4.txt", "umlaut"},
                                         {"css/deep/a.css", "b{}"},
                                         {"inner.zip", zipArchive({{"../x", "x"}})}};
    std::vector<ZipEntry> entries = files;
    entries.insert(entries.begin(), {{"img/", {}, S_IFDIR | 0755}, {"empty", {}}});
    const auto unpacked = place.unpack(zipArchive(entries));
    QVERIFY2(unpacked, unpacked ? "" : qPrintable(unpacked.error().message));
    for (const ZipEntry& file : files)
      QCOMPARE(place.read("inner/" + file.name), file.content);
    QVERIFY(QFile::exists(place.path("inner/empty")) && place.read("inner/empty").isEmpty());
    QVERIFY2(!QFileInfo(place.path("inner/news.html")).isExecutable(), "nothing is made executable");
  }

  void hostileArchivesAreRefusedAndNothingLeavesTheFolder_data() {
    QTest::addColumn<QByteArray>("archive");
    for (const char* name : {"../x", "a/../../x", "/etc/halvard-test", "b/..", "./x", "b//x", "..\\x", "c:x", "b/./x",
                             "a\nb", "\xff\xfe", "a", "A", "a/b", "A/b"})
      QTest::newRow(name) << zipArchive({{"a", "1"}, {name, "x"}});
    const auto row = [](const char* name, const std::vector<ZipEntry>& entries) {
      QTest::newRow(name) << zipArchive(entries);
    };
    row("file after folder", {{"d/x", "1"}, {"d", "2"}});
    row("folder in two cases", {{"d/x", "1"}, {"D/y", "2"}});
    row("compatible letters", {{"fi", "1"}, {"\xef\xac\x81", "2"}});
    row("link", {{"l", "/etc/passwd", S_IFLNK | 0777}});
    row("write through link", {{"l", "..", S_IFLNK | 0777}, {"l/x", "x"}});
    row("device", {{"l", {}, S_IFCHR | 0666}});
    row("bomb of one", {{"b", QByteArray(100001, '\0')}});
    row("bomb of many", {{"b", QByteArray(60000, '\0')}, {"c", QByteArray(60000, '\0')}});
    row("too deep", {{deep(4), "x"}});
    row("long name", {{QByteArray(256, 'n'), "x"}});
    row("very long name", {{QByteArray(5000, 'n'), "x"}});
    row("empty archive", {});
    std::vector<ZipEntry> many;
    while (many.size() < 21)
      many.push_back({QByteArray::number(many.size()), {}});
    row("too many", many);
    const QByteArray good = zipArchive({{"a", QByteArray("abc").repeated(1000)}, {"b", "2"}});
    QTest::newRow("encrypted") << markedEncrypted(good);
    QTest::newRow("page instead") << QByteArray("<html>not found</html>");
    QByteArray damaged = good;
    damaged[40] = static_cast<char>(~damaged.at(40));
    QTest::newRow("damaged content") << damaged;
  }
  void hostileArchivesAreRefusedAndNothingLeavesTheFolder() {
    QFETCH(QByteArray, archive);
    const Place place;
    QVERIFY(!place.unpack(archive));
    QCOMPARE(QDir(place.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             texts({"a.zip", "inner"}));
    QVERIFY(!QFile::exists(text("/etc/halvard-test")));
    QDirIterator everything(place.path("inner"), QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                            QDirIterator::Subdirectories);
    while (everything.hasNext())
      QVERIFY(!QFileInfo(everything.next()).isSymLink());
  }

  void theLimitsAreInclusiveAndFilesAreNeverOverwritten() {
    QVERIFY(Place().unpack(zipArchive({{"b", QByteArray(100000, '\0')}})));
    QVERIFY(Place().unpack(zipArchive({{deep(3), "x"}})));
    const Place place;
    place.write("inner/a", "old");
    QVERIFY(!place.unpack(zipArchive({{"a", "new"}})));
    QCOMPARE(place.read("inner/a"), QByteArray("old"));
  }

  void everyShorteningAndEveryFlippedByteOfAnArchiveIsSurvived() {
    const QByteArray good = zipArchive({{"a/b", QByteArray("abc").repeated(50)}, {"c", "2"}});
    const Place place;
    for (qsizetype i = 0; i < good.size(); ++i) {
      // Without a byte of the record at its end it may still be read, everything in it being there.
      constexpr qsizetype endRecord = 22;
      const bool unpacked = static_cast<bool>(place.unpack(good.left(i)));
      QVERIFY2(!unpacked || i >= good.size() - endRecord, qPrintable(QString::number(i)));
      QVERIFY(!unpacked || place.read("inner/a/b").size() == 150);
      QDir(place.path("inner")).removeRecursively();
      QByteArray flipped = good;
      flipped[i] = static_cast<char>(flipped.at(i) ^ 0x55);
      (void)place.unpack(flipped);
      QDir(place.path("inner")).removeRecursively();
      QCOMPARE(QDir(place.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), texts({"a.zip"}));
    }
  }
};

QTEST_GUILESS_MAIN(TestZipUnpacker)
#include "test_zip_unpacker.moc"
