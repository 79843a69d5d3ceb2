#include <QDir>
#include <QRandomGenerator>
#include <QtTest>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <csignal>

#include "platform/linux/sqlite/sqlite_connection.h"
#include "platform/sqlite/settings_fixture.h"

using namespace halvard;
using namespace halvard::test;

namespace {

const QString key = QStringLiteral("K");
constexpr int filled = 400;

QByteArray soundFile() {
  static const QByteArray bytes = [] {
    SettingsFolder settings;
    settings.fill(filled);
    return settings.content(settings.path);
  }();
  return bytes;
}

QByteArray randomBytes(qsizetype size) {
  QRandomGenerator random(7);
  QByteArray bytes(size, Qt::Uninitialized);
  for (char& byte : bytes)
    byte = static_cast<char>(random.bounded(256));
  return bytes;
}

QByteArray withNoise(qsizetype from, qsizetype size) {
  return soundFile().replace(from, size, randomBytes(size));
}

// Root may read and write everything; the file checks of this thread's process then go by another user.
class Unprivileged {
 public:
  explicit Unprivileged(const QStringList& ownedFolders) {
    if (::geteuid() != 0) return;
    for (const QString& folder : ownedFolders) {
      if (::chown(QFile::encodeName(folder).constData(), nobody, nobody) != 0) return;
    }
    m_changed = ::seteuid(nobody) == 0;
  }
  ~Unprivileged() {
    if (m_changed) Q_UNUSED(::seteuid(0));
  }
  bool works() const { return ::geteuid() != 0; }

 private:
  static constexpr uid_t nobody = 65534;
  bool m_changed = false;
};

}  // namespace

class TestSqliteDefaultsTrouble : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void initTestCase() { QVERIFY(soundFile().size() > 4 * 4096); }

  void damagedFileIsSetAsideAndReplaced_data() {
    QTest::addColumn<QByteArray>("content");
    const QByteArray sound = soundFile();
    QTest::newRow("text") << QByteArray("[Settings]\nAutoFree=true\n");
    QTest::newRow("magic and noise") << withNoise(16, sound.size() - 16);
    QTest::newRow("noise in the first page") << withNoise(100, 3000);
    QTest::newRow("noise in an inner page") << withNoise(3 * 4096, 4096);
    for (const int size : {15, 99, 100, 4095, 4096, 10000})
      QTest::addRow("cut to %d", size) << sound.first(size);
  }

  void damagedFileIsSetAsideAndReplaced() {
    QFETCH(QByteArray, content);
    SettingsFolder settings;
    QDir().mkpath(QFileInfo(settings.path).path());
    for (int round = 1; round <= 2; ++round) {
      settings.replaceContent(content);
      settings.lines.clear();
      {
        const auto store = settings.open();
        QVERIFY(!store->objectForKey(QStringLiteral("1")));
        QCOMPARE(settings.content(settings.path + QStringLiteral(".damaged-%1").arg(round)), content);
        store->setObject(key, {true});
      }
      QCOMPARE(settings.open()->keys(), QStringList{key});
      QCOMPARE(settings.lines.size(), 1);
    }
  }

  void logOfADamagedFileGoesWithIt() {
    SettingsFolder settings;
    const QString log = settings.path + QStringLiteral("-wal");
    QDir().mkpath(QFileInfo(settings.path).path());
    settings.replaceContent("no settings");
    QFile file(log);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write("no log") == 6);
    file.close();
    settings.open()->setObject(key, {true});
    QCOMPARE(settings.content(settings.path + QStringLiteral(".damaged-1-wal")), QByteArray("no log"));
    QCOMPARE(settings.open()->objectForKey(key), StoredValue{true});
  }

  void damageWhileRunningKeepsWhatWasRead() {
    SettingsFolder settings;
    settings.fill(filled);
    const auto first = settings.open();
    const auto second = settings.open();
    QCOMPARE(first->keys().size(), filled);
    QCOMPARE(second->keys().size(), filled);
    settings.replaceContent(randomBytes(soundFile().size()));
    // Another's commit makes the first store read the file again.
    second->setObject(key, {true});
    QVERIFY(second->synchronize());
    QCOMPARE(first->keys().size(), filled);
    QCOMPARE(settings.lines.size(), 1);
    first->setObject(QStringLiteral("a"), {true});
    QVERIFY(first->synchronize());
    second->setObject(QStringLiteral("b"), {true});
    QVERIFY(second->synchronize());
    QCOMPARE(settings.open()->keys().size(), filled + 2);
    QCOMPARE(first->keys(), settings.open()->keys());
    QCOMPARE(settings.lines.size(), 1);
  }

  void writesAfterTheFileWasReplacedGoToTheNewFile() {
    SettingsFolder settings;
    settings.fill(1);
    const auto store = settings.open();
    QVERIFY(store->objectForKey(QStringLiteral("0")));
    QVERIFY(QFile::rename(settings.path, settings.path + QStringLiteral(".away")));
    store->setObject(key, {true});
    QVERIFY(store->synchronize());
    QCOMPARE(settings.open()->keys(), QStringList{key});
    QVERIFY(!store->objectForKey(QStringLiteral("0")));
    QVERIFY(QDir(QFileInfo(settings.path).path()).removeRecursively());
    QVERIFY(!store->objectForKey(key));
    store->setObject(key, {false});
    QVERIFY(store->synchronize());
    QCOMPARE(settings.open()->objectForKey(key), StoredValue{false});
    QCOMPARE(settings.lines, QStringList());
  }

  void fileOfANewerProgramIsLeftAlone() {
    for (const bool openBefore : {false, true}) {
      SettingsFolder settings;
      settings.fill(3);
      auto store = openBefore ? settings.open() : nullptr;
      {
        SqliteConnection connection;
        QCOMPARE(connection.open(settings.path, SqliteConnection::Mode::existing), 0);
        QCOMPARE(connection.run("PRAGMA user_version = 2"), 0);
      }
      if (!store) store = settings.open();
      store->setObject(key, {true});
      QVERIFY(!store->synchronize());
      QCOMPARE(store->keys().size(), openBefore ? 4 : 1);
      QCOMPARE(settings.lines.size(), 1);
      QVERIFY(settings.lines.first().contains(QStringLiteral("newer version")));
      SqliteConnection connection;
      QCOMPARE(connection.open(settings.path, SqliteConnection::Mode::existing), 0);
      int code = 0;
      QCOMPARE(connection.firstValue("SELECT count(*) FROM defaults", code), SqliteValue(std::int64_t{3}));
    }
  }

  void valuesOfAnUnknownKindAreLeftOutAndKept() {
    SettingsFolder settings;
    settings.fill(1);
    {
      SqliteConnection connection;
      QCOMPARE(connection.open(settings.path, SqliteConnection::Mode::existing), 0);
      QCOMPARE(connection.run("INSERT INTO defaults VALUES('test', 'odd', 'colour', 7)"), 0);
    }
    const auto store = settings.open();
    QCOMPARE(store->keys(), QStringList{QStringLiteral("0")});
    QCOMPARE(settings.lines.size(), 1);
    store->setObject(key, {true});
    QVERIFY(store->synchronize());
    SqliteConnection connection;
    QCOMPARE(connection.open(settings.path, SqliteConnection::Mode::existing), 0);
    int code = 0;
    QCOMPARE(connection.firstValue("SELECT value FROM defaults WHERE key = 'odd'", code), SqliteValue(std::int64_t{7}));
  }

  void readOnlySettingsAreReadAndChangesKeptInMemory() {
    for (const bool wholeFolder : {false, true}) {  // in a folder that is read-only, no log can be made
      SettingsFolder settings;
      settings.fill(2);
      const QString folder = QFileInfo(settings.path).path();
      const Unprivileged user({settings.folder.path(), folder, settings.path});
      if (!user.works()) QSKIP("cannot give up the rights of root here");
      const QByteArray name = QFile::encodeName(wholeFolder ? folder : settings.path);
      QCOMPARE(::chmod(name.constData(), 0500), 0);
      const auto store = settings.open();
      QCOMPARE(store->objectForKey(QStringLiteral("1")), StoredValue{std::int64_t{1}});
      store->setObject(key, {true});
      QVERIFY(!store->synchronize());
      QVERIFY(!store->synchronize());
      QCOMPARE(store->keys().size(), 3);
      QCOMPARE(settings.lines.size(), 1);
      QCOMPARE(::chmod(name.constData(), 0700), 0);
      QVERIFY(store->synchronize());
      QCOMPARE(settings.open()->keys().size(), 3);
    }
  }

  void unreachableFolderWorksFromMemoryAndRecovers() {
    SettingsFolder settings;
    const QString top = settings.folder.path();
    const Unprivileged user({top});
    if (!user.works()) QSKIP("cannot give up the rights of root here");
    const QByteArray name = QFile::encodeName(top);
    settings.fill(1);
    ::chmod(name.constData(), 0000);
    {
      const auto store = settings.open();
      QCOMPARE(settings.lines.size(), 1);
      QVERIFY(store->keys().isEmpty());
      store->setObject(key, {true});
      QVERIFY(!store->synchronize());
      QCOMPARE(settings.lines.size(), 1);
      ::chmod(name.constData(), 0700);
      QVERIFY(store->synchronize());
      QCOMPARE(store->keys(), (QStringList{QStringLiteral("0"), key}));
      ::chmod(name.constData(), 0000);
      store->setObject(key, {false});
      QVERIFY(!store->synchronize());
      QCOMPARE(settings.lines.size(), 2);
      ::chmod(name.constData(), 0700);
    }
    QCOMPARE(settings.open()->objectForKey(key), StoredValue{false});
  }

  void fullDiskKeepsTheValuesUntilThereIsRoom() {
    SettingsFolder settings;
    settings.fill(2);
    const auto store = settings.open();
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{.rlim_cur = 300'000, .rlim_max = RLIM_INFINITY};
    const rlimit unlimited{.rlim_cur = RLIM_INFINITY, .rlim_max = RLIM_INFINITY};
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    const auto lift = qScopeGuard([&] { ::setrlimit(RLIMIT_FSIZE, &unlimited); });
    const StoredValue large{QByteArray(800'000, 'x')};
    store->setObject(QStringLiteral("large"), large);
    QVERIFY(!store->synchronize());
    QVERIFY(!store->synchronize());
    QCOMPARE(settings.lines.size(), 1);
    QCOMPARE(store->objectForKey(QStringLiteral("large")), large);
    QCOMPARE(store->objectForKey(QStringLiteral("1")), StoredValue{std::int64_t{1}});
    ::setrlimit(RLIMIT_FSIZE, &unlimited);
    QVERIFY(store->synchronize());
    QCOMPARE(settings.open()->keys().size(), 3);
  }
};

QTEST_GUILESS_MAIN(TestSqliteDefaultsTrouble)
#include "test_sqlite_defaults_trouble.moc"
