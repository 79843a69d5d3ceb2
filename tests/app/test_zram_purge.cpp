// A real cleaning of the whole machine beside an idle program, with zram to page out to.
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>
#include <vector>

#include "support/zram_swap.h"

using halvard::test::ZramSwap;

namespace {

constexpr std::size_t kIdleBytes = std::size_t{1} << 30;
constexpr std::uint64_t kSwapBytes = std::uint64_t{6} << 30;
const QString kHold = QStringLiteral("--hold");

/// Fills memory with something that compresses as text does, says so, and sleeps until its input ends.
int holdMemory() {
  std::vector<unsigned> memory(kIdleBytes / sizeof(unsigned));
  for (std::size_t index = 0; index < memory.size(); ++index) {
    memory[index] = static_cast<unsigned>(index % 64 < 16 ? index * 2654435761U : index / 4096);
  }
  std::puts("ready");
  std::fflush(stdout);
  return std::getchar() == EOF ? static_cast<int>(memory.back() & 1U) : 0;
}

}  // namespace

class TestZramPurge : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void cleaningPagesAnIdleProgramOutAndReportsTheDifference() {
    ZramSwap swap;
    const QString reason = swap.start(kSwapBytes);
    if (!reason.isEmpty()) QSKIP(qPrintable(reason));
    QProcess idle;
    idle.start(QCoreApplication::applicationFilePath(), {kHold});
    QVERIFY(idle.waitForReadyRead(60000));

    const QTemporaryDir home;
    QProcess clean;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home.path());
    environment.insert(QStringLiteral("XDG_CACHE_HOME"), home.path());
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), QStringLiteral("unix:path=/nonexistent"));
    clean.setProcessEnvironment(environment);
    clean.start(QStringLiteral(HALVARD_BIN_DIR "/halvardctl"), {QStringLiteral("clean"), QStringLiteral("--json")});
    QVERIFY2(clean.waitForFinished(280000), "the cleaning did not end");
    const QJsonObject record = QJsonDocument::fromJson(clean.readAllStandardOutput()).object();
    qInfo() << record;

    const qint64 freed = record.value(QStringLiteral("freedBytes")).toInteger();
    QCOMPARE(freed, std::max<qint64>(0, record.value(QStringLiteral("usedBefore")).toInteger() -
                                            record.value(QStringLiteral("usedAfter")).toInteger()));
    // A quarter of the idle memory at the least: the rest is what compression cannot save and what comes and goes
    // on the machine meanwhile.
    QVERIFY2(freed > static_cast<qint64>(kIdleBytes / 4), qPrintable(QString::number(freed)));
    QVERIFY(record.value(QStringLiteral("compressedBytes")).toInteger() > freed);
    // Nobody was killed for it.
    QCOMPARE(idle.state(), QProcess::Running);
    idle.closeWriteChannel();
    QVERIFY(idle.waitForFinished(60000));
  }
};

int main(int argc, char* argv[]) {
  const QCoreApplication application(argc, argv);
  if (QCoreApplication::arguments().contains(kHold)) return holdMemory();
  TestZramPurge test;
  return QTest::qExec(&test, argc, argv);
}

#include "test_zram_purge.moc"
