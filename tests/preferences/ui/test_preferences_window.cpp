#include <QLabel>
#include <QtTest>
#include <cmath>

#include "preferences/cleaning_exclusions.h"
#include "preferences/cleaning_frequency.h"
#include "preferences/stored_keys.h"
#include "preferences/ui/autostart_popup_wc.h"
#include "preferences/ui/autostart_window.h"
#include "preferences/ui/preferences_window.h"
#include "preferences/ui/preferences_window_controller.h"
#include "support/accessible_names.h"
#include "support/login_desk.h"
#include "support/texts.h"
#include "widgets/alert_window.h"
#include "widgets/check_box.h"
#include "widgets/pop_up_list.h"
#include "widgets/text_field.h"
#include "widgets/value_slider.h"

using namespace halvard;
using namespace halvard::test;
using namespace std::chrono_literals;

namespace {

/// The window on what it stands on.
struct Desk : LoginDesk {
  PreferencesWindow& open() { return controller.emplace(model, defaults, startAtLogin).window(); }
  std::optional<PreferencesWindowController> controller;
};

}  // namespace

class TestPreferencesWindow : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void intervalIsFoundWithinTenSecondsAndReadsBriefly() {
    for (const auto& [stored, index] :
         {std::pair(7200.0, 11), {300.0, 2}, {309.5, 2}, {310.0, 7}, {2700.0, 7}, {std::nan(""), 7}})
      QCOMPARE(cleaning_frequency::indexOf(stored), index);
    QCOMPARE(cleaning_frequency::briefText(40min), text("40 min"));
    QCOMPARE(cleaning_frequency::briefText(60min), text("1 hr"));
    QCOMPARE(cleaning_frequency::briefText(90min), text("1 hr 30 min"));
  }

  void everyClickIsStoredAndToldOnce() {
    Desk desk;
    PreferencesWindow& window = desk.open();
    const std::pair<CheckBox*, PreferenceItem<bool>*> boxes[] = {
        {window.scanDiskUsageCheckBox, &desk.model.scanDiskUsageAtAppStartUp()},
        {window.showNotificationAfreFreeUpButton, &desk.model.showNotificationAfreFreeUp()},
        {window.cleanupMemoryIfLargeAppQuitsButton, &desk.model.shouldCleanupMemoryIfLargeAppQuits()},
        {window.cleanUpMemoryAutomatically, &desk.model.autoFreeUpMemory()},
    };
    for (const auto& [box, item] : boxes) {
      ChangeListener listener;
      item->listeners.add(listener);
      const bool before = item->value();
      QCOMPARE(box->isChecked(), before);
      box->click();
      QCOMPARE(item->value(), !before);
      item->setValue(before);
      QCOMPARE(box->isChecked(), before);
      QCOMPARE(listener.changed, QStringList(2, item->key()));
    }
  }

  void exclusionsAreKeptAsNames() {
    Desk desk;
    CleaningExclusions exclusions(desk.store);
    QVERIFY(exclusions.add(text("gimp")));
    TextField& field = *desk.open().exclusionsField;
    const auto enter = [&field](const char* names) {
      field.setText(text(names));
      QTest::keyClick(&field, Qt::Key_Return);
    };
    desk.controller->showWindow();
    QCOMPARE(field.text(), text("gimp"));
    enter("gimp,  Web Browser,, GIMP,");
    QCOMPARE(exclusions.names(), (QStringList{text("gimp"), text("Web Browser")}));
    QCOMPARE(field.text(), text("gimp, Web Browser"));
    // What the command line has added meanwhile stays, unless the user edits.
    QVERIFY(exclusions.add(text("mail")));
    QTest::keyClick(&field, Qt::Key_Return);
    desk.controller->showWindow();
    QCOMPARE(field.text(), text("gimp, mail, Web Browser"));
    enter("");
    QCOMPARE(exclusions.names(), QStringList());
  }

  void slidersAndListWriteWhatTheyShow() {
    Desk desk;
    PreferencesWindow& window = desk.open();
    QCOMPARE(window.cpuUsageSlider->doubleValue(), 0.9);
    desk.controller->cpuUsageSliderSelector(1.0);
    QCOMPARE(desk.model.cpuUsageLimitToAutofree().value(), 1.1 - 1.0);
    QCOMPARE(window.cpuUsageSlider->doubleValue(), 1.0);
    window.memoryUsageSlider->triggerAction(QAbstractSlider::SliderSingleStepAdd);
    QCOMPARE(desk.model.memoryUsageLimitToAutofree().value(), 0.85);
    for (const double position : {14.7, 15.0}) {
      desk.controller->frequencySliderSelector(position);
      QCOMPARE(desk.model.frequencyForToAutofree().value(), 28800.0);
      QCOMPARE(window.frequencySlider->doubleValue(), 14.0);
    }
    desk.model.frequencyForToAutofree().setValue(300);
    QCOMPARE(window.frequencySlider->doubleValue(), 2.0);
    window.visionComboBox->setCurrentIndex(3);
    Q_EMIT window.visionComboBox->activated(3);
    QCOMPARE(desk.model.visionIndex().value(), 3);
  }

  void descriptionSpellsOutTheRule() {
    Desk desk;
    const auto& description = *desk.open().autoCleanUpMemoryFullDescriptionTextField;
    const QString hint = text("*Check on to free up system memory automatically.");
    QCOMPARE(description.text(), hint);
    desk.model.autoFreeUpMemory().setValue(true);
    const QString rule =
        text("*Free up automatically every %1 if memory usage is more than 80% and if CPU usage is less than %2%.");
    QCOMPARE(description.text(), rule.arg(text("4 hr"), text("20")));
    desk.controller->cpuUsageSliderSelector(1.0);
    desk.controller->frequencySliderSelector(10);
    QCOMPARE(description.text(), rule.arg(text("1 hr 30 min"), text("10")));
    desk.model.autoFreeUpMemory().setValue(false);
    QCOMPARE(description.text(), hint);
  }

  void everyControlHasANameForScreenReadersAndASliderItsFigure() {
    Desk desk;
    PreferencesWindow& window = desk.open();
    QCOMPARE(namelessControls(window).join(u' '), QString());
    desk.model.cpuUsageLimitToAutofree().setValue(0.3);
    QCOMPARE(window.cpuUsageSlider->accessibleDescription(), text("30%"));
    desk.model.cpuUsageLimitToAutofree().setValue(qQNaN());
    QCOMPARE(window.cpuUsageSlider->accessibleDescription(), text("0%"));
  }

  void formerStartAtLoginIsCarriedOver() {
    for (const bool wasOn : {true, false}) {
      Desk desk;
      desk.store.setObject(stored_keys::autoStart, {true});
      if (wasOn) desk.loginItems.sessionItems = {{text("main"), desk.program}};
      desk.open();
      QVERIFY(!desk.store.objectForKey(stored_keys::autoStart));
      QVERIFY(desk.loginItems.sessionItems.empty());
      QCOMPARE(desk.startAtLogin.isEnabledToAutoLaunchWithHelperApp(), wasOn);
    }
  }

  void startAtLoginFollowsThePlatform() {
    Desk desk;
    CheckBox& box = *desk.open().launchAtLoginButton;
    box.click();
    QVERIFY(desk.startAtLogin.isEnabledToAutoLaunchWithHelperApp());
    QVERIFY(!desk.defaults.showAutostartPopupAfterPurge());
    desk.loginItems.jobs.clear();
    desk.controller->showWindow();
    QVERIFY(!box.isChecked());
    // A refusal is told, and the box goes back.
    desk.loginItems.refuses = true;
    box.click();
    auto* const alert = desk.controller->window().findChild<AlertWindow*>();
    QVERIFY(alert);
    const QList<QLabel*> lines = alert->findChildren<QLabel*>();
    QCOMPARE(lines.size(), 2);
    QCOMPARE(lines[0]->text(), text("An error ocurred"));
    QCOMPARE(lines[1]->text(), text("Couldn't add Helper App to launch at login item list."));
    const QList<QAbstractButton*> buttons = alert->findChildren<QAbstractButton*>();
    QCOMPARE(buttons.size(), 1);
    buttons[0]->click();
    QVERIFY(!box.isChecked());
  }

  void offerSwitchesBothOnOrNeverComesAgain() {
    Desk desk;
    AutostartPopupWC offer(desk.model, desk.defaults);
    QVERIFY(AutostartPopupWC::shouldBeShown(desk.startAtLogin));
    offer.setCleanedSize(104'857'601);
    QCOMPARE(offer.window().cleanedSizeLabel->text(), text("You have cleaned <b>100 MB</b> of memory."));
    offer.window().show();
    offer.window().yesButton->click();
    QVERIFY(!offer.window().isVisible() && desk.model.autoFreeUpMemory().value());
    QVERIFY(!AutostartPopupWC::shouldBeShown(desk.startAtLogin));
    QVERIFY(desk.defaults.showAutostartPopupAfterPurge());
    offer.window().noButton->click();
    QVERIFY(!desk.defaults.showAutostartPopupAfterPurge());
  }
};

QTEST_MAIN(TestPreferencesWindow)
#include "test_preferences_window.moc"
