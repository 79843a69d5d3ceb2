#include "app/main_menu.h"

#include "core/application_identity.h"
#include "widgets/menu_style.h"
#include "widgets/news_icon.h"

namespace halvard {

MainMenu::MainMenu(QWidget* parent) : QMenu(parent) {
  menu_style::apply(*this);
  m_miInfo = addAction(QString());
  m_miInfo->setEnabled(false);
  addSeparator();
  m_freeMemory = addAction(tr("Clean Memory"), this, &MainMenu::onFreeMemory);
  m_toggleInformation = addAction(QString(), this, &MainMenu::onTogglePanelInfo);
  addSeparator();
  m_newsButton = addAction(tr("News"), this, &MainMenu::newsButtonPressed);
  addAction(tr("Optimization Tools..."), this, &MainMenu::showOptimizationTools);
  m_rate = addAction(tr("Rate %1...").arg(application_identity::kDisplayName), this, &MainMenu::rateButtonPressed);
  addSeparator();
  addAction(tr("Preferences..."), this, &MainMenu::showPreferencesWindow)->setShortcut(QStringLiteral("Ctrl+,"));
  addSeparator();
  m_checkForUpdates = addAction(tr("Check for Updates..."), this, &MainMenu::checkForUpdates);
  setUpdaterVisible(false);
  addAction(tr("About %1").arg(application_identity::kDisplayName), this, &MainMenu::showAboutScreen);
  addAction(tr("Quit %1").arg(application_identity::kDisplayName), this, &MainMenu::quitRequested);
  setFreshNews(false);
}

void MainMenu::setInformation(const QString& text) {
  if (m_miInfo->text() != text) m_miInfo->setText(text);
}

/// The information changes every second, and is the widest text: the open menu keeps its width all the same, or it
/// would tremble, and leave the screen at whose edge it stands.
void MainMenu::showEvent(QShowEvent* event) {
  setFixedWidth(width());
  QMenu::showEvent(event);
}

void MainMenu::hideEvent(QHideEvent* event) {
  setMinimumWidth(0);
  setMaximumWidth(QWIDGETSIZE_MAX);
  QMenu::hideEvent(event);
}

void MainMenu::setUpdaterVisible(bool visible) {
  m_checkForUpdates->setVisible(visible);
}

void MainMenu::validate(bool isPurging, bool isPanelVisible) {
  m_freeMemory->setEnabled(!isPurging);
  m_toggleInformation->setText(isPanelVisible ? tr("Hide Information") : tr("Show Information"));
  // Whatever the state: the rate dialog comes by its own rules.
  m_rate->setVisible(false);
}

void MainMenu::setFreshNews(bool fresh) {
  m_newsButton->setIcon(newsIcon(fresh));
}

}  // namespace halvard
