#include "cli/preferences_command.h"

#include <algorithm>

#include "platform/ports/control_channel.h"
#include "platform/ports/defaults_store.h"
#include "preferences/preference_list.h"
#include "preferences/preferences_model.h"

namespace halvard {
namespace {

/// The model changes nothing but the store here.
class NoSwitch : public StartAtLoginSwitch {
 public:
  void setIsEnabledForHelperApp(bool, const std::function<void()>&) override {}
};

using Values = QMap<QString, QString>;

void list(const std::vector<NamedPreference>& preferences, const Values& values, const CommandOutput& output) {
  for (const NamedPreference& preference : preferences) {
    output.print(QStringLiteral("%1  %2  %3  %4")
                     .arg(preference.name, -20)
                     .arg(values.value(preference.name, QStringLiteral("?")), -8)
                     .arg(QStringLiteral("(%1)").arg(preference.defaultValue), -10)
                     .arg(preference.meaning));
  }
}

int showOne(const std::vector<NamedPreference>& preferences, const Values& values, const QString& name,
            const CommandOutput& output) {
  const auto known = std::find_if(preferences.begin(), preferences.end(),
                                  [&](const NamedPreference& preference) { return preference.name == name; });
  if (known == preferences.end())
    return output.fail(QStringLiteral("unknown preference '%1'; 'preferences' lists them").arg(name), kExitUsage);
  output.print(values.value(name, QStringLiteral("?")));
  return kExitSuccess;
}

/// A program that cannot write its settings goes on with them in memory, and says so where nobody may look.
int changeInProgram(const QStringList& words, DefaultsStore& store, ControlClient& control,
                    const CommandOutput& output) {
  const auto valueIn = [&](const Result<Values>& values) { return values ? values.value()[words[0]] : QString(); };
  const QString before = valueIn(control.preferences());
  const Result<void> changed = control.setPreference(words[0], words[1]);
  if (!changed) return output.fail(changed.error().message, kExitUsage);
  const QString there = valueIn(control.preferences());
  NoSwitch startAtLogin;
  PreferencesModel model(store, startAtLogin);
  const QString stored = valueIn(preferenceValues(preferenceList(model)));
  if (stored == there) return kExitSuccess;
  if (there == before) {
    return output.fail(QStringLiteral("the program has this value already, but '%1' is stored: another program changed "
                                      "it, or the settings could not be written")
                           .arg(stored),
                       kExitFailure);
  }
  return output.fail(QStringLiteral("changed in the program, which could not write its settings yet"), kExitFailure);
}

int changeOne(const std::vector<NamedPreference>& preferences, const QStringList& words, DefaultsStore& store,
              const CommandOutput& output) {
  const Result<void> changed = setNamedPreference(preferences, words[0], words[1]);
  if (!changed) return output.fail(changed.error().message, kExitUsage);
  if (store.synchronize()) return kExitSuccess;
  return output.fail(QStringLiteral("the settings could not be written"), kExitFailure);
}

}  // namespace

int runPreferencesCommand(const QStringList& arguments, DefaultsStore& store, ControlClient& control,
                          const CommandOutput& output) {
  if (arguments.size() > 2) return output.fail(QStringLiteral("usage: preferences [NAME [VALUE]]"), kExitUsage);
  const bool isRunning = control.isProgramRunning();
  if (isRunning && arguments.size() == 2) return changeInProgram(arguments, store, control, output);
  NoSwitch startAtLogin;
  PreferencesModel model(store, startAtLogin);
  const std::vector<NamedPreference> preferences = preferenceList(model);
  if (arguments.size() == 2) return changeOne(preferences, arguments, store, output);
  const Result<Values> values = isRunning ? control.preferences() : preferenceValues(preferences);
  if (!values) return output.fail(values.error().message, kExitFailure);
  if (arguments.size() == 1) return showOne(preferences, values.value(), arguments[0], output);
  list(preferences, values.value(), output);
  return kExitSuccess;
}

}  // namespace halvard
