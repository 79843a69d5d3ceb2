#include "lifecycle/sharing_services.h"

#include <algorithm>

#include "branding/branding.h"
#include "platform/ports/workspace.h"

namespace halvard {
namespace {

using Kind = SharingService::Kind;

/// Escaped with everything that means something in a query, "&" among it.
QByteArray escaped(const QString& text) {
  return QUrl::toPercentEncoding(text);
}

QByteArray escaped(const QUrl& url) {
  return escaped(QString::fromUtf8(url.toEncoded()));
}

QUrl mail(const QString& subject, const QString& body) {
  // Line breaks of mail are two characters.
  const QString text = QString(body).replace(QLatin1Char('\n'), QLatin1String("\r\n"));
  return QUrl::fromEncoded("mailto:?SUBJECT=" + escaped(subject) + "&BODY=" + escaped(text));
}

}  // namespace

SharingServices::SharingServices(Workspace& workspace, const Branding& branding, const QString& displayName)
    : m_workspace(workspace) {
  const auto add = [this](Kind kind, const char* title, const QUrl& page, const QUrl& address) {
    if (!page.isEmpty()) m_services.push_back({kind, QString::fromLatin1(title), address});
  };
  const QString product = branding.productPage.toString(QUrl::FullyEncoded);
  const QString store = branding.storePage.toString(QUrl::FullyEncoded);
  const QString tweet =
      tr("Improve Mac performance with %1: ").arg(displayName) + product + QLatin1Char(' ') + branding.twitterHashtags;
  add(Kind::Twitter, "Twitter", branding.productPage,
      QUrl::fromEncoded("https://twitter.com/intent/tweet?text=" + escaped(tweet.trimmed())));
  const QString post = tr("Improve Mac performance by releasing inactive RAM with %1: ").arg(displayName) + store;
  add(Kind::Facebook, "Facebook", branding.storePage,
      QUrl::fromEncoded("https://www.facebook.com/sharer/sharer.php?u=" + escaped(branding.storePage) +
                        "&quote=" + escaped(post)));
  const QString letter =
      tr("Hello!\n\nIf you also have RAM issues on your Mac, try to improve its performance with %1: ")
          .arg(displayName) +
      store + tr("\n\nRegards");
  add(Kind::Email, "Email", branding.storePage, mail(tr("Optimise RAM Usage on Mac"), letter));
}

std::optional<SharingService> SharingServices::service(Kind kind) const {
  const auto found = std::find_if(m_services.begin(), m_services.end(),
                                  [&](const SharingService& service) { return service.kind == kind; });
  if (found == m_services.end() || !m_workspace.canOpenURL(found->address)) return std::nullopt;
  return *found;
}

std::vector<SharingService> SharingServices::available() const {
  std::vector<SharingService> services;
  for (const Kind kind : {Kind::Twitter, Kind::Facebook, Kind::Email}) {
    if (auto found = service(kind)) services.push_back(std::move(*found));
  }
  return services;
}

bool SharingServices::share(Kind kind) {
  const auto found = service(kind);
  return found && m_workspace.openURL(found->address);
}

}  // namespace halvard
