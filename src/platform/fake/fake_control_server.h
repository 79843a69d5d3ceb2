#pragma once

#include "platform/ports/control_channel.h"

namespace halvard {

/// Answers nobody.
class FakeControlServer : public ControlServer {
 public:
  bool start(ControlHandler&) override { return false; }
  void publishProgress(double) override {}
  void publishFinished(const QJsonObject&) override {}
  void publishRechecked(const QJsonObject&) override {}
};

}  // namespace halvard
