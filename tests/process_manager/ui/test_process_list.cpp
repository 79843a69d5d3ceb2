#include <QListView>
#include <QtTest>

#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_process_table.h"
#include "platform/fake/fake_running_applications.h"
#include "process_manager/processes_manager.h"
#include "process_manager/ui/process_tableview_controller.h"
#include "support/texts.h"

using namespace halvard;

namespace {

using Application = std::shared_ptr<FakeRunningApplication>;

struct List {
  FakeProcessTable table;
  FakeRunningApplications applications;
  FakeClock clock;
  ProcessesManager processes{table, applications, clock};
  bool canShowAds = true;
  ProcessTableviewController controller{processes, [this] { return canShowAds; }, nullptr};
  QListView& view = controller.table();
  Application mail = applications.add(10, text("Mail"));
  Application web = applications.add(20, text("Web"));

  void show(std::initializer_list<std::pair<Application, std::optional<ByteCount>>> sizes) {
    ApplicationEntries entries;
    for (const auto& [app, size] : sizes)
      entries.push_back({app->processIdentifier(), size, app, app->name, app->iconName, {}, {}});
    controller.showApps(std::make_shared<const ApplicationEntries>(std::move(entries)));
  }
  // What a row shows.
  QString texts(int row) const {
    const QModelIndex index = view.model()->index(row, 0);
    return index.data().toString() + u' ' + index.data(ProcessListModel::SizeRole).toString();
  }
};

QString texts(const QMenu& menu) {
  QStringList result;
  for (const QAction* action : menu.actions())
    result << (action->isSeparator() ? text("-") : action->text());
  return result.join(u'|');
}

}  // namespace

class TestProcessList : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void listArrivesFromTheManager() {
    List list;
    list.table.add(10, 1, text("mail"), 5000);
    QVERIFY(list.controller.isWaitingForFirstList());
    list.controller.updateApps();
    list.controller.updateApps();
    QTRY_COMPARE(list.view.model()->rowCount(), 1);
    QVERIFY(!list.controller.isWaitingForFirstList());
    QCOMPARE(list.table.readings(), 1);  // the second request found one on its way
    QCOMPARE(list.texts(0), text("Mail 4.88 KB"));
    list.mail->name.reset();
    list.show({{list.mail, std::nullopt}});
    QCOMPARE(list.texts(0), text("Unknown "));
  }

  void onlyRowsThatShowSomethingElseAreRepainted() {
    List list;
    list.show({{list.mail, 1 << 30}, {list.web, 1 << 20}});
    QSignalSpy changes(list.view.model(), &QAbstractItemModel::dataChanged);
    QSignalSpy resets(list.view.model(), &QAbstractItemModel::modelReset);
    list.show({{list.mail, (1 << 30) + 4096}, {list.web, 1 << 20}});
    QCOMPARE(changes.size(), 0);
    list.show({{list.mail, 1 << 30}, {list.web, 1 << 21}});
    QCOMPARE(changes.size(), 1);
    QCOMPARE(changes[0][0].toModelIndex().row(), 1);
    QCOMPARE(resets.size(), 0);
  }

  void selectionStaysOnItsRow() {
    List list;
    list.show({{list.mail, 2000}, {list.web, 1000}});
    list.view.setCurrentIndex(list.view.model()->index(1, 0));
    list.show({{list.web, 3000}, {list.mail, 2000}});
    QCOMPARE(list.view.currentIndex().row(), 1);
    QCOMPARE(list.view.currentIndex().data().toString(), text("Mail"));
    const Application third = list.applications.add(30, text("Music"));
    list.show({{list.web, 3000}, {third, 2500}, {list.mail, 2000}});
    QCOMPARE(list.view.currentIndex().row(), 1);
    list.show({{list.web, 3000}});
    QVERIFY(!list.view.currentIndex().isValid());
  }

  void rowMenuActsOnTheApplicationItWasOpenedFor() {
    List list;
    list.show({{list.mail, 2000}, {list.web, 1000}});
    QMenu menu;
    for (const int noRow : {2, -1}) {
      list.controller.menuNeedsUpdate(menu, noRow);
      QVERIFY(menu.isEmpty());
    }
    list.controller.menuNeedsUpdate(menu, 0);
    QCOMPARE(texts(menu), text("Activate|-|Quit|Force Quit"));
    list.show({{list.web, 3000}, {list.mail, 2000}});
    // What has ended by the last of them is asked nothing more.
    for (const int action : {0, 2, 3, 3})
      menu.actions().at(action)->trigger();
    QCOMPARE(list.mail->activations, 1);
    QCOMPARE(list.mail->terminateRequests, 1);
    QCOMPARE(list.mail->forceTerminateRequests, 1);
    QCOMPARE(list.web->activations + list.web->terminateRequests + list.web->forceTerminateRequests, 0);
    list.canShowAds = false;
    list.controller.menuNeedsUpdate(menu, 0);
    QCOMPARE(texts(menu), text("Activate"));
  }

  void doubleClickAndReturnOpenTheApplicationEvenWhenItHasEnded() {
    List list;
    list.show({{list.mail, 2000}, {list.web, 1000}});
    list.controller.doubleClickAction(1);
    QCOMPARE(list.web->activations, 1);
    list.view.setCurrentIndex(list.view.model()->index(0, 0));
    for (const bool terminated : {false, true}) {
      list.mail->terminated = terminated;
      QTest::keyClick(&list.view, Qt::Key_Return);
      QCOMPARE(list.mail->activations, terminated ? 2 : 1);
    }
  }
};

QTEST_MAIN(TestProcessList)
#include "test_process_list.moc"
