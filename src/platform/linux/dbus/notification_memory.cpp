#include "platform/linux/dbus/notification_memory.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <algorithm>
#include <utility>

namespace halvard {
namespace {

/// More than a daemon keeps on the screen; what closes while nobody listens is never reported.
constexpr std::size_t kMostRemembered = 20;

const QString kDaemon = QStringLiteral("daemon");
const QString kShown = QStringLiteral("shown");
const QString kId = QStringLiteral("id");
const QString kUserInfo = QStringLiteral("userInfo");

}  // namespace

NotificationMemory::NotificationMemory(QString file) : m_file(std::move(file)) {
  read();
}

void NotificationMemory::add(const QString& daemon, uint id, const QVariantMap& userInfo) {
  if (std::exchange(m_daemon, daemon) != daemon) m_shown.clear();
  std::erase_if(m_shown, [id](const Shown& shown) { return shown.id == id; });
  m_shown.push_back({id, userInfo});
  if (m_shown.size() > kMostRemembered) m_shown.erase(m_shown.begin());
  write();
}

void NotificationMemory::remove(const QString& daemon, uint id) {
  if (daemon != m_daemon) return;
  if (std::erase_if(m_shown, [id](const Shown& shown) { return shown.id == id; }) > 0) write();
}

void NotificationMemory::clear() {
  if (!std::exchange(m_shown, {}).empty()) write();
}

std::optional<QVariantMap> NotificationMemory::find(const QString& daemon, uint id) const {
  const auto found = std::find_if(m_shown.begin(), m_shown.end(), [id](const Shown& shown) { return shown.id == id; });
  if (daemon != m_daemon || found == m_shown.end()) return std::nullopt;
  return found->userInfo;
}

std::optional<QVariantMap> NotificationMemory::newest() const {
  return m_shown.empty() ? std::nullopt : std::optional(m_shown.back().userInfo);
}

void NotificationMemory::read() {
  QFile file(m_file);
  if (m_file.isEmpty() || !file.open(QIODevice::ReadOnly)) return;
  const QJsonObject content = QJsonDocument::fromJson(file.readAll()).object();
  m_daemon = content.value(kDaemon).toString();
  for (const QJsonValue& entry : content.value(kShown).toArray()) {
    const QJsonObject shown = entry.toObject();
    m_shown.push_back(
        {static_cast<uint>(shown.value(kId).toInteger()), shown.value(kUserInfo).toObject().toVariantMap()});
  }
}

void NotificationMemory::write() const {
  if (m_file.isEmpty()) return;
  QJsonArray entries;
  for (const Shown& shown : m_shown) {
    entries.append(
        QJsonObject{{kId, static_cast<qint64>(shown.id)}, {kUserInfo, QJsonObject::fromVariantMap(shown.userInfo)}});
  }
  QSaveFile file(m_file);
  if (!file.open(QIODevice::WriteOnly)) return;
  file.write(QJsonDocument(QJsonObject{{kDaemon, m_daemon}, {kShown, entries}}).toJson(QJsonDocument::Compact));
  file.commit();
}

}  // namespace halvard
