#include <QtTest>

#include "core/size_format.h"

using namespace halvard;
using namespace halvard::size_format;

namespace {
constexpr std::int64_t kKiB = 1024;
constexpr std::int64_t kMiB = 1024 * kKiB;
constexpr std::int64_t kGiB = 1024 * kMiB;
}  // namespace

class TestSizeFormat : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void binaryFormatterSwitchesUnitAtAThousand_data() {
    QTest::addColumn<qint64>("bytes");
    QTest::addColumn<QString>("text");
    const auto row = [](qint64 bytes, const char* text) {
      QTest::addRow("%lld", static_cast<long long>(bytes)) << bytes << QString::fromLatin1(text);
    };
    row(-2048, "-2048 bytes");
    row(0, "0 bytes");
    row(999, "999 bytes");
    row(1000, "0.98 KB");
    row(1023, "1.00 KB");
    row(9 * kKiB, "9.00 KB");
    row(10 * kKiB, "10.0 KB");
    row(100 * kKiB, "100 KB");
    row(999 * kKiB, "999 KB");
    row(1000 * kKiB, "0.98 MB");
    row(1000 * kMiB, "0.98 GB");
    row(10 * kGiB, "10.0 GB");
    row(100 * kGiB, "100 GB");
    row(1000 * kGiB, "0.98 TB");
    row(5000 * 1024 * kGiB, "5000 TB");
  }
  void binaryFormatterSwitchesUnitAtAThousand() {
    QFETCH(qint64, bytes);
    QTEST(stringFromSize(bytes), "text");
  }

  void decimalFormatters_data() {
    QTest::addColumn<quint64>("bytes");
    QTest::addColumn<QString>("dot0");
    QTest::addColumn<QString>("dot1");
    QTest::addColumn<QString>("digits3");
    QTest::addColumn<QString>("special");
    QTest::addColumn<QString>("onlyMB");
    const auto row = [](quint64 bytes, const char* dot0, const char* dot1, const char* digits3, const char* special,
                        const char* onlyMB) {
      QTest::addRow("%llu", static_cast<unsigned long long>(bytes))
          << bytes << QString::fromLatin1(dot0) << QString::fromLatin1(dot1) << QString::fromLatin1(digits3)
          << QString::fromLatin1(special) << QString::fromLatin1(onlyMB);
    };
    row(0, "Zero Bytes", "0 B", "0 B", "0 B", "0 B");
    row(1, "1 B", "1 B", "1 B", "1 B", "1 B");
    row(999, "999 B", "999 B", "999 B", "999 B", "999 B");
    row(1000, "1 KB", "1 KB", "1 KB", "1 KB", "1000 B");
    row(1001, "1 KB", "1 KB", "1 KB", "1 KB", "1 KB");
    row(1'040, "1 KB", "1 KB", "1.04 KB", "1 KB", "1 KB");
    row(1'060, "1.1 KB", "1.1 KB", "1.06 KB", "1.1 KB", "1 KB");
    row(1'960, "2 KB", "2 KB", "1.96 KB", "2 KB", "2 KB");
    row(1'000'000, "1 MB", "1 MB", "1 MB", "1 MB", "1000 KB");
    row(1'500'000, "1.5 MB", "1.5 MB", "1.5 MB", "1.5 MB", "1.5 MB");
    row(5'500'000, "5.5 MB", "5.5 MB", "5.5 MB", "5.5 MB", "5.5 MB");
    row(15'500'000, "16 MB", "15.5 MB", "15.5 MB", "15 MB", "15.5 MB");
    row(123'400'000, "123 MB", "123.4 MB", "123 MB", "123 MB", "123.4 MB");
    row(1'000'000'000, "1 GB", "1 GB", "1 GB", "1 GB", "1000.0 MB");
    row(2'000'000'000, "2 GB", "2 GB", "2 GB", "2 GB", "2 000 MB");
    row(12'345'678'901, "12 GB", "12.3 GB", "12.3 GB", "12 GB", "12 345 MB");
    row(999'940'000'000'000'000, "1000 PB", "999.9 PB", "1000 PB", "999 PB", "999940000 000 MB");
    row(1'000'000'000'000'000'000, "1 PB", "1", "1", "1", "1000000000 000 MB");
  }
  void decimalFormatters() {
    QFETCH(quint64, bytes);
    QTEST(formatMemoryStringDot0(bytes), "dot0");
    QTEST(formatMemoryStringDot1(bytes), "dot1");
    QTEST(convertToStringFromFileSize(bytes), "dot1");
    QTEST(formatMemoryStringDot1With3DigitsExactly(bytes), "digits3");
    QTEST(convertToStringFromFileSizeSpecial(bytes), "special");
    QTEST(convertToStringFromFileSizeOnlyMB(bytes), "onlyMB");
  }

  void numberFormsReadAnyNumberAsUnsigned() {
    QCOMPARE(formatMemoryStringDot0NSnum(QVariant(1'500'000)), QStringLiteral("1.5 MB"));
    QCOMPARE(formatMemoryStringDot1NSnum(QVariant(Q_UINT64_C(2'000'000'000))), QStringLiteral("2 GB"));
  }

  void aChangingSizeHasTheTextOfEveryCount() {
    // Around every edge of the text: the last digit, the decimals and the unit.
    for (const double edge : {999.0, 1023.0, 1.005e3 * 1.024, 9.995 * 1024, 99.95 * 1024, 999.5 * 1024, 1000.0 * 1024,
                              1.045 * 1048576, 22.15 * 1073741824, 999.5 * 1073741824, 1234.5 * 1099511627776.0}) {
      ChangingSize size;
      for (std::int64_t bytes = std::int64_t(edge) - 300; bytes < std::int64_t(edge) + 300; bytes += 7) {
        const QString before = size.text();
        if (!size.set(bytes)) QCOMPARE(size.text(), before);
        QCOMPARE(size.text(), stringFromSize(bytes));
      }
    }
    ChangingSize size;
    size.set(540'000'000);
    QVERIFY(!size.set(540'100'000));
    QVERIFY(size.set(541'000'000));
  }
};

QTEST_GUILESS_MAIN(TestSizeFormat)
#include "test_size_format.moc"
