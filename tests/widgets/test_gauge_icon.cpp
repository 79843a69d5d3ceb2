#include <QSet>
#include <QtTest>
#include <cmath>

#include "widgets/application_icon.h"
#include "widgets/gauge_icon.h"
#include "widgets/status_image.h"

using namespace halvard;

namespace {

QString memoryName(int percent) {
  return QStringLiteral("icon_memory_%1").arg(percent);
}

/// How many pixels' worth of the picture shows a level: saturated, which neither slate nor well is.
double levelArea(const QImage& image) {
  double area = 0;
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x)
      area += image.pixelColor(x, y).hsvSaturationF() > 0.6 ? 1 : 0;
  }
  return area;
}

/// WCAG contrast of two opaque colours: 1 is none, 21 is black on white.
double contrast(const QColor& left, const QColor& right) {
  const auto luminance = [](const QColor& color) {
    const auto linear = [](float channel) {
      return channel <= 0.04045F ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
  };
  const double bright = std::max(luminance(left), luminance(right));
  const double dim = std::min(luminance(left), luminance(right));
  return (bright + 0.05) / (dim + 0.05);
}

}  // namespace

class TestGaugeIcon : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void everyStepIsAPictureOfItsOwnInEverySize_data() {
    QTest::addColumn<int>("size");
    for (const int size : {16, 22, 24, 32, 44, 48, 96})
      QTest::addRow("%d", size) << size;
  }
  void everyStepIsAPictureOfItsOwnInEverySize() {
    QFETCH(int, size);
    QList<QImage> pictures = {gaugeIcon(QStringLiteral("icon_start"), size),
                              gaugeIcon(QStringLiteral("icon_clear"), size)};
    for (int percent = 5; percent <= 100; ++percent)
      pictures.append(gaugeIcon(memoryName(percent), size));
    for (int number = 0; number < pictures.size(); ++number) {
      QCOMPARE(pictures[number].size(), QSize(size, size));
      QVERIFY2(!pictures.mid(0, number).contains(pictures[number]), qPrintable(QString::number(number)));
    }
  }

  void theLevelGrowsWithTheMemoryInUse() {
    double previous = 0;
    for (int percent = 5; percent <= 100; percent += 5) {
      const double area = levelArea(gaugeIcon(memoryName(percent), 48));
      QVERIFY2(area > previous, qPrintable(QString::number(percent)));
      previous = area;
    }
  }

  void theLevelTurnsWarmAndThenRed() {
    const auto hue = [](int percent) { return gaugeIcon(memoryName(percent), 48).pixelColor(20, 40).hsvHue(); };
    QCOMPARE(hue(50), hue(74));
    QVERIFY(hue(74) > 150);
    QVERIFY(hue(75) > 20 && hue(75) < 60);
    QVERIFY(hue(93) > 20 && hue(93) < 60);
    QVERIFY(hue(94) < 15 || hue(94) > 345);
  }

  void thePictureStandsOutFromLightAndDarkBars() {
    const QImage image = gaugeIcon(memoryName(50), 48);
    const QColor bars[] = {QColor(0xF5, 0xF5, 0xF5), QColor(0x20, 0x20, 0x20)};
    for (const QColor& bar : bars) {
      double best = 1;
      for (int x = 0; x < 12; ++x) {
        const QColor pixel = image.pixelColor(x, 20);
        if (pixel.alpha() == 255) best = std::max(best, contrast(pixel, bar));
      }
      QVERIFY2(best >= 3, qPrintable(QString::number(best)));
    }
  }

  void otherNamesHaveNoPicture() {
    for (const char* name : {"", "icon_memory_", "icon_memory_x", "icon_memory_101", "icon_memory_-5", "Cleaning"}) {
      QVERIFY2(gaugeIcon(QString::fromLatin1(name), 22).isNull(), name);
    }
    QCOMPARE(statusImage(QString(), QString(), 22), StatusImage());
  }

  void badgesAreShortened_data() {
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("badge");
    const auto row = [](const char* title, const char* badge) {
      QTest::addRow("%s", title) << QString::fromLatin1(title) << QString::fromLatin1(badge);
    };
    row("", "");
    row(" 62% ", "62");
    row("  5% ", "5");
    row("100%", "100");
    row("7.42 GB", "7.4G");
    row("0.98 GB", "1.0G");
    row("9.97 GB", "10G");
    row("10.3 GB", "10G");
    row("128 GB", "128G");
    row("980 MB", "980M");
    row("999 bytes", "999");
    row("wide", "wid");
  }
  void badgesAreShortened() {
    QFETCH(QString, title);
    QTEST(gaugeBadge(title), "badge");
  }

  void aBadgeShowsItsTextAndTheLevel() {
    const QImage plain = gaugeIcon(memoryName(62), 22);
    const QImage badge = gaugeIcon(memoryName(62), 22, QStringLiteral("62"));
    QVERIFY(badge != plain);
    QVERIFY(badge != gaugeIcon(memoryName(62), 22, QStringLiteral("63")));
    QVERIFY(badge != gaugeIcon(memoryName(72), 22, QStringLiteral("62")));
    const QString clear = QStringLiteral("icon_clear");
    QCOMPARE(gaugeIcon(clear, 22, QStringLiteral("62")), gaugeIcon(clear, 22));
  }

  void theApplicationIconIsBuiltInInItsSizes() {
    const QIcon icon = applicationIcon();
    QCOMPARE(icon.availableSizes().size(), 9);
    for (const int size : {16, 22, 48, 512}) {
      QCOMPARE(icon.actualSize({size, size}), QSize(size, size));
      QVERIFY(icon.pixmap(size).toImage().pixelColor(size / 2, size - size / 4).green() > 100);
    }
  }

  void bytesAreAlphaRedGreenBlueWhateverTheMachine() {
    const StatusImage bytes = statusImage(memoryName(80), QStringLiteral(" 80% "), 24);
    const QImage image = gaugeIcon(memoryName(80), 24, QStringLiteral("80")).convertToFormat(QImage::Format_ARGB32);
    QCOMPARE(bytes.size, 24);
    QCOMPARE(bytes.argb.size(), 24 * 24 * 4);
    for (int position = 0; position < 24 * 24; ++position) {
      const QRgb pixel = image.pixel(position % 24, position / 24);
      const char expected[] = {static_cast<char>(qAlpha(pixel)), static_cast<char>(qRed(pixel)),
                               static_cast<char>(qGreen(pixel)), static_cast<char>(qBlue(pixel))};
      QCOMPARE(bytes.argb.mid(position * 4, 4), QByteArray(expected, 4));
    }
  }
};

QTEST_MAIN(TestGaugeIcon)
#include "test_gauge_icon.moc"
