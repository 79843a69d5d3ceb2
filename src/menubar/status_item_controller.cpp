#include "menubar/status_item_controller.h"

#include <algorithm>
#include <utility>

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
  const int step = gaugeStep(static_cast<float>(snapshot.usedFraction()));
  if (std::exchange(m_shownStep, step) != step) {
    const QString icon = gaugeIconName(step);
    m_item.setImage(icon);
    m_item.setAlternateImage(icon);
  }
  fillToolTip(snapshot);
}

void StatusItemController::fillToolTip(const MemorySnapshot& snapshot) {
  const ByteCount used = snapshot.calculateUsedSize();
  const ByteCount moved = std::max(used, m_toldSize) - std::min(used, m_toldSize);
  if (m_roundsToToolTip > 0 && moved < snapshot.calculateTotalSize() / 1000) {
    --m_roundsToToolTip;
    return;
  }
  m_roundsToToolTip = kRoundsPerToolTip - 1;
  m_toldSize = used;
  m_item.setToolTip(status_item_text::toolTip(m_displayName, used, snapshot.calculateFreeSize()));
}

void StatusItemController::fillTitle(const MemorySnapshot& snapshot) {
  const std::int64_t visionIndex = m_preferences.objcVisionIndex().value();
  const TitleSource source{visionIndex, status_item_text::titleFigure(snapshot, visionIndex), m_appearance.isDark()};
  if (std::exchange(m_title, source) == source) return;
  const QString text = status_item_text::title(visionIndex, source.figure);
  m_item.setTitle(status_item_text::attributedTitle(text, source.isOnDarkBar));
  m_item.setAlternateTitle(status_item_text::attributedAlternateTitle(text));
}

void StatusItemController::showCleaningIcon() {
  m_shownStep = 0;
  m_item.setImage(QStringLiteral("icon_clear"));
}

}  // namespace halvard
