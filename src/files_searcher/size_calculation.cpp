#include "files_searcher/size_calculation.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "files_searcher/tree_walk.h"

namespace halvard {
namespace {

class SizeVisitor : public TreeVisitor {
 public:
  bool entersFolder(const WalkedFolder&, const FolderEntry&, std::uint32_t&) override { return true; }

  void visitEntry(const WalkedFolder& folder, const FolderEntry& entry) override {
    // Devices, sockets and pipes occupy nothing.
    if (entry.type == EntryType::Other) return;
    if (const auto found = folder.folder.attributes(entry.name.data())) m_totalSize += found->allocatedSize;
  }

  ByteCount totalSize() const { return m_totalSize; }

 private:
  ByteCount m_totalSize = 0;
};

}  // namespace

SizeCalculationTask::SizeCalculationTask(const FolderReader& reader, QByteArray folderPath, int threads)
    : m_reader(reader), m_folderPath(std::move(folderPath)), m_threads(std::max(threads, 1)) {}

ByteCount SizeCalculationTask::calculate(std::stop_token stop) {
  std::vector<SizeVisitor> sums(static_cast<std::size_t>(m_threads));
  std::vector<TreeVisitor*> visitors;
  for (SizeVisitor& sum : sums)
    visitors.push_back(&sum);
  TreeWalk(m_reader, {}).run({{m_folderPath}}, visitors, std::move(stop));
  ByteCount total = 0;
  for (const SizeVisitor& sum : sums)
    total += sum.totalSize();
  return total;
}

ByteCount SizeCalculation::fastFolderSizeOfItemWithPath(const QByteArray& path, bool ignoreRootDSStore,
                                                        std::stop_token stop) const {
  const ByteCount size = SizeCalculationTask(m_reader, path, m_threads).calculate(std::move(stop));
  if (!ignoreRootDSStore) return size;
  const auto ignored = m_reader.attributes(path + "/.DS_Store");
  if (!ignored || ignored->type != EntryType::File) return size;
  return size - std::min(size, ignored->allocatedSize);
}

ByteCount SizeCalculation::fastSizeOfFolderAtPath(const QByteArray& path, std::stop_token stop) const {
  return fastFolderSizeOfItemWithPath(path, false, std::move(stop));
}

ByteCount SizeCalculation::sizeIgnoreRootDSStoreForFolderAtPath(const QByteArray& path, std::stop_token stop) const {
  return fastFolderSizeOfItemWithPath(path, true, std::move(stop));
}

}  // namespace halvard
