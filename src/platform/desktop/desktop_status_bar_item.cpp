#include "platform/desktop/desktop_status_bar_item.h"

#include <utility>

#include "platform/desktop/screen_coordinates.h"

namespace halvard {

namespace {

constexpr std::chrono::milliseconds kPatience{1000};
/// Between two texts of the tool tip: hosts fetch all pictures of the item anew with each.
constexpr std::chrono::seconds kToolTipPause{10};

}  // namespace

DesktopStatusBarItem::DesktopStatusBarItem(StatusBarItem& preferred, MakeSubstitute makeSubstitute, Clock& clock,
                                           QObject* parent)
    : StatusBarItem(parent),
      m_preferred(preferred),
      m_makeSubstitute(std::move(makeSubstitute)),
      m_clock(clock),
      m_toolTipPause(clock) {
  connect(&m_preferred, &StatusBarItem::activated, this, &DesktopStatusBarItem::preferredActivated);
  connect(&m_preferred, &StatusBarItem::shownChanged, this, &DesktopStatusBarItem::preferredChanged);
  preferredChanged();
}

DesktopStatusBarItem::~DesktopStatusBarItem() = default;

void DesktopStatusBarItem::setImage(const QString& imageName) {
  m_image = imageName;
  m_preferred.setImage(imageName);
  if (m_substitute) m_substitute->setImage(imageName);
}

void DesktopStatusBarItem::setAlternateImage(const QString& imageName) {
  m_alternateImage = imageName;
  m_preferred.setAlternateImage(imageName);
  if (m_substitute) m_substitute->setAlternateImage(imageName);
}

void DesktopStatusBarItem::setTitle(const AttributedTitle& title) {
  m_title = title;
  m_preferred.setTitle(title);
  if (m_substitute) m_substitute->setTitle(title);
}

void DesktopStatusBarItem::setAlternateTitle(const AttributedTitle& title) {
  m_alternateTitle = title;
  m_preferred.setAlternateTitle(title);
  if (m_substitute) m_substitute->setAlternateTitle(title);
}

void DesktopStatusBarItem::setToolTip(const QString& toolTip) {
  if (toolTip == m_toolTip) return;
  m_toolTip = toolTip;
  if (!m_toolTipPause.isPending()) passToolTip();
}

void DesktopStatusBarItem::passToolTip() {
  m_preferred.setToolTip(m_toolTip);
  if (m_substitute) m_substitute->setToolTip(m_toolTip);
  // The first text is there before there are any figures: these are not to wait.
  if (!std::exchange(m_hasToolTip, true)) return;
  m_toolTipPause.start(kToolTipPause, [this, passed = m_toolTip] {
    if (passed != m_toolTip) passToolTip();
  });
}

std::optional<QRect> DesktopStatusBarItem::geometry() const {
  if (m_substitute) return m_substitute->geometry();
  return m_clickedRect ? m_clickedRect : m_preferred.geometry();
}

void DesktopStatusBarItem::preferredActivated(MouseButton button) {
  m_clickedRect = m_preferred.geometry();
  if (m_clickedRect) m_clickedRect->moveCenter(logicalPoint(m_clickedRect->center()));
  Q_EMIT activated(button);
}

void DesktopStatusBarItem::preferredChanged() {
  m_clickedRect.reset();
  if (m_preferred.isShown()) {
    m_wait.reset();
    m_substitute.reset();
  } else {
    m_wait = std::make_unique<QObject>();
    m_clock.callAfter(kPatience, m_wait.get(), [this] { substituteIfNeeded(); });
  }
  updateShown();
}

void DesktopStatusBarItem::substituteIfNeeded() {
  if (m_preferred.isShown() || m_substitute) return;
  m_substitute = m_makeSubstitute();
  if (!m_substitute) return;
  m_substitute->setImage(m_image);
  m_substitute->setAlternateImage(m_alternateImage);
  m_substitute->setTitle(m_title);
  m_substitute->setAlternateTitle(m_alternateTitle);
  m_substitute->setToolTip(m_toolTip);
  connect(m_substitute.get(), &StatusBarItem::activated, this, &StatusBarItem::activated);
  connect(m_substitute.get(), &StatusBarItem::shownChanged, this, &DesktopStatusBarItem::updateShown);
  updateShown();
}

void DesktopStatusBarItem::updateShown() {
  const bool shown = m_preferred.isShown() || (m_substitute && m_substitute->isShown());
  if (shown == m_shown) return;
  m_shown = shown;
  Q_EMIT shownChanged();
}

}  // namespace halvard
