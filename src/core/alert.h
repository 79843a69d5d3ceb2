#pragma once

#include <QString>
#include <QStringList>
#include <functional>
#include <optional>

namespace halvard {

/// A question or a message that stands in a window of its own.
struct Alert {
  QString message;
  QString informativeText;
  /// From left to right; the first is the default one.
  QStringList buttons;
  /// The title of the check box; nothing: there is none.
  std::optional<QString> suppression = std::nullopt;
  /// Marks the icon: something went wrong.
  bool isCritical = false;
};

struct AlertAnswer {
  /// Index of the chosen button; closing the alert counts as the last.
  int button = 0;
  bool suppressionIsOn = false;
};

/// Shows alerts. Main thread.
class AlertPresenter {
 public:
  using Done = std::function<void(const AlertAnswer&)>;

  virtual ~AlertPresenter() = default;
  /// Returns at once; `done`, which may be empty, follows the answer. Dropped when the presenter is gone.
  virtual void show(const Alert& alert, Done done) = 0;
  /// Returns with the answer; events are handled meanwhile.
  virtual AlertAnswer runModal(const Alert& alert) = 0;
};

}  // namespace halvard
