#include <QtTest>

#include "app/disk_section.h"
#include "menubar/panel_window.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_defaults_store.h"
#include "platform/fake/fake_disk.h"
#include "platform/fake/fake_distributed_notification_center.h"
#include "platform/fake/fake_process_table.h"
#include "platform/fake/fake_running_applications.h"
#include "platform/fake/fake_status_bar_item.h"
#include "platform/fake/fake_workspace.h"
#include "platform/ports/window_hints.h"
#include "preferences/preferences_model.h"
#include "process_manager/processes_manager.h"

using namespace halvard;

namespace {

/// No folder can be opened.
struct NoFolders : FolderReader {
  std::unique_ptr<OpenFolder> open(const QByteArray&) const override { return nullptr; }
  std::optional<EntryAttributes> attributes(const QByteArray&) const override { return {}; }
  std::optional<QByteArray> canonicalPath(const QByteArray&) const override { return {}; }
};

struct Switch : StartAtLoginSwitch {
  void setIsEnabledForHelperApp(bool, const std::function<void()>&) override {}
};

struct Hints : WindowHints {
  bool blendsWindows() const override { return true; }
  void hideFromWindowList(std::uint64_t) override {}
};

struct Parts : PanelParts {
  explicit Parts(DiskSection& owner) : disk(owner) {}
  std::unique_ptr<PanelProcessList> makeProcessList(QWidget*) override { return nullptr; }
  std::unique_ptr<PanelDiskUsage> makeDiskUsage(QWidget* parent) override { return disk.makeDiskUsage(parent); }
  bool isCanShowAds() const override { return true; }
  bool startsWithDiskUsage() const override { return disk.startsWithDiskUsage(); }
  DiskSection& disk;
};

/// The section and its panel, as the program joins them.
struct Program {
  explicit Program(bool granted) {
    access.readable = {"/"};
    if (granted) section.access().saveAccessToDisk();
    panel.emplace(clock, defaults, notifications, item, parts, hints);
    section.join(*panel);
    panel->awakeFromNib();
  }
  int running() const {
    int count = 0;
    for (std::size_t query = 0; query < queries.asked.size(); ++query)
      count += queries.isRunning(query) ? 1 : 0;
    return count;
  }

  FakeClock clock;
  FakeDefaultsStore store;
  ShowcaseDefaults defaults{store, clock, QStringLiteral("1.0")};
  Switch startAtLogin;
  PreferencesModel preferences{store, startAtLogin};
  NotificationCenter notifications;
  FakeDistributedNotificationCenter distributed;
  FakeProcessTable table;
  FakeRunningApplications applications;
  ProcessesManager processes{table, applications, clock};
  Branding branding = Branding::load({});
  NoFolders reader;
  FakeApplicationCatalog catalog;
  FakeLastUsedDates dates;
  FakeBackgroundPriority priority;
  FakeStandardFolders folders{"/home/x"};
  FakeFolderAccess access;
  FakeFileMetadataQueries queries;
  FakeWorkspace workspace;
  DiskPlatform platform{reader, catalog, dates, priority, folders, access, queries, workspace};
  DiskSection section{{platform,
                       clock,
                       defaults,
                       preferences,
                       notifications,
                       distributed,
                       processes,
                       branding,
                       QStringLiteral("Halvard"),
                       {}}};
  Parts parts{section};
  FakeStatusBarItem item;
  Hints hints;
  std::optional<PanelWindow> panel;
};

}  // namespace

class TestDiskSection : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void startsWithAScanWhenGrantedAndWanted() {
    Program ungranted(false);
    QVERIFY(!ungranted.panel->isWindowWithDetailedAd());
    QCOMPARE(ungranted.queries.asked.size(), 0U);
    Program granted(true);
    QVERIFY(granted.panel->isWindowWithDetailedAd());
    QCOMPARE(granted.running(), 3);
    granted.preferences.scanDiskUsageAtAppStartUp().setValue(false);
    QVERIFY(!granted.section.startsWithDiskUsage());
  }

  void theSectionsWishReachesThePanel() {
    Program program(false);
    program.panel->processActionOfStatusItem(false);
    QCOMPARE(program.panel->height(), 220 + 100);
    program.section.access().saveAccessToDisk();
    program.section.controller()->showDetailedDiskUsagePressedBlueButton();
    QTRY_VERIFY(program.section.controller()->isScanning());
    QCOMPARE(program.panel->height(), 220 + 250);
    QCOMPARE(program.section.controller()->view()->y(), 220);
  }

  void closingThePanelEndsTheSearchAndOpeningGoesOn() {
    Program program(true);
    program.panel->processActionOfStatusItem(false);
    program.queries.answer(1, {});
    program.panel->close();
    QCOMPARE(program.running(), 0);
    program.panel->processActionOfStatusItem(false);
    QVERIFY(program.section.controller()->isScanning());
    QTRY_VERIFY(program.running() >= 2);
  }

  void aRunningToolIsActivated() {
    Program program(true);
    program.table.add(70, 1, QStringLiteral("baobab"), ByteCount{1} << 20);
    const auto tool = program.applications.add(70, QStringLiteral("Baobab"));
    tool->url = QUrl::fromLocalFile(QStringLiteral("/usr/share/applications/org.gnome.baobab.desktop"));
    RunningTools tools(program.processes);
    QTRY_VERIFY(tools.find(QStringLiteral("org.gnome.baobab")));
    QVERIFY(tools.find(QStringLiteral("org.gnome.baobab.desktop")));
    QVERIFY(!tools.find(QStringLiteral("baobab")));
    tool->terminated = true;
    QVERIFY(!tools.find(QStringLiteral("org.gnome.baobab")));
  }
};

QTEST_MAIN(TestDiskSection)
#include "test_disk_section.moc"
