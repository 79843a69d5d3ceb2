#include <QtTest>

#include "platform/fake/fake_defaults_store.h"
#include "preferences/cleaning_exclusions.h"
#include "preferences/stored_keys.h"

using namespace halvard;

class TestCleaningExclusions : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void namesAreSortedAndKnownInAnyCase() {
    FakeDefaultsStore store;
    CleaningExclusions exclusions(store);
    QCOMPARE(exclusions.names(), QStringList());
    QVERIFY(exclusions.add(QStringLiteral("  Web Browser ")) && exclusions.add(QStringLiteral("gimp")));
    // Another look at the same store, as another process has.
    QCOMPARE(CleaningExclusions(store).names(), (QStringList{QStringLiteral("gimp"), QStringLiteral("Web Browser")}));
    QCOMPARE(exclusions.add(QStringLiteral("GIMP")).error().message, QStringLiteral("'GIMP' is excluded already"));
    QCOMPARE(exclusions.remove(QStringLiteral("vim")).error().message, QStringLiteral("'vim' is not excluded"));
    QVERIFY(exclusions.remove(QStringLiteral("web browser")) && exclusions.remove(QStringLiteral("gimp")));
    QVERIFY(!store.objectForKey(stored_keys::cleaningExclusions));
    for (const char* name : {"", " \t", "two\nlines", "bell\a"})
      QVERIFY2(!exclusions.add(QString::fromLatin1(name)), name);
    QCOMPARE(exclusions.names(), QStringList());
  }

  void whatIsStoredInAnotherFormCountsAsNothing() {
    FakeDefaultsStore store;
    CleaningExclusions exclusions(store);
    store.setObject(stored_keys::cleaningExclusions, {QStringLiteral("gimp")});
    QCOMPARE(exclusions.names(), QStringList());
    const StoredValue::Array mixed{
        {std::int64_t{5}}, {QStringLiteral(" gimp ")}, {QString()}, {QStringLiteral("gimp")}};
    store.setObject(stored_keys::cleaningExclusions, {mixed});
    QCOMPARE(exclusions.names(), QStringList{QStringLiteral("gimp")});
  }
};

QTEST_APPLESS_MAIN(TestCleaningExclusions)
#include "test_cleaning_exclusions.moc"
