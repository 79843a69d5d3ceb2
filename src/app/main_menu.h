#pragma once

#include <QMenu>

namespace halvard {

/// The menu of the settings button.
class MainMenu : public QMenu {
  Q_OBJECT

 public:
  explicit MainMenu(QWidget* parent = nullptr);

  /// The line that tells how much memory is used.
  void setInformation(const QString& text);
  /// Whether there is something to look for updates in; hidden at first.
  void setUpdaterVisible(bool visible);
  /// What the items may do now; called before the menu opens.
  void validate(bool isPurging, bool isPanelVisible);
  /// The picture beside the news.
  void setFreshNews(bool fresh);

 Q_SIGNALS:
  void onFreeMemory();
  void onTogglePanelInfo();
  void newsButtonPressed();
  void showOptimizationTools();
  void rateButtonPressed();
  void showPreferencesWindow();
  void checkForUpdates();
  void showAboutScreen();
  void quitRequested();

 protected:
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;

 private:
  QAction* m_miInfo;
  QAction* m_freeMemory;
  QAction* m_toggleInformation;
  QAction* m_newsButton;
  QAction* m_rate;
  QAction* m_checkForUpdates;
};

}  // namespace halvard
