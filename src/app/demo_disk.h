#pragma once

#include <QObject>
#include <QTimer>
#include <map>

#include "app/disk_section.h"
#include "platform/fake/fake_disk.h"
#include "platform/fake/fake_workspace.h"

namespace halvard {

/// Folders that hold one file each, of the sizes told.
class DemoFolderReader : public FolderReader {
 public:
  std::unique_ptr<OpenFolder> open(const QByteArray& path) const override;
  std::optional<EntryAttributes> attributes(const QByteArray&) const override { return {}; }
  std::optional<std::uint64_t> mountOf(const QByteArray&) const override { return {}; }
  std::optional<QByteArray> canonicalPath(const QByteArray& path) const override { return path; }

  std::map<QByteArray, ByteCount> sizes;
};

/// Queries that take two seconds and find the same each time.
class DemoQueries : public QObject, public FakeFileMetadataQueries {
 public:
  DemoQueries();
  std::unique_ptr<FileMetadataQuery> startQuery(std::vector<QByteArray> scopes, FileMetadataPredicate predicate,
                                                Finished finished) override;

 private:
  void goOn();

  QTimer m_tick;
  std::size_t m_answered = 0;
};

/// A made-up disk for `halvard --demo`: it reads nothing of the real one.
class DemoDisk {
 public:
  DemoDisk();
  DiskPlatform platform();

 private:
  DemoFolderReader m_reader;
  FakeApplicationCatalog m_catalog;
  FakeLastUsedDates m_lastUsedDates;
  FakeBackgroundPriority m_priority;
  FakeStandardFolders m_folders{"/home/demo"};
  FakeFolderAccess m_access;
  DemoQueries m_queries;
  FakeWorkspace m_workspace;
};

}  // namespace halvard
