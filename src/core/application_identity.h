#pragma once

#include <QString>

/// Who the program is to the desktop and to other programs.
namespace halvard::application_identity {

inline const QString kBundleIdentifier = QStringLiteral("com.tessmar.Halvard");
inline const QString kDisplayName = QStringLiteral("Halvard");

}  // namespace halvard::application_identity
