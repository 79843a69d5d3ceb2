#include "app/demo_disk.h"

#include <utility>

namespace halvard {
namespace {

constexpr ByteCount kMegabyte = 1'000'000;
constexpr int kTickMilliseconds = 50;
constexpr double kShareOfATick = 0.025;

/// One entry, then nothing.
class DemoFolder : public OpenFolder {
 public:
  explicit DemoFolder(ByteCount size) : m_size(size) {}

  bool nextBatch(FolderBatch& batch) override {
    batch.entries.clear();
    if (std::exchange(m_read, true)) return false;
    batch.entries.push_back({"file", EntryType::File});
    return true;
  }
  std::optional<EntryAttributes> attributes(const char*) const override {
    return EntryAttributes{EntryType::File, m_size, m_size, 1};
  }
  std::unique_ptr<OpenFolder> openFolder(const char*, const MountRules*) const override { return nullptr; }

 private:
  const ByteCount m_size;
  bool m_read = false;
};

std::vector<FakeFileMetadataQueries::Found> foundFor(const FileMetadataPredicate& predicate) {
  if (predicate.applications) {
    return {
        {"/opt/Office.app", 1240 * kMegabyte}, {"/opt/Draw.app", 610 * kMegabyte}, {"/opt/Game.app", 9300 * kMegabyte}};
  }
  if (predicate.largerThan.value_or(0) >= 20 * kMegabyte) {
    return {{"/home/demo/Videos/holiday.mkv", 4100 * kMegabyte}, {"/home/demo/old.iso", 2900 * kMegabyte}};
  }
  return {{"/home/demo/Pictures/a.raw", 48 * kMegabyte},
          {"/home/demo/Backup/a.raw", 48 * kMegabyte},
          {"/home/demo/Music/song.flac", 31 * kMegabyte},
          {"/home/demo/Backup/song.flac", 31 * kMegabyte}};
}

}  // namespace

std::unique_ptr<OpenFolder> DemoFolderReader::open(const QByteArray& path) const {
  const auto size = sizes.find(path);
  return size == sizes.end() ? nullptr : std::make_unique<DemoFolder>(size->second);
}

DemoQueries::DemoQueries() {
  m_tick.setInterval(kTickMilliseconds);
  connect(&m_tick, &QTimer::timeout, this, &DemoQueries::goOn);
}

std::unique_ptr<FileMetadataQuery> DemoQueries::startQuery(std::vector<QByteArray> scopes,
                                                           FileMetadataPredicate predicate, Finished finished) {
  if (!m_tick.isActive()) progressNow = 0;
  m_tick.start();
  return FakeFileMetadataQueries::startQuery(std::move(scopes), predicate, std::move(finished));
}

void DemoQueries::goOn() {
  progressNow += kShareOfATick;
  if (progressNow < 1) return;
  progressNow = 1;
  m_tick.stop();
  const std::size_t end = asked.size();
  while (m_answered < end) {
    const std::size_t query = m_answered++;
    answer(query, foundFor(asked[query].predicate));
  }
}

DemoDisk::DemoDisk() {
  m_access.readable = {"/", m_folders.findHomeDirectory()};
  m_reader.sizes = {{m_folders.cache(), 1730 * kMegabyte},
                    {m_folders.downloads(), 3420 * kMegabyte},
                    {m_folders.trash(), 512 * kMegabyte}};
  m_workspace.installed[QStringLiteral("org.gnome.baobab")] = QStringLiteral("baobab.desktop");
}

DiskPlatform DemoDisk::platform() {
  return {m_reader, m_catalog, m_lastUsedDates, m_priority, m_folders, m_access, m_queries, m_workspace};
}

}  // namespace halvard
