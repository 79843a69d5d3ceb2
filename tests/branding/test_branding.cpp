#include <QtTest>

#include "branding/branding.h"
#include "support/test_folder.h"
#include "support/texts.h"

using namespace halvard;

class TestBranding : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void asShippedNothingLeavesTheMachine() {
    const Branding shipped = Branding::load({});
    for (const QUrl& url :
         {shipped.productPage, shipped.storePage, shipped.feedFolder, shipped.updateFeed, shipped.analyticsEndpoint})
      QCOMPARE(url, QUrl());
    QVERIFY(shipped.supportAddress.isEmpty() && shipped.analyticsTrackingId.isEmpty());
  }

  void everyRoleNamesAToolAndAlternativesThatASoftwareCentreKnows() {
    const Branding branding = Branding::load({});
    QCOMPARE(branding.siblings.size(), std::size(kSiblingApps));
    for (const auto& [role, sibling] : branding.siblings) {
      QVERIFY(!sibling.own.name.isEmpty() && !sibling.own.identifiers.isEmpty() && !sibling.alternatives.empty());
      for (const Tool& tool : sibling.alternatives)
        QVERIFY(!tool.name.isEmpty() && !tool.identifiers.isEmpty() && !tool.appStreamId.isEmpty());
    }
  }

  void theFirstDirectoryThatHasAValueWins() {
    const TestFolder first, second;
    first.write("halvard/branding.ini", "[Maker]\nFeedFolder=https://a.example/feeds\nSupportAddress=\n");
    second.write("halvard/branding.ini",
                 "[Maker]\nFeedFolder=https://b.example/\nSupportAddress=help@b.example\n"
                 "ProductPage=\"https://b.example/?a=1,2;3\"\n");
    const Branding branding = Branding::load({first.path(), text("/nonexistent"), second.path()});
    QCOMPARE(branding.feedFolder, QUrl(text("https://a.example/feeds/")));
    QVERIFY2(branding.supportAddress.isEmpty(), "an empty value silences what a later file says");
    QCOMPARE(branding.productPage.toString(), text("https://b.example/?a=1,2;3"));
    QCOMPARE(branding.siblings.at(SiblingApp::DiskAnalyzer).own.name, text("Quorrel"));
  }

  void addressesThatAreNotWebAddressesReadAsEmpty() {
    for (const char* lines :
         {"[Maker]\nFeedFolder=file:///etc/", "[Maker]\nFeedFolder=https:///x", "[Maker]\nFeedFolder=our server",
          "[Analytics]\nEndpoint=http://a.example/collect", "[Analytics]\nEndpoint=https://a.example/log", "\xff[[["}) {
      const TestFolder folder;
      folder.write("halvard/branding.ini", lines);
      const Branding branding = Branding::load({folder.path()});
      QVERIFY2(branding.feedFolder.isEmpty() && branding.analyticsEndpoint.isEmpty(), lines);
    }
  }

  void theSearchPathComesFromTheEnvironment() {
    qputenv("XDG_CONFIG_DIRS", "/a::/b");
    QCOMPARE(Branding::systemConfigDirectories(), texts({"/a", "/b"}));
    qunsetenv("XDG_CONFIG_DIRS");
    QCOMPARE(Branding::systemConfigDirectories(), texts({"/etc/xdg"}));
  }
};

QTEST_GUILESS_MAIN(TestBranding)
#include "test_branding.moc"
