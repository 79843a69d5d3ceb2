#pragma once

#include <QAbstractSlider>

namespace halvard {

/// A painted horizontal slider over real values, with tick marks below. The value is a whole multiple of the step away
/// from the minimum. `valueChosen` is the user alone: setting the value from the program stays quiet.
class ValueSlider : public QAbstractSlider {
  Q_OBJECT

 public:
  explicit ValueSlider(QWidget* parent = nullptr);

  /// The values at both ends, the distance between two values, and that of a key press.
  void setScale(double minimum, double maximum, double step, double keyStep);
  void setNumberOfTickMarks(int count);
  int numberOfTickMarks() const { return m_tickMarks; }
  double minimumValue() const { return m_minimum; }
  double maximumValue() const { return m_maximum; }

  /// A value beyond an end shows as that end.
  double doubleValue() const;
  void setDoubleValue(double newValue);

  QSize sizeHint() const override;

 Q_SIGNALS:
  void valueChosen(double chosen);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;

 private:
  void sendChosenValue();
  void chooseAt(qreal x);
  qreal knobCentre() const;

  double m_minimum = 0;
  double m_maximum = 1;
  double m_step = 0.01;
  int m_tickMarks = 0;
  bool m_quiet = false;
  bool m_focusedByKey = false;
};

}  // namespace halvard
