#include "app/running_tools.h"

#include <QFileInfo>

#include <utility>

#include "process_manager/processes_manager.h"

namespace halvard {
namespace {

const QString kEntrySuffix = QStringLiteral(".desktop");

QString entryName(const QString& identifier) {
  return identifier.endsWith(kEntrySuffix) ? identifier : identifier + kEntrySuffix;
}

}  // namespace

void RunningTools::refresh() {
  if (std::exchange(m_refreshing, true)) return;
  m_processes.getTopProcessCompletion(&m_context, [this](ApplicationList applications) {
    m_refreshing = false;
    m_applications = std::move(applications);
  });
}

std::shared_ptr<RunningApplication> RunningTools::find(const QString& identifier) {
  refresh();
  if (!m_applications) return nullptr;
  for (const ApplicationEntry& entry : *m_applications) {
    const bool isIt = entry.url && QFileInfo(entry.url->toLocalFile()).fileName() == entryName(identifier);
    if (isIt && !entry.app->isTerminated()) return entry.app;
  }
  return nullptr;
}

}  // namespace halvard
