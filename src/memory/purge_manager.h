#pragma once

#include <QObject>
#include <atomic>
#include <functional>
#include <mutex>
#include <stop_token>
#include <system_error>
#include <thread>

#include "core/units.h"
#include "core/weak_ref.h"
#include "platform/ports/host_statistics.h"
#include "platform/ports/purgeable_memory.h"

namespace halvard {

class Clock;

/// Receives the course of a purge, on the main thread.
class PurgeManagerDelegate : public WeakTarget {
 public:
  virtual void onPurgeManagerStartPurge() = 0;
  virtual void onPurgeManagerEndPurge() = 0;
  /// `progress` is 0 to 1 and never falls within one purge.
  virtual void onPurgeManagerPurgingProgress(float progress) = 0;

 protected:
  ~PurgeManagerDelegate() = default;
};

/// Makes the kernel reclaim memory: fills physical memory with purgeable buffers of 10 MiB, then releases them one by
/// one and waits for free memory to rise.
///
/// Lives on the main thread; works on two background threads of its own. Destroying it in the middle of a purge stops
/// the work and drops the completion.
class PurgeManager : public QObject {
  Q_OBJECT

 public:
  using Completion = std::function<void()>;

  /// Bytes in one purgeable buffer.
  static constexpr ByteCount kAllocationBlockSize = 0xa00000;

  /// `host` is this object's alone: its background threads read it. All three outlive the manager.
  PurgeManager(HostStatistics& host, PurgeableMemory& memory, Clock& clock);

  /// Main thread, while no purge runs.
  void setDelegate(PurgeManagerDelegate* delegate);

  /// What the latest purge's steps did. Main thread, from the completion on.
  const ReclaimOutcome& lastOutcome() const { return m_lastOutcome; }

  /// Starts a purge; `completion` is called on the main thread when it has ended, which is at once where no thread can
  /// be started. Ignored while one runs.
  /// Any thread.
  void purgeWithCompletion(Completion completion);

 private:
  void updateSystemInfo();
  ByteCount getFreeMemory() const;
  void freeMemory(std::stop_token stop);
  void finishPurge();
  void giveUp(const std::error_code& reason);
  void allocatePurgeableData(std::stop_token stop);
  ByteCount getCountOfNeededAllocatedMemoryWithBlockSize(ByteCount blockSize) const;
  void allocatePurgeableDataBlocksCount(std::uint32_t count, ByteCount size, std::stop_token stop);
  void waitForFreeMemoryAbove(ByteCount before, std::stop_token stop);
  void notifyAboutProgressStart();
  void notifyAboutProgress(float progress, bool forced);
  void notifyAboutProgressFinish();
  void tellDelegate(std::function<void(PurgeManagerDelegate&)> message);

  HostStatistics& m_host;
  PurgeableMemory& m_memory;
  Clock& m_clock;
  WeakRef<PurgeManagerDelegate> m_pDelegate;  // main thread
  VmStatistics64 m_dStatistics;               // the thread that purges
  std::uint32_t m_nHostMessageType = HostStatistics::kWords64;
  std::uint32_t m_nMemoryPageSize;
  std::atomic<bool> m_bAllocationInProgress = false;
  float m_lastReportedProgress = 0;  // the allocation thread
  ReclaimOutcome m_lastOutcome;      // the background threads while a purge runs, then the main thread
  std::mutex m_completionMutex;
  Completion m_pPurgeCompletion;  // guarded by m_completionMutex; empty when idle
  // Last, so that it is stopped and joined before anything it uses goes.
  std::jthread m_freeMemoryThread;
};

}  // namespace halvard
