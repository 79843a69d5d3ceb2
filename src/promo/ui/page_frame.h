#pragma once

#include <QPoint>
#include <QSize>
#include <QWidget>
#include <optional>

#include "promo/ui/page_window.h"

namespace halvard {

/// The window around the view of a page.
class PageFrame : public QWidget {
  Q_OBJECT

 public:
  /// Takes ownership of `content`.
  PageFrame(PageWindow::Look look, QWidget* content);

  /// As PageWindow::load() says; clipped to the screen.
  void setContentSize(QSize size);
  /// As PageWindow::show() says.
  void present(const std::optional<QPoint>& corner);

 Q_SIGNALS:
  void resignedKey();
  void closed();

 protected:
  void paintEvent(QPaintEvent* event) override;
  void changeEvent(QEvent* event) override;
  void closeEvent(QCloseEvent* event) override;

 private:
  int margin() const { return m_look == PageWindow::Look::Popup ? 1 : 0; }
  QPoint cornerWithin(const QRect& room, const std::optional<QPoint>& corner) const;
  void fadeIn();

  const PageWindow::Look m_look;
  bool m_wasActive = false;
};

}  // namespace halvard
