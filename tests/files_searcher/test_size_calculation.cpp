#include <sys/mount.h>

#include <QtTest>
#include <fstream>
#include <thread>

#include "files_searcher/disk_tree.h"
#include "files_searcher/size_calculation.h"
#include "files_searcher/tree_walk.h"
#include "platform/linux/files/linux_folder_reader.h"

using namespace halvard;

namespace {

ByteCount sizeOf(const QByteArray& path, int threads = 1) {
  const LinuxFolderReader reader;
  return SizeCalculationTask(reader, path, threads).calculate();
}

/// Makes a chain of folders, each with a file of one block and an empty folder beside the next one.
void addChain(const QByteArray& path, int depth, const char* name) {
  QCOMPARE(::chdir(path.constData()), 0);
  for (int level = 0; level < depth; ++level) {
    ::mkdir(name, 0755);
    QCOMPARE(::chdir(name), 0);
    std::ofstream("file") << 'x';
    ::mkdir("side", 0755);
  }
  QCOMPARE(::chdir("/"), 0);
}

class CountingVisitor : public TreeVisitor {
 public:
  bool entersFolder(const WalkedFolder&, const FolderEntry&, std::uint32_t&) override { return true; }
  void visitEntry(const WalkedFolder& folder, const FolderEntry&) override {
    longestPath = std::max(longestPath, folder.place.path().size());
    if (++entries == 1 && onFirstEntry) onFirstEntry();
  }
  int entries = 0;
  qsizetype longestPath = 0;
  std::function<void()> onFirstEntry;
};

}  // namespace

class TestSizeCalculation : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void countsWhatDuCounts() {
    for (const char* parent : {"/var/tmp", "/dev/shm"}) {
      DiskTree tree(parent);
      tree.addFile("one\nline", 5000);
      tree.addFile("\xff\xfe not text", 100);
      for (const QByteArray& folder : {QByteArray("folder \x80\x81"), QByteArray(255, 'n')}) {
        tree.addFolder(folder);
        tree.addFile(folder + '/' + QByteArray(255, 'm'), 4097);
      }
      tree.addFile("sparse", 1 << 30, false);
      tree.addFile("empty", 0);
      const QByteArray twice = tree.addFile("twice", 70000);
      QCOMPARE(::link(twice.constData(), tree.at("again").constData()), 0);
      int links = 0;
      for (const QByteArray& target : {QByteArray("."), QByteArray("/usr"), QByteArray(3000, 'l')})
        QCOMPARE(::symlink(target.constData(), tree.at("link" + QByteArray::number(++links)).constData()), 0);
      QCOMPARE(::mkfifo(tree.at("pipe").constData(), 0644), 0);
      const ByteCount expected = sizeByDu(tree.path());
      QVERIFY(expected > 2 * 70000);
      for (const int threads : {1, 2, 4})
        QCOMPARE(sizeOf(tree.path(), threads), expected);
    }
  }

  void chainsOfAnyDepth() {
    // More folders than a process may have open; and a path longer than any may be.
    for (const auto& [depth, name] : {std::pair(2000, QByteArray("d")), {60, QByteArray(200, 'p')}}) {
      DiskTree tree;
      addChain(tree.path(), depth, name.constData());
      const LinuxFolderReader reader;
      const ByteCount block = reader.attributes(tree.at(name + "/file"))->allocatedSize;
      for (const int threads : {1, 2})
        QCOMPARE(sizeOf(tree.path(), threads), ByteCount(depth) * block);
      CountingVisitor visitor;
      TreeWalk(reader, {}).run({{tree.path()}}, {&visitor}, {});
      QCOMPARE(visitor.entries, depth);
      const QByteArray deepest = tree.path() + ('/' + name).repeated(depth);
      QCOMPARE(visitor.longestPath, deepest.size());
      QVERIFY(reader.open(deepest));
    }
  }

  void missingAndPlainFileAreNothing() {
    DiskTree tree;
    for (const QByteArray& path : {tree.at("missing"), tree.addFile("plain", 5000), QByteArray()})
      QCOMPARE(sizeOf(path), ByteCount(0));
  }

  void unreadableFolderIsSkipped() {
    DiskTree tree;
    const QByteArray closed = tree.addFolder("closed");
    tree.addFile("closed/file", 5000);
    const LinuxFolderReader reader;
    const ByteCount open = reader.attributes(tree.addFile("open", 5000))->allocatedSize;
    ::chmod(tree.path().constData(), 0755);
    ::chmod(closed.constData(), 0);
    if (::getuid() == 0 && ::seteuid(65534) != 0) QSKIP("root reads every folder, and cannot become someone else here");
    const ByteCount size = sizeOf(tree.path(), 2);
    QCOMPARE(::seteuid(::getuid()), 0);
    ::chmod(closed.constData(), 0755);
    QCOMPARE(size, open);
  }

  void mountPointsAreNotEntered() {
    DiskTree tree;
    const LinuxFolderReader reader;
    const ByteCount below = reader.attributes(tree.addFile("file", 5000))->allocatedSize;
    const QByteArray place = tree.addFolder("mounted");
    const QByteArray bound = tree.addFolder("bound");
    if (::mount("none", place.constData(), "tmpfs", 0, "size=1m") != 0) QSKIP("mounting needs root");
    const int bind = ::mount(bound.constData(), bound.constData(), nullptr, MS_BIND, nullptr);
    for (const char* file : {"mounted/file", "bound/file"})
      tree.addFile(file, 50000);
    const ByteCount size = sizeOf(tree.path(), 2);
    const ByteCount inside = sizeOf(place);
    ::umount(place.constData());
    if (bind == 0) ::umount(bound.constData());
    QCOMPARE(size, below);
    QVERIFY(inside >= 50000);
  }

  void entriesMayVanishDuringTheWalk() {
    DiskTree tree;
    std::vector<QByteArray> files, folders;
    for (int index = 0; index < 300; ++index) {
      files.push_back(tree.addFile("file" + QByteArray::number(index), 10));
      folders.push_back(tree.addFolder("folder" + QByteArray::number(index)));
    }
    CountingVisitor visitor;
    visitor.onFirstEntry = [&] {
      for (const QByteArray& file : files)
        ::unlink(file.constData());
      for (const QByteArray& folder : folders)
        ::rmdir(folder.constData());
    };
    TreeWalk(LinuxFolderReader(), {}).run({{tree.path()}}, {&visitor}, {});
    QCOMPARE(visitor.entries, 300);
    QCOMPARE(sizeOf(tree.path()), ByteCount(0));
  }

  void folderReplacedByALinkIsNotFollowed() {
    DiskTree tree;
    const QByteArray folder = tree.addFolder("folder");
    tree.addFile("first", 10);
    const auto root = LinuxFolderReader().open(tree.path());
    QVERIFY(root && root->openFolder("folder", nullptr));
    QCOMPARE(::rmdir(folder.constData()), 0);
    QCOMPARE(::symlink("/usr", folder.constData()), 0);
    for (const char* name : {"folder", "first"})
      QVERIFY2(!root->openFolder(name, nullptr), name);
  }

  void stopsSoonAfterTheRequest() {
    const LinuxFolderReader reader;
    // On the stack the compiler of the sanitized build takes it for uninitialised.
    const auto stop = std::make_unique<std::stop_source>();
    QElapsedTimer sinceStop;
    const std::jthread stopper([&] {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
      sinceStop.start();
      stop->request_stop();
    });
    // All of the machine takes far longer than this test.
    SizeCalculationTask(reader, "/", 2).calculate(stop->get_token());
    QVERIFY(stop->stop_requested());
    QVERIFY2(sinceStop.elapsed() < 200, qPrintable(QString::number(sinceStop.elapsed())));
  }

  void manyWaitingFoldersEndWithoutRecursion() {
    StackCollection stack;
    for (int index = 0; index < 1000000; ++index)
      stack.pushItem(std::make_unique<StackItem>(nullptr, nullptr, 0));
  }
};

QTEST_GUILESS_MAIN(TestSizeCalculation)
#include "test_size_calculation.moc"
