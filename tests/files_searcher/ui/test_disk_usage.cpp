#include <QtTest>

#include "files_searcher/ui/disk_usage_fixture.h"
#include "files_searcher/uninstaller_mistaken_folders_remover.h"
#include "preferences/stored_keys.h"
#include "support/texts.h"

using namespace halvard;
using namespace std::chrono_literals;

namespace {

QAbstractButton* button(DiskUsage& usage, const char* label) {
  for (auto* const found : usage.section->view()->findChildren<QAbstractButton*>()) {
    if (found->text() == text(label) && found->isVisibleTo(usage.section->view())) return found;
  }
  return nullptr;
}

/// The button of a tool's page.
QAbstractButton* toolButton(DiskUsage& usage, SiblingApp type) {
  for (auto* const page : usage.section->view()->findChildren<AdBasedOnSpotlightView*>()) {
    if (page->getType() != type) continue;
    page->prepareForAppearance();
    return page->getAppButton();
  }
  return nullptr;
}

QStringList figures(DiskUsage& usage) {
  QStringList texts;
  for (auto* const row : usage.section->view()->findChildren<DiskFigureRow*>())
    texts << row->figure();
  return texts;
}

void showDetailed(DiskUsage& usage) {
  usage.section->changeToCompactMode(false, false);
  usage.section->completionChangeToCompactMode(false);
}

void startGranted(DiskUsage& usage) {
  usage.grants.readable = {"/"};
  usage.access.saveAccessToDisk();
  usage.start();
  showDetailed(usage);
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
    button(usage, "Analyze Disk")->click();
    usage.panels.choose("/home");
    usage.panels.dismiss();
    usage.panels.answer(std::nullopt);
    const QString panel = text("Please grant access to the Startup Disk to analyze|Grant Access|/");
    const QString alert =
        text("Please grant access to the Startup Disk|Select the Startup Disk and press the Grant Access button.");
    QCOMPARE(usage.panels.asked, (QStringList{panel, alert, panel}));

    // A folder that cannot be recorded is not granted either.
    usage.grants.readable = {"/"};
    for (const bool refuses : {true, false}) {
      QVERIFY(wanted == 0 && !usage.store.objectForKey(stored_keys::diskAccessData));
      usage.grants.refusesBookmarks = refuses;
      button(usage, "Analyze Disk")->click();
      usage.panels.choose("/");
      QCOMPARE(usage.access.isDiskAccessible(), !refuses);
    }
    QVERIFY(wanted == 1 && usage.store.objectForKey(stored_keys::diskAccessData));
    QCOMPARE(usage.removals, 3);
    usage.grants.readable.clear();
    QVERIFY(!usage.access.isDiskAccessible());
  }

  void reviewModeAsksForTheHomeFolder() {
    DiskUsage usage;
    usage.review = true;
    usage.start();
    button(usage, "Analyze Disk")->click();
    usage.panels.choose("/");
    QCOMPARE(usage.panels.asked,
             (QStringList{text("Press the Confirm button to grant access to the Home folder|Confirm|") + usage.home,
                          text("Please grant access to the Home folder|Select the Home folder and press the Confirm "
                               "button.")}));
    usage.panels.dismiss();
    usage.grants.readable = {usage.tree.path()};
    usage.panels.choose(usage.tree.path());
    QVERIFY(usage.access.isUserFolderAccessible() && !usage.access.isDiskAccessible());
    QVERIFY(usage.store.objectForKey(usage.home));
  }

  void figuresArriveOneByOneTheTotalLastAndThenTheirPages() {
    DiskUsage usage;
    startGranted(usage);
    QVERIFY(usage.section->isScanning());
    QCOMPARE(usage.section->getViewHeightForMode(AdBasedOnSpotlightVC::Detailed), 250.0F);
    QCOMPARE(figures(usage), QStringList(4, text("...")));
    usage.answerAllButDuplicates();
    QTRY_COMPARE(figures(usage), (QStringList{text("0 bytes"), text("..."), text("23.3 GB"), text("3.17 GB")}));
    QVERIFY(button(usage, "..."));
    usage.section->detailsButtonPressed();
    QCOMPARE(usage.section->state(), AdBasedOnSpotlightVC::Summary);
    usage.answerDuplicates();
    QTRY_VERIFY(!usage.section->isScanning());
    QVERIFY(button(usage, "28.2 GB"));

    // The pages open at the one last seen.
    usage.defaults.saveUnsignedLongLongValue(3, stored_keys::lastViewedSearchResults);
    usage.section->detailsButtonPressed();
    QCOMPARE(usage.section->state(), AdBasedOnSpotlightVC::LargeAndOld);
    usage.section->backButtonPressed();
    QCOMPARE(usage.section->state(), AdBasedOnSpotlightVC::LargeAndOld);
    QTRY_VERIFY((usage.section->backButtonPressed(), usage.section->state() == AdBasedOnSpotlightVC::Summary));
    usage.defaults.saveUnsignedLongLongValue(9, stored_keys::lastViewedSearchResults);
    QTRY_VERIFY((usage.section->detailsButtonPressed(), usage.section->state() == AdBasedOnSpotlightVC::JunkFiles));
    QCOMPARE(usage.defaults.getUnsignedLongLongValueForKey(stored_keys::lastViewedSearchResults, 0), 1u);
    QTRY_VERIFY((usage.section->backButtonPressed(), usage.section->state() == AdBasedOnSpotlightVC::Summary));

    // A second opening shows what is there without a new search.
    showDetailed(usage);
    QVERIFY(!usage.section->isScanning());
    QCOMPARE(usage.queries.asked.size(), 3u);
    button(usage, "28.2 GB")->click();
    QVERIFY(usage.section->isScanning());
    QCOMPARE(usage.queries.asked.size(), 6u);
    usage.section.reset();
    QVERIFY(!usage.queries.isRunning(3) && !usage.queries.isRunning(4) && !usage.queries.isRunning(5));
  }

  void toolsAreOpenedOrOffered() {
    DiskUsage usage;
    const QString analyzer = text("org.gnome.baobab");
    usage.workspace.installed.insert(analyzer, {});
    usage.start();
    QAbstractButton* const open = toolButton(usage, SiblingApp::DiskAnalyzer);
    QCOMPARE(open->text(), text("Open Disk Usage Analyzer"));
    open->click();
    QCOMPARE(usage.workspace.launched, QStringList{analyzer});
    QVERIFY(usage.offered.isEmpty());
    QAbstractButton* const get = toolButton(usage, SiblingApp::JunkCleaner);
    QCOMPARE(get->text(), text("Get BleachBit"));
    get->click();
    QCOMPARE(usage.offered, QList{SiblingApp::JunkCleaner});
    QCOMPARE(usage.workspace.opened.last(), QUrl(text("appstream:org.bleachbit.BleachBit")));

    usage.branding.siblings[SiblingApp::JunkCleaner].downloadPage = QUrl(text("https://example.org/junk"));
    QCOMPARE(usage.tools.getAdvertisementURL(SiblingApp::JunkCleaner).toEncoded(),
             QByteArray("https://example.org/junk?utm_source=Halvard&utm_medium=from%20app&utm_campaign=site"));
    QCOMPARE(usage.tools.offerForType(SiblingApp::JunkCleaner).name, text("Brimwell"));
    QVERIFY(usage.tools.getAdvertisementURL(SiblingApp::None).isEmpty());
  }

  void launchedToolIsAskedToScanOnceWithinFiveSeconds() {
    for (const auto& [delay, scans] : {std::pair(4s, 1), {6s, 0}}) {
      FakeClock clock;
      FakeDistributedNotificationCenter notifications;
      StartScanningInLaunchedAppManager launcher(notifications, clock), tool(notifications, clock),
          other(notifications, clock);
      int started = 0;
      tool.startScaningBlock = [&] { ++started; };
      other.startScaningBlock = [&] { started += 10; };
      for (const SiblingApp app : {SiblingApp::None, SiblingApp::DiskAnalyzer})
        launcher.prepareToAppLaunchingWithType(app);
      clock.advance(delay);
      other.appWithTypeDidFinishLaunching(SiblingApp::Uninstaller);
      for (int time = 0; time < 2; ++time) {
        tool.appWithTypeDidFinishLaunching(SiblingApp::DiskAnalyzer);
        QTRY_COMPARE(started, scans);
      }
    }
  }

  void mistakenFolderIsRemovedAndNothingElse() {
    DiskTree home;
    const QString parent =
        QFile::decodeName(home.path()) + text("/Library/Containers/org.x/Data/Library/Application Support");
    const auto remove = [&](const char* name) {
      uninstaller_mistaken_folders_remover::removeContainer(home.path(), text(name), text("org.x"));
      return !QDir(parent + text("/Tool")).exists();
    };
    QVERIFY(QDir().mkpath(parent + text("/Tool/inside")) && QDir().mkpath(parent + text("/Other")));
    for (const char* name : {"", "..", "../Tool", "Other/../Tool"})
      QVERIFY2(!remove(name), name);
    QVERIFY(remove("Tool") && QDir(parent + text("/Other")).exists());
  }
};

QTEST_MAIN(TestDiskUsage)
#include "test_disk_usage.moc"
