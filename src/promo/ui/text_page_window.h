#pragma once

#include "promo/ui/page_frame.h"

namespace halvard {

class PageTextView;

/// A page window of this process, for where no web engine is installed.
class TextPageWindow : public PageWindow {
  Q_OBJECT

 public:
  explicit TextPageWindow(Look look);

  void load(const std::optional<QUrl>& page, QSize size) override;
  void show(const std::optional<QPoint>& corner) override;
  void close() override;

 private:
  PageTextView* const m_view;
  PageFrame m_frame;
};

}  // namespace halvard
