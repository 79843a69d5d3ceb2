#pragma once

#include "widgets/focus_ring_button.h"

namespace halvard {

/// A small flat button with a drawn picture, tinted under the mouse and ringed by the keyboard.
class IconButton : public FocusRingButton {
  Q_OBJECT

 public:
  enum class Picture {
    /// "settings": a gear. "settings_news": the gear with a dot that says there is something to read.
    Settings,
    SettingsNews,
    Close,
    /// Points right, or down while checked.
    Disclosure,
    /// Points left.
    Back,
  };

  /// `accessibleName` is also the tool tip.
  IconButton(Picture picture, const QString& accessibleName, QWidget* parent = nullptr);

  void setPicture(Picture picture);
  Picture picture() const { return m_picture; }
  QSize sizeHint() const override { return {26, 24}; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  Picture m_picture;
};

}  // namespace halvard
