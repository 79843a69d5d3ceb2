#include "promo/ui/text_page_window.h"

#include "promo/ui/page_text_view.h"

namespace halvard {

TextPageWindow::TextPageWindow(Look look) : m_view(new PageTextView), m_frame(look, m_view) {
  connect(m_view, &PageTextView::linkActivated, this, &PageWindow::linkActivated);
  connect(&m_frame, &PageFrame::resignedKey, this, &PageWindow::resignedKey);
  connect(&m_frame, &PageFrame::closed, this, &PageWindow::closed);
}

void TextPageWindow::load(const std::optional<QUrl>& page, QSize size) {
  m_view->showPage(page);
  m_frame.setContentSize(size);
}

void TextPageWindow::show(const std::optional<QPoint>& corner) {
  m_frame.present(corner);
}

void TextPageWindow::close() {
  m_frame.close();
}

}  // namespace halvard
