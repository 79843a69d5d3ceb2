#pragma once

#include <QString>

/// Where the running program answers on the session bus.
namespace halvard::control_names {

inline const QString kService = QStringLiteral("com.tessmar.Halvard");
inline const QString kPath = QStringLiteral("/com/tessmar/Halvard");
inline const QString kInterface = QStringLiteral("com.tessmar.Halvard");
/// The error of a request that the program understood and refused; its message is the reason.
inline const QString kRefused = QStringLiteral("com.tessmar.Halvard.Refused");

}  // namespace halvard::control_names
