#pragma once

#include <QString>

/// Where the running program answers on the session bus.
namespace halvard::control_names {

inline const QString kService = QStringLiteral("com.tessmar.Halvard");
inline const QString kPath = QStringLiteral("/com/tessmar/Halvard");
inline const QString kInterface = QStringLiteral("com.tessmar.Halvard");

}  // namespace halvard::control_names
