#pragma once

#include <QByteArrayView>
#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

#include "files_searcher/stack_collection.h"
#include "platform/ports/file_metadata_query.h"

namespace halvard {

/// Found files in little space: 16 bytes and the name each, and the path of their folder once. One thread fills it.
class PackedFiles {
 public:
  static constexpr ByteCount kUnknownSize = ~ByteCount{0};

  PackedFiles() = default;
  PackedFiles(PackedFiles&&) noexcept = default;
  PackedFiles& operator=(PackedFiles&&) noexcept = default;

  /// `folder` must be the one of the call before for all files of one folder to share its path.
  void add(const FolderName& folder, std::string_view name, ByteCount size);
  /// A file by its whole path.
  void add(const QByteArray& path, ByteCount size);

  std::size_t count() const { return m_records.size(); }
  QByteArray path(std::size_t index) const;
  QByteArrayView name(std::size_t index) const;
  ByteCount size(std::size_t index) const { return m_records[index].size; }
  void setSize(std::size_t index, ByteCount size) { m_records[index].size = size; }

  /// The next folder is another one, though it may stand at the same address.
  void forgetFolder() { m_lastFolder = nullptr; }

 private:
  struct Record {
    ByteCount size;
    std::uint32_t folder;
    std::uint32_t name;
  };
  /// Where the text begins; it ends in a zero byte.
  std::uint32_t store(QByteArrayView text);
  QByteArrayView text(std::uint32_t position) const;

  std::deque<Record> m_records;
  /// Texts in blocks of fixed size, none of them across two; a longer one has a block to itself.
  std::vector<std::unique_ptr<char[]>> m_blocks;
  std::size_t m_used = 0;
  const FolderName* m_lastFolder = nullptr;
  std::uint32_t m_lastFolderText = 0;
};

/// The files that several threads found.
class PackedResults : public FileMetadataResults {
 public:
  explicit PackedResults(std::vector<PackedFiles> parts) : m_parts(std::move(parts)) {}

  std::size_t count() const override;
  QByteArray path(std::size_t index) const override;
  QByteArrayView name(std::size_t index) const override;
  std::optional<ByteCount> size(std::size_t index) const override;

 private:
  std::pair<const PackedFiles*, std::size_t> locate(std::size_t index) const;

  std::vector<PackedFiles> m_parts;
};

}  // namespace halvard
