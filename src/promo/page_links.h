#pragma once

#include <QUrl>

namespace halvard {

/// What a link in a page does.
enum class PageLinkAction {
  /// The window itself goes there.
  LoadInPlace,
  /// "app://close", in the news.
  Close,
  /// "app://startusingapp", in the showcase.
  StartUsingApp,
  /// The user's program for such addresses gets it.
  OpenOutside,
  /// An app: address that means nothing here.
  Ignore,
};

PageLinkAction newsLinkAction(const QUrl& url);
PageLinkAction showcaseLinkAction(const QUrl& url);

}  // namespace halvard
