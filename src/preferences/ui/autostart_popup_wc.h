#pragma once

#include <QObject>
#include <memory>

#include "core/units.h"

namespace halvard {

class AutostartWindow;
class PreferencesModel;
class RunAtLoginManager;
class ShowcaseDefaults;

/// Offers, after a large cleaning that the user asked for, to start at login and to free memory automatically.
/// Main thread.
class AutostartPopupWC : public QObject {
  Q_OBJECT

 public:
  /// All outlive the offer.
  AutostartPopupWC(PreferencesModel& model, ShowcaseDefaults& defaults);
  ~AutostartPopupWC() override;

  /// Only while the program does not start at login.
  static bool shouldBeShown(const RunAtLoginManager& startAtLogin);

  /// What the cleaning freed.
  void setCleanedSize(ByteCount size);
  /// Switches on both and closes.
  void yesButtonPressed();
  /// Stores that the offer never comes again and closes.
  void noButtonPressed();

  AutostartWindow& window() { return *m_window; }

 private:
  PreferencesModel& m_model;
  ShowcaseDefaults& m_defaults;
  std::unique_ptr<AutostartWindow> m_window;
};

}  // namespace halvard
