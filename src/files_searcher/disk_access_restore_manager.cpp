#include "files_searcher/disk_access_restore_manager.h"

#include <QFile>

#include "preferences/stored_keys.h"

namespace halvard {

QString DiskAccessRestoreManager::keyForPath(const QByteArray& path) {
  return path == "/" ? stored_keys::diskAccessData : QFile::decodeName(path);
}

QByteArray DiskAccessRestoreManager::getApplicationsFolderPath() const {
  const auto folders = m_paths.folders().localApplications();
  return folders.empty() ? QByteArray() : folders.front();
}

bool DiskAccessRestoreManager::isApplicationsFolderAccessible() const {
  return isPathAccessible(getApplicationsFolderPath());
}

void DiskAccessRestoreManager::saveAccessToApplicationsFolder() {
  saveAccess(getApplicationsFolderPath());
}

bool DiskAccessRestoreManager::isPathAccessible(const QByteArray& path) const {
  const auto restored = restoreAccessToPathIfNeeded(path);
  return restored && m_access.isPathAccessible(*restored, FolderAccess::Mode::Read);
}

std::optional<QByteArray> DiskAccessRestoreManager::restoreAccessToPathIfNeeded(const QByteArray& path) const {
  if (path != "/" && m_access.isPathAccessible(path, FolderAccess::Mode::Read)) return path;
  return resolve(path);
}

std::optional<QByteArray> DiskAccessRestoreManager::resolve(const QByteArray& path) const {
  const auto stored = m_store.objectForKey(keyForPath(path));
  const QByteArray* const bookmark = stored ? stored->as<QByteArray>() : nullptr;
  return bookmark ? m_access.resolveBookmark(*bookmark) : std::nullopt;
}

void DiskAccessRestoreManager::saveAccess(const QByteArray& path) {
  const auto bookmark = m_access.createBookmark(path);
  if (!bookmark) return;
  m_store.setObject(keyForPath(path), StoredValue{*bookmark});
  m_store.synchronize();
}

}  // namespace halvard
