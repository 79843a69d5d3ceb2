#include <QLabel>
#include <QtTest>
#include <cmath>

#include "login/run_at_login_manager.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_defaults_store.h"
#include "platform/fake/fake_distributed_notification_center.h"
#include "platform/fake/fake_login_item_service.h"
#include "preferences/cleaning_exclusions.h"
#include "preferences/cleaning_frequency.h"
#include "preferences/showcase_defaults.h"
#include "preferences/stored_keys.h"
#include "preferences/ui/autostart_popup_wc.h"
#include "preferences/ui/autostart_window.h"
#include "preferences/ui/preferences_window.h"
#include "preferences/ui/preferences_window_controller.h"
#include "support/accessible_names.h"
#include "widgets/alert_window.h"
#include "widgets/check_box.h"
#include "widgets/pop_up_list.h"
#include "widgets/text_field.h"
#include "widgets/value_slider.h"

using namespace halvard;
using halvard::test::namelessControls;
using namespace std::chrono_literals;

namespace {

QString latin(const char* text) {
  return QString::fromLatin1(text);
}

const QString program = latin("/opt/main/main");

struct Desk {
  FakeDefaultsStore store;
  FakeClock clock;
  FakeLoginItemService loginItems;
  FakeDistributedNotificationCenter notifications;
  HalvardRunAtLoginManager startAtLogin{loginItems, notifications, latin("com.example.Main"), program};
  PreferencesModel model{store, startAtLogin};
  ShowcaseDefaults defaults{store, clock, latin("1.0")};
};

struct Listener : PreferenceItemListener {
  void preferenceItemDidChangeValue(PreferenceItemBase&) override { ++changes; }
  void preferenceItemDidRejectValue(PreferenceItemBase&) override {}
  int changes = 0;
};

QString description(PreferencesWindowController& controller) {
  return controller.window().autoCleanUpMemoryFullDescriptionTextField->text();
}

}  // namespace

class TestPreferencesWindow : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void intervalIsFoundWithinTenSecondsAndReadsBriefly() {
    for (const auto& [stored, index] :
         {std::pair(7200.0, 11), {300.0, 2}, {309.5, 2}, {310.0, 7}, {2700.0, 7}, {std::nan(""), 7}})
      QCOMPARE(cleaning_frequency::indexOf(stored), index);
    QCOMPARE(cleaning_frequency::briefText(40min), latin("40 min"));
    QCOMPARE(cleaning_frequency::briefText(60min), latin("1 hr"));
    QCOMPARE(cleaning_frequency::briefText(90min), latin("1 hr 30 min"));
  }

  void everyClickIsStoredAndToldOnce() {
    Desk desk;
    PreferencesWindowController controller(desk.model, desk.defaults, desk.startAtLogin);
    PreferencesWindow& window = controller.window();
    const std::pair<CheckBox*, PreferenceItem<bool>*> boxes[] = {
        {window.scanDiskUsageCheckBox, &desk.model.scanDiskUsageAtAppStartUp()},
        {window.showNotificationAfreFreeUpButton, &desk.model.showNotificationAfreFreeUp()},
        {window.cleanupMemoryIfLargeAppQuitsButton, &desk.model.shouldCleanupMemoryIfLargeAppQuits()},
        {window.cleanUpMemoryAutomatically, &desk.model.autoFreeUpMemory()},
    };
    for (const auto& [box, item] : boxes) {
      Listener listener;
      item->listeners.add(listener);
      QCOMPARE(box->isChecked(), item->value());
      box->click();
      QCOMPARE(item->value(), box->isChecked());
      QCOMPARE(listener.changes, 1);
      item->setValue(!item->value());
      QCOMPARE(box->isChecked(), item->value());
      QCOMPARE(listener.changes, 2);
    }
  }

  void exclusionsAreKeptAsNames() {
    Desk desk;
    CleaningExclusions exclusions(desk.store);
    QVERIFY(exclusions.add(latin("gimp")));
    PreferencesWindowController controller(desk.model, desk.defaults, desk.startAtLogin);
    controller.showWindow();
    TextField& field = *controller.window().exclusionsField;
    QCOMPARE(field.text(), latin("gimp"));
    field.setText(latin("gimp,  Web Browser,, GIMP,"));
    QTest::keyClick(&field, Qt::Key_Return);
    QCOMPARE(exclusions.names(), (QStringList{latin("gimp"), latin("Web Browser")}));
    QCOMPARE(field.text(), latin("gimp, Web Browser"));
    // What the command line has added meanwhile stays, unless the user edits.
    QVERIFY(exclusions.add(latin("mail")));
    QTest::keyClick(&field, Qt::Key_Return);
    QCOMPARE(exclusions.names().size(), 3);
    controller.showWindow();
    QCOMPARE(field.text(), latin("gimp, mail, Web Browser"));
    field.clear();
    QTest::keyClick(&field, Qt::Key_Return);
    QCOMPARE(exclusions.names(), QStringList());
  }

  void slidersAndListWriteWhatTheyShow() {
    Desk desk;
    PreferencesWindowController controller(desk.model, desk.defaults, desk.startAtLogin);
    PreferencesWindow& window = controller.window();
    QCOMPARE(window.cpuUsageSlider->doubleValue(), 0.9);
    controller.cpuUsageSliderSelector(1.0);
    QCOMPARE(desk.model.cpuUsageLimitToAutofree().value(), 1.1 - 1.0);
    QCOMPARE(window.cpuUsageSlider->doubleValue(), 1.0);
    window.memoryUsageSlider->triggerAction(QAbstractSlider::SliderSingleStepAdd);
    QCOMPARE(desk.model.memoryUsageLimitToAutofree().value(), 0.85);
    controller.frequencySliderSelector(14.7);
    QCOMPARE(desk.model.frequencyForToAutofree().value(), 28800.0);
    QCOMPARE(window.frequencySlider->doubleValue(), 14.0);
    controller.frequencySliderSelector(15);
    QCOMPARE(desk.model.frequencyForToAutofree().value(), 28800.0);
    desk.model.frequencyForToAutofree().setValue(300);
    QCOMPARE(window.frequencySlider->doubleValue(), 2.0);
    window.visionComboBox->setCurrentIndex(3);
    Q_EMIT window.visionComboBox->activated(3);
    QCOMPARE(desk.model.visionIndex().value(), 3);
  }

  void descriptionSpellsOutTheRule() {
    Desk desk;
    PreferencesWindowController controller(desk.model, desk.defaults, desk.startAtLogin);
    const QString hint = latin("*Check on to free up system memory automatically.");
    QCOMPARE(description(controller), hint);
    desk.model.autoFreeUpMemory().setValue(true);
    QCOMPARE(
        description(controller),
        latin("*Free up automatically every 4 hr if memory usage is more than 80% and if CPU usage is less than 20%."));
    controller.cpuUsageSliderSelector(1.0);
    controller.frequencySliderSelector(10);
    QCOMPARE(description(controller), latin("*Free up automatically every 1 hr 30 min if memory usage is more than 80% "
                                            "and if CPU usage is less than 10%."));
    desk.model.autoFreeUpMemory().setValue(false);
    QCOMPARE(description(controller), hint);
  }

  void everyControlHasANameForScreenReadersAndASliderItsFigure() {
    Desk desk;
    PreferencesWindowController controller(desk.model, desk.defaults, desk.startAtLogin);
    QCOMPARE(namelessControls(controller.window()).join(QLatin1Char(' ')), QString());
    desk.model.cpuUsageLimitToAutofree().setValue(0.3);
    QCOMPARE(controller.window().cpuUsageSlider->accessibleDescription(), latin("30%"));
  }

  void formerStartAtLoginIsCarriedOver() {
    for (const bool wasOn : {true, false}) {
      Desk desk;
      desk.store.setObject(stored_keys::autoStart, {true});
      if (wasOn) desk.loginItems.sessionItems = {{latin("main"), program}};
      const PreferencesWindowController controller(desk.model, desk.defaults, desk.startAtLogin);
      QVERIFY(!desk.store.objectForKey(stored_keys::autoStart));
      QVERIFY(desk.loginItems.sessionItems.empty());
      QCOMPARE(desk.startAtLogin.isEnabledToAutoLaunchWithHelperApp(), wasOn);
    }
  }

  void startAtLoginFollowsThePlatform() {
    Desk desk;
    PreferencesWindowController controller(desk.model, desk.defaults, desk.startAtLogin);
    CheckBox& box = *controller.window().launchAtLoginButton;
    box.click();
    QVERIFY(desk.startAtLogin.isEnabledToAutoLaunchWithHelperApp());
    QVERIFY(!desk.defaults.showAutostartPopupAfterPurge());
    desk.loginItems.jobs.clear();
    controller.showWindow();
    QVERIFY(!box.isChecked());
  }

  void refusalIsToldAndTheBoxGoesBack() {
    Desk desk;
    desk.loginItems.refuses = true;
    PreferencesWindowController controller(desk.model, desk.defaults, desk.startAtLogin);
    controller.showWindow();
    CheckBox& box = *controller.window().launchAtLoginButton;
    box.click();
    auto* alert = controller.window().findChild<AlertWindow*>();
    QVERIFY(alert);
    const QList<QLabel*> lines = alert->findChildren<QLabel*>();
    QCOMPARE(lines.size(), 2);
    QCOMPARE(lines[0]->text(), latin("An error ocurred"));
    QCOMPARE(lines[1]->text(), latin("Couldn't add Helper App to launch at login item list."));
    QCOMPARE(alert->findChildren<QAbstractButton*>().size(), 1);
    alert->findChild<QAbstractButton*>()->click();
    QVERIFY(!box.isChecked());
  }

  void offerSwitchesBothOnOrNeverComesAgain() {
    Desk desk;
    AutostartPopupWC offer(desk.model, desk.defaults);
    QVERIFY(AutostartPopupWC::shouldBeShown(desk.startAtLogin));
    offer.setCleanedSize(104'857'601);
    QCOMPARE(offer.window().cleanedSizeLabel->text(), latin("You have cleaned <b>100 MB</b> of memory."));
    offer.window().show();
    offer.window().yesButton->click();
    QVERIFY(!offer.window().isVisible());
    QVERIFY(desk.model.autoFreeUpMemory().value());
    QVERIFY(!AutostartPopupWC::shouldBeShown(desk.startAtLogin));
    QVERIFY(desk.defaults.showAutostartPopupAfterPurge());
    offer.window().noButton->click();
    QVERIFY(!desk.defaults.showAutostartPopupAfterPurge());
  }
};

QTEST_MAIN(TestPreferencesWindow)
#include "test_preferences_window.moc"
