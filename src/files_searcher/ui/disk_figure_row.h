#pragma once

#include <QColor>

#include "widgets/focus_ring_button.h"
#include "widgets/text_button.h"

namespace halvard {

/// One figure of the summary: a mark, a name, the size, and a chevron that leads to its page. A click on the size asks
/// for a new search.
class DiskFigureRow : public FocusRingButton {
  Q_OBJECT

 public:
  DiskFigureRow(const QString& name, const QColor& mark, QWidget* parent);

  /// The text of the size, and whether it can be clicked.
  void setFigure(const QString& figure, bool enabled);
  QString figure() const { return m_figure->text(); }
  /// Pages can be opened.
  void setLeadsOn(bool leadsOn);

 Q_SIGNALS:
  void sizeLabelPressed();

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QColor m_mark;
  bool m_leadsOn = false;
  TextButton* m_figure;
};

}  // namespace halvard
