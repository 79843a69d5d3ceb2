#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>

#include "platform/linux/minizip/minizip_unpacker.h"
#include "support/zip_builder.h"

using namespace halvard;

namespace {

constexpr UnpackLimits kLimits{.maximumSize = 100000, .maximumEntries = 20, .maximumDepth = 4};

QByteArray deep(int folders) {
  return QByteArray("d/").repeated(folders) + "x";
}

}  // namespace

class TestZipUnpacker : public QObject {
  Q_OBJECT

 private:
  struct Place {
    QTemporaryDir outer;
    QString folder = outer.filePath(QStringLiteral("inner"));
    QString archive = outer.filePath(QStringLiteral("a.zip"));

    Result<void> unpack(const QByteArray& content, const UnpackLimits& limits = kLimits) {
      QDir().mkpath(folder);
      if (!writeFile(archive, content)) return Error{QStringLiteral("test")};
      return MinizipUnpacker().unzipFileAtPath(archive, folder, limits, {});
    }
    QByteArray read(const QString& name) const {
      QFile file(folder + QLatin1Char('/') + name);
      return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("absent");
    }
  };

 private Q_SLOTS:
  void anHonestArchiveComesOutAsItWentIn() {
    Place place;
    const QByteArray image(70000, 'i');
    const auto unpacked = place.unpack(zipArchive({{"img/", {}, S_IFDIR | 0755},
                                                   {"news.html", "<p>", S_IFREG | 0755},
                                                   {"img/a.png", image},
                                                   {"img/\xc3\xa4.txt", "umlaut"},
                                                   {"css/deep/a.css", "b{}"},
                                                   {"empty", {}},
                                                   {"inner.zip", zipArchive({{"../x", "x"}})}}));
    QVERIFY2(unpacked, unpacked ? "" : qPrintable(unpacked.error().message));
    QCOMPARE(place.read(QStringLiteral("news.html")), QByteArray("<p>"));
    QCOMPARE(place.read(QStringLiteral("img/a.png")), image);
    QCOMPARE(place.read(QStringLiteral("img/ä.txt")), QByteArray("umlaut"));
    QCOMPARE(place.read(QStringLiteral("css/deep/a.css")), QByteArray("b{}"));
    QCOMPARE(place.read(QStringLiteral("empty")), QByteArray());
    QVERIFY2(!QFileInfo(place.folder + QStringLiteral("/news.html")).isExecutable(), "nothing is made executable");
  }

  void hostileArchivesAreRefusedAndNothingLeavesTheFolder_data() {
    QTest::addColumn<QByteArray>("archive");
    const auto row = [](const char* name, const QByteArray& archive) { QTest::newRow(name) << archive; };
    const auto named = [&](const QByteArray& name) { row(name.constData(), zipArchive({{"a", "1"}, {name, "x"}})); };
    for (const char* name : {"../x", "a/../../x", "/etc/halvard-test", "b/..", "./x", "b//x", "..\\x", "C:\\x", "c:x",
                             "b/./x", "a\nb", "\xff\xfe", "a", "A", "a/b", "A/b"}) {
      named(name);
    }
    row("file after folder", zipArchive({{"d/x", "1"}, {"d", "2"}}));
    row("folder in two cases", zipArchive({{"d/x", "1"}, {"D/y", "2"}}));
    row("compatible letters", zipArchive({{"fi", "1"}, {"\xef\xac\x81", "2"}}));
    row("link", zipArchive({{"l", "/etc/passwd", S_IFLNK | 0777}}));
    row("write through link", zipArchive({{"l", "..", S_IFLNK | 0777}, {"l/x", "x"}}));
    row("device", zipArchive({{"l", {}, S_IFCHR | 0666}}));
    row("bomb of one", zipArchive({{"b", QByteArray(100001, '\0')}}));
    row("bomb of many", zipArchive({{"b", QByteArray(60000, '\0')}, {"c", QByteArray(60000, '\0')}}));
    row("too many", zipArchive([] {
          std::vector<ZipEntry> entries;
          for (int i = 0; i < 21; ++i)
            entries.push_back({QByteArray::number(i), {}});
          return entries;
        }()));
    row("too deep", zipArchive({{deep(4), "x"}}));
    row("long name", zipArchive({{QByteArray(256, 'n'), "x"}}));
    row("very long name", zipArchive({{QByteArray(5000, 'n'), "x"}}));
    const QByteArray good = zipArchive({{"a", QByteArray("abc").repeated(1000)}, {"b", "2"}});
    row("encrypted", markedEncrypted(good));
    row("truncated", good.left(good.size() / 2));
    row("without its end", good.chopped(10));
    row("empty archive", zipArchive({}));
    row("empty file", {});
    row("page instead", "<html>not found</html>");
    QByteArray damaged = good;
    damaged[40] = static_cast<char>(~damaged.at(40));
    row("damaged content", damaged);
  }

  void hostileArchivesAreRefusedAndNothingLeavesTheFolder() {
    QFETCH(QByteArray, archive);
    Place place;
    QVERIFY(!place.unpack(archive));
    QCOMPARE(QDir(place.outer.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList({QStringLiteral("a.zip"), QStringLiteral("inner")}));
    QVERIFY(!QFile::exists(QStringLiteral("/etc/halvard-test")));
    QDirIterator everything(place.folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                            QDirIterator::Subdirectories);
    while (everything.hasNext())
      QVERIFY(!QFileInfo(everything.next()).isSymLink());
  }

  void theLimitsAreInclusiveAndFilesAreNeverOverwritten() {
    QVERIFY(Place().unpack(zipArchive({{"b", QByteArray(100000, '\0')}})));
    QVERIFY(Place().unpack(zipArchive({{deep(3), "x"}})));
    Place place;
    QDir().mkpath(place.folder);
    QVERIFY(writeFile(place.folder + QStringLiteral("/a"), "old"));
    QVERIFY(!place.unpack(zipArchive({{"a", "new"}})));
    QCOMPARE(place.read(QStringLiteral("a")), QByteArray("old"));
  }

  void everyShorteningAndEveryFlippedByteOfAnArchiveIsSurvived() {
    const QByteArray good = zipArchive({{"a/b", QByteArray("abc").repeated(50)}, {"c", "2"}});
    Place place;
    for (qsizetype i = 0; i < good.size(); ++i) {
      // Without a byte of the record at its end it may still be read, everything in it being there.
      constexpr qsizetype endRecord = 22;
      const bool unpacked = static_cast<bool>(place.unpack(good.left(i)));
      QVERIFY2(!unpacked || i >= good.size() - endRecord, qPrintable(QString::number(i)));
      QVERIFY(!unpacked || place.read(QStringLiteral("a/b")).size() == 150);
      QDir(place.folder).removeRecursively();
      QByteArray flipped = good;
      flipped[i] = static_cast<char>(flipped.at(i) ^ 0x55);
      (void)place.unpack(flipped);
      QDir(place.folder).removeRecursively();
      QCOMPARE(QDir(place.outer.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 1);
    }
  }
};

QTEST_GUILESS_MAIN(TestZipUnpacker)
#include "test_zip_unpacker.moc"
