#pragma once

#include <QString>
#include <memory>
#include <vector>

namespace halvard {

/// Another process that runs this program.
class ProgramCopy {
 public:
  virtual ~ProgramCopy() = default;
  /// Asks it to come forward. False when nothing reaches it.
  virtual bool activate() = 0;
  /// Asks it to quit. False when it has ended already.
  virtual bool terminate() = 0;
};

/// The copies of this program in one session of one user. Main thread.
class RunningCopies {
 public:
  virtual ~RunningCopies() = default;

  /// Makes this process the one copy of the session, until release() or its end. Of several that ask at the same moment
  /// exactly one gets true. True also where nobody can tell.
  virtual bool claim() = 0;
  /// Lets another copy take over.
  virtual void release() = 0;

  /// The copy that holds the claim first, then those that were started before it and have not left yet. A copy that
  /// came later finds the holder by itself. Empty when this process holds the claim.
  virtual std::vector<std::unique_ptr<ProgramCopy>> others() = 0;

  /// Asks every process of this user to quit whose program lies in `bundle`, an application's folder or single file;
  /// this process excepted.
  virtual void terminateProgramsOf(const QString& bundle) = 0;
};

}  // namespace halvard
