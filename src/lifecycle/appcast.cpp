#include "lifecycle/appcast.h"

#include <pugixml.hpp>

#include "lifecycle/update_signature.h"

namespace halvard {
namespace {

QByteArray textOf(pugi::xml_node parent, const char* name) {
  return QByteArray(parent.child(name).text().get()).trimmed();
}

std::optional<AppcastEntry> entryOf(pugi::xml_node item) {
  AppcastEntry entry;
  entry.versionText = textOf(item, "halvard:version");
  entry.pageText = textOf(item, "link");
  entry.page = QUrl::fromEncoded(entry.pageText, QUrl::StrictMode);
  entry.signature = QByteArray::fromBase64(textOf(item, "halvard:edSignature"));
  qsizetype end = 0;
  const QString version = QString::fromLatin1(entry.versionText);
  entry.version = QVersionNumber::fromString(version, &end);
  const bool isVersion = !entry.version.isNull() && end == version.size();
  const bool isPage = entry.page.isValid() && entry.page.scheme() == QLatin1String("https");
  return isVersion && isPage ? std::optional(entry) : std::nullopt;
}

}  // namespace

QByteArray AppcastEntry::signedText() const {
  return "halvard-update\n" + versionText + '\n' + pageText + '\n';
}

Result<std::vector<AppcastEntry>> parseAppcast(const QByteArray& bytes) {
  pugi::xml_document document;
  if (!document.load_buffer(bytes.constData(), static_cast<std::size_t>(bytes.size())))
    return Error{QStringLiteral("it is no whole XML document")};
  const pugi::xml_node channel = document.child("rss").child("channel");
  if (!channel) return Error{QStringLiteral("it has no channel")};
  std::vector<AppcastEntry> entries;
  for (const pugi::xml_node item : channel.children("item")) {
    if (auto entry = entryOf(item)) entries.push_back(std::move(*entry));
  }
  return entries;
}

Result<std::optional<AppcastEntry>> newestUpdate(const QByteArray& feed, const UpdateKey& key,
                                                 const QVersionNumber& current) {
  const Result<std::vector<AppcastEntry>> entries = parseAppcast(feed);
  if (!entries) return entries.error();
  std::optional<AppcastEntry> newest;
  std::optional<Error> refused;
  for (const AppcastEntry& entry : entries.value()) {
    if (entry.version <= current) continue;
    if (!key.hasSigned(entry.signedText(), entry.signature)) {
      refused = Error{QStringLiteral("version %1 %2")
                          .arg(entry.version.toString(), entry.signature.isEmpty()
                                                             ? QStringLiteral("is not signed")
                                                             : QStringLiteral("is not signed with our key"))};
    } else if (!newest || newest->version < entry.version) {
      newest = entry;
    }
  }
  if (!newest && refused) return *refused;
  return newest;
}

}  // namespace halvard
