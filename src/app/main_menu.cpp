#include "app/main_menu.h"

#include "core/application_identity.h"
#include "widgets/menu_style.h"

namespace halvard {

MainMenu::MainMenu(QWidget* parent) : QMenu(parent) {
  menu_style::apply(*this);
  m_miInfo = addAction(QString());
  m_miInfo->setEnabled(false);
  addSeparator();
  m_freeMemory = addAction(tr("Clean Memory"), this, &MainMenu::onFreeMemory);
  m_toggleInformation = addAction(QString(), this, &MainMenu::onTogglePanelInfo);
  addSeparator();
  addAction(tr("Preferences..."), this, &MainMenu::showPreferencesWindow)->setShortcut(QStringLiteral("Ctrl+,"));
  addSeparator();
  addAction(tr("About %1").arg(application_identity::kDisplayName), this, &MainMenu::showAboutScreen);
  addAction(tr("Quit %1").arg(application_identity::kDisplayName), this, &MainMenu::quitRequested);
}

void MainMenu::setInformation(const QString& text) {
  if (m_miInfo->text() != text) m_miInfo->setText(text);
}

void MainMenu::validate(bool isPurging, bool isPanelVisible) {
  m_freeMemory->setEnabled(!isPurging);
  m_toggleInformation->setText(isPanelVisible ? tr("Hide Information") : tr("Show Information"));
}

}  // namespace halvard
