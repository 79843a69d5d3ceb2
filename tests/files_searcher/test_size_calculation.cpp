#include <sys/mount.h>

#include <QtTest>
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

/// Makes a chain of folders, each with a file of one block, and returns what the files occupy.
void addChain(const QByteArray& path, int depth, const char* name) {
  int folder = ::open(path.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  for (int level = 0; level < depth; ++level) {
    ::mkdirat(folder, name, 0755);
    const int next = ::openat(folder, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ::close(folder);
    folder = next;
    const int file = ::openat(folder, "file", O_CREAT | O_WRONLY | O_CLOEXEC, 0644);
    QVERIFY(::write(file, "x", 1) == 1);
    ::close(file);
    ::mkdirat(folder, "side", 0755);
  }
  ::close(folder);
}

class CountingVisitor : public TreeVisitor {
 public:
  bool entersFolder(const WalkedFolder&, const FolderEntry&, std::uint32_t&) override { return true; }
  void visitEntry(const WalkedFolder& folder, const FolderEntry& entry) override {
    ++entries;
    longestPath = std::max(longestPath, folder.place.path().size());
    if (onEntry) onEntry(entry);
  }
  int entries = 0;
  qsizetype longestPath = 0;
  std::function<void(const FolderEntry&)> onEntry;
};

}  // namespace

class TestSizeCalculation : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void countsWhatDuCounts_data() {
    QTest::addColumn<QByteArray>("parent");
    QTest::addColumn<int>("threads");
    for (const int threads : {1, 2, 4}) {
      QTest::addRow("disk, %d threads", threads) << QByteArray("/var/tmp") << threads;
      QTest::addRow("memory, %d threads", threads) << QByteArray("/dev/shm") << threads;
    }
  }
  void countsWhatDuCounts() {
    QFETCH(QByteArray, parent);
    QFETCH(int, threads);
    DiskTree tree(parent);
    tree.addFile("one\nline", 5000);
    tree.addFile("\xff\xfe not text", 100);
    tree.addFolder("folder \x80\x81");
    tree.addFile("folder \x80\x81/inside", 9000);
    tree.addFolder(QByteArray(255, 'n'));
    tree.addFile(QByteArray(255, 'n') + '/' + QByteArray(255, 'm'), 4097);
    tree.addFile("sparse", 1 << 30, false);
    tree.addFile("empty", 0);
    const QByteArray twice = tree.addFile("twice", 70000);
    QCOMPARE(::link(twice.constData(), tree.at("again").constData()), 0);
    QCOMPARE(::symlink(".", tree.at("loop").constData()), 0);
    QCOMPARE(::symlink("/usr", tree.at("elsewhere").constData()), 0);
    QCOMPARE(::symlink(QByteArray(3000, 'l').constData(), tree.at("long").constData()), 0);
    QCOMPARE(::mkfifo(tree.at("pipe").constData(), 0644), 0);
    const ByteCount expected = sizeByDu(tree.path());
    QVERIFY(expected > 2 * 70000);
    QCOMPARE(sizeOf(tree.path(), threads), expected);
  }

  void countsARealTree() {
    const QByteArray path = qEnvironmentVariableIsSet("HALVARD_FULL_TESTS") ? "/usr" : "/usr/share/doc";
    const ByteCount expected = sizeByDu(path);
    QCOMPARE(sizeOf(path, 1), expected);
    QCOMPARE(sizeOf(path, 4), expected);
  }

  void chainsOfAnyDepth_data() {
    QTest::addColumn<int>("depth");
    QTest::addColumn<QByteArray>("name");
    QTest::addRow("two thousand deep") << 2000 << QByteArray("d");
    QTest::addRow("longer than any path may be") << 60 << QByteArray(200, 'p');
  }
  void chainsOfAnyDepth() {
    QFETCH(int, depth);
    QFETCH(QByteArray, name);
    DiskTree tree;
    addChain(tree.path(), depth, name.constData());
    const LinuxFolderReader reader;
    const ByteCount block = reader.attributes(tree.at(name + "/file"))->allocatedSize;
    QCOMPARE(sizeOf(tree.path(), 1), ByteCount(depth) * block);
    QCOMPARE(sizeOf(tree.path(), 2), ByteCount(depth) * block);

    CountingVisitor visitor;
    TreeWalk(reader, {}).run({{tree.path()}}, {&visitor}, {});
    const QByteArray deepest = tree.path() + ('/' + name).repeated(depth);
    QCOMPARE(visitor.longestPath, deepest.size());
    QVERIFY(reader.open(deepest));
  }

  void moreOpenFoldersThanAProcessMayHave() {
    DiskTree tree;
    // Every folder of the chain has side folders that wait while the chain is followed down.
    addChain(tree.path(), 600, "a");
    CountingVisitor visitor;
    const LinuxFolderReader reader;
    TreeWalk(reader, {}).run({{tree.path()}}, {&visitor}, {});
    QCOMPARE(visitor.entries, 600);
  }

  void missingAndPlainFileAreNothing() {
    DiskTree tree;
    QCOMPARE(sizeOf(tree.at("missing")), ByteCount(0));
    QCOMPARE(sizeOf(tree.addFile("plain", 5000)), ByteCount(0));
    QCOMPARE(sizeOf({}), ByteCount(0));
  }

  void onlyTheRootDsStoreIsIgnored() {
    DiskTree tree;
    const LinuxFolderReader reader;
    const SizeCalculation sizes(reader);
    const ByteCount own = reader.attributes(tree.addFile(".DS_Store", 6000))->allocatedSize;
    QVERIFY(own >= 6000);
    QCOMPARE(sizes.sizeIgnoreRootDSStoreForFolderAtPath(tree.path()), ByteCount(0));
    QCOMPARE(sizes.fastSizeOfFolderAtPath(tree.path()), own);
    tree.addFolder("below");
    tree.addFile("below/.DS_Store", 6000);
    QCOMPARE(sizes.fastFolderSizeOfItemWithPath(tree.path(), true), own);
    QCOMPARE(sizes.fastFolderSizeOfItemWithPath(tree.path(), false), 2 * own);
    tree.addFolder("other");
    tree.addFolder("other/.DS_Store");
    tree.addFile("other/.DS_Store/file", 6000);
    QCOMPARE(sizes.fastFolderSizeOfItemWithPath(tree.at("other"), true), own);
  }

  void unreadableFolderIsSkipped() {
    DiskTree tree;
    tree.addFolder("closed");
    tree.addFile("closed/file", 5000);
    const LinuxFolderReader reader;
    const ByteCount open = reader.attributes(tree.addFile("open", 5000))->allocatedSize;
    ::chmod(tree.path().constData(), 0755);
    ::chmod(tree.at("closed").constData(), 0);
    if (::access(tree.at("closed").constData(), R_OK) == 0) {
      if (::seteuid(65534) != 0) QSKIP("root reads every folder, and cannot become someone else here");
    }
    const ByteCount size = sizeOf(tree.path(), 2);
    if (::geteuid() != ::getuid()) QCOMPARE(::seteuid(::getuid()), 0);
    ::chmod(tree.at("closed").constData(), 0755);
    QCOMPARE(size, open);
  }

  void mountPointsAreNotEntered() {
    DiskTree tree;
    const LinuxFolderReader reader;
    const ByteCount below = reader.attributes(tree.addFile("file", 5000))->allocatedSize;
    const QByteArray place = tree.addFolder("mounted");
    if (::mount("none", place.constData(), "tmpfs", 0, "size=1m") != 0) QSKIP("mounting needs root");
    tree.addFile("mounted/file", 50000);
    const QByteArray bound = tree.addFolder("bound");
    const bool isBound = ::mount(tree.at("bound").constData(), bound.constData(), nullptr, MS_BIND, nullptr) == 0;
    tree.addFile("bound/file", 50000);
    const ByteCount size = sizeOf(tree.path(), 2);
    const ByteCount inside = sizeOf(place);
    ::umount(place.constData());
    if (isBound) ::umount(bound.constData());
    QCOMPARE(size, below);
    QVERIFY(inside >= 50000);
  }

  void entriesMayVanishDuringTheWalk() {
    DiskTree tree;
    for (int index = 0; index < 300; ++index) {
      tree.addFile("file" + QByteArray::number(index), 10);
      tree.addFolder("folder" + QByteArray::number(index));
    }
    const LinuxFolderReader reader;
    CountingVisitor visitor;
    bool removed = false;
    visitor.onEntry = [&](const FolderEntry&) {
      if (std::exchange(removed, true)) return;
      for (int index = 0; index < 300; ++index) {
        ::unlink(tree.at("file" + QByteArray::number(index)).constData());
        ::rmdir(tree.at("folder" + QByteArray::number(index)).constData());
      }
    };
    TreeWalk(reader, {}).run({{tree.path()}}, {&visitor}, {});
    QCOMPARE(visitor.entries, 300);
    QCOMPARE(sizeOf(tree.path()), ByteCount(0));
  }

  void folderReplacedByALinkIsNotFollowed() {
    DiskTree tree;
    tree.addFolder("folder");
    tree.addFile("first", 10);
    const LinuxFolderReader reader;
    const auto root = reader.open(tree.path());
    QVERIFY(root && root->openFolder("folder", nullptr));
    QCOMPARE(::rmdir(tree.at("folder").constData()), 0);
    QCOMPARE(::symlink("/usr", tree.at("folder").constData()), 0);
    QVERIFY(!root->openFolder("folder", nullptr));
    QVERIFY(!root->openFolder("first", nullptr));
  }

  void stopsSoonAfterTheRequest() {
    const LinuxFolderReader reader;
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

  void stackGivesBackTheLastFirst() {
    StackCollection stack;
    QVERIFY(!stack.popItem() && !stack.topItem());
    stack.pushItem(nullptr);
    QCOMPARE(stack.nDepth(), 0u);
    for (const char* path : {"/a", "/b", "/c"})
      stack.pushItem(std::make_unique<StackItem>(path));
    QCOMPARE(stack.nDepth(), 3u);
    const auto popped = stack.popItem();
    QCOMPARE(popped->path(), QByteArray("/c"));
    QVERIFY(!popped->prevItem && stack.topItem()->path() == "/b");
    stack.clearStack();
    QCOMPARE(stack.nDepth(), 0u);
    for (int index = 0; index < 1000000; ++index)
      stack.pushItem(std::make_unique<StackItem>(nullptr, nullptr, 0));
  }
};

QTEST_GUILESS_MAIN(TestSizeCalculation)
#include "test_size_calculation.moc"
