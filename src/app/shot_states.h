#pragma once

#include <QString>

namespace halvard {

class Application;

/// Window states by name, for screenshots: what the user would have clicked to get there.
namespace shot_states {

bool isKnown(const QString& name);

/// `name` is known.
void open(const QString& name, Application& program);

/// The known names, for an error message.
QString names();

}  // namespace shot_states
}  // namespace halvard
