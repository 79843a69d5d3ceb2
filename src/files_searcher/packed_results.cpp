#include "files_searcher/packed_results.h"

#include <algorithm>
#include <cstring>

namespace halvard {
namespace {
// A position is a block's number and a place in it, in units of four bytes.
constexpr std::size_t kBlockSize = 32 * 1024;
constexpr std::size_t kUnit = 4;
constexpr std::size_t kUnitsOfABlock = kBlockSize / kUnit;
}  // namespace

std::uint32_t PackedFiles::store(QByteArrayView text) {
  const std::size_t length = static_cast<std::size_t>(text.size()) + 1;
  if (m_blocks.empty() || m_used + length > kBlockSize) {
    m_blocks.push_back(std::make_unique_for_overwrite<char[]>(std::max(kBlockSize, length)));
    m_used = 0;
  }
  char* const place = m_blocks.back().get() + m_used;
  std::memcpy(place, text.data(), length - 1);
  place[length - 1] = '\0';
  const std::size_t position = (m_blocks.size() - 1) * kUnitsOfABlock + m_used / kUnit;
  m_used += (length + kUnit - 1) / kUnit * kUnit;
  return static_cast<std::uint32_t>(position);
}

QByteArrayView PackedFiles::text(std::uint32_t position) const {
  return QByteArrayView(m_blocks[position / kUnitsOfABlock].get() + position % kUnitsOfABlock * kUnit);
}

void PackedFiles::add(const FolderName& folder, std::string_view name, ByteCount size) {
  if (m_lastFolder != &folder) {
    m_lastFolderText = store(folder.path());
    m_lastFolder = &folder;
  }
  m_records.push_back(
      {size, m_lastFolderText, store(QByteArrayView(name.data(), static_cast<qsizetype>(name.size())))});
}

void PackedFiles::add(const QByteArray& path, ByteCount size) {
  const qsizetype slash = path.lastIndexOf('/');
  const std::uint32_t folder = store(QByteArrayView(path).first(std::max<qsizetype>(slash, 0)));
  m_records.push_back({size, folder, store(QByteArrayView(path).sliced(slash + 1))});
  forgetFolder();
}

QByteArray PackedFiles::path(std::size_t index) const {
  QByteArray path = text(m_records[index].folder).toByteArray();
  if (!path.endsWith('/')) path += '/';
  return path.append(text(m_records[index].name));
}

QByteArrayView PackedFiles::name(std::size_t index) const {
  return text(m_records[index].name);
}

std::size_t PackedResults::count() const {
  std::size_t count = 0;
  for (const PackedFiles& part : m_parts)
    count += part.count();
  return count;
}

std::pair<const PackedFiles*, std::size_t> PackedResults::locate(std::size_t index) const {
  auto part = m_parts.begin();
  for (; index >= part->count(); ++part)
    index -= part->count();
  return {&*part, index};
}

QByteArray PackedResults::path(std::size_t index) const {
  const auto [part, at] = locate(index);
  return part->path(at);
}

QByteArrayView PackedResults::name(std::size_t index) const {
  const auto [part, at] = locate(index);
  return part->name(at);
}

std::optional<ByteCount> PackedResults::size(std::size_t index) const {
  const auto [part, at] = locate(index);
  if (part->size(at) == PackedFiles::kUnknownSize) return {};
  return part->size(at);
}

}  // namespace halvard
