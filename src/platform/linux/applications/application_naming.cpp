#include "platform/linux/applications/application_naming.h"

#include <QFile>
#include <algorithm>

namespace halvard {

namespace {

constexpr int kLongestAncestry = 64;

class Naming {
 public:
  Naming(const FactsByPid& facts, const ApplicationIndex& index) : m_facts(facts), m_index(index) {}

  NamedApplications run(const std::vector<ProcessRecord>& processes, const std::vector<ApplicationWindow>& windows) {
    for (const ApplicationWindow& window : windows)
      if (!m_windows.contains(window.pid)) m_windows.insert(window.pid, &window);
    for (const ProcessRecord& process : processes)
      if (!process.kernelThread && !process.exited) m_parents.insert(process.pid, process.parentPid);
    // Oldest first, so that whoever started a process is named before it.
    for (auto process = processes.rbegin(); process != processes.rend(); ++process)
      findTopOfUnit(process->pid);
    for (auto process = processes.rbegin(); process != processes.rend(); ++process)
      if (m_parents.contains(process->pid)) consider(*process);
    assignGroups();
    return std::move(m_result);
  }

 private:
  const ProcessFacts& factsOf(std::int32_t pid) const {
    static const ProcessFacts unknown;
    const auto found = m_facts.constFind(pid);
    return found == m_facts.constEnd() ? unknown : *found;
  }
  QByteArray unitOf(std::int32_t pid) const {
    const auto& unit = factsOf(pid).unit;
    return unit ? unit->path : QByteArray();
  }
  void findTopOfUnit(std::int32_t pid) {
    const QByteArray unit = unitOf(pid);
    if (unit.isEmpty() || !m_parents.contains(pid) || m_topOfUnit.contains(unit)) return;
    const std::int32_t parent = m_parents.value(pid);
    if (!m_parents.contains(parent) || unitOf(parent) != unit) m_topOfUnit.insert(unit, pid);
  }

  void consider(const ProcessRecord& process) {
    const ProcessFacts& facts = factsOf(process.pid);
    const ApplicationWindow* window = m_windows.value(process.pid);
    if (facts.unit && m_topOfUnit.value(facts.unit->path) == process.pid) {
      const auto entry = m_index.byIds(facts.unit->desktopIds);
      if (entry) return add(process, facts, entry, window);
    }
    const auto launchedFor = m_index.byFile(QFile::decodeName(facts.desktopFile));
    if (window) {
      const auto entry = launchedFor ? launchedFor : entryOfWindow(*window, facts);
      if (NamedApplication* starter = windowlessStarter(process.pid, entry)) return giveWindow(*starter, process.pid);
      return add(process, facts, entry, window);
    }
    if (launchedFor) return add(process, facts, launchedFor, window);
    const auto entry = facts.isOwn ? m_index.byProgram(facts.executable, facts.arguments) : nullptr;
    if (entry && !starterOf(process.pid, entry)) add(process, facts, entry, window);
  }

  InstalledApplicationPointer entryOfWindow(const ApplicationWindow& window, const ProcessFacts& facts) const {
    const auto entry = m_index.byWindow(window.applicationId, window.className, window.instance);
    return entry ? entry : m_index.byProgram(facts.executable, facts.arguments);
  }

  NamedApplication* applicationOf(std::int32_t pid) {
    const auto found = m_places.constFind(pid);
    return found == m_places.constEnd() ? nullptr : &m_result.applications[*found];
  }
  NamedApplication* applicationOfUnit(std::int32_t pid) {
    const QByteArray unit = unitOf(pid);
    return unit.isEmpty() ? nullptr : applicationOf(m_topOfUnit.value(unit));
  }

  // The application of this entry that a process descends from, or in whose unit it runs.
  NamedApplication* starterOf(std::int32_t pid, const InstalledApplicationPointer& entry) {
    std::int32_t ancestor = pid;
    for (int step = 0; step < kLongestAncestry && m_parents.contains(ancestor); ++step) {
      ancestor = m_parents.value(ancestor);
      NamedApplication* application = applicationOf(ancestor);
      if (application && application->entry == entry) return application;
    }
    NamedApplication* application = applicationOfUnit(pid);
    return application && application->entry == entry ? application : nullptr;
  }

  // A script that waits for the program it has started, say. Of a window that no entry fits the unit tells whose it is.
  NamedApplication* windowlessStarter(std::int32_t pid, const InstalledApplicationPointer& entry) {
    NamedApplication* starter = entry ? starterOf(pid, entry) : applicationOfUnit(pid);
    return starter && !m_windows.contains(starter->pid) ? starter : nullptr;
  }
  static void giveWindow(NamedApplication& application, std::int32_t owner) {
    application.windowOwners.push_back(owner);
    application.policy = ActivationPolicy::Regular;
  }

  void add(const ProcessRecord& process, const ProcessFacts& facts, const InstalledApplicationPointer& entry,
           const ApplicationWindow* window) {
    NamedApplication application;
    application.pid = process.pid;
    const bool isRegular = window || (entry && entry->isVisible());
    application.policy = isRegular ? ActivationPolicy::Regular : ActivationPolicy::Accessory;
    application.entry = entry;
    application.fallbackName = window && !window->className.isEmpty() ? window->className : process.name;
    application.appImage = facts.appImage;
    application.windowOwners = {process.pid};
    m_places.insert(process.pid, m_result.applications.size());
    m_result.applications.push_back(std::move(application));
  }

  void assignGroups() {
    QHash<QByteArray, std::int32_t> owners;  // the oldest application of each unit
    for (const NamedApplication& application : m_result.applications) {
      const QByteArray unit = unitOf(application.pid);
      if (!unit.isEmpty() && !owners.contains(unit)) owners.insert(unit, application.pid);
    }
    for (auto process = m_parents.constKeyValueBegin(); process != m_parents.constKeyValueEnd(); ++process) {
      const std::int32_t pid = (*process).first;
      const auto owner = owners.constFind(unitOf(pid));
      if (owner != owners.constEnd() && *owner != pid) m_result.groups.insert(pid, *owner);
    }
  }

  const FactsByPid& m_facts;
  const ApplicationIndex& m_index;
  QHash<std::int32_t, const ApplicationWindow*> m_windows;  // the first of each process
  QHash<std::int32_t, std::int32_t> m_parents;              // of the processes that may be applications
  QHash<QByteArray, std::int32_t> m_topOfUnit;
  QHash<std::int32_t, std::size_t> m_places;  // in m_result.applications
  NamedApplications m_result;
};

}  // namespace

NamedApplications nameApplications(const std::vector<ProcessRecord>& processes, const FactsByPid& facts,
                                   const std::vector<ApplicationWindow>& windows, const ApplicationIndex& index) {
  return Naming(facts, index).run(processes, windows);
}

}  // namespace halvard
