#include <QTemporaryDir>
#include <QtTest>

#include "branding/branding.h"

using namespace halvard;

class TestBranding : public QObject {
  Q_OBJECT

 private:
  /// A configuration directory whose branding file holds `content`.
  static std::unique_ptr<QTemporaryDir> directoryWith(const QByteArray& content) {
    auto directory = std::make_unique<QTemporaryDir>();
    QDir(directory->path()).mkdir(QStringLiteral("halvard"));
    QFile file(directory->filePath(QStringLiteral("halvard/branding.ini")));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) return nullptr;
    return directory;
  }

 private Q_SLOTS:
  void asShippedNothingLeavesTheMachine() {
    const Branding branding = Branding::load({});
    for (const QUrl& url : {branding.productPage, branding.storePage, branding.feedFolder, branding.updateFeed,
                            branding.analyticsEndpoint}) {
      QVERIFY2(url.isEmpty(), qPrintable(url.toString()));
    }
    QVERIFY(branding.supportAddress.isEmpty() && branding.analyticsTrackingId.isEmpty());
    QCOMPARE(branding.twitterHashtags, QStringLiteral("#halvard #linux"));
  }

  void everyRoleNamesAToolAndAlternativesThatASoftwareCentreKnows() {
    const Branding branding = Branding::load({});
    QCOMPARE(branding.siblings.size(), std::size(kSiblingApps));
    for (const auto& [role, sibling] : branding.siblings) {
      QVERIFY(!sibling.own.name.isEmpty() && !sibling.own.identifiers.isEmpty());
      QVERIFY(!sibling.alternatives.empty());
      for (const Tool& tool : sibling.alternatives) {
        QVERIFY2(!tool.name.isEmpty() && !tool.identifiers.isEmpty(), qPrintable(sibling.own.name));
        QVERIFY2(!tool.appStreamId.isEmpty(), qPrintable(tool.name));
      }
    }
    const Tool& cleaner = branding.siblings.at(SiblingApp::JunkCleaner).alternatives.front();
    QCOMPARE(cleaner.identifiers,
             QStringList({QStringLiteral("org.bleachbit.BleachBit"), QStringLiteral("bleachbit")}));
  }

  void theFirstDirectoryThatHasAValueWins() {
    const auto first = directoryWith("[Maker]\nFeedFolder=https://a.example/feeds\nSupportAddress=\n");
    const auto second = directoryWith(
        "[Maker]\nFeedFolder=https://b.example/\nSupportAddress=help@b.example\n"
        "ProductPage=\"https://b.example/?a=1,2;3\"\n");
    QVERIFY(first && second);
    const Branding branding = Branding::load({first->path(), QStringLiteral("/nonexistent"), second->path()});
    QCOMPARE(branding.feedFolder, QUrl(QStringLiteral("https://a.example/feeds/")));
    QVERIFY2(branding.supportAddress.isEmpty(), "an empty value silences what a later file says");
    QCOMPARE(branding.productPage.toString(), QStringLiteral("https://b.example/?a=1,2;3"));
    QCOMPARE(branding.siblings.at(SiblingApp::DiskAnalyzer).own.name, QStringLiteral("Quorrel"));
  }

  void addressesThatAreNotWebAddressesReadAsEmpty_data() {
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("file") << QByteArray("[Maker]\nFeedFolder=file:///etc/\n");
    QTest::newRow("no host") << QByteArray("[Maker]\nFeedFolder=https:///x\n");
    QTest::newRow("words") << QByteArray("[Maker]\nFeedFolder=our server\n");
    QTest::newRow("plain events") << QByteArray("[Analytics]\nEndpoint=http://a.example/collect\n");
    QTest::newRow("other path") << QByteArray("[Analytics]\nEndpoint=https://a.example/log\n");
    QTest::newRow("not a file of this form") << QByteArray("\0\xff[[[", 5);
  }

  void addressesThatAreNotWebAddressesReadAsEmpty() {
    QFETCH(QByteArray, line);
    const auto directory = directoryWith(line);
    QVERIFY(directory);
    const Branding branding = Branding::load({directory->path()});
    QVERIFY(branding.feedFolder.isEmpty());
    QVERIFY(branding.analyticsEndpoint.isEmpty());
  }

  void theSearchPathComesFromTheEnvironment() {
    qputenv("XDG_CONFIG_DIRS", "/a::/b");
    QCOMPARE(Branding::systemConfigDirectories(), QStringList({QStringLiteral("/a"), QStringLiteral("/b")}));
    qunsetenv("XDG_CONFIG_DIRS");
    QCOMPARE(Branding::systemConfigDirectories(), QStringList(QStringLiteral("/etc/xdg")));
  }
};

QTEST_GUILESS_MAIN(TestBranding)
#include "test_branding.moc"
