#pragma once

#include <QObject>
#include <memory>

#include "core/clock.h"

class QWidget;

namespace halvard {

class PromoManager;
class RateDialogView;
class ShowcaseDefaults;

/// The rate dialog: a modal window. The controller lives as long as the program.
class RateDialgoWC : public QObject {
  Q_OBJECT

 public:
  /// The references outlive this object.
  RateDialgoWC(PromoManager& promo, ShowcaseDefaults& defaults, Clock& clock);
  ~RateDialgoWC() override;

  /// Opens the dialog after the current event.
  void pleaseShowWindow();
  void pleaseShowWindowSafe();
  void closeRateWindow();

  /// They do nothing: the dialog shows itself neither alone nor from a menu.
  void showWindowAutomaticallyIfNeeded() {}
  void showWindowByUser() {}

  /// Null while it is closed.
  QWidget* window() const { return m_window.get(); }
  RateDialogView* view() const { return m_view; }

 private:
  void customizeWindowControllButtons();
  void closeButtonPressed() { closeRateWindow(); }
  void rated(bool good);

  PromoManager& m_promo;
  ShowcaseDefaults& m_defaults;
  Clock& m_clock;
  std::unique_ptr<QWidget> m_window;
  RateDialogView* m_view = nullptr;
  ScheduledCall m_showLater;
};

}  // namespace halvard
