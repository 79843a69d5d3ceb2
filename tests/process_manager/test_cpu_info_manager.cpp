#include <QtTest>
#include <cmath>

#include "platform/fake/fake_processor_ticks.h"
#include "platform/ports/process_information.h"
#include "process_manager/cpu_info_manager.h"

using namespace halvard;

namespace {

struct Processes : ProcessInformation {
  std::optional<QByteArray> processStatus(const QStringList& arguments) override {
    asked = arguments;
    return printed;
  }
  std::optional<TaskTimes> taskTimes(std::int32_t pid) override { return pid == 286 ? times : std::nullopt; }
  QStringList asked;
  std::optional<QByteArray> printed;
  std::optional<TaskTimes> times;
};

// In the order of the counters: user, system, idle, nice.
using Loads = std::vector<ProcessorLoad>;

}  // namespace

class TestCPUInfoManager : public QObject {
  Q_OBJECT

  FakeProcessorTicks m_ticks;
  Processes m_processes;

 private Q_SLOTS:
  void init() {
    m_ticks = {};
    m_ticks.setProcessorCount(2);
    m_ticks.setProcessorLoad(std::nullopt);
    m_processes = {};
  }

  void firstCallMeasuresSinceStartLaterOnesSinceTheCallBefore() {
    CPUInfoManager manager(m_ticks, m_processes);
    m_ticks.setProcessorLoad(Loads{{10, 20, 60, 10}, {0, 0, 100, 0}});
    QCOMPARE(manager.getCPUUsage(), 0.2F);
    m_ticks.setProcessorLoad(Loads{{13, 21, 61, 11}, {0, 0, 104, 0}});
    QCOMPARE(manager.getCPUUsage(), 0.5F);
    QVERIFY(std::isnan(manager.getCPUUsage()));
    QVERIFY(!(manager.getCPUUsage() < 0.3F));
  }

  void failedReadingIsZeroAndKeepsTheOneBefore() {
    CPUInfoManager manager(m_ticks, m_processes);
    QCOMPARE(manager.getCPUUsage(), 0.0F);
    m_ticks.setProcessorLoad(Loads{{50, 0, 50, 0}, {50, 0, 50, 0}});
    QCOMPARE(manager.getCPUUsage(), 0.5F);
    m_ticks.setProcessorLoad(std::nullopt);
    QCOMPARE(manager.getCPUUsage(), 0.0F);
    m_ticks.setProcessorLoad(Loads{{51, 0, 51, 0}, {50, 0, 52, 0}});
    QCOMPARE(manager.getCPUUsage(), 0.25F);
  }

  void countersWrapAtThirtyTwoBits() {
    m_ticks.setProcessorCount(1);
    CPUInfoManager manager(m_ticks, m_processes);
    m_ticks.setProcessorLoad(Loads{{0xfffffff0U, 0xffffffffU, 4000000000U, 0}});
    manager.getCPUUsage();
    m_ticks.setProcessorLoad(Loads{{0x10U, 0x0fU, 4000000048U, 0}});
    QCOMPARE(manager.getCPUUsage(), 0.5F);
    m_ticks.setProcessorLoad(Loads{{0x14U, 0x0fU, 4000000047U, 0}});
    QCOMPARE(manager.getCPUUsage(), 4.0F / 3.0F);
  }

  void countOfProcessorsIsThatOfCreation() {
    m_ticks.setProcessorCount(std::nullopt);
    CPUInfoManager manager(m_ticks, m_processes);
    m_ticks.setProcessorCount(2);
    m_ticks.setProcessorLoad(Loads{{25, 0, 75, 0}, {100, 0, 0, 0}});
    QCOMPARE(manager.getCPUUsage(), 0.25F);
    m_ticks.setProcessorLoad(Loads{});
    QVERIFY(std::isnan(manager.getCPUUsage()));
    m_ticks.setProcessorLoad(Loads{{75, 0, 25, 0}});
    QCOMPARE(manager.getCPUUsage(), 0.75F);
  }

  void processUsageIsTheSecondPieceAfterTheHeader_data() {
    QTest::addColumn<QByteArray>("printed");
    QTest::addColumn<QString>("usage");
    const QString unknown = QStringLiteral("unknown");
    QTest::newRow("nothing") << QByteArray() << unknown;
    QTest::newRow("linux header") << QByteArray("    PID %CPU S TTY          TIME COMMAND\n") << unknown;
    QTest::newRow("linux row") << QByteArray(
                                      "    PID %CPU S TTY          TIME COMMAND\n      1  0.3 S ?    00:00:00 init\n")
                               << QStringLiteral("0.3");
    QTest::newRow("two pieces") << QByteArray("42\t3.0") << QStringLiteral("3.0");
  }
  void processUsageIsTheSecondPieceAfterTheHeader() {
    QFETCH(QByteArray, printed);
    QFETCH(QString, usage);
    CPUInfoManager manager(m_ticks, m_processes);
    m_processes.printed = printed;
    QCOMPARE(manager.get_process_usage(42), usage);
    QCOMPARE(m_processes.asked.join(QLatin1Char(' ')), QStringLiteral("-O %cpu -p 42"));
    m_processes.printed = std::nullopt;
    QCOMPARE(manager.get_process_usage(42), QStringLiteral("unknown"));
  }

  void diagnosisPrintsBothTimes() {
    CPUInfoManager manager(m_ticks, m_processes);
    QTemporaryFile file;
    QVERIFY(file.open());
    std::FILE* output = std::fopen(QFile::encodeName(file.fileName()).constData(), "w");
    m_processes.times = TaskTimes{12345678901234, 7};
    manager.showCPUInfo(output);
    m_processes.times = std::nullopt;
    manager.showCPUInfo(output);
    std::fclose(output);
    QCOMPARE(file.readAll(), QByteArray("Total User CPU = 12345678901234\nTotal System CPU = 7\n"
                                        "Total User CPU = 0\nTotal System CPU = 0\n"));
  }
};

QTEST_GUILESS_MAIN(TestCPUInfoManager)
#include "test_cpu_info_manager.moc"
