// A real cleaning of the whole machine beside an idle program, with zram to page out to.
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>
#include <cstdlib>
#include <vector>

#include "support/idle_process.h"
#include "support/process_files.h"
#include "support/zram_swap.h"

using halvard::test::ZramSwap;

namespace {

constexpr std::size_t kIdleBytes = std::size_t{1} << 30;
constexpr std::uint64_t kSwapBytes = std::uint64_t{6} << 30;
const QString kHold = QStringLiteral("--hold");

/// Fills memory with something that compresses as text does, says so, and sleeps until its input ends.
int holdMemory() {
  std::vector<unsigned> memory(kIdleBytes / sizeof(unsigned));
  halvard::test::fillLikeText(memory.data(), memory.size());
  std::puts("ready");
  std::fflush(stdout);
  return std::getchar() == EOF ? static_cast<int>(memory.back() & 1U) : 0;
}

QByteArray readFile(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

qint64 statusBytes(qint64 pid, const char* label) {
  return static_cast<qint64>(halvard::test::processBytes(pid, label));
}

/// Bytes of RAM that the zram pool occupies.
qint64 poolBytes() {
  return readFile(QStringLiteral("/sys/block/zram0/mm_stat")).simplified().split(' ').value(2).toLongLong();
}

/// Everything stood still for memory during this share of the last ten seconds, in per cent.
double memoryStall() {
  const QByteArray text = readFile(QStringLiteral("/proc/pressure/memory"));
  const qsizetype full = text.indexOf("full avg10=");
  return full < 0 ? 0 : text.mid(full + 11, 5).split(' ').constFirst().toDouble();
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
    // The guard refuses a machine that is short of breath, as it may be from the test before.
    QTRY_VERIFY_WITH_TIMEOUT(memoryStall() < 2, 60000);
    const qint64 residentBefore = statusBytes(idle.processId(), "VmRSS:");
    const qint64 poolBefore = poolBytes();

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
    // The idle program has really been paged out, and used memory is lower by that less what compression costs. What
    // other programs took or gave meanwhile is theirs; where it is too much, the figure says nothing about the
    // cleaning.
    const qint64 pagedOut = statusBytes(idle.processId(), "VmSwap:");
    QVERIFY2(pagedOut > static_cast<qint64>(kIdleBytes / 4), qPrintable(QString::number(pagedOut)));
    const qint64 ownChange = statusBytes(idle.processId(), "VmRSS:") - residentBefore + poolBytes() - poolBefore;
    const qint64 otherChange = record.value(QStringLiteral("usedAfter")).toInteger() -
                               record.value(QStringLiteral("usedBefore")).toInteger() - ownChange;
    if (std::abs(otherChange) > static_cast<qint64>(kIdleBytes / 8)) QSKIP("other programs changed too much meanwhile");
    QVERIFY2(freed > static_cast<qint64>(kIdleBytes / 8), qPrintable(QString::number(freed)));
    QVERIFY(record.value(QStringLiteral("compressedBytes")).toInteger() > static_cast<qint64>(kIdleBytes / 4));
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
