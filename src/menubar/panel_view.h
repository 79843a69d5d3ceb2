#pragma once

#include <QWidget>

#include "menubar/panel_placement.h"

namespace halvard {

/// The panel's content view: draws the title bar, the white below it and, when attached, the triangle that points at
/// the status item. Its content stands in a body widget that moves with the triangle's edge.
class PanelView : public QWidget {
  Q_OBJECT

 public:
  explicit PanelView(QWidget* parent = nullptr);

  /// True while the panel is attached to the status item.
  void setShowTriangle(bool show);
  bool showsTriangle() const { return m_showTriangle; }

  /// Where the triangle is drawn; `apex` is its distance from the left edge. Without a pointed-at item there is none
  /// to draw, attached or not.
  void pointAt(panel_placement::TriangleEdge edge, int apex);
  void pointAtNothing();

  /// How far the body stands below its normal place: the triangle's height up when the triangle is at the bottom.
  int bodyOffset() const;

  /// The outline of everything drawn, for a window shape.
  QPainterPath outline() const;

 Q_SIGNALS:
  /// outline() or bodyOffset() changed.
  void outlineChanged();

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  bool drawsTriangle() const { return m_showTriangle && m_pointsAtItem; }
  QRectF bodyRect() const;

  bool m_showTriangle = true;
  bool m_pointsAtItem = false;
  panel_placement::TriangleEdge m_edge = panel_placement::TriangleEdge::Top;
  int m_apex = 0;
};

}  // namespace halvard
