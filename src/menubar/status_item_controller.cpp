#include "menubar/status_item_controller.h"

#include "memory/memory_snapshot.h"
#include "menubar/gauge_step.h"
#include "menubar/status_item_text.h"
#include "platform/ports/appearance.h"
#include "platform/ports/status_bar_item.h"
#include "preferences/preferences_model.h"

namespace halvard {

StatusItemController::StatusItemController(StatusBarItem& item, Appearance& appearance, PreferencesModel& preferences,
                                           QString displayName)
    : m_item(item), m_appearance(appearance), m_preferences(preferences), m_displayName(std::move(displayName)) {
  m_item.setTitle({});
  m_item.setToolTip(tr("Free System Memory"));
  m_item.setImage(QStringLiteral("icon_start"));
  connect(&m_item, &StatusBarItem::activated, this, [this](StatusBarItem::MouseButton) { Q_EMIT statusItemAction(); });
}

void StatusItemController::updateStatusItem(const MemorySnapshot& snapshot) {
  const QString icon = gaugeIconName(gaugeStep(static_cast<float>(snapshot.usedFraction())));
  m_item.setImage(icon);
  m_item.setAlternateImage(icon);
  const bool usedMoved = m_usedSize.set(static_cast<std::int64_t>(snapshot.calculateUsedSize()));
  const bool freeMoved = m_freeSize.set(static_cast<std::int64_t>(snapshot.calculateFreeSize()));
  if (usedMoved || freeMoved) {
    m_item.setToolTip(status_item_text::toolTip(m_displayName, m_usedSize.text(), m_freeSize.text()));
  }
}

void StatusItemController::fillTitle(const MemorySnapshot& snapshot) {
  const QString text = status_item_text::title(snapshot, m_preferences.objcVisionIndex().value());
  m_item.setTitle(status_item_text::attributedTitle(text, m_appearance.isDark()));
  m_item.setAlternateTitle(status_item_text::attributedAlternateTitle(text));
}

void StatusItemController::showCleaningIcon() {
  m_item.setImage(QStringLiteral("icon_clear"));
}

}  // namespace halvard
