#pragma once

#include <QImage>
#include <optional>

#include "widgets/focus_ring_button.h"

namespace halvard {

/// The button that frees memory. While a purge runs it is its own progress bar.
class CleanMemoryButton : public FocusRingButton {
  Q_OBJECT

 public:
  explicit CleanMemoryButton(QWidget* parent = nullptr);

  /// Follows the mouse with the hover picture.
  void setTracking(bool tracking);

  /// Tracking off, disabled look on. Before it is disabled: the focus goes to nobody else meanwhile.
  void beginProgressUpdate();
  /// Tracking on, disabled look off, and the idle picture again. After it is enabled: the focus comes back.
  void endProgressUpdate();
  /// Draws the progress picture; `progress` is 0 to 1.
  void setProgess(float progress);
  /// Sets the text, in the title colour.
  void setTitle(const QString& title);

  QSize sizeHint() const override;

  /// The picture of a running purge, `size` in device pixels: light ground, darker up to `progress`, the rim over it.
  static QImage progressImage(QSize size, qreal devicePixelRatio, float progress);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void enterEvent(QEnterEvent* event) override;
  void leaveEvent(QEvent* event) override;

 private:
  bool m_tracking = true;
  bool m_disabledLook = false;
  bool m_hovered = false;
  float m_progress = 0;
  std::optional<Qt::FocusReason> m_focus;
};

}  // namespace halvard
