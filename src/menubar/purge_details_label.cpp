#include "menubar/purge_details_label.h"

#include <QEnterEvent>

#include "widgets/hint_window.h"
#include "widgets/ui_style.h"

namespace halvard {

PurgeDetailsLabel::PurgeDetailsLabel(HintWindow& hint, QWidget* parent) : QLabel(parent), m_hint(hint) {
  setTextFormat(Qt::PlainText);
  setFont(ui_style::font(10));
  QPalette colors = palette();
  colors.setColor(QPalette::WindowText, ui_style::secondaryTextColor());
  setPalette(colors);
}

void PurgeDetailsLabel::setDetails(const PurgeDetails& details) {
  m_details = details;
  setAccessibleDescription(details.hint);
  showLine();
}

void PurgeDetailsLabel::place(const QRect& frame, bool shortened) {
  setGeometry(frame);
  m_isShortened = shortened;
  setAlignment(shortened ? Qt::AlignRight | Qt::AlignVCenter : Qt::AlignCenter);
  showLine();
}

void PurgeDetailsLabel::showLine() {
  const QString& line = m_isShortened ? m_details.shortLine : m_details.line;
  setText(fontMetrics().elidedText(line, Qt::ElideRight, width()));
}

void PurgeDetailsLabel::enterEvent(QEnterEvent* event) {
  if (!m_details.hint.isEmpty()) m_hint.showWithText(m_details.hint, event->globalPosition().toPoint());
}

void PurgeDetailsLabel::leaveEvent(QEvent*) {
  m_hint.hideItself();
}

}  // namespace halvard
