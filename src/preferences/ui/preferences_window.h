#pragma once

#include <QWidget>

class QComboBox;
class QLabel;
class QVBoxLayout;

namespace halvard {

class CheckBox;
class PopUpList;
class TextField;
class ValueSlider;

/// The preferences window: its controls and their layout. It knows no preference.
class PreferencesWindow : public QWidget {
  Q_OBJECT

 public:
  PreferencesWindow();

  /// Fades to a quarter and back, in 0.4 seconds each.
  void blink();
  /// The figures beside the sliders.
  void showFigures(const QString& memoryUsage, const QString& frequency, const QString& cpuUsage);

  // Owned by the window.
  CheckBox* launchAtLoginButton;
  CheckBox* scanDiskUsageCheckBox;
  CheckBox* showNotificationAfreFreeUpButton;
  CheckBox* cleanupMemoryIfLargeAppQuitsButton;
  PopUpList* visionComboBox;
  CheckBox* cleanUpMemoryAutomatically;
  ValueSlider* memoryUsageSlider;
  ValueSlider* frequencySlider;
  ValueSlider* cpuUsageSlider;
  QLabel* autoCleanUpMemoryFullDescriptionTextField;
  TextField* exclusionsField;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void addHeading(QVBoxLayout& layout, const QString& text);
  CheckBox* addCheckBox(QVBoxLayout& layout, const QString& text);
  ValueSlider* addSlider(QVBoxLayout& layout, const QString& name, QLabel*& figure);
  void addVisionList(QVBoxLayout& layout);
  void addDescription(QVBoxLayout& layout);
  void addExclusions(QVBoxLayout& layout);
  void setScales();

  QLabel* m_memoryUsageFigure = nullptr;
  QLabel* m_frequencyFigure = nullptr;
  QLabel* m_cpuUsageFigure = nullptr;
};

}  // namespace halvard
