#pragma once

#include "platform/ports/status_bar_item.h"

namespace halvard {

/// A status item on no screen: remembers what it was told and lets a test press it.
class FakeStatusBarItem : public StatusBarItem {
 public:
  /// A value and how often it really changed; setting an equal value is no change.
  template <class T>
  struct Remembered {
    T value;
    int changes = 0;

    void set(const T& newValue) {
      if (value == newValue) return;
      value = newValue;
      ++changes;
    }
  };

  using StatusBarItem::StatusBarItem;

  void setImage(const QString& imageName) override { image.set(imageName); }
  void setAlternateImage(const QString& imageName) override { alternateImage.set(imageName); }
  void setTitle(const AttributedTitle& newTitle) override { title.set(newTitle); }
  void setAlternateTitle(const AttributedTitle& newTitle) override { alternateTitle.set(newTitle); }
  void setToolTip(const QString& newToolTip) override { toolTip.set(newToolTip); }
  std::optional<QRect> geometry() const override { return rect; }
  bool isShown() const override { return m_shown; }

  /// All changes of all values.
  int changes() const;
  /// Emits activated().
  void press(MouseButton button);
  /// A host appears or goes; emits shownChanged() on change. Starts shown.
  void setShown(bool shown);

  Remembered<QString> image;
  Remembered<QString> alternateImage;
  Remembered<AttributedTitle> title;
  Remembered<AttributedTitle> alternateTitle;
  Remembered<QString> toolTip;
  /// What geometry() answers. Starts as a 24 px square in the right half of a panel along the top edge.
  std::optional<QRect> rect = QRect(1200, 2, 24, 24);

 private:
  bool m_shown = true;
};

}  // namespace halvard
