#include "memory/purge_manager.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <memory>
#include <utility>

#include "core/clock.h"
#include "platform/ports/purgeable_memory.h"

namespace halvard {

using namespace std::chrono_literals;

PurgeManager::PurgeManager(HostStatistics& host, PurgeableMemory& memory, Clock& clock)
    : m_host(host), m_memory(memory), m_clock(clock), m_nMemoryPageSize(host.pageSize().value_or(4096)) {}

void PurgeManager::setDelegate(PurgeManagerDelegate* delegate) {
  m_pDelegate = delegate;
}

void PurgeManager::purgeWithCompletion(Completion completion) {
  const std::lock_guard lock(m_completionMutex);
  if (m_pPurgeCompletion) return;
  m_pPurgeCompletion = std::move(completion);
  updateSystemInfo();
  // Assigning joins the thread of the purge before, which has nothing left to do.
  try {
    m_freeMemoryThread = std::jthread([this](std::stop_token stop) { freeMemory(std::move(stop)); });
  } catch (const std::system_error& error) {
    giveUp(error.code());
  }
}

/// Where memory or the limit of tasks is short, there may be no thread left to work on.
void PurgeManager::giveUp(const std::error_code& reason) {
  const QString words = QString::fromLocal8Bit(reason.message().c_str());
  m_lastOutcome = {ReclaimMethod::None, 0, QStringLiteral("no thread can be started for it: ") + words};
  QMetaObject::invokeMethod(this, &PurgeManager::finishPurge, Qt::QueuedConnection);
}

void PurgeManager::updateSystemInfo() {
  m_host.hostStatistics64(m_dStatistics, m_nHostMessageType);
}

ByteCount PurgeManager::getFreeMemory() const {
  const PageCount taken = m_dStatistics.active_count + m_dStatistics.inactive_count + m_dStatistics.wire_count;
  const ByteCount physical = m_host.physicalMemory();
  return physical - std::min(physical, m_nMemoryPageSize * taken);
}

void PurgeManager::freeMemory(std::stop_token stop) {
  m_bAllocationInProgress = true;
  std::jthread allocation;
  try {
    allocation = std::jthread([this, stop] { allocatePurgeableData(stop); });
  } catch (const std::system_error& error) {
    giveUp(error.code());
    return;
  }
  while (m_bAllocationInProgress && !stop.stop_requested())
    m_clock.sleepFor(500ms, stop);
  allocation.join();
  QMetaObject::invokeMethod(this, &PurgeManager::finishPurge, Qt::QueuedConnection);
}

void PurgeManager::finishPurge() {
  Completion completion;
  {
    const std::lock_guard lock(m_completionMutex);
    completion = m_pPurgeCompletion;
  }
  completion();
  const std::lock_guard lock(m_completionMutex);
  m_pPurgeCompletion = nullptr;
}

void PurgeManager::allocatePurgeableData(std::stop_token stop) {
  notifyAboutProgressStart();
  const ByteCount before = getFreeMemory();
  const auto count = static_cast<std::uint32_t>(getCountOfNeededAllocatedMemoryWithBlockSize(kAllocationBlockSize));
  allocatePurgeableDataBlocksCount(count, kAllocationBlockSize, stop);
  waitForFreeMemoryAbove(before, stop);
  notifyAboutProgressFinish();
  m_bAllocationInProgress = false;
}

ByteCount PurgeManager::getCountOfNeededAllocatedMemoryWithBlockSize(ByteCount blockSize) const {
  return m_host.physicalMemory() / blockSize;
}

void PurgeManager::allocatePurgeableDataBlocksCount(std::uint32_t count, ByteCount size, std::stop_token stop) {
  const std::unique_ptr<PurgeableSession> session = m_memory.openSession();
  std::deque<std::unique_ptr<PurgeableData>> blocks;
  const auto total = static_cast<float>(count);
  notifyAboutProgress(0.0F, true);
  for (std::uint32_t index = 0; index < count && session->isAlive() && !stop.stop_requested(); ++index) {
    notifyAboutProgress(static_cast<float>(index) * 0.5F / total, false);
    blocks.push_back(session->makeData(size));
    blocks.back()->beginContentAccess();
    blocks.back()->overwriteWithZeros();
  }
  notifyAboutProgress(0.5F, true);
  m_clock.sleepFor(1000ms, stop);
  while (!blocks.empty()) {
    notifyAboutProgress((total - static_cast<float>(blocks.size())) * 0.5F / total + 0.5F, false);
    const std::unique_ptr<PurgeableData> block = std::move(blocks.front());
    block->endContentAccess();
    blocks.pop_front();
    block->discardContentIfPossible();
  }
  m_lastOutcome = session->outcome();
  notifyAboutProgress(1.0F, true);
}

void PurgeManager::waitForFreeMemoryAbove(ByteCount before, std::stop_token stop) {
  for (int round = 0; round < 20 && !stop.stop_requested(); ++round) {
    updateSystemInfo();
    if (getFreeMemory() > before) return;
    m_clock.sleepFor(250ms, stop);
  }
}

void PurgeManager::notifyAboutProgressStart() {
  tellDelegate([](PurgeManagerDelegate& delegate) { delegate.onPurgeManagerStartPurge(); });
}

void PurgeManager::notifyAboutProgress(float progress, bool forced) {
  if (!forced && std::abs(progress - m_lastReportedProgress) <= 0.01F) return;
  m_lastReportedProgress = progress;
  tellDelegate([progress](PurgeManagerDelegate& delegate) { delegate.onPurgeManagerPurgingProgress(progress); });
}

void PurgeManager::notifyAboutProgressFinish() {
  tellDelegate([](PurgeManagerDelegate& delegate) { delegate.onPurgeManagerEndPurge(); });
}

void PurgeManager::tellDelegate(std::function<void(PurgeManagerDelegate&)> message) {
  QMetaObject::invokeMethod(
      this,
      [this, message = std::move(message)] {
        if (PurgeManagerDelegate* delegate = m_pDelegate.get()) message(*delegate);
      },
      Qt::QueuedConnection);
}

}  // namespace halvard
