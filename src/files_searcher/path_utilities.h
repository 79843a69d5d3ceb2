#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QUrl>
#include <cstddef>
#include <optional>

#include "core/clock.h"
#include "platform/ports/last_used_dates.h"

namespace halvard::path_utilities {

/// True when `other` lies below `path`: "/a/b" is a parent of "/a/b/c", not of "/a/bc" and not of itself. Literal.
bool isParentPathForPath(QByteArrayView path, QByteArrayView other);

/// Counts without overlaps, from the start. 0 for an empty substring.
std::size_t numberOccurencesSubstring(QByteArrayView text, QByteArrayView substring);

/// What follows the last "." of a file name; empty when there is none.
QByteArrayView pathExtension(QByteArrayView name);

/// Nothing for an address that is not a local file.
std::optional<Clock::Instant> filesLastAccessDate(const QUrl& url, const LastUsedDates& dates);

}  // namespace halvard::path_utilities
