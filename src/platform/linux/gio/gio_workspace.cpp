#include "platform/linux/gio/gio_workspace.h"

#include <QFile>
#include <array>
#include <memory>

#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>

namespace halvard {
namespace {

struct Unref {
  void operator()(void* object) const { g_object_unref(object); }
};
template <class T>
using Owned = std::unique_ptr<T, Unref>;

bool mayLeaveTheProgram(const QUrl& url) {
  constexpr std::array schemes{"https", "http", "mailto", "appstream"};
  for (const char* scheme : schemes) {
    if (url.scheme() == QLatin1String(scheme)) return url.isValid();
  }
  return false;
}

Owned<GDesktopAppInfo> entryOf(const QString& identifier) {
  QString id = identifier;
  if (!id.endsWith(QLatin1String(".desktop"))) id += QStringLiteral(".desktop");
  // An id is a name, never a way to a file of somebody's choice.
  if (id.contains(QLatin1Char('/'))) return nullptr;
  return Owned<GDesktopAppInfo>(g_desktop_app_info_new(id.toUtf8().constData()));
}

}  // namespace

bool GioWorkspace::openURL(const QUrl& url) {
  if (!mayLeaveTheProgram(url)) return false;
  return g_app_info_launch_default_for_uri(url.toEncoded().constData(), nullptr, nullptr) != FALSE;
}

bool GioWorkspace::canOpenURL(const QUrl& url) {
  if (!mayLeaveTheProgram(url)) return false;
  const Owned<GAppInfo> handler(g_app_info_get_default_for_uri_scheme(url.scheme().toUtf8().constData()));
  return handler != nullptr;
}

std::optional<QString> GioWorkspace::pathOfApplication(const QString& identifier) {
  const auto entry = entryOf(identifier);
  const char* path = entry ? g_desktop_app_info_get_filename(entry.get()) : nullptr;
  if (!path) return std::nullopt;
  return QFile::decodeName(path);
}

bool GioWorkspace::launchApplication(const QString& identifier) {
  const auto entry = entryOf(identifier);
  return entry && g_app_info_launch(G_APP_INFO(entry.get()), nullptr, nullptr, nullptr) != FALSE;
}

}  // namespace halvard
