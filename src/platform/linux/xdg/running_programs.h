#pragma once

#include <QHash>
#include <QString>
#include <cstdint>

namespace halvard {

/// The lowest pid of each program file that a process of this user runs, by absolute path with links resolved. A file
/// that was replaced since the start counts under its old path. Empty when `procRoot` ("/proc") cannot be read.
QHash<QString, std::int32_t> runningPrograms(const QString& procRoot);

}  // namespace halvard
