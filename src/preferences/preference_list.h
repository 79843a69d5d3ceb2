#pragma once

#include <QMap>
#include <QString>
#include <functional>
#include <vector>

#include "core/result.h"

namespace halvard {

class PreferencesModel;

/// One preference as people name, read and write it.
struct NamedPreference {
  /// Lower case, words joined by "-".
  QString name;
  /// What it decides, in one line.
  QString meaning;
  /// The values it takes, in one line.
  QString values;
  QString defaultValue;
  /// The value that holds now, as `set` takes it.
  std::function<QString()> value;
  /// Changes it under all the rules of its item. The error is one line, and nothing has changed then.
  std::function<Result<void>(const QString& text)> set;
};

/// Every preference of the user, in the order of the preferences window. `model` must outlive the list. Main thread.
std::vector<NamedPreference> preferenceList(PreferencesModel& model);

/// The values that hold now, by name.
QMap<QString, QString> preferenceValues(const std::vector<NamedPreference>& preferences);

/// Changes the one of that name. An unknown name is an error that lists the known ones.
Result<void> setNamedPreference(const std::vector<NamedPreference>& preferences, const QString& name,
                                const QString& text);

}  // namespace halvard
