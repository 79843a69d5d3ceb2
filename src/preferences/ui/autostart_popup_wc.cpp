#include "preferences/ui/autostart_popup_wc.h"

#include <QAbstractButton>
#include <QLabel>

#include "core/size_format.h"
#include "login/run_at_login_manager.h"
#include "preferences/preferences_model.h"
#include "preferences/showcase_defaults.h"
#include "preferences/ui/autostart_window.h"

namespace halvard {

AutostartPopupWC::AutostartPopupWC(PreferencesModel& model, ShowcaseDefaults& defaults)
    : m_model(model), m_defaults(defaults), m_window(std::make_unique<AutostartWindow>()) {
  connect(m_window->yesButton, &QAbstractButton::clicked, this, &AutostartPopupWC::yesButtonPressed);
  connect(m_window->noButton, &QAbstractButton::clicked, this, &AutostartPopupWC::noButtonPressed);
}

AutostartPopupWC::~AutostartPopupWC() = default;

bool AutostartPopupWC::shouldBeShown(const RunAtLoginManager& startAtLogin) {
  return !startAtLogin.isEnabledToAutoLaunchWithHelperApp();
}

void AutostartPopupWC::setCleanedSize(ByteCount size) {
  const QString figure = size_format::stringFromSize(static_cast<std::int64_t>(size));
  m_window->cleanedSizeLabel->setText(tr("You have cleaned ") + QStringLiteral("<b>%1</b>").arg(figure) +
                                      tr(" of memory."));
}

void AutostartPopupWC::yesButtonPressed() {
  m_model.turnOnAutoStartAndAutoFree();
  m_window->close();
}

void AutostartPopupWC::noButtonPressed() {
  m_defaults.setShowAutostartPopupAfterPurge(false);
  m_window->close();
}

}  // namespace halvard
