#include "process_manager/processes_manager.h"

#include <algorithm>
#include <cerrno>

#include "process_manager/application_rules.h"

namespace halvard {

namespace {

constexpr std::chrono::seconds kCachePeriod{3600};
constexpr std::size_t kTopFive = 5;

void require(bool condition, const char* text) {
  if (!condition) qFatal("Assertion failed: (%s), file Process Manager/ProcessesManager", text);
}

}  // namespace

ProcessesManager::ProcessesManager(ProcessTable& table, RunningApplications& applications, Clock& clock)
    : m_table(table),
      m_applications(applications),
      m_ancestry(table),
      m_renewal(clock),
      m_queue(QStringLiteral("ProcessesManager")) {
  initCacher();
  clearCacheEachPeriod(kCachePeriod);
}

void ProcessesManager::initCacher() {
  m_ancestry.clear();
  m_processesAppData.clear();
}

void ProcessesManager::clearCacheEachPeriod(std::chrono::milliseconds period) {
  m_renewal.start(period, [this, period] {
    m_queue.run(
        &m_context, [this](std::stop_token) { initCacher(); }, [this, period] { clearCacheEachPeriod(period); });
  });
}

void ProcessesManager::getTopProcessCompletion(QObject* context, Completion completion) {
  m_queue.run(
      context, [this](std::stop_token) { return buildList(); }, std::move(completion));
}

std::future<ApplicationEntries> ProcessesManager::getTopProcess(ByteCount size) {
  auto promise = std::make_shared<std::promise<ApplicationEntries>>();
  std::future<ApplicationEntries> list = promise->get_future();
  m_queue.runSilently([this, size, promise](std::stop_token stop) {
    promise->set_value(stop.stop_requested() ? ApplicationEntries() : largerThan(size));
  });
  return list;
}

ApplicationEntries ProcessesManager::largerThan(ByteCount size) {
  ApplicationEntries list = buildEntries();
  std::erase_if(list, [size](const ApplicationEntry& entry) { return entry.size.value_or(0) <= size; });
  return list;
}

void ProcessesManager::getTopFiveProcessCompletion(QObject* context, Completion completion) {
  getTopProcessCompletion(context, [context, completion = std::move(completion)](ApplicationList list) {
    if (list->size() > kTopFive)
      list = std::make_shared<const ApplicationEntries>(list->begin(), list->begin() + kTopFive);
    QMetaObject::invokeMethod(
        context, [completion, list] { completion(list); }, Qt::QueuedConnection);
  });
}

const std::vector<ProcessRecord>& ProcessesManager::getBSDProcessList() {
  static const std::vector<ProcessRecord> none;
  for (;;) {
    ProcessTable::Reading result;
    require(result.processes == nullptr, "result == NULL");
    result = m_table.read();
    require((result.error == 0) == (result.processes != nullptr), "(err == 0) == (*procList != NULL)");
    if (result.error == 0) return *result.processes;
    if (result.error != ENOMEM) return none;
  }
}

ApplicationList ProcessesManager::buildList() {
  return std::make_shared<const ApplicationEntries>(buildEntries());
}

ApplicationEntries ProcessesManager::buildEntries() {
  const std::vector<ProcessRecord>& processes = getBSDProcessList();
  m_ancestry.update(processes);
  m_applications.update(processes);
  Lists lists;
  lists.own = m_applications.currentApplication();
  for (const ProcessRecord& process : processes)
    place(process, lists);
  for (const Helper& helper : lists.helpers)
    fold(helper, lists.apps);
  m_processesAppData.removeIf([](const auto& known) { return known.value().app->isTerminated(); });
  std::ranges::stable_sort(lists.apps, [](const auto& left, const auto& right) { return *left.size > *right.size; });
  return std::move(lists.apps);
}

void ProcessesManager::place(const ProcessRecord& process, Lists& lists) {
  if (process.pid == lists.own) return;
  if (process.residentBytes) lists.lastSize = *process.residentBytes;
  auto app = m_applications.runningApplicationWithProcessIdentifier(process.pid);
  if (!app) {
    // A thread of the kernel has no memory and descends from no application.
    if (!process.kernelThread) lists.helpers.push_back({process.pid, lists.lastSize, process.name});
    return;
  }
  ApplicationEntry entry = entryFor(process, std::move(app), lists.lastSize);
  switch (placementOf(entry)) {
    case Placement::Apps:
      lists.apps.push_back(std::move(entry));
      break;
    case Placement::Helpers:
      lists.helpers.push_back({entry.pid, *entry.size, std::move(entry.name)});
      break;
    case Placement::Dropped:
      break;
  }
}

ApplicationEntry ProcessesManager::entryFor(const ProcessRecord& process, std::shared_ptr<RunningApplication> app,
                                            ByteCount size) {
  Known& known = m_processesAppData[process.pid];
  // Another handle is another application: the pid was reused, or the process now runs another program.
  if (known.app != app) known = {app, app->localizedName(), app->icon(), app->bundleURL()};
  return {process.pid, size, std::move(app), known.name, known.icon, known.url, {}};
}

void ProcessesManager::fold(const Helper& helper, ApplicationEntries& apps) {
  const auto add = [&helper](ApplicationEntry& app) {
    *app.size += helper.size;
    app.helpers.push_back(helper.pid);
  };
  const auto& ancestors = m_ancestry.ancestors(helper.pid);
  const auto group = m_applications.applicationOfGroup(helper.pid);
  for (ApplicationEntry& app : apps) {
    if (group == app.pid || std::ranges::find(ancestors, app.pid) != ancestors.end()) return add(app);
    // By name a helper counts for every application of that name, hence no end here.
    if (isHelperByName(helper.name, app.name)) add(app);
  }
}

}  // namespace halvard
