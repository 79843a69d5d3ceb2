#pragma once

#include <QRect>
#include <QSize>
#include <chrono>

class QWidget;

/// Changes of a widget that go through an animation when asked, and at once otherwise.
namespace halvard::animated_geometry {

/// How long a change of the panel's layout takes.
inline constexpr std::chrono::milliseconds kLayoutDuration{400};

/// A running change of the same widget is replaced.
void setFrame(QWidget* widget, const QRect& frame, bool usingAnimator);
/// The same for the size alone: somebody else may move the widget meanwhile.
void setSize(QWidget* widget, QSize size, bool usingAnimator);

}  // namespace halvard::animated_geometry
