#pragma once

#include <QObject>
#include <QPoint>
#include <QRect>
#include <QString>
#include <optional>

#include "core/color.h"

namespace halvard {

/// A text in one colour.
struct AttributedTitle {
  QString text;
  Color color;

  bool operator==(const AttributedTitle&) const = default;
};

/// The item in the desktop's status area. Pictures go by name ("icon_start", "icon_clear", "icon_memory_75"); the
/// adapter draws them in the sizes its host wants. Main thread. Setting the current value again does nothing: the
/// host is told of changes alone.
class StatusBarItem : public QObject {
  Q_OBJECT

 public:
  enum class MouseButton { Left, Right };

  using QObject::QObject;

  /// An empty name removes the picture. The alternate one is what a host shows while the item is pressed or open.
  virtual void setImage(const QString& imageName) = 0;
  virtual void setAlternateImage(const QString& imageName) = 0;
  /// The short text beside the icon, where the host shows one.
  virtual void setTitle(const AttributedTitle& title) = 0;
  virtual void setAlternateTitle(const AttributedTitle& title) = 0;
  /// Several lines are allowed; the first is the heading.
  virtual void setToolTip(const QString& toolTip) = 0;

  /// Where the item is, in global logical coordinates: exact (XEmbed), or around the last click (StatusNotifierItem
  /// tells only that). Nothing before the first click, or when no host shows the item.
  virtual std::optional<QRect> geometry() const = 0;

  /// True while some host shows the item. False at first: hosts answer a moment after the start, and where there is
  /// none it takes about a second to know.
  virtual bool isShown() const = 0;

 Q_SIGNALS:
  /// The user pressed the item.
  void activated(halvard::StatusBarItem::MouseButton button);
  /// isShown() changed.
  void shownChanged();
};

}  // namespace halvard
