#include <QtTest>
#include <atomic>
#include <bit>
#include <limits>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>
#include <csignal>

#include "platform/sqlite/settings_fixture.h"

using namespace halvard;

namespace {

using Array = StoredValue::Array;
using Dictionary = StoredValue::Dictionary;

const QString key = text("K");

/// Equal kind and content, to the last bit of a real.
bool isIdentical(const StoredValue& left, const StoredValue& right) {
  const double *one = left.as<double>(), *other = right.as<double>();
  if (!one || !other) return left == right;
  return std::bit_cast<std::uint64_t>(*one) == std::bit_cast<std::uint64_t>(*other);
}

/// A process that sets "<prefix><number>" and "last" to `count` numbers in turn, and writes each of them into the pipe
/// once the store has acknowledged it.
pid_t startWriter(const SettingsFolder& settings, const char* prefix, std::int64_t first, std::int64_t count,
                  int output) {
  const pid_t process = ::fork();
  if (process != 0) return process;
  SqliteDefaultsStore store(settings.path, text("test"));
  for (std::int64_t number = first; number < first + count; ++number) {
    store.setObject(text(prefix) + QString::number(number), {number});
    if (!save(store, text("last"), {number}) || ::write(output, &number, sizeof number) != sizeof number) ::_exit(1);
  }
  ::_exit(0);
}

}  // namespace

class TestSqliteDefaultsStore : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void kindsSurviveARestart() {
    Array values;
    const auto add = [&values](const auto&... contents) { (values.push_back(StoredValue{contents}), ...); };
    add(true);
    add(std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max());
    add(std::numeric_limits<std::uint64_t>::max(), std::uint64_t{1});
    add(2.0, 1.0 / 3.0, std::numeric_limits<double>::denorm_min(), -std::numeric_limits<double>::infinity());
    add(text("5"), QString(), QStringLiteral("a\0b\n'\u0421\U0001f600"));
    add(QByteArray("5"), QByteArray(), QByteArray("\0\xff\x80", 3));
    add(QDateTime(), QDateTime::fromMSecsSinceEpoch(-1, Qt::UTC));
    add(QDateTime(QDate(2024, 2, 29), QTime(23, 59, 59, 999), QTimeZone(3600)));
    add(QDateTime(QDate(12345, 1, 1), QTime(0, 0, 0, 1), Qt::UTC));
    add(Array{}, Dictionary{});
    const Array each = values;
    add(each, Dictionary{{text("a"), {each}}, {text("b"), {Dictionary{{key, {each}}}}}});
    add(-0.0, std::numeric_limits<double>::quiet_NaN(), std::bit_cast<double>(std::uint64_t{0xfff8000000001234}));
    SettingsFolder settings;
    {
      const auto store = settings.open();
      for (std::size_t number = 0; number < values.size(); ++number)
        store->setObject(QString::number(number), values[number]);
    }
    const auto store = settings.open();
    for (std::size_t number = 0; number < values.size(); ++number) {
      const std::optional<StoredValue> stored = store->objectForKey(QString::number(number));
      QVERIFY2(stored && isIdentical(*stored, values[number]), qPrintable(QString::number(number)));
    }
    QVERIFY(settings.lines.isEmpty());
  }

  void cellsThatMakeNoSenseAreNoValues() {
    const QByteArray array = std::get<QByteArray>(encode({Array{{true}}}).value);
    QVERIFY(decode({text("array"), array}));
    const std::pair<const char*, SqliteValue> bad[] = {
        {"array", array.chopped(1)},
        {"dictionary", array},
        {"array", QByteArray(100, '\x81') + '\x01'},
        {"array", QByteArray("\x81\xc2\x41\x01")},
        {"array", nullptr},
        {"bool", std::int64_t{2}},
        {"unsigned", text("-1")},
        {"real", QByteArray("1234567")},
        {"integer", 1.0},
        {"colour", std::int64_t{1}},
    };
    for (const auto& [kind, value] : bad)
      QVERIFY2(!decode({text(kind), value}), kind);
  }

  void readingMakesNoFileAndWritingPrivateFolders() {
    SettingsFolder settings;
    settings.path = settings.folder.path("a/b/defaults.db");
    QVERIFY(!settings.open()->objectForKey(key) && settings.open()->synchronize());
    QVERIFY(!QFileInfo::exists(settings.folder.path("a")));
    settings.fill(1);
    const auto ofUser = QFile::ReadUser | QFile::WriteUser | QFile::ExeUser;
    for (const char* name : {"a", "a/b"})
      QCOMPARE(QFile::permissions(settings.folder.path(name)) & ~ofUser,
               QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
  }

  void unsynchronisedValuesAreSeenAndWrittenAtTheEnd() {
    SettingsFolder settings;
    settings.fill(2);
    {
      const auto store = settings.open();
      store->setObject(key, {true});
      store->removeObject(text("0"));
      QCOMPARE(store->objectForKey(key), StoredValue{true});
      QCOMPARE(store->keys(), texts({"1", "K"}));
      QVERIFY(!settings.open()->objectForKey(key));
    }
    QCOMPARE(settings.open()->keys(), texts({"1", "K"}));
  }

  void domainsAreApartAndCanBeRemoved() {
    SettingsFolder settings;
    settings.open("other")->setObject(key, {false});
    const auto store = settings.open();
    QVERIFY(!store->objectForKey(key) && save(*store, key, {true}));
    store->removePersistentDomain();
    QVERIFY(!store->objectForKey(key));
    store->setObject(text("later"), {true});
    QCOMPARE(store->keys(), texts({"later"}));
    QVERIFY(store->synchronize() && settings.open()->keys() == texts({"later"}));
    QCOMPARE(settings.open("other")->objectForKey(key), StoredValue{false});
  }

  void commitsOfAnotherStoreAreSeenAtTheNextRead() {
    SettingsFolder settings;
    const auto first = settings.open(), second = settings.open();
    for (std::int64_t number = 0; number < 5; ++number) {
      QVERIFY(save(*first, key, {number}));
      QCOMPARE(second->objectForKey(key), StoredValue{number});
    }
    // What is set here hides what others commit until it is written, and then wins.
    second->setObject(key, {text("mine")});
    first->removeObject(key);
    QVERIFY(first->synchronize());
    QCOMPARE(second->objectForKey(key), StoredValue{text("mine")});
    QVERIFY(second->synchronize());
    QCOMPARE(first->objectForKey(key), StoredValue{text("mine")});
  }

  void threadsSetReadAndSynchroniseAtOnce() {
    constexpr int rounds = 40;
    SettingsFolder settings;
    std::atomic<int> faults = 0;
    const auto work = [&faults](SqliteDefaultsStore& store, const QString& own) {
      for (std::int64_t round = 0; round < rounds; ++round) {
        store.setObject(own, {round});
        store.setObject(text("shared"), {round});
        if (store.objectForKey(own) != StoredValue{round}) ++faults;
        if (round % 4 == 0 && !store.synchronize()) ++faults;
        if (store.objectForKey(own) != StoredValue{round} || !store.keys().contains(own)) ++faults;
      }
    };
    const QStringList names = texts({"0", "1", "2", "3"});
    const auto store = settings.open();
    {
      std::vector<std::jthread> threads;
      for (const QString& own : names)
        threads.emplace_back(work, std::ref(*store), own);
    }
    QCOMPARE(faults.load(), 0);
    QVERIFY(store->synchronize());
    for (const QString& own : names)
      QCOMPARE(settings.open()->objectForKey(own), StoredValue{std::int64_t{rounds - 1}});
  }

  void processesThatWriteAtOnceLoseNothing() {
    constexpr int count = 60;
    SettingsFolder settings;
    QFile nowhere(text("/dev/null"));
    QVERIFY(nowhere.open(QIODevice::WriteOnly));
    for (const char* prefix : {"a", "b", "c"})
      QVERIFY(startWriter(settings, prefix, 0, count, nowhere.handle()) > 0);
    const auto store = settings.open();
    for (std::int64_t number = 0; number < count; ++number)
      QVERIFY(save(*store, QStringLiteral("own%1").arg(number), {number}));
    for (int status = 0; ::wait(&status) > 0;)
      QCOMPARE(status, 0);
    QCOMPARE(store->keys().size(), 4 * count + 1);
    QCOMPARE(settings.open()->keys(), store->keys());
    QVERIFY(settings.lines.isEmpty());
  }

  void killedWriterLosesNoAcknowledgedValue() {
    SettingsFolder settings;
    QRandomGenerator random(20240115);
    std::int64_t next = 0;
    for (int round = 0; round < 60; ++round) {
      int ends[2];
      QCOMPARE(::pipe(ends), 0);
      const pid_t writer = startWriter(settings, "n", next, 1'000, ends[1]);
      ::close(ends[1]);
      std::int64_t acknowledged = -1;
      const auto hear = [&] { return ::read(ends[0], &acknowledged, sizeof acknowledged) == sizeof acknowledged; };
      for (int wanted = 1 + random.bounded(12); wanted > 0; --wanted)
        QVERIFY(hear());
      // Anywhere within the next write or two.
      QThread::usleep(random.bounded(3000u));
      QVERIFY(::kill(writer, SIGKILL) == 0 && ::waitpid(writer, nullptr, 0) == writer);
      while (hear())
        continue;
      ::close(ends[0]);

      const auto store = settings.open();
      const std::optional<StoredValue> last = store->objectForKey(text("last"));
      QVERIFY2(settings.lines.isEmpty(), qPrintable(settings.lines.join(u'\n')));
      QVERIFY(last && last->toInteger() >= acknowledged && last->toInteger() <= acknowledged + 1);
      for (std::int64_t number = 0; number <= *last->toInteger(); ++number)
        QCOMPARE(store->objectForKey(QStringLiteral("n%1").arg(number)), StoredValue{number});
      next = *last->toInteger() + 1;
    }
  }
};

QTEST_GUILESS_MAIN(TestSqliteDefaultsStore)
#include "test_sqlite_defaults_store.moc"
