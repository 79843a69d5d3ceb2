#pragma once

#include <QRect>
#include <functional>
#include <memory>

#include "core/clock.h"
#include "platform/ports/status_bar_item.h"

namespace halvard {

/// The status item of whatever desktop runs: the preferred kind while a host shows it, else a substitute, and back as
/// soon as the preferred one is shown again. The substitute exists only while it is needed, and only after the
/// preferred item had a second to find its host, so that a panel that restarts does not make the item hop about.
class DesktopStatusBarItem : public StatusBarItem {
  Q_OBJECT

 public:
  /// Makes the substitute; null where there can be none.
  using MakeSubstitute = std::function<std::unique_ptr<StatusBarItem>()>;

  DesktopStatusBarItem(StatusBarItem& preferred, MakeSubstitute makeSubstitute, Clock& clock,
                       QObject* parent = nullptr);
  ~DesktopStatusBarItem() override;

  void setImage(const QString& imageName) override;
  void setAlternateImage(const QString& imageName) override;
  void setTitle(const AttributedTitle& title) override;
  void setAlternateTitle(const AttributedTitle& title) override;
  /// At most one text in ten seconds is passed on, the newest: a host reads the whole item anew for each, and on a
  /// busy machine the figures of the text change every second.
  void setToolTip(const QString& toolTip) override;
  std::optional<QRect> geometry() const override;
  /// False at first: hosts answer a moment after the start.
  bool isShown() const override { return m_shown; }

 private:
  void preferredActivated(MouseButton button);
  void preferredChanged();
  void substituteIfNeeded();
  void updateShown();
  void passToolTip();

  StatusBarItem& m_preferred;
  MakeSubstitute m_makeSubstitute;
  Clock& m_clock;
  ScheduledCall m_toolTipPause;
  bool m_hasToolTip = false;
  std::unique_ptr<StatusBarItem> m_substitute;
  /// Exists while the preferred item has its second; its end cancels the wait.
  std::unique_ptr<QObject> m_wait;
  /// The preferred item's place at the last click, in logical coordinates.
  std::optional<QRect> m_clickedRect;

  QString m_image;
  QString m_alternateImage;
  AttributedTitle m_title;
  AttributedTitle m_alternateTitle;
  QString m_toolTip;
  bool m_shown = false;
};

}  // namespace halvard
