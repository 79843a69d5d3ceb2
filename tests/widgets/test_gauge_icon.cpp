#include <QtTest>

#include "support/texts.h"
#include "widgets/application_icon.h"
#include "widgets/gauge_icon.h"
#include "widgets/status_image.h"

using namespace halvard;

namespace {

QImage memoryIcon(int percent, int size, const char* badge = "") {
  return gaugeIcon(QStringLiteral("icon_memory_%1").arg(percent), size, text(badge));
}

/// How many pixels of the picture show a level: saturated, which neither slate nor well is.
int levelArea(const QImage& image) {
  int area = 0;
  for (int position = 0; position < image.width() * image.height(); ++position)
    area += image.pixelColor(position % image.width(), position / image.width()).hsvSaturationF() > 0.6 ? 1 : 0;
  return area;
}

}  // namespace

class TestGaugeIcon : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void everyStepIsAPictureOfItsOwnInEverySize() {
    for (const int size : {16, 22, 24, 32, 44, 48, 96}) {
      QList<QImage> pictures = {gaugeIcon(text("icon_start"), size), gaugeIcon(text("icon_clear"), size)};
      for (int percent = 5; percent <= 100; ++percent)
        pictures.append(memoryIcon(percent, size));
      for (int number = 0; number < pictures.size(); ++number) {
        QCOMPARE(pictures[number].size(), QSize(size, size));
        QVERIFY2(!pictures.mid(0, number).contains(pictures[number]), qPrintable(QString::number(number)));
      }
    }
  }

  void theLevelGrowsTurnsWarmAndThenRed() {
    for (int percent = 5; percent <= 100; percent += 5)
      QVERIFY(levelArea(memoryIcon(percent, 48)) > levelArea(memoryIcon(percent - 5, 48)));
    const auto hue = [](int percent) { return memoryIcon(percent, 48).pixelColor(20, 40).hsvHue(); };
    QCOMPARE(hue(50), hue(74));
    QVERIFY(hue(74) > 150);
    QVERIFY(hue(75) > 20 && hue(75) < 60);
    QVERIFY(hue(93) > 20 && hue(93) < 60);
    QVERIFY(hue(94) < 15 || hue(94) > 345);
  }

  void thePictureStandsOutFromLightAndDarkBars() {
    const QImage image = memoryIcon(50, 48);
    int brightest = 0, dimmest = 255;
    for (int x = 0; x < 12; ++x) {
      if (qAlpha(image.pixel(x, 20)) != 255) continue;
      brightest = std::max(brightest, qGray(image.pixel(x, 20)));
      dimmest = std::min(dimmest, qGray(image.pixel(x, 20)));
    }
    // Grey levels with a contrast of 3 to the bars of the common themes, 0x20 and 0xF5.
    QVERIFY(brightest >= 0x6A && dimmest <= 0x8E);
  }

  void otherNamesHaveNoPicture() {
    for (const char* name : {"", "icon_memory_", "icon_memory_x", "icon_memory_101", "icon_memory_-5", "Cleaning"})
      QVERIFY2(gaugeIcon(text(name), 22).isNull(), name);
    QCOMPARE(statusImage(QString(), QString(), 22), StatusImage());
  }

  void badgesAreShortened() {
    QStringList badges;
    for (const QString& title : texts(
             {"", " 62% ", "  5% ", "100%", "7.42 GB", "0.98 GB", "9.97 GB", "10.3 GB", "980 MB", "999 bytes", "wide"}))
      badges << gaugeBadge(title);
    QCOMPARE(badges, texts({"", "62", "5", "100", "7.4G", "1.0G", "10G", "10G", "980M", "999", "wid"}));
  }

  void aBadgeShowsItsTextAndTheLevel() {
    const QImage badge = memoryIcon(62, 22, "62");
    for (const QImage& other : {memoryIcon(62, 22), memoryIcon(62, 22, "63"), memoryIcon(72, 22, "62")})
      QVERIFY(badge != other);
    QCOMPARE(gaugeIcon(text("icon_clear"), 22, text("62")), gaugeIcon(text("icon_clear"), 22));
  }

  void theApplicationIconIsBuiltInInItsSizes() {
    const QIcon icon = applicationIcon();
    QCOMPARE(icon.availableSizes().size(), 9);
    for (const int size : {16, 512})
      QVERIFY(icon.pixmap(size).toImage().pixelColor(size / 2, size - size / 4).green() > 100);
  }

  void bytesAreAlphaRedGreenBlueWhateverTheMachine() {
    const StatusImage bytes = statusImage(text("icon_memory_80"), text(" 80% "), 24);
    const QImage image = memoryIcon(80, 24, "80").convertToFormat(QImage::Format_ARGB32);
    QVERIFY(bytes.size == 24 && bytes.argb.size() == 24 * 24 * 4);
    for (int position = 0; position < 24 * 24; ++position) {
      const auto pixel = qFromBigEndian<quint32>(bytes.argb.constData() + 4 * position);
      QCOMPARE(pixel, image.pixel(position % 24, position / 24));
    }
  }
};

QTEST_MAIN(TestGaugeIcon)
#include "test_gauge_icon.moc"
