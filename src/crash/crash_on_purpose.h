#pragma once

#include <QString>
#include <QStringList>
#include <optional>

namespace halvard {

/// The ways to crash.
enum class CrashKind {
  nullDereference,
  nullFunctionCall,
  abort,
  divisionByZero,
  illegalInstruction,
  stackOverflow,
  stackOverflowOnAnotherThread,
  /// Inside the allocator, while it holds its lock.
  corruptedHeap,
  exceptionOnMainThread,
  exceptionOnAnotherThread,
  brokenPipe,
  alarm,
  twoThreads,
};

/// Debug builds alone have this: crashes the process for real, in a function whose name tells the kind. Returns when
/// the crash happens on another thread or a little later. Call it on the main thread.
void crashOnPurpose(CrashKind kind);

/// The kinds by name: "null", "null-call", "abort", "division", "illegal", "overflow", "thread-overflow", "heap",
/// "exception", "thread-exception", "pipe", "alarm", "two-threads".
std::optional<CrashKind> crashKindNamed(const QString& name);
QStringList crashKindNames();

}  // namespace halvard
