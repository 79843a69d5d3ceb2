#include <QtTest>
#include <limits>
#include <map>

#include "core/macos_version.h"
#include "memory/memory_snapshot.h"
#include "menubar/gauge_step.h"
#include "menubar/status_item_controller.h"
#include "menubar/status_item_text.h"
#include "platform/fake/fake_appearance.h"
#include "platform/fake/fake_defaults_store.h"
#include "platform/fake/fake_host_statistics.h"
#include "platform/fake/fake_status_bar_item.h"
#include "preferences/preferences_model.h"

using namespace halvard;

namespace {

constexpr PageCount kTotalPages = PageCount{1} << 20;

struct NoLogin : StartAtLoginSwitch {
  void setIsEnabledForHelperApp(bool, const std::function<void()>&) override {}
};

struct Reading {
  explicit Reading(PageCount usedPages) {
    VmStatistics64 counters;
    counters.internal_page_count = usedPages;
    host.setStatistics64(counters);
    snapshot.updateMemoryStatictics();
  }
  FakeHostStatistics host;
  MacOSVersion version;
  MemorySnapshot snapshot{host, version};
};

}  // namespace

class TestStatusItem : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void gaugeStepsAreFinerWhereItMatters() {
    const std::map<float, int> steps{{-1.0F, 5},   {0.03F, 5},   {0.08F, 10},  {0.474F, 45},  {0.49F, 50},
                                     {0.515F, 52}, {0.735F, 74}, {0.745F, 75}, {0.755F, 76},  {0.77F, 78},
                                     {0.895F, 90}, {0.905F, 91}, {0.95F, 95},  {0.999F, 100}, {1.2F, 100}};
    for (const auto& [fraction, step] : steps)
      QVERIFY2(gaugeStep(fraction) == step, qPrintable(QString::number(fraction)));
    QCOMPARE(gaugeStep(std::numeric_limits<float>::quiet_NaN()), 5);
  }

  void titleFollowsTheDisplayMode_data() {
    QTest::addColumn<PageCount>("used");
    QTest::addColumn<qint64>("mode");
    QTest::addColumn<QString>("title");
    const PageCount half = kTotalPages / 2;
    QTest::newRow("none") << half << qint64{0} << QString();
    QTest::newRow("percentage") << half << qint64{1} << QStringLiteral(" 50% ");
    QTest::newRow("two characters at least") << kTotalPages / 25 << qint64{1} << QStringLiteral("  4% ");
    QTest::newRow("just below full") << kTotalPages - 5300 << qint64{1} << QStringLiteral(" 99% ");
    QTest::newRow("full") << kTotalPages - 5200 << qint64{1} << QStringLiteral("100%");
    QTest::newRow("used size") << kTotalPages / 4 << qint64{2} << QStringLiteral("1.00 GB");
    QTest::newRow("free size") << kTotalPages / 4 << qint64{3} << QStringLiteral("3.00 GB");
    QTest::newRow("unknown mode") << half << qint64{4} << QString();
  }
  void titleFollowsTheDisplayMode() {
    QFETCH(PageCount, used);
    QFETCH(qint64, mode);
    QTEST(status_item_text::title(Reading(used).snapshot, mode), "title");
  }

  void textsNameUsedAndFreeMemory() {
    const Reading reading(kTotalPages / 4);
    QCOMPARE(status_item_text::toolTip(reading.snapshot, QStringLiteral("Halvard")),
             QStringLiteral("Halvard\nUsed Memory: 1.00 GB\nFree Memory: 3.00 GB"));
    QCOMPARE(status_item_text::information(reading.snapshot), QStringLiteral("25.00% of 4.00 GB used"));
  }

  void itemIsFilledAndTouchedOnlyByChanges() {
    FakeStatusBarItem item;
    FakeAppearance appearance;
    FakeDefaultsStore store;
    NoLogin login;
    PreferencesModel preferences(store, login);
    StatusItemController controller(item, appearance, preferences, QStringLiteral("Halvard"));
    QCOMPARE(item.image.value, QStringLiteral("icon_start"));
    QCOMPARE(item.toolTip.value, QStringLiteral("Free System Memory"));
    const Reading reading(kTotalPages / 2);
    controller.updateStatusItem(reading.snapshot);
    controller.fillTitle(reading.snapshot);
    QCOMPARE(item.image.value, QStringLiteral("icon_memory_50"));
    QCOMPARE(item.title.value, (AttributedTitle{QStringLiteral(" 50% "), {70, 86, 103, 255}}));
    QCOMPARE(item.alternateTitle.value.color, (Color{255, 255, 255, 255}));
    const int changes = item.changes();
    controller.updateStatusItem(reading.snapshot);
    controller.fillTitle(reading.snapshot);
    QCOMPARE(item.changes(), changes);
    appearance.setDark(true);
    controller.fillTitle(reading.snapshot);
    QCOMPARE(item.title.value.color, (Color{255, 255, 255, 255}));
    controller.showCleaningIcon();
    QCOMPARE(item.image.value, QStringLiteral("icon_clear"));
    QSignalSpy actions(&controller, &StatusItemController::statusItemAction);
    item.press(StatusBarItem::MouseButton::Right);
    item.press(StatusBarItem::MouseButton::Left);
    QCOMPARE(actions.size(), 2);
  }
};

QTEST_GUILESS_MAIN(TestStatusItem)
#include "test_status_item.moc"
