#pragma once

#include <QString>
#include <QStringList>

namespace halvard {

class DiskSection;
class PanelWindow;

/// The states of the panel's disk section by name, for screenshots.
namespace disk_shot_states {

QStringList names();

/// `name` is known, and `panel` is open.
void open(const QString& name, DiskSection& disk, PanelWindow& panel);

}  // namespace disk_shot_states
}  // namespace halvard
