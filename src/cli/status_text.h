#pragma once

#include <QJsonObject>
#include <QString>

/// The records of the program as text for people.
namespace halvard::status_text {

/// One screen for a status record: a bar, the used share, and where the memory is.
QString screen(const QJsonObject& status);

/// One line for `watch`.
QString line(const QJsonObject& status);

/// "[######      ] 50%" for a progress of 0 to 1.
QString bar(double progress, int width);

}  // namespace halvard::status_text
