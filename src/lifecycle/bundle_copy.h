#pragma once

#include <QString>

#include "core/result.h"

/// Copies an application's folder or single file to another place so that either all of it stands there or nothing.
/// Any thread.
namespace halvard::bundle_copy {

/// Copies `bundle` beside `target`, under a hidden name, with permissions and links as they are; makes the folder
/// above. The result is that name. After a failure nothing of the copy is left; what an interrupted copy left is
/// replaced.
Result<QString> stage(const QString& bundle, const QString& target);

/// Gives the staged copy its name. What stood there is removed; after a failure it stands there as before, and the copy
/// is gone.
Result<void> putInPlace(const QString& staged, const QString& target);

}  // namespace halvard::bundle_copy
