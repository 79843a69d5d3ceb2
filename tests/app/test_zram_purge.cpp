// A real cleaning of the whole machine beside an idle program, with zram to page out to.
#include <QtTest>

#include "support/idle_process.h"
#include "support/process_files.h"
#include "support/texts.h"
#include "support/zram_swap.h"

using namespace halvard;
using namespace halvard::test;

namespace {

constexpr qint64 kIdleBytes = qint64{1} << 30;
constexpr std::uint64_t kSwapBytes = std::uint64_t{6} << 30;

/// Bytes of RAM that the zram pool occupies.
qint64 poolBytes() {
  return fileText("/sys/block/zram0/mm_stat").simplified().split(' ').value(2).toLongLong();
}

/// Everything stood still for memory during this share of the last ten seconds, in per cent.
double memoryStall() {
  const QByteArray pressure = fileText("/proc/pressure/memory");
  const qsizetype full = pressure.indexOf("full avg10=");
  return full < 0 ? 0 : pressure.mid(full + 11, 5).split(' ').constFirst().toDouble();
}

}  // namespace

class TestZramPurge : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void cleaningPagesAnIdleProgramOutAndReportsTheDifference() {
    ZramSwap swap;
    const QString reason = swap.start(kSwapBytes);
    if (!reason.isEmpty()) QSKIP(qPrintable(reason));
    const IdleProcess idle(kIdleBytes);
    // The guard refuses a machine that is short of breath, as it may be from the test before.
    QTRY_VERIFY_WITH_TIMEOUT(memoryStall() < 2, 60000);
    const auto idleBytes = [&idle](const char* label) { return static_cast<qint64>(processBytes(idle.pid(), label)); };
    const qint64 residentBefore = idleBytes("VmRSS:");
    const qint64 poolBefore = poolBytes();

    const QTemporaryDir home;
    QProcess clean;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(text("XDG_CONFIG_HOME"), home.path());
    environment.insert(text("XDG_CACHE_HOME"), home.path());
    environment.insert(text("DBUS_SESSION_BUS_ADDRESS"), text("unix:path=/nonexistent"));
    clean.setProcessEnvironment(environment);
    clean.start(text(HALVARD_BIN_DIR "/halvardctl"), words("clean --json"));
    QVERIFY2(clean.waitForFinished(280000), "the cleaning did not end");
    const QJsonObject record = QJsonDocument::fromJson(clean.readAllStandardOutput()).object();
    qInfo() << record;

    const qint64 change = record[u"usedAfter"].toInteger() - record[u"usedBefore"].toInteger();
    const qint64 freed = record[u"freedBytes"].toInteger();
    QCOMPARE(freed, std::max<qint64>(0, -change));
    // The idle program has really been paged out and lives, and used memory is lower by that less what compression
    // costs. What other programs took or gave meanwhile is theirs; where it is too much, the figure says nothing about
    // the cleaning.
    const qint64 pagedOut = idleBytes("VmSwap:");
    QVERIFY2(pagedOut > kIdleBytes / 4, qPrintable(QString::number(pagedOut)));
    const qint64 ownChange = idleBytes("VmRSS:") - residentBefore + poolBytes() - poolBefore;
    if (std::abs(change - ownChange) > kIdleBytes / 8) QSKIP("other programs changed too much meanwhile");
    QVERIFY2(freed > kIdleBytes / 8, qPrintable(QString::number(freed)));
    QVERIFY(record[u"compressedBytes"].toInteger() > kIdleBytes / 4);
  }
};

QTEST_GUILESS_MAIN(TestZramPurge)
#include "test_zram_purge.moc"
