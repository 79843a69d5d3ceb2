#include "promo/page_links.h"

namespace halvard {
namespace {

PageLinkAction linkAction(const QUrl& url, QLatin1String command, PageLinkAction onCommand) {
  // qrc: is where the embedded pages lie.
  if (url.scheme() == QLatin1String("file") || url.scheme() == QLatin1String("qrc")) return PageLinkAction::LoadInPlace;
  if (url.scheme() != QLatin1String("app")) return PageLinkAction::OpenOutside;
  const bool bare = (url.path().isEmpty() || url.path() == QLatin1String("/")) && !url.hasQuery() && !url.hasFragment();
  return bare && url.host().compare(command, Qt::CaseInsensitive) == 0 ? onCommand : PageLinkAction::Ignore;
}

}  // namespace

PageLinkAction newsLinkAction(const QUrl& url) {
  return linkAction(url, QLatin1String("close"), PageLinkAction::Close);
}

PageLinkAction showcaseLinkAction(const QUrl& url) {
  return linkAction(url, QLatin1String("startusingapp"), PageLinkAction::StartUsingApp);
}

}  // namespace halvard
