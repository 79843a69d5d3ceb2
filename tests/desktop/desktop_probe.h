#pragma once

#include <QColor>
#include <QPoint>
#include <QRect>
#include <QStringList>
#include <optional>

namespace halvard::test {

/// Centre of the pixels of just this colour on the whole display, in pixels; nothing when fewer than `least` show.
std::optional<QPoint> findColor(const QColor& color, int least = 60);

/// Runs a program of the session to its end (at most 20 s) and gives its standard output; nothing when it failed.
std::optional<QString> runTool(const QString& program, const QStringList& arguments);

/// Where the one visible window of this class stands, in pixels; nothing when there is none.
std::optional<QRect> frameOfWindow(const QString& className);

/// A real click with a button of the pointer: 1 left, 2 wheel, 3 right.
void clickAt(QPoint pixel, int button);

}  // namespace halvard::test
