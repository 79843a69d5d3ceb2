#include <QFileInfo>
#include <QTimeZone>
#include <QtTest>
#include <atomic>
#include <limits>
#include <thread>

#include "platform/sqlite/settings_fixture.h"

using namespace halvard;
using namespace halvard::test;

namespace {

const QString key = QStringLiteral("K");

StoredValue::Dictionary oneOfEachKind() {
  const auto name = [](const char* text) { return QString::fromLatin1(text); };
  return {{name("bool"), {true}},
          {name("integer"), {std::numeric_limits<std::int64_t>::min()}},
          {name("unsigned"), {std::numeric_limits<std::uint64_t>::max()}},
          {name("small unsigned"), {std::uint64_t{1}}},
          {name("whole real"), {2.0}},
          {name("nan"), {std::numeric_limits<double>::quiet_NaN()}},
          {name("minus zero"), {-0.0}},
          {name("string"), {QStringLiteral("5")}},
          {name("data"), {QByteArray("5")}},
          {name("date"), {QDateTime::fromMSecsSinceEpoch(-1, Qt::UTC)}},
          {name("no date"), {QDateTime()}},
          {name("array"), {StoredValue::Array{{true}, {std::uint64_t{1}}, {StoredValue::Array{}}}}},
          {name("dictionary"), {StoredValue::Dictionary{}}}};
}

}  // namespace

class TestSqliteDefaultsStore : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void kindsSurviveARestart() {
    StoredValue::Dictionary values = oneOfEachKind();
    const StoredValue others[] = {
        {std::numeric_limits<std::int64_t>::max()},
        {1.0 / 3.0},
        {std::numeric_limits<double>::denorm_min()},
        {-std::numeric_limits<double>::infinity()},
        {std::bit_cast<double>(std::uint64_t{0xfff8000000001234})},
        {QString()},
        {QStringLiteral("a\0b\n'\u0421\U0001f600")},
        {QByteArray()},
        {QByteArray("\0\xff\x80", 3)},
        {QDateTime(QDate(2024, 2, 29), QTime(23, 59, 59, 999), QTimeZone(3600))},
        {QDateTime(QDate(12345, 1, 1), QTime(0, 0, 0, 1), Qt::UTC)},
        {StoredValue::Array{{oneOfEachKind()}, {StoredValue::Array{{oneOfEachKind()}}}}},
    };
    for (const StoredValue& other : others)
      values.insert({QString::number(values.size()), other});
    SettingsFolder settings;
    {
      const auto store = settings.open();
      for (const auto& [name, value] : values)
        store->setObject(name, value);
    }
    const auto store = settings.open();
    for (const auto& [name, value] : values) {
      const std::optional<StoredValue> stored = store->objectForKey(name);
      QVERIFY2(stored && isIdentical(*stored, value), qPrintable(name));
    }
    QVERIFY(settings.lines.isEmpty());
  }

  void cellsThatMakeNoSenseAreNoValues() {
    const auto bytes = [](const StoredValue& value) { return std::get<QByteArray>(encode(value).value); };
    const QByteArray array = bytes({StoredValue::Array{{true}}});
    QVERIFY(decode({QStringLiteral("array"), array}));
    const std::vector<EncodedValue> bad = {
        {QStringLiteral("array"), array.chopped(1)},
        {QStringLiteral("dictionary"), array},
        {QStringLiteral("array"), QByteArray(100, '\x81') + '\x01'},
        {QStringLiteral("array"), QByteArray("\x81\xc2\x41\x01")},
        {QStringLiteral("array"), nullptr},
        {QStringLiteral("bool"), std::int64_t{2}},
        {QStringLiteral("unsigned"), QStringLiteral("-1")},
        {QStringLiteral("real"), QByteArray("1234567")},
        {QStringLiteral("integer"), 1.0},
        {QStringLiteral("colour"), std::int64_t{1}},
    };
    for (const EncodedValue& encoded : bad)
      QVERIFY2(!decode(encoded), qPrintable(encoded.kind));
  }

  void readingMakesNoFileAndWritingPrivateFolders() {
    SettingsFolder settings;
    settings.path = settings.folder.filePath(QStringLiteral("a/b/defaults.db"));
    {
      const auto store = settings.open();
      QVERIFY(!store->objectForKey(key) && store->keys().isEmpty() && store->synchronize());
    }
    QVERIFY(!QFileInfo::exists(settings.folder.filePath(QStringLiteral("a"))));
    settings.fill(1);
    const auto mine = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;
    for (const char* name : {"a", "a/b"}) {
      const auto permissions = QFile::permissions(settings.folder.filePath(QString::fromLatin1(name)));
      QCOMPARE(permissions & ~(QFile::ReadUser | QFile::WriteUser | QFile::ExeUser), mine);
    }
  }

  void unsynchronisedValuesAreSeenAndWrittenAtTheEnd() {
    SettingsFolder settings;
    settings.fill(2);
    {
      const auto store = settings.open();
      store->setObject(key, {true});
      store->removeObject(QStringLiteral("0"));
      QCOMPARE(store->objectForKey(key), StoredValue{true});
      QCOMPARE(store->keys(), (QStringList{QStringLiteral("1"), key}));
      QVERIFY(!settings.open()->objectForKey(key));
    }
    QCOMPARE(settings.open()->keys(), (QStringList{QStringLiteral("1"), key}));
  }

  void domainsAreApartAndCanBeRemoved() {
    SettingsFolder settings;
    settings.open(QStringLiteral("other"))->setObject(key, {false});
    const auto store = settings.open();
    QVERIFY(!store->objectForKey(key));
    store->setObject(key, {true});
    QVERIFY(store->synchronize());
    store->removePersistentDomain();
    QVERIFY(!store->objectForKey(key));
    store->setObject(QStringLiteral("later"), {true});
    QCOMPARE(store->keys(), QStringList{QStringLiteral("later")});
    QVERIFY(store->synchronize());
    QCOMPARE(settings.open()->keys(), QStringList{QStringLiteral("later")});
    QCOMPARE(settings.open(QStringLiteral("other"))->objectForKey(key), StoredValue{false});
  }

  void commitsOfAnotherStoreAreSeenAtTheNextRead() {
    SettingsFolder settings;
    const auto first = settings.open();
    const auto second = settings.open();
    for (std::int64_t number = 0; number < 5; ++number) {
      first->setObject(key, {number});
      QVERIFY(first->synchronize());
      QCOMPARE(second->objectForKey(key), StoredValue{number});
    }
    // What is set here hides what others commit until it is written, and then wins.
    second->setObject(key, {QStringLiteral("mine")});
    first->removeObject(key);
    QVERIFY(first->synchronize());
    QCOMPARE(second->objectForKey(key), StoredValue{QStringLiteral("mine")});
    QVERIFY(second->synchronize());
    QCOMPARE(first->objectForKey(key), StoredValue{QStringLiteral("mine")});
  }

  void threadsSetReadAndSynchroniseAtOnce() {
    constexpr int threadCount = 4;
    constexpr int rounds = 40;
    SettingsFolder settings;
    std::atomic<int> faults = 0;
    {
      const auto store = settings.open();
      std::vector<std::jthread> threads;
      for (int thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back([&, thread] {
          const QString own = QString::number(thread);
          for (std::int64_t round = 0; round < rounds; ++round) {
            store->setObject(own, {round});
            store->setObject(QStringLiteral("shared"), {round});
            if (store->objectForKey(own) != StoredValue{round}) ++faults;
            if (round % 4 == 0 && !store->synchronize()) ++faults;
            if (store->objectForKey(own) != StoredValue{round}) ++faults;
            if (!store->keys().contains(own)) ++faults;
          }
        });
      }
    }
    QCOMPARE(faults.load(), 0);
    const auto store = settings.open();
    for (int thread = 0; thread < threadCount; ++thread)
      QCOMPARE(store->objectForKey(QString::number(thread)), StoredValue{std::int64_t{rounds - 1}});
  }

  void fileStandsInTheConfigurationFolder() {
    const QByteArray before = qgetenv("XDG_CONFIG_HOME");
    const auto restore = qScopeGuard([&] { qputenv("XDG_CONFIG_HOME", before); });
    const QString domain = QStringLiteral("com.example");
    qputenv("XDG_CONFIG_HOME", "/somewhere");
    QCOMPARE(defaultsFilePath(domain), QStringLiteral("/somewhere/com.example/defaults.db"));
    qunsetenv("XDG_CONFIG_HOME");
    QCOMPARE(defaultsFilePath(domain), QDir::homePath() + QStringLiteral("/.config/com.example/defaults.db"));
  }
};

QTEST_GUILESS_MAIN(TestSqliteDefaultsStore)
#include "test_sqlite_defaults_store.moc"
