#pragma once

#include <QWidget>

class QAbstractButton;
class QLabel;

namespace halvard {

/// The offer's window: a white shape with a small pointer in the middle of its top edge, above normal windows.
class AutostartWindow : public QWidget {
  Q_OBJECT

 public:
  AutostartWindow();

  /// The edge, top or bottom, that the pointer sits on, and its distance from the left edge; the middle of the top edge
  /// at first.
  void setPointer(Qt::Edge edge, int apex);
  /// On a desktop that blends windows, where the shape need not be cut out.
  void setBlended(bool blended);

  // Owned by the window.
  QLabel* cleanedSizeLabel;
  QAbstractButton* yesButton;
  QAbstractButton* noButton;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void cutOutShape();

  Qt::Edge m_pointerEdge = Qt::TopEdge;
  int m_apex = 0;
  bool m_blended = false;
};

}  // namespace halvard
