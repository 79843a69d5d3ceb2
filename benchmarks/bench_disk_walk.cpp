// The walk over a tree of folders, beside the tools that people use for it: halvard_bench is for the figures of one
// machine, this program for ratios of one run, each a median.
#include <fcntl.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "files_searcher/duplicates_searcher.h"
#include "files_searcher/metadata_pass.h"
#include "files_searcher/size_calculation.h"
#include "frame_probe.h"
#include "platform/fake/fake_disk.h"
#include "platform/linux/files/idle_priority.h"
#include "platform/linux/files/linux_folder_reader.h"

using namespace halvard;
using namespace halvard::bench;

namespace {

constexpr int kRuns = 7;

struct Cost {
  double wall;
  double processor;
};

double seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

/// Runs in a process of its own, so that processor time and memory are its own as well.
Cost measured(const std::function<void()>& work) {
  const auto begin = std::chrono::steady_clock::now();
  const pid_t child = ::fork();
  if (child == 0) {
    work();
    ::_exit(0);
  }
  int status = 0;
  rusage used{};
  ::wait4(child, &status, 0, &used);
  const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - begin;
  return {wall.count(), seconds(used.ru_utime) + seconds(used.ru_stime)};
}

std::function<void()> program(std::vector<std::string> words) {
  return [words = std::move(words)] {
    std::vector<char*> arguments;
    for (const std::string& word : words)
      arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    const int nowhere = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    ::dup2(nowhere, STDOUT_FILENO);
    ::dup2(nowhere, STDERR_FILENO);
    ::execvp(arguments[0], arguments.data());
    ::_exit(127);
  };
}

struct Contender {
  std::string name;
  std::function<void()> work;
  std::vector<Cost> costs;
};

double median(const std::vector<double>& values) {
  return quantile(values, 0.5);
}

void dropCaches() {
  ::sync();
  const int control = ::open("/proc/sys/vm/drop_caches", O_WRONLY | O_CLOEXEC);
  if (control < 0 || ::write(control, "3", 1) != 1) std::fprintf(stderr, "cannot drop caches: not a cold figure\n");
  ::close(control);
}

/// The contenders take turns, so that what else the machine does meets all of them. The first is the measure.
void compare(const char* title, std::vector<Contender> contenders, bool cold = false) {
  for (int run = 0; run <= kRuns; ++run) {
    for (Contender& contender : contenders) {
      if (cold) dropCaches();
      const Cost cost = measured(contender.work);
      // The first round warms up.
      if (run > 0) contender.costs.push_back(cost);
    }
  }
  std::printf("%s\n", title);
  double wallOfFirst = 0;
  double processorOfFirst = 0;
  for (const Contender& contender : contenders) {
    std::vector<double> walls;
    std::vector<double> processors;
    for (const Cost& cost : contender.costs) {
      walls.push_back(cost.wall);
      processors.push_back(cost.processor);
    }
    if (wallOfFirst == 0) {
      wallOfFirst = median(walls);
      processorOfFirst = median(processors);
    }
    std::printf("  %-34s %7.1f ms  %5.2f times as fast, %7.1f ms processor, %5.2f of it\n", contender.name.c_str(),
                median(walls) * 1e3, wallOfFirst / median(walls), median(processors) * 1e3,
                median(processors) / processorOfFirst);
  }
  std::fflush(stdout);
}

void writeFile(const std::string& path, std::size_t size) {
  static const std::string content(9000, 'x');
  const int file = ::open(path.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644);
  if (::write(file, content.data(), size) < 0) std::abort();
  ::close(file);
}

/// Folders of very different sizes, some deep; files of four extensions, one in twenty a link.
void makeMixedTree(const std::string& root, int entries) {
  std::mt19937 random(7);
  constexpr std::array kFilesOfAFolder{0, 1, 3, 8, 20, 40};
  constexpr std::array kSizes{std::size_t{0}, std::size_t{100}, std::size_t{5000}, std::size_t{9000}};
  constexpr std::array kExtensions{".txt", ".c", ".o", ".png"};
  std::vector<std::string> folders{root};
  ::mkdir(root.c_str(), 0755);
  for (int made = 0; made < entries;) {
    const std::size_t recent = std::min<std::size_t>(folders.size(), 400);
    const std::string folder = folders[folders.size() - 1 - random() % recent] + "/folder" + std::to_string(made++);
    ::mkdir(folder.c_str(), 0755);
    folders.push_back(folder);
    for (int file = kFilesOfAFolder[random() % kFilesOfAFolder.size()]; file > 0; --file) {
      const std::string path = folder + "/file" + std::to_string(made++) + kExtensions[random() % kExtensions.size()];
      if (random() % 20 == 0) {
        if (::symlink("elsewhere", path.c_str()) != 0) std::abort();
      } else {
        writeFile(path, kSizes[random() % kSizes.size()]);
      }
    }
  }
}

/// A chain of folders, each with a few files.
void makeDeepChain(const std::string& root, int depth, int filesOfAFolder) {
  ::mkdir(root.c_str(), 0755);
  const int start = ::open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (::chdir(root.c_str()) != 0) std::abort();
  for (int level = 0; level < depth; ++level) {
    for (int file = 0; file < filesOfAFolder; ++file)
      writeFile("file" + std::to_string(file), 100);
    ::mkdir("next", 0755);
    if (::chdir("next") != 0) std::abort();
  }
  if (::fchdir(start) != 0) std::abort();
  ::close(start);
}

std::function<void()> walk(const std::string& root, int threads) {
  return [root, threads] {
    const LinuxFolderReader reader;
    SizeCalculationTask(reader, QByteArray::fromStdString(root), threads).calculate();
  };
}

struct Estimate {
  std::size_t files = 0;
  Separator::Totals totals;
  std::size_t bytes = 0;
};

/// Every file of the tree is a candidate, which is the worst case.
Estimate estimateDuplicates(const std::string& root, int threads) {
  const LinuxFolderReader reader;
  const FakeSearchMounts mounts;
  const FakeApplicationCatalog catalog;
  std::atomic<std::uint64_t> seen = 0;
  const std::size_t before = ::mallinfo2().uordblks;
  FileMetadataPredicate predicate;
  const auto results = MetadataPass(reader, mounts, catalog, nullptr, threads)
                           .run({{{QByteArray::fromStdString(root)}, predicate}}, seen, {});
  Separator groups = DuplicatesSearcher::findDuplicatesInFiles({results.front()});
  const Separator::Totals totals = groups.calculateTotalSizeOfDuplicates();
  return {results.front()->count(), totals, ::mallinfo2().uordblks - before};
}

/// The frames of a program that draws 60 times a second while something else runs again and again for some seconds.
void watchFrames(const FrameProbe& probe, const char* name, const std::function<void()>& work) {
  const std::size_t first = probe.now();
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(8);
  while (std::chrono::steady_clock::now() < end)
    work();
  std::printf("  %-34s", name);
  printFrames(probe.between(first, probe.now()));
  std::fflush(stdout);
}

/// As the program searches: four threads of idle priority. Two copies of du are there to compare with.
void compareFrames(const FrameProbe& probe, const std::string& root) {
  std::printf("frames beside a scan: median, 99th percentile and longest, ms; number\n");
  watchFrames(probe, "nothing else", [] { std::this_thread::sleep_for(std::chrono::milliseconds(100)); });
  watchFrames(probe, "scan", [&root] {
    const LinuxFolderReader reader;
    const FakeSearchMounts mounts;
    const FakeApplicationCatalog catalog;
    const IdlePriority priority;
    std::atomic<std::uint64_t> seen = 0;
    MetadataPass(reader, mounts, catalog, &priority, 4).run({{{QByteArray::fromStdString(root)}, {}}}, seen, {});
  });
  watchFrames(probe, "du -s, twice", [&root] {
    measured(program({"sh", "-c", "du -s '" + root + "' & du -s '" + root + "'; wait"}));
  });
}

}  // namespace

int main(int argc, char** argv) {
  // Dropping the caches slows the whole machine down, so it is only done when asked for.
  const bool withCold = argc > 1 && std::strcmp(argv[argc - 1], "--cold") == 0;
  const bool withFrames = argc > 1 && std::strcmp(argv[argc - 1], "--frames") == 0;
  const int entries = argc > 1 && std::atoi(argv[1]) > 0 ? std::atoi(argv[1]) : 300'000;
  std::string base = std::string(std::getenv("TMPDIR") ? std::getenv("TMPDIR") : "/var/tmp") + "/halvard-walk-XXXXXX";
  if (!::mkdtemp(base.data())) return 1;
  const std::string mixed = base + "/mixed";
  const std::string chain = base + "/chain";
  makeMixedTree(mixed, entries);
  makeDeepChain(chain, 2000, 12);
  if (withFrames) {
    compareFrames(FrameProbe(), mixed);
    program({"rm", "-rf", base})();
    return 0;
  }

  compare("mixed tree, warm", {{"du -s", program({"du", "-s", mixed}), {}},
                               {"one thread", walk(mixed, 1), {}},
                               {"two threads", walk(mixed, 2), {}},
                               {"four threads", walk(mixed, 4), {}}});
  compare("mixed tree, warm, beside gdu",
          {{"gdu", program({"gdu", "-n", "-p", "-s", mixed}), {}}, {"two threads", walk(mixed, 2), {}}});
  compare("deep chain, warm", {{"du -s", program({"du", "-s", chain}), {}},
                               {"one thread", walk(chain, 1), {}},
                               {"two threads", walk(chain, 2), {}}});
  compare("duplicate estimate over every file", {{"bare walk, one thread", walk(mixed, 1), {}},
                                                 {"estimate, one thread", [&] { estimateDuplicates(mixed, 1); }, {}}});
  if (withCold) {
    compare("mixed tree, cold",
            {{"du -s", program({"du", "-s", mixed}), {}},
             {"one thread", walk(mixed, 1), {}},
             {"four threads", walk(mixed, 4), {}}},
            true);
  }
  const Estimate estimate = estimateDuplicates(mixed, 1);
  std::printf("duplicate estimate: %zu files, %.1f bytes a file\n", estimate.files,
              static_cast<double>(estimate.bytes) / static_cast<double>(std::max<std::size_t>(estimate.files, 1)));
  std::fflush(stdout);
  program({"rm", "-rf", base})();
}
