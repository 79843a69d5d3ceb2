#pragma once

#include <QTextBrowser>
#include <optional>

#include "promo/ui/page_folder.h"

namespace halvard {

/// A page without a web engine: Qt's own rich text. It knows no scripts, and reads nothing but the page's folder.
class PageTextView : public QTextBrowser {
  Q_OBJECT

 public:
  explicit PageTextView(QWidget* parent = nullptr);

  /// Nothing: a short text that there is no page. A file of the page's folder replaces the page.
  void showPage(const std::optional<QUrl>& page);
  /// What is shown when there is no page.
  static QString minimalPage();

  QVariant loadResource(int type, const QUrl& name) override;

 Q_SIGNALS:
  /// A link out of the page's folder.
  void linkActivated(const QUrl& url);

 private:
  void follow(const QUrl& link);
  void read(const QUrl& page);

  PageFolder m_folder;
};

}  // namespace halvard
