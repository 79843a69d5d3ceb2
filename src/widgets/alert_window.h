#pragma once

#include <QDialog>
#include <QList>
#include <QPointer>

#include "core/alert.h"

class QVBoxLayout;

namespace halvard {

class CheckBox;

/// An alert: icon, message, what can be done, and the buttons from left to right in their order. Return presses the
/// first, Escape and closing the window the last.
class AlertWindow : public QDialog {
  Q_OBJECT

 public:
  /// `title` is the window's.
  AlertWindow(const QString& title, const Alert& alert, QWidget* parent = nullptr);

  /// What was chosen; the last button before anything was.
  AlertAnswer answer() const;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  void addTexts(QVBoxLayout& layout, const Alert& alert);
  void addButtons(QVBoxLayout& layout, const QStringList& titles);

  const bool m_isCritical;
  CheckBox* m_suppression = nullptr;
  int m_button = 0;
};

/// Alerts in windows of the program's look, titled with its name.
class AlertWindows : public QObject, public AlertPresenter {
  Q_OBJECT

 public:
  explicit AlertWindows(QString title);
  ~AlertWindows() override;
  void show(const Alert& alert, Done done) override;
  AlertAnswer runModal(const Alert& alert) override;

 private:
  const QString m_title;
  QList<QPointer<QWidget>> m_open;
};

}  // namespace halvard
