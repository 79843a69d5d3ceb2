#pragma once

#include <QStringList>
#include <utility>

#include "platform/ports/running_copies.h"

namespace halvard {

/// Copies as told; remembers what was asked of them.
class FakeRunningCopies : public RunningCopies {
 public:
  bool claim() override {
    events << QStringLiteral("claim");
    return copies.isEmpty() && !std::exchange(isHolderQuitting, false);
  }
  void release() override { events << QStringLiteral("release"); }
  std::vector<std::unique_ptr<ProgramCopy>> others() override {
    std::vector<std::unique_ptr<ProgramCopy>> made;
    for (const QString& name : copies)
      made.push_back(std::make_unique<Copy>(events, name));
    return made;
  }
  void terminateProgramsOf(const QString& bundle) override { events << QStringLiteral("terminate ") + bundle; }

  /// Names of the other copies, the holder first.
  QStringList copies;
  /// The first claim is lost to a copy that is gone at once.
  bool isHolderQuitting = false;
  /// What happened, in order: "claim", "release", "activate NAME", "terminate NAME or bundle".
  QStringList events;

 private:
  struct Copy : ProgramCopy {
    Copy(QStringList& allEvents, QString name) : events(allEvents), copy(std::move(name)) {}
    bool activate() override {
      events << QStringLiteral("activate ") + copy;
      return true;
    }
    bool terminate() override {
      events << QStringLiteral("terminate ") + copy;
      return true;
    }
    QStringList& events;
    QString copy;
  };
};

}  // namespace halvard
