#include <QProcess>
#include <QRandomGenerator>
#include <QtTest>

#include "platform/sqlite/settings_fixture.h"

using namespace halvard;
using namespace halvard::test;

namespace {

constexpr int kills = 60;

std::unique_ptr<QProcess> startWriter(const QString& path, const QString& prefix, int first, int count) {
  auto process = std::make_unique<QProcess>();
  process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
  process->start(QCoreApplication::applicationDirPath() + QStringLiteral("/settings_writer"),
                 {path, prefix, QString::number(first), QString::number(count), QStringLiteral("last")});
  return process;
}

}  // namespace

class TestSqliteDefaultsProcesses : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void processesThatWriteAtOnceLoseNothing() {
    constexpr int count = 60;
    SettingsFolder settings;
    const QStringList prefixes{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")};
    std::vector<std::unique_ptr<QProcess>> writers;
    for (const QString& prefix : prefixes)
      writers.push_back(startWriter(settings.path, prefix, 0, count));
    const auto store = settings.open();
    for (int number = 0; number < count; ++number) {
      store->setObject(QStringLiteral("own%1").arg(number), {std::int64_t{number}});
      QVERIFY(store->synchronize());
    }
    for (const auto& writer : writers) {
      QVERIFY(writer->waitForFinished());
      QCOMPARE(writer->exitCode(), 0);
    }
    QCOMPARE(store->keys().size(), count * (prefixes.size() + 1) + 1);
    QCOMPARE(settings.open()->keys(), store->keys());
    QVERIFY(settings.lines.isEmpty());
  }

  void killedWriterLosesNoAcknowledgedValue() {
    SettingsFolder settings;
    QRandomGenerator random(20240115);
    int next = 0;
    int acknowledgedInAll = 0;
    for (int kill = 0; kill < kills; ++kill) {
      const auto writer = startWriter(settings.path, QStringLiteral("n"), next, 1'000'000);
      QByteArray output;
      const int wanted = 1 + random.bounded(12);
      while (output.count('\n') < wanted && writer->waitForReadyRead())
        output += writer->readAllStandardOutput();
      QVERIFY(output.count('\n') >= wanted);
      // Anywhere within the next write or two.
      QThread::usleep(random.bounded(3000u));
      writer->kill();
      QVERIFY(writer->waitForFinished());
      output += writer->readAllStandardOutput();
      QVERIFY(output.endsWith('\n'));
      const int acknowledged = output.trimmed().split('\n').last().toInt();

      const auto store = settings.open();
      const std::optional<StoredValue> last = store->objectForKey(QStringLiteral("last"));
      QVERIFY2(settings.lines.isEmpty(), qPrintable(settings.lines.join(QLatin1Char('\n'))));
      QVERIFY(last && last->toInteger() >= acknowledged && last->toInteger() <= acknowledged + 1);
      for (std::int64_t number = 0; number <= *last->toInteger(); ++number)
        QCOMPARE(store->objectForKey(QStringLiteral("n%1").arg(number)), StoredValue{number});
      acknowledgedInAll += acknowledged + 1 - next;
      next = static_cast<int>(*last->toInteger()) + 1;
    }
    QVERIFY(acknowledgedInAll >= kills);
  }
};

QTEST_GUILESS_MAIN(TestSqliteDefaultsProcesses)
#include "test_sqlite_defaults_processes.moc"
