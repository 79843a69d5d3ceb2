#include <QtTest>

#include "files_searcher/ui/disk_usage_fixture.h"
#include "files_searcher/uninstaller_mistaken_folders_remover.h"
#include "preferences/stored_keys.h"

using namespace halvard;
using namespace std::chrono_literals;

namespace {

QAbstractButton* button(DiskUsage& usage, const QString& text) {
  for (auto* const found : usage.section->view()->findChildren<QAbstractButton*>()) {
    if (found->text() == text && found->isVisibleTo(usage.section->view())) return found;
  }
  return nullptr;
}

QStringList figures(DiskUsage& usage) {
  QStringList texts;
  for (auto* const row : usage.section->view()->findChildren<DiskFigureRow*>())
    texts << row->figure();
  return texts;
}

AdBasedOnSpotlightView* page(DiskUsage& usage, SiblingApp type) {
  for (auto* const found : usage.section->view()->findChildren<AdBasedOnSpotlightView*>()) {
    if (found->getType() == type) return found;
  }
  return nullptr;
}

void grant(DiskUsage& usage) {
  usage.grants.readable = {"/"};
  usage.access.saveAccessToDisk();
}

void showDetailed(DiskUsage& usage) {
  usage.section->changeToCompactMode(false, false);
  usage.section->completionChangeToCompactMode(false);
}

}  // namespace

class TestDiskUsage : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void asksUntilTheRightFolderIsChosen() {
    DiskUsage usage;
    usage.start();
    int wanted = 0;
    usage.notifications.addObserver(AdBasedOnSpotlightVC::showDetailedDiskUsagePressedNotificationName(), this,
                                    [&](const QVariant&) { ++wanted; });
    QCOMPARE(usage.section->getViewHeightForMode(AdBasedOnSpotlightVC::Compact), 100.0F);
    button(usage, QStringLiteral("Analyze Disk"))->click();
    QCOMPARE(usage.panels.asked.last(),
             QStringLiteral("Please grant access to the Startup Disk to analyze|Grant Access|/"));
    usage.panels.choose("/home");
    QCOMPARE(usage.panels.asked.last(),
             QStringLiteral("Please grant access to the Startup Disk|Select the Startup Disk and press the Grant "
                            "Access button."));
    usage.panels.dismiss();
    QCOMPARE(usage.panels.asked.size(), 3);
    usage.panels.answer(std::nullopt);
    QCOMPARE(wanted, 0);
    QVERIFY(!usage.store.objectForKey(stored_keys::diskAccessData));

    usage.grants.readable = {"/"};
    button(usage, QStringLiteral("Analyze Disk"))->click();
    usage.panels.choose("/");
    QCOMPARE(wanted, 1);
    QCOMPARE(usage.removals, 2);
    QVERIFY(usage.store.objectForKey(stored_keys::diskAccessData));
    usage.grants.readable.clear();
    QVERIFY(!usage.access.isDiskAccessible());
  }

  void reviewModeAsksForTheHomeFolder() {
    DiskUsage usage;
    usage.review = true;
    usage.start();
    button(usage, QStringLiteral("Analyze Disk"))->click();
    const QByteArray home = usage.paths.getHomeDirectory();
    QCOMPARE(usage.panels.asked.last(), QStringLiteral("Press the Confirm button to grant access to the Home folder|"
                                                       "Confirm|") +
                                            QString::fromUtf8(home));
    usage.panels.choose("/");
    QCOMPARE(usage.panels.asked.last(), QStringLiteral("Please grant access to the Home folder|Select the Home folder "
                                                       "and press the Confirm button."));
    usage.panels.dismiss();
    usage.grants.readable = {home};
    usage.panels.choose(home);
    QVERIFY(usage.access.isUserFolderAccessible() && !usage.access.isDiskAccessible());
    QVERIFY(usage.store.objectForKey(QString::fromUtf8(home)));
  }

  void aFolderThatCannotBeRecordedIsNotGranted() {
    DiskUsage usage;
    usage.grants.refusesBookmarks = true;
    usage.grants.readable = {"/"};
    usage.start();
    button(usage, QStringLiteral("Analyze Disk"))->click();
    usage.panels.choose("/");
    QVERIFY(!usage.access.isDiskAccessible());
    QVERIFY(usage.section->getViewHeightForMode(AdBasedOnSpotlightVC::Compact) == 100.0F);
  }

  void figuresArriveOneByOneAndTheTotalLast() {
    DiskUsage usage;
    grant(usage);
    usage.start();
    showDetailed(usage);
    QVERIFY(usage.section->isScanning());
    QCOMPARE(usage.section->getViewHeightForMode(AdBasedOnSpotlightVC::Detailed), 250.0F);
    QCOMPARE(figures(usage), QStringList(4, QStringLiteral("...")));
    usage.answerAll(false);
    QTRY_COMPARE(figures(usage), (QStringList{QStringLiteral("0 bytes"), QStringLiteral("..."),
                                              QStringLiteral("23.3 GB"), QStringLiteral("3.17 GB")}));
    QVERIFY(button(usage, QStringLiteral("...")));
    usage.section->detailsButtonPressed();
    QCOMPARE(usage.section->state(), AdBasedOnSpotlightVC::Summary);
    usage.queries.answer(2, {{"/a", 900 << 20}, {"/b", 900 << 20}});
    QTRY_VERIFY(!usage.section->isScanning());
    QVERIFY(button(usage, QStringLiteral("28.2 GB")));

    // A second opening shows what is there without a new search.
    showDetailed(usage);
    QVERIFY(!usage.section->isScanning());
    QCOMPARE(usage.queries.asked.size(), 3u);
    button(usage, QStringLiteral("28.2 GB"))->click();
    QVERIFY(usage.section->isScanning());
    QCOMPARE(usage.queries.asked.size(), 6u);
    usage.section.reset();
    QVERIFY(!usage.queries.isRunning(3) && !usage.queries.isRunning(4) && !usage.queries.isRunning(5));
  }

  void pagesOpenAtTheOneLastSeen() {
    DiskUsage usage;
    grant(usage);
    usage.start();
    showDetailed(usage);
    usage.answerAll();
    QTRY_VERIFY(!usage.section->isScanning());
    usage.defaults.saveUnsignedLongLongValue(3, stored_keys::lastViewedSearchResults);
    usage.section->detailsButtonPressed();
    QCOMPARE(usage.section->state(), AdBasedOnSpotlightVC::LargeAndOld);
    usage.section->backButtonPressed();
    QCOMPARE(usage.section->state(), AdBasedOnSpotlightVC::LargeAndOld);
    QTRY_VERIFY((usage.section->backButtonPressed(), usage.section->state() == AdBasedOnSpotlightVC::Summary));
    usage.defaults.saveUnsignedLongLongValue(9, stored_keys::lastViewedSearchResults);
    QTRY_VERIFY((usage.section->detailsButtonPressed(), usage.section->state() == AdBasedOnSpotlightVC::JunkFiles));
    QCOMPARE(usage.defaults.getUnsignedLongLongValueForKey(stored_keys::lastViewedSearchResults, 0), 1u);
  }

  void toolsAreOpenedOrOffered() {
    DiskUsage usage;
    usage.workspace.installed << QStringLiteral("org.gnome.baobab");
    usage.start();
    AdBasedOnSpotlightView* const large = page(usage, SiblingApp::DiskAnalyzer);
    large->prepareForAppearance();
    QCOMPARE(large->getAppButton()->text(), QStringLiteral("Open Disk Usage Analyzer"));
    large->getAppButton()->click();
    QCOMPARE(usage.workspace.launched, QStringList{QStringLiteral("org.gnome.baobab")});
    QVERIFY(usage.offered.isEmpty());

    AdBasedOnSpotlightView* const junk = page(usage, SiblingApp::JunkCleaner);
    junk->prepareForAppearance();
    QCOMPARE(junk->getAppButton()->text(), QStringLiteral("Get BleachBit"));
    junk->getAppButton()->click();
    QCOMPARE(usage.offered, QList<int>{1});
    QCOMPARE(usage.workspace.opened.last(), QUrl(QStringLiteral("appstream:org.bleachbit.BleachBit")));

    usage.branding.siblings[SiblingApp::JunkCleaner].downloadPage = QUrl(QStringLiteral("https://example.org/junk"));
    QCOMPARE(usage.tools.getAdvertisementURL(SiblingApp::JunkCleaner).toEncoded(),
             QByteArray("https://example.org/junk?utm_source=Halvard&utm_medium=from%20app&utm_campaign=site"));
    QCOMPARE(usage.tools.offerForType(SiblingApp::JunkCleaner).name, QStringLiteral("Brimwell"));
    QVERIFY(usage.tools.getAdvertisementURL(SiblingApp::None).isEmpty());
  }

  void launchedToolIsAskedToScanWithinFiveSeconds_data() {
    QTest::addColumn<int>("seconds");
    QTest::addColumn<int>("scans");
    QTest::addRow("in time") << 4 << 1;
    QTest::addRow("too late") << 6 << 0;
  }
  void launchedToolIsAskedToScanWithinFiveSeconds() {
    QFETCH(int, seconds);
    QFETCH(int, scans);
    FakeClock clock;
    FakeDistributedNotificationCenter notifications;
    StartScanningInLaunchedAppManager launcher(notifications, clock);
    StartScanningInLaunchedAppManager tool(notifications, clock);
    StartScanningInLaunchedAppManager other(notifications, clock);
    int started = 0;
    tool.startScaningBlock = [&] { ++started; };
    other.startScaningBlock = [&] { started += 10; };
    launcher.prepareToAppLaunchingWithType(SiblingApp::None);
    launcher.prepareToAppLaunchingWithType(SiblingApp::DiskAnalyzer);
    clock.advance(std::chrono::seconds(seconds));
    other.appWithTypeDidFinishLaunching(SiblingApp::Uninstaller);
    tool.appWithTypeDidFinishLaunching(SiblingApp::DiskAnalyzer);
    QTRY_COMPARE(started, scans);
    tool.appWithTypeDidFinishLaunching(SiblingApp::DiskAnalyzer);
    QCOMPARE(started, scans);
  }

  void mistakenFolderIsRemovedAndNothingElse() {
    QTemporaryDir home;
    const QString parent = home.path() + QStringLiteral("/Library/Containers/org.x/Data/Library/Application Support");
    QVERIFY(QDir().mkpath(parent + QStringLiteral("/Tool/inside")) && QDir().mkpath(parent + QStringLiteral("/Other")));
    using namespace uninstaller_mistaken_folders_remover;
    for (const char* name : {"", "..", "../Tool"})
      removeContainer(home.path().toUtf8(), QString::fromLatin1(name), QStringLiteral("org.x"));
    QVERIFY(QDir(parent + QStringLiteral("/Tool")).exists());
    removeContainer(home.path().toUtf8(), QStringLiteral("Tool"), QStringLiteral("org.x"));
    QVERIFY(!QDir(parent + QStringLiteral("/Tool")).exists() && QDir(parent + QStringLiteral("/Other")).exists());
  }
};

QTEST_MAIN(TestDiskUsage)
#include "test_disk_usage.moc"
