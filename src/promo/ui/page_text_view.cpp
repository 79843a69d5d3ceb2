#include "promo/ui/page_text_view.h"

#include <QFile>

namespace halvard {
namespace {

constexpr qint64 kLargestFile = 8 * 1024 * 1024;

QByteArray contentOf(const QUrl& url) {
  QFile file(PageFolder::localPath(url));
  return file.open(QIODevice::ReadOnly) ? file.read(kLargestFile) : QByteArray();
}

}  // namespace

PageTextView::PageTextView(QWidget* parent) : QTextBrowser(parent) {
  setOpenLinks(false);
  setFrameShape(QFrame::NoFrame);
  setStyleSheet(QStringLiteral("QTextBrowser { background: white; color: #26323c; }"));
  document()->setDocumentMargin(0);
  connect(this, &QTextBrowser::anchorClicked, this, &PageTextView::follow);
}

void PageTextView::showPage(const std::optional<QUrl>& page) {
  m_folder = PageFolder(page.value_or(QUrl()));
  page ? read(*page) : setHtml(minimalPage());
}

QString PageTextView::minimalPage() {
  return QStringLiteral("<html><body><p align=\"center\">") + tr("There is nothing to show yet.") +
         QStringLiteral("</p></body></html>");
}

void PageTextView::read(const QUrl& page) {
  document()->setBaseUrl(page);
  setHtml(QString::fromUtf8(contentOf(page)));
}

QVariant PageTextView::loadResource(int, const QUrl& name) {
  const QUrl url = document()->baseUrl().resolved(name);
  return m_folder.contains(url) ? QVariant(contentOf(url)) : QVariant();
}

void PageTextView::follow(const QUrl& link) {
  const QUrl url = document()->baseUrl().resolved(link);
  if (m_folder.contains(url)) {
    read(url);
  } else if (PageFolder::localPath(url).isEmpty()) {
    Q_EMIT linkActivated(url);
  }
}

}  // namespace halvard
