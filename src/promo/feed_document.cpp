#include "promo/feed_document.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

#include <pugixml.hpp>

namespace halvard {
namespace {

pugi::xml_node child(pugi::xml_node parent, const QString& name) {
  return parent.child(name.toUtf8().constData());
}

std::int32_t integerValue(const char* text) {
  using Limits = std::numeric_limits<std::int32_t>;
  return static_cast<std::int32_t>(
      std::clamp<long long>(std::strtoll(text, nullptr, 10), Limits::min(), Limits::max()));
}

bool isIndexAllowed(pugi::xml_node root, const HTMLDownloaderInitData& data) {
  if (data.currentAppIndex < 0) return true;
  const pugi::xml_node maximum = child(root, data.xml_max_app_index_tag);
  return maximum && integerValue(maximum.text().get()) >= data.currentAppIndex;
}

std::int32_t getSubXMLSize(pugi::xml_node parent, const QString& name, std::int32_t defaultValue) {
  const pugi::xml_node element = child(parent, name);
  const std::int32_t value = element ? integerValue(element.text().get()) : 0;
  return value > 0 ? value : defaultValue;
}

/// Empty when the address is none or a step down.
QUrl contentAddress(const char* text, const QUrl& feed) {
  const QUrl url = feed.resolved(QUrl(QString::fromUtf8(text).trimmed(), QUrl::StrictMode));
  const bool encrypted = url.scheme() == QLatin1String("https");
  const bool plain = url.scheme() == QLatin1String("http") && feed.scheme() != QLatin1String("https");
  return url.isValid() && (encrypted || plain) ? url : QUrl();
}

}  // namespace

std::optional<FeedAnnouncement> parseFeed(const QByteArray& bytes, const HTMLDownloaderInitData& data) {
  pugi::xml_document document;
  if (!document.load_buffer(bytes.constData(), static_cast<std::size_t>(bytes.size()))) return std::nullopt;
  const pugi::xml_node root = child(document.document_element(), data.xml_root_tag);
  if (!root || !isIndexAllowed(root, data)) return std::nullopt;
  const pugi::xml_text version = child(root, data.xml_version_tag).text();
  const pugi::xml_text address = child(root, data.xml_content_url_tag).text();
  if (!version || !address) return std::nullopt;
  const QUrl url = contentAddress(address.get(), data.xml_url.value_or(QUrl()));
  if (url.isEmpty()) return std::nullopt;
  return FeedAnnouncement{.version = integerValue(version.get()),
                          .contentUrl = url,
                          .width = getSubXMLSize(root, data.xml_window_width_tag, data.embedded_width),
                          .height = getSubXMLSize(root, data.xml_window_height_tag, data.embedded_height)};
}

}  // namespace halvard
