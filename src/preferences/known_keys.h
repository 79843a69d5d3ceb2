#pragma once

#include <QString>
#include <QStringList>

namespace halvard::stored_keys {

/// Every key the program knows, sorted.
const QStringList& all();

/// True for a key of all(), and for an absolute path: grants for folders are stored under the folder's own path.
bool isKnown(const QString& key);

/// The key of all() that is nearest to a mistyped one, or an empty text when none is near.
QString nearest(const QString& key);

}  // namespace halvard::stored_keys
