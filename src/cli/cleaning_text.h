#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QString>

/// The records of cleanings as text for people.
namespace halvard::cleaning_text {

/// A few lines for the record of one purge.
QString purge(const QJsonObject& record);

/// One line for its second look.
QString recheck(const QJsonObject& record);

/// What a purge could do now, and whose memory it would take.
QString forecast(const QJsonObject& record);

/// A table, one line a purge in local time; a sentence when there is none.
QString history(const QJsonArray& records);

}  // namespace halvard::cleaning_text
