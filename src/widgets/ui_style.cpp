#include "widgets/ui_style.h"

#include <QStringList>

namespace halvard::ui_style {

QFont font(int pixelSize, QFont::Weight weight) {
  static const QStringList families{QStringLiteral("HelveticaNeue"), QStringLiteral("Helvetica Neue"),
                                    QStringLiteral("Inter"),         QStringLiteral("Cantarell"),
                                    QStringLiteral("Noto Sans"),     QStringLiteral("DejaVu Sans")};
  QFont result(families);
  result.setPixelSize(pixelSize);
  result.setWeight(weight);
  result.setHintingPreference(QFont::PreferVerticalHinting);
  return result;
}

QColor toQColor(const Color& color) {
  return {color.red, color.green, color.blue, color.alpha};
}

QColor titleBarColor() {
  return {240, 244, 247};
}
QColor titleBarSeparatorColor() {
  return {217, 225, 231};
}
QColor panelBorderColor() {
  return {188, 200, 209};
}
QColor primaryTextColor() {
  return {38, 50, 60};
}
QColor secondaryTextColor() {
  return {0x53, 0x53, 0x53};
}
QColor calmColor() {
  return {0, 75, 94};
}
QColor dangerColor() {
  return {179, 2, 2};
}
QColor usedTextColor() {
  return {48, 48, 48};
}
QColor cleanedTextColor() {
  return {31, 133, 39};
}
QColor pieChartSystemColor() {
  return {23, 111, 150};
}
QColor pieChartUserColor() {
  return {94, 190, 220};
}
QColor pieChartFreeColor() {
  return {226, 235, 240};
}
QColor hintColor() {
  return {52, 64, 74};
}
QColor hoverColor() {
  return {238, 245, 249};
}
QColor pressedColor() {
  return {219, 234, 242};
}
QColor focusColor() {
  return {84, 160, 204};
}
QColor accentColor() {
  return {35, 134, 178};
}
QColor controlOutlineColor() {
  return {166, 182, 193};
}

}  // namespace halvard::ui_style
