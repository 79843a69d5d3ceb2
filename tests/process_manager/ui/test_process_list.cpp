#include <QListView>
#include <QSignalSpy>
#include <QtTest>

#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_process_table.h"
#include "platform/fake/fake_running_applications.h"
#include "process_manager/processes_manager.h"
#include "process_manager/ui/process_tableview_controller.h"

using namespace halvard;

namespace {

ApplicationEntry entry(const std::shared_ptr<FakeRunningApplication>& application, std::optional<ByteCount> size) {
  ApplicationEntry result;
  result.pid = application->processIdentifier();
  result.app = application;
  result.name = application->name;
  result.icon = application->iconName;
  result.size = size;
  return result;
}

ApplicationList listOf(ApplicationEntries entries) {
  return std::make_shared<const ApplicationEntries>(std::move(entries));
}

struct List {
  FakeProcessTable table;
  FakeRunningApplications applications;
  FakeClock clock;
  ProcessesManager processes{table, applications, clock};
  bool canShowAds = true;
  ProcessTableviewController controller{processes, [this] { return canShowAds; }, nullptr};
  std::shared_ptr<FakeRunningApplication> mail = applications.add(10, QStringLiteral("Mail"));
  std::shared_ptr<FakeRunningApplication> web = applications.add(20, QStringLiteral("Web"));
};

QStringList texts(const QMenu& menu) {
  QStringList result;
  for (const QAction* action : menu.actions())
    result << (action->isSeparator() ? QStringLiteral("-") : action->text());
  return result;
}

}  // namespace

class TestProcessList : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void listArrivesFromTheManager() {
    List list;
    list.table.add(10, 1, QStringLiteral("mail"), 5000);
    QVERIFY(list.controller.isWaitingForFirstList());
    list.controller.updateApps();
    list.controller.updateApps();
    QAbstractItemModel* model = list.controller.table().model();
    QTRY_COMPARE(model->rowCount(), 1);
    QVERIFY(!list.controller.isWaitingForFirstList());
    QCOMPARE(list.table.readings(), 1);  // the second request found one on its way
    QCOMPARE(model->index(0, 0).data().toString(), QStringLiteral("Mail"));
    QCOMPARE(model->index(0, 0).data(ProcessListModel::SizeRole).toString(), QStringLiteral("4.88 KB"));
    list.mail->name.reset();
    list.controller.showApps(listOf({entry(list.mail, std::nullopt)}));
    QCOMPARE(model->index(0, 0).data().toString(), QStringLiteral("Unknown"));
    QCOMPARE(model->index(0, 0).data(ProcessListModel::SizeRole).toString(), QString());
  }

  void onlyRowsThatShowSomethingElseAreRepainted() {
    List list;
    list.controller.showApps(listOf({entry(list.mail, 1 << 30), entry(list.web, 1 << 20)}));
    QSignalSpy changes(list.controller.table().model(), &QAbstractItemModel::dataChanged);
    QSignalSpy resets(list.controller.table().model(), &QAbstractItemModel::modelReset);
    list.controller.showApps(listOf({entry(list.mail, (1 << 30) + 4096), entry(list.web, 1 << 20)}));
    QCOMPARE(changes.size(), 0);
    list.controller.showApps(listOf({entry(list.mail, 1 << 30), entry(list.web, 1 << 21)}));
    QCOMPARE(changes.size(), 1);
    QCOMPARE(changes[0][0].toModelIndex().row(), 1);
    QCOMPARE(resets.size(), 0);
  }

  void selectionStaysOnItsRow() {
    List list;
    list.controller.showApps(listOf({entry(list.mail, 2000), entry(list.web, 1000)}));
    QListView& table = list.controller.table();
    table.setCurrentIndex(table.model()->index(1, 0));
    list.controller.showApps(listOf({entry(list.web, 3000), entry(list.mail, 2000)}));
    QCOMPARE(table.currentIndex().row(), 1);
    QCOMPARE(table.currentIndex().data().toString(), QStringLiteral("Mail"));
    const auto third = list.applications.add(30, QStringLiteral("Music"));
    list.controller.showApps(listOf({entry(list.web, 3000), entry(third, 2500), entry(list.mail, 2000)}));
    QCOMPARE(table.currentIndex().row(), 1);
    list.controller.showApps(listOf({entry(list.web, 3000)}));
    QVERIFY(!table.currentIndex().isValid());
  }

  void rowMenuActsOnTheApplicationItWasOpenedFor() {
    List list;
    list.controller.showApps(listOf({entry(list.mail, 2000), entry(list.web, 1000)}));
    QMenu menu;
    list.controller.menuNeedsUpdate(menu, 2);
    QVERIFY(menu.isEmpty());
    list.controller.menuNeedsUpdate(menu, -1);
    QVERIFY(menu.isEmpty());
    list.controller.menuNeedsUpdate(menu, 0);
    QCOMPARE(texts(menu), (QStringList{QStringLiteral("Activate"), QStringLiteral("-"), QStringLiteral("Quit"),
                                       QStringLiteral("Force Quit")}));
    list.controller.showApps(listOf({entry(list.web, 3000), entry(list.mail, 2000)}));
    menu.actions().at(0)->trigger();
    QCOMPARE(list.mail->activations, 1);
    QCOMPARE(list.web->activations, 0);
    menu.actions().at(2)->trigger();
    QCOMPARE(list.mail->terminateRequests, 1);
    QCOMPARE(list.web->terminateRequests, 0);
    menu.actions().at(3)->trigger();
    QCOMPARE(list.mail->forceTerminateRequests, 1);
    menu.actions().at(3)->trigger();  // it has ended: nothing more is asked of it
    QCOMPARE(list.mail->forceTerminateRequests, 1);
    list.canShowAds = false;
    list.controller.menuNeedsUpdate(menu, 0);
    QCOMPARE(texts(menu), QStringList{QStringLiteral("Activate")});
  }

  void doubleClickAndReturnBringTheApplicationForward() {
    List list;
    list.controller.showApps(listOf({entry(list.mail, 2000), entry(list.web, 1000)}));
    QListView& table = list.controller.table();
    list.controller.doubleClickAction(1);
    QCOMPARE(list.web->activations, 1);
    table.setCurrentIndex(table.model()->index(0, 0));
    QTest::keyClick(&table, Qt::Key_Return);
    QCOMPARE(list.mail->activations, 1);
    list.mail->terminated = true;
    QTest::keyClick(&table, Qt::Key_Return);
    QCOMPARE(list.mail->activations, 1);
  }
};

QTEST_MAIN(TestProcessList)
#include "test_process_list.moc"
