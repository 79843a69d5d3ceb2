#include <QtTest>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <csignal>
#include <thread>

#include "platform/fake/fake_clock.h"
#include "platform/linux/sqlite/retrying_defaults_store.h"
#include "platform/linux/sqlite/sqlite_connection.h"
#include "platform/sqlite/settings_fixture.h"

using namespace halvard;
using namespace std::chrono_literals;

namespace {

const QString key = text("K");
constexpr int filled = 400;
constexpr const char* file = "config/defaults.db";

QByteArray randomBytes(qsizetype size) {
  QByteArray bytes(size, Qt::Uninitialized);
  QRandomGenerator(7).generate(bytes.begin(), bytes.end());
  return bytes;
}

/// The file as another program sees and changes it.
struct Database : SqliteConnection {
  explicit Database(const SettingsFolder& settings) { open(settings.path, Mode::existing); }
  SqliteValue count(const char* condition) {
    int code = 0;
    return firstValue((QByteArray("SELECT count(*) FROM defaults WHERE ") + condition).constData(), code);
  }
};

/// Root may read and write everything; while this lives, this thread's files are made and opened as another user.
struct Unprivileged {
  Unprivileged() : changed(::geteuid() == 0 && ::seteuid(65534) == 0) {}
  ~Unprivileged() {
    if (changed) Q_UNUSED(::seteuid(0));
  }
  const bool changed;
};

/// While this lives, no file grows past `size`: a full disk.
struct FileSizeLimit {
  explicit FileSizeLimit(rlim_t size) {
    std::signal(SIGXFSZ, SIG_IGN);
    set(size);
  }
  ~FileSizeLimit() { set(RLIM_INFINITY); }
  static void set(rlim_t size) {
    const rlimit limit{.rlim_cur = size, .rlim_max = RLIM_INFINITY};
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
};

}  // namespace

class TestSqliteDefaultsTrouble : public QObject {
  Q_OBJECT

  QByteArray m_sound;

 private Q_SLOTS:
  void initTestCase() {
    SettingsFolder settings;
    settings.fill(filled);
    m_sound = settings.folder.read(file);
    QVERIFY(m_sound.size() > 4 * 4096);
  }

  void damagedFileIsSetAsideAndReplaced_data() {
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("text") << QByteArray("[Settings]\nAutoFree=true\n");
    const auto noise = [this](const char* name, qsizetype from, qsizetype size) {
      QTest::newRow(name) << QByteArray(m_sound).replace(from, size, randomBytes(size));
    };
    noise("magic and noise", 16, m_sound.size() - 16);
    noise("noise in the first page", 100, 3000);
    noise("noise in an inner page", 3 * 4096, 4096);
    for (const int size : {15, 99, 100, 4095, 4096, 10000})
      QTest::addRow("cut to %d", size) << m_sound.first(size);
  }
  void damagedFileIsSetAsideAndReplaced() {
    QFETCH(QByteArray, content);
    SettingsFolder settings;
    for (const char* copy : {"config/defaults.db.damaged-1", "config/defaults.db.damaged-2"}) {
      settings.folder.write(file, content);
      settings.lines.clear();
      QVERIFY(save(*settings.open(), key, {true}));
      QCOMPARE(settings.folder.read(copy), content);
      QCOMPARE(settings.open()->keys(), QStringList{key});
      QCOMPARE(settings.lines.size(), 1);
    }
  }

  void logOfADamagedFileGoesWithIt() {
    SettingsFolder settings;
    settings.folder.write(file, "no settings");
    settings.folder.write("config/defaults.db-wal", "no log");
    settings.open()->setObject(key, {true});
    QCOMPARE(settings.folder.read("config/defaults.db.damaged-1-wal"), QByteArray("no log"));
    QCOMPARE(settings.open()->objectForKey(key), StoredValue{true});
  }

  void damageWhileRunningKeepsWhatWasRead() {
    SettingsFolder settings;
    settings.fill(filled);
    const auto first = settings.open(), second = settings.open();
    QCOMPARE(first->keys().size() + second->keys().size(), 2 * filled);
    settings.folder.write(file, randomBytes(m_sound.size()));
    // Another's commit makes the first store read the file again.
    QVERIFY(save(*second, key, {true}));
    QCOMPARE(first->keys().size(), filled);
    QCOMPARE(settings.open()->keys().size(), filled);
    QCOMPARE(settings.lines.size(), 1);
    QVERIFY(save(*first, text("a"), {true}) && save(*second, text("b"), {true}));
    QCOMPARE(settings.open()->keys().size(), filled + 2);
    QCOMPARE(first->keys(), settings.open()->keys());
    QCOMPARE(settings.lines.size(), 1);
  }

  void damageOnAFullDiskIsMendedOnceThereIsRoom() {
    SettingsFolder settings;
    settings.fill(filled);
    FakeClock clock;
    RetryingDefaultsStore store(clock, settings.path, text("test"), settings.report());
    const auto second = settings.open();
    QCOMPARE(store.keys().size() + second->keys().size(), 2 * filled);
    settings.folder.write(file, randomBytes(m_sound.size()));
    QVERIFY(save(*second, key, {true}));
    {
      const FileSizeLimit limit(1000);
      QCOMPARE(store.keys().size(), filled);
    }
    QVERIFY(settings.open()->keys().isEmpty());
    clock.advance(2s);
    QCOMPARE(settings.open()->keys().size(), filled);
    QCOMPARE(clock.pendingCalls(), 0u);
  }

  void writesAfterTheFileWasReplacedGoToTheNewFile() {
    SettingsFolder settings;
    settings.fill(1);
    const auto store = settings.open();
    QVERIFY(store->objectForKey(text("0")));
    QVERIFY(QFile::rename(settings.path, settings.path + text(".away")) && save(*store, key, {true}));
    QCOMPARE(settings.open()->keys(), QStringList{key});
    QCOMPARE(store->keys(), QStringList{key});
    QVERIFY(QDir(settings.folder.path("config")).removeRecursively() && !store->objectForKey(key));
    QVERIFY(save(*store, key, {false}));
    QCOMPARE(settings.open()->objectForKey(key), StoredValue{false});
    QCOMPARE(settings.lines, QStringList());
  }

  void fileOfANewerProgramIsLeftAlone() {
    for (const bool openBefore : {false, true}) {
      SettingsFolder settings;
      settings.fill(3);
      auto store = openBefore ? settings.open() : nullptr;
      // While nobody has it open, it may be in another mode as well.
      if (!openBefore) QCOMPARE(Database(settings).run("PRAGMA journal_mode = DELETE"), 0);
      QCOMPARE(Database(settings).run("PRAGMA user_version = 2"), 0);
      const QByteArray content = settings.folder.read(file);
      if (!store) store = settings.open();
      QVERIFY(!save(*store, key, {true}));
      QCOMPARE(store->keys().size(), openBefore ? 4 : 1);
      QCOMPARE(settings.lines.size(), 1);
      QVERIFY(settings.lines.first().contains(text("newer version")));
      QVERIFY(openBefore || settings.folder.read(file) == content);
      QCOMPARE(Database(settings).count("TRUE"), SqliteValue(std::int64_t{3}));
    }
  }

  void valuesOfAnUnknownKindAreLeftOutAndKept() {
    SettingsFolder settings;
    settings.fill(1);
    QCOMPARE(Database(settings).run("INSERT INTO defaults VALUES('test', 'odd', 'colour', 7)"), 0);
    const auto store = settings.open();
    QCOMPARE(store->keys(), texts({"0"}));
    QCOMPARE(settings.lines.size(), 1);
    QVERIFY(save(*store, key, {true}));
    QCOMPARE(Database(settings).count("kind = 'colour' AND value = 7"), SqliteValue(std::int64_t{1}));
  }

  void settingsThatCannotBeWrittenOrReachedAreKeptInMemory() {
    const std::tuple<const char*, int, int> places[] = {{file, 0500, 2}, {"config", 0500, 2}, {"", 0000, 0}};
    for (const auto& [name, mode, known] : places) {
      const Unprivileged user;
      if (::geteuid() == 0) QSKIP("cannot give up the rights of root here");
      SettingsFolder settings;
      settings.fill(2);
      const auto setMode = [&settings](const char* place, int bits) {
        ::chmod(settings.folder.path(place).toUtf8().constData(), static_cast<mode_t>(bits));
      };
      setMode(name, mode);
      {
        const auto store = settings.open();
        QCOMPARE(store->keys().size(), known);
        QVERIFY(!save(*store, key, {true}) && !store->synchronize());
        QCOMPARE(store->keys().size(), known + 1);
        QCOMPARE(settings.lines.size(), 1);
        setMode(name, 0700);
        QVERIFY(store->synchronize());
        QCOMPARE(store->keys(), texts({"0", "1", "K"}));
        setMode("", 0000);
        QVERIFY(!save(*store, key, {false}));
        QCOMPARE(settings.lines.size(), 2);
        setMode("", 0700);
      }
      QCOMPARE(settings.open()->objectForKey(key), StoredValue{false});
    }
  }

  void writerThatKeepsItsLockHoldsUpTheProgramLittleAndIsOutwaited() {
    SettingsFolder settings;
    settings.fill(1);
    FakeClock clock;
    RetryingDefaultsStore store(clock, settings.path, text("test"), settings.report());
    Database other(settings);
    QCOMPARE(other.run("BEGIN IMMEDIATE"), 0);
    QElapsedTimer sinceAsked;
    sinceAsked.start();
    for (int time = 0; time < 20; ++time)
      QVERIFY(!save(store, key, {true}) && store.objectForKey(key) == StoredValue{true});
    clock.advance(2s);
    QVERIFY2(sinceAsked.elapsed() < 4000, "two waits");
    QCOMPARE(settings.lines.size(), 1);
    other.rollBack();
    clock.advance(3s);
    QVERIFY(!settings.open()->objectForKey(key));
    clock.advance(1s);
    QCOMPARE(settings.open()->objectForKey(key), StoredValue{true});
    QCOMPARE(clock.pendingCalls(), 0u);
  }

  void fileThatNobodyElseMayReadIsOutwaitedAtTheStart() {
    SettingsFolder settings;
    settings.fill(1);
    Database other(settings);
    QCOMPARE(other.run("PRAGMA locking_mode = EXCLUSIVE"), 0);
    QCOMPARE(other.count("TRUE"), SqliteValue(std::int64_t{1}));
    SqliteDefaultsStore hasty(settings.path, text("test"), settings.report(), 0ms);
    QCOMPARE(settings.lines.size(), 1);
    QCOMPARE(hasty.keys(), texts({"0"}));
    std::thread release([&] {
      std::this_thread::sleep_for(300ms);
      other.close();
    });
    FakeClock clock;
    RetryingDefaultsStore store(clock, settings.path, text("test"), settings.report());
    release.join();
    QCOMPARE(settings.lines.size(), 1);
    QVERIFY(save(store, key, {true}));
    QCOMPARE(hasty.objectForKey(key), StoredValue{true});
  }

  void fullDiskKeepsTheValuesUntilThereIsRoom() {
    SettingsFolder settings;
    settings.fill(2);
    const auto store = settings.open();
    {
      const FileSizeLimit limit(300'000);
      QVERIFY(!save(*store, text("large"), {QByteArray(800'000, 'x')}) && !store->synchronize());
      QCOMPARE(settings.lines.size(), 1);
      QCOMPARE(store->keys(), texts({"0", "1", "large"}));
    }
    QVERIFY(store->synchronize());
    QCOMPARE(settings.open()->keys(), store->keys());
  }
};

QTEST_GUILESS_MAIN(TestSqliteDefaultsTrouble)
#include "test_sqlite_defaults_trouble.moc"
