#include "files_searcher/application_bundles.h"

#include <algorithm>
#include <iterator>

namespace halvard {
namespace {
constexpr int kDeepest = 20;
}

std::optional<QByteArray> ApplicationBundles::applicationFolderPath() const {
  const auto folders = m_folders.localApplications();
  if (folders.empty()) return {};
  return folders.front();
}

std::vector<QByteArray> ApplicationBundles::applicationsPathsArrayFromApplicationFolder(std::stop_token stop) const {
  auto folder = applicationFolderPath();
  // Without links, as a search names what it finds.
  if (folder) folder = m_reader.canonicalPath(*folder);
  if (!folder) return {};
  return applicationsPathsArrayFromFolder(*folder, 1, std::move(stop));
}

std::vector<QByteArray> ApplicationBundles::applicationsPathsArrayFromFolder(const QByteArray& folder, int depth,
                                                                             std::stop_token stop) const {
  std::vector<QByteArray> found;
  if (depth > kDeepest || stop.stop_requested()) return found;
  const auto opened = m_reader.open(folder);
  FolderBatch batch;
  while (opened && opened->nextBatch(batch)) {
    for (const FolderEntry& entry : batch.entries) {
      if (entry.name.starts_with('.')) continue;
      const QByteArray path = folder + (folder.endsWith('/') ? "" : "/") + entry.name.data();
      if (entry.type == EntryType::File) {
        const auto attributes = opened->attributes(entry.name.data());
        if (attributes && attributes->linkCount == 1 && m_catalog.isApplicationFile(path)) found.push_back(path);
      } else if (entry.type == EntryType::Folder) {
        const auto inside = opened->openFolder(entry.name.data(), nullptr);
        if (!inside) continue;
        if (inside->attributes("AppRun")) {
          found.push_back(path);
          continue;
        }
        auto below = applicationsPathsArrayFromFolder(path, depth + 1, stop);
        std::move(below.begin(), below.end(), std::back_inserter(found));
      }
    }
  }
  return found;
}

}  // namespace halvard
