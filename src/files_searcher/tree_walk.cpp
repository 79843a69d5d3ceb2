#include "files_searcher/tree_walk.h"

#include <algorithm>
#include <string>
#include <thread>
#include <utility>

#include "files_searcher/shared_stack.h"

namespace halvard {
namespace {

/// Folders held open at once; beyond it subfolders are reached again from above, by waypoints. With the waypoints few
/// enough for five walks at a time in a process that may open 1024 files.
constexpr int kMostKeptFolders = 96;
constexpr std::size_t kMostWaypoints = 32;
constexpr std::size_t kShortestStride = 32;

struct Course {
  const FolderReader& reader;
  const TreeWalk::Options& options;
  SharedStack& shared;
  std::atomic<int>& keptFolders;
  std::stop_token stop;
};

/// One thread of a walk.
class Worker {
 public:
  Worker(const Course& course, TreeVisitor& visitor) : m_course(course), m_visitor(visitor) {}

  void run();

 private:
  std::unique_ptr<OpenFolder> open(const StackItem& item);
  std::unique_ptr<OpenFolder> openByWaypoints(const StackItem& item);
  void scan(StackItem& item);
  bool scanBatch(const WalkedFolder& walked, const std::shared_ptr<FolderName>& place,
                 const std::shared_ptr<KeptFolder>& kept);
  void push(std::unique_ptr<StackItem> item);

  const Course& m_course;
  TreeVisitor& m_visitor;
  StackCollection m_stack;
  FolderBatch m_batch;

  /// Folders on the way to the one that was last opened without its parent.
  struct Waypoint {
    std::size_t depth;
    std::shared_ptr<FolderName> place;
    std::unique_ptr<OpenFolder> folder;
  };
  std::vector<Waypoint> m_waypoints;
};

void Worker::run() {
  while (!m_course.stop.stop_requested()) {
    std::unique_ptr<StackItem> item = m_stack.popItem();
    if (!item) item = m_course.shared.take();
    if (!item) return;
    if (m_course.shared.isWanted()) m_course.shared.offer(m_stack.popItem());
    scan(*item);
  }
}

std::unique_ptr<OpenFolder> Worker::open(const StackItem& item) {
  if (!item.folder->parent()) return m_course.reader.open(QByteArray::fromStdString(item.folder->name()));
  if (!item.parentFolder) return openByWaypoints(item);
  return (*item.parentFolder)->openFolder(item.folder->name().c_str(), m_course.options.mounts);
}

std::unique_ptr<OpenFolder> Worker::openByWaypoints(const StackItem& item) {
  std::vector<std::shared_ptr<FolderName>> chain;
  for (auto at = item.folder; at; at = at->parent())
    chain.push_back(at);
  std::reverse(chain.begin(), chain.end());
  // Keep the waypoints this folder lies below.
  while (!m_waypoints.empty()) {
    const Waypoint& last = m_waypoints.back();
    if (last.depth + 1 < chain.size() && chain[last.depth] == last.place) break;
    m_waypoints.pop_back();
  }
  const std::size_t stride = std::max(kShortestStride, chain.size() / kMostWaypoints);
  std::unique_ptr<OpenFolder> opened;
  std::size_t depth = 0;
  if (m_waypoints.empty()) {
    opened = m_course.reader.open(QByteArray::fromStdString(chain.front()->name()));
  } else {
    depth = m_waypoints.back().depth + 1;
    opened = m_waypoints.back().folder->openFolder(chain[depth]->name().c_str(), m_course.options.mounts);
  }
  while (opened && ++depth < chain.size()) {
    auto next = opened->openFolder(chain[depth]->name().c_str(), m_course.options.mounts);
    if (next && (depth - 1) % stride == 0) m_waypoints.push_back({depth - 1, chain[depth - 1], std::move(opened)});
    opened = std::move(next);
  }
  return opened;
}

void Worker::scan(StackItem& item) {
  std::unique_ptr<OpenFolder> opened = open(item);
  item.parentFolder.reset();
  if (!opened) return;
  const auto kept = std::make_shared<KeptFolder>(std::move(opened), m_course.keptFolders);
  const WalkedFolder walked{*item.folder, **kept, item.tag};
  m_visitor.beginFolder(walked);
  while ((*kept)->nextBatch(m_batch)) {
    if (!scanBatch(walked, item.folder, kept)) return;
  }
}

bool Worker::scanBatch(const WalkedFolder& walked, const std::shared_ptr<FolderName>& place,
                       const std::shared_ptr<KeptFolder>& kept) {
  const auto& entries = m_batch.entries;
  if (m_course.options.entriesSeen) m_course.options.entriesSeen->fetch_add(entries.size(), std::memory_order_relaxed);
  // Subfolders first: another thread can have them while this one looks at the files.
  const bool keep = m_course.keptFolders.load(std::memory_order_relaxed) < kMostKeptFolders;
  for (const FolderEntry& entry : entries) {
    if (entry.type != EntryType::Folder) continue;
    std::uint32_t tag = walked.tag;
    if (!m_visitor.entersFolder(walked, entry, tag)) continue;
    push(std::make_unique<StackItem>(std::make_shared<FolderName>(place, std::string(entry.name)),
                                     keep ? kept : nullptr, tag));
  }
  for (const FolderEntry& entry : entries) {
    if (entry.type == EntryType::Folder) continue;
    m_visitor.visitEntry(walked, entry);
    // A thread that ran out of work does not wait for the last file of this folder.
    if (m_course.shared.isWanted()) m_course.shared.offer(m_stack.popItem());
    // At idle priority on a busy machine even a few hundred files may take long.
    if (m_course.stop.stop_requested()) return false;
  }
  return !m_course.stop.stop_requested();
}

void Worker::push(std::unique_ptr<StackItem> item) {
  if (m_course.shared.isWanted()) {
    m_course.shared.offer(std::move(item));
  } else {
    m_stack.pushItem(std::move(item));
  }
}

}  // namespace

void TreeWalk::run(const std::vector<Root>& roots, const std::vector<TreeVisitor*>& visitors, std::stop_token stop) {
  const int threads = static_cast<int>(visitors.size());
  SharedStack shared(threads);
  std::atomic<int> keptFolders = 0;
  for (const Root& root : roots) {
    auto item = std::make_unique<StackItem>(root.path);
    item->tag = root.tag;
    shared.offer(std::move(item));
  }
  const std::stop_callback closeOnStop(stop, [&shared] { shared.close(); });
  const Course course{m_reader, m_options, shared, keptFolders, stop};
  const auto work = [this, &course](TreeVisitor* visitor) {
    if (m_options.onThreadStart) m_options.onThreadStart();
    Worker(course, *visitor).run();
  };
  const std::function<void()> spread = m_reader.threadSpreader();
  std::vector<std::jthread> others;  // last: they use the rest
  if (m_options.onThreadStart) {
    for (TreeVisitor* visitor : visitors)
      others.emplace_back(work, visitor);
    return;
  }
  for (std::size_t index = 1; index < visitors.size(); ++index) {
    others.emplace_back([&work, &spread, visitor = visitors[index]] {
      spread();
      work(visitor);
    });
  }
  work(visitors.front());
}

}  // namespace halvard
