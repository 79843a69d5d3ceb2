#pragma once

#include <QByteArray>
#include <QString>
#include <functional>
#include <optional>
#include <vector>

class QWidget;

namespace halvard {

/// The windows of the grant-access flow. Main thread.
class GrantPanels {
 public:
  /// The folders chosen; nothing when the user cancelled.
  using Chosen = std::function<void(std::optional<std::vector<QByteArray>> folders)>;

  virtual ~GrantPanels() = default;

  /// Shows a panel over the window of `parent` that takes one folder, starting in `folder`.
  virtual void chooseFolder(QWidget* parent, const QString& message, const QString& buttonTitle,
                            const QByteArray& folder, Chosen done) = 0;
  /// Shows an alert over the window of `parent`; `dismissed` is called afterwards.
  virtual void showAlert(QWidget* parent, const QString& message, const QString& information,
                         std::function<void()> dismissed) = 0;
};

/// Qt's dialogs.
class QtGrantPanels : public GrantPanels {
 public:
  void chooseFolder(QWidget* parent, const QString& message, const QString& buttonTitle, const QByteArray& folder,
                    Chosen done) override;
  void showAlert(QWidget* parent, const QString& message, const QString& information,
                 std::function<void()> dismissed) override;
};

}  // namespace halvard
