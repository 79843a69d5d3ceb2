#pragma once

#include <deque>
#include <vector>

#include "core/alert.h"

namespace halvard {

/// Answers at once what a test has queued, without that the last button, and remembers what was shown.
class FakeAlertPresenter : public AlertPresenter {
 public:
  void show(const Alert& alert, Done done) override {
    const AlertAnswer answer = runModal(alert);
    if (done) done(answer);
  }
  AlertAnswer runModal(const Alert& alert) override {
    shown.push_back(alert);
    AlertAnswer answer{static_cast<int>(alert.buttons.size()) - 1, false};
    if (!answers.empty()) {
      answer = answers.front();
      answers.pop_front();
    }
    return answer;
  }

  std::deque<AlertAnswer> answers;
  std::vector<Alert> shown;
};

}  // namespace halvard
