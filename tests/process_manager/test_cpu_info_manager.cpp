#include <QtTest>
#include <cmath>

#include "platform/fake/fake_processor_ticks.h"
#include "platform/ports/process_information.h"
#include "process_manager/cpu_info_manager.h"
#include "support/texts.h"

using namespace halvard;

namespace {

struct Processes : ProcessInformation {
  std::optional<QByteArray> processStatus(const QStringList& arguments) override {
    asked = arguments.join(u' ');
    return printed;
  }
  std::optional<TaskTimes> taskTimes(std::int32_t) override { return {}; }
  QString asked;
  std::optional<QByteArray> printed;
};

// In the order of the counters: user, system, idle, nice.
using Loads = std::vector<ProcessorLoad>;

struct World {
  explicit World(std::optional<std::uint32_t> processors) {
    ticks.setProcessorCount(processors);
    manager.emplace(ticks, processes);
  }
  float usage(std::optional<Loads> loads) {
    ticks.setProcessorLoad(std::move(loads));
    return manager->getCPUUsage();
  }
  FakeProcessorTicks ticks;
  Processes processes;
  std::optional<CPUInfoManager> manager;
};

}  // namespace

class TestCPUInfoManager : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void usageIsThatSinceTheLastReadingThatSucceeded() {
    World world(2);
    QCOMPARE(world.usage(std::nullopt), 0.0F);
    QCOMPARE(world.usage(Loads{{10, 20, 60, 10}, {0, 0, 100, 0}}), 0.2F);
    QCOMPARE(world.usage(std::nullopt), 0.0F);
    QCOMPARE(world.usage(Loads{{13, 21, 61, 11}, {0, 0, 104, 0}}), 0.5F);
    QVERIFY(std::isnan(world.manager->getCPUUsage()));
  }

  void countersWrapAtThirtyTwoBits() {
    World world(1);
    world.usage(Loads{{0xfffffff0U, 0xffffffffU, 4000000000U, 0}});
    QCOMPARE(world.usage(Loads{{0x10U, 0x0fU, 4000000048U, 0}}), 0.5F);
    QCOMPARE(world.usage(Loads{{0x14U, 0x0fU, 4000000047U, 0}}), 4.0F / 3.0F);
  }

  void countOfProcessorsIsThatOfCreation() {
    World world(std::nullopt);
    world.ticks.setProcessorCount(2);
    QCOMPARE(world.usage(Loads{{25, 0, 75, 0}, {100, 0, 0, 0}}), 0.25F);
    QVERIFY(std::isnan(world.usage(Loads{})));
    QCOMPARE(world.usage(Loads{{75, 0, 25, 0}}), 0.75F);
  }

  void processUsageIsTheSecondPieceAfterTheHeader() {
    const std::string header = "    PID %CPU S TTY          TIME COMMAND\n";
    const std::pair<std::string, const char*> cases[] = {{"", "unknown"},
                                                         {header, "unknown"},
                                                         {header + "      1  0.3 S ?    00:00:00 init\n", "0.3"},
                                                         {"42\t3.0", "3.0"}};
    World world(1);
    QCOMPARE(world.manager->get_process_usage(42), text("unknown"));
    QCOMPARE(world.processes.asked, text("-O %cpu -p 42"));
    for (const auto& [printed, usage] : cases) {
      world.processes.printed = QByteArray::fromStdString(printed);
      QCOMPARE(world.manager->get_process_usage(42), text(usage));
    }
  }
};

QTEST_GUILESS_MAIN(TestCPUInfoManager)
#include "test_cpu_info_manager.moc"
