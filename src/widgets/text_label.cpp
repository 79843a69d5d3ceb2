#include "widgets/text_label.h"

#include <QVBoxLayout>

namespace halvard {

QLabel* makeLabel(const QString& text, const QFont& font, const QColor& color) {
  auto* label = new QLabel(text);
  label->setFont(font);
  QPalette colors = label->palette();
  colors.setColor(QPalette::WindowText, color);
  label->setPalette(colors);
  return label;
}

QLabel* addCentredLine(QVBoxLayout& layout, const QString& text, const QFont& font, const QColor& color) {
  QLabel* label = makeLabel(text, font, color);
  label->setAlignment(Qt::AlignCenter);
  label->setWordWrap(true);
  layout.addWidget(label);
  return label;
}

}  // namespace halvard
