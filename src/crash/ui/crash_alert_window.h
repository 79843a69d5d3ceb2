#pragma once

#include <QDialog>

#include "crash/alert_generator.h"

class QCheckBox;
class QVBoxLayout;

namespace halvard {

/// The crash alert: icon, message, what can be done, and the buttons from left to right in their order. Return presses
/// the first, Escape and closing the window the last.
class CrashAlertWindow : public QDialog {
  Q_OBJECT

 public:
  /// `title` is the window's.
  CrashAlertWindow(const QString& title, const CrashAlertContent& content);

  /// What was chosen; the last button before anything was.
  CrashAlertAnswer answer() const;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  void addTexts(QVBoxLayout& layout, const CrashAlertContent& content);
  void addButtons(QVBoxLayout& layout, const QStringList& titles);

  QCheckBox* m_suppression = nullptr;
  int m_button = 0;
};

}  // namespace halvard
