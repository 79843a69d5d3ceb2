#include "files_searcher/sibling_tools.h"

#include <QUrlQuery>

namespace halvard {

const SiblingTool* SiblingTools::toolOf(SiblingApp type) const {
  const auto found = m_services.branding.siblings.find(type);
  return found == m_services.branding.siblings.end() ? nullptr : &found->second;
}

std::vector<const Tool*> SiblingTools::candidates(SiblingApp type) const {
  std::vector<const Tool*> tools;
  if (const SiblingTool* const sibling = toolOf(type)) {
    tools.push_back(&sibling->own);
    for (const Tool& tool : sibling->alternatives)
      tools.push_back(&tool);
  }
  return tools;
}

std::shared_ptr<RunningApplication> SiblingTools::findRunningAppForBundleIDs(const Tool& tool) const {
  for (const QString& identifier : tool.identifiers) {
    auto running = m_services.runningApplication ? m_services.runningApplication(identifier) : nullptr;
    if (running) return running;
  }
  return nullptr;
}

std::optional<QString> SiblingTools::findInstalledIdentifier(const Tool& tool) const {
  for (const QString& identifier : tool.identifiers) {
    if (m_services.workspace.pathOfApplication(identifier)) return identifier;
  }
  return {};
}

SiblingTools::Offer SiblingTools::offerForType(SiblingApp type) const {
  const std::vector<const Tool*> tools = candidates(type);
  for (const Tool* const tool : tools) {
    const bool isThere = findRunningAppForBundleIDs(*tool) || findInstalledIdentifier(*tool) ||
                         m_services.shippedTools.findAppPathForBundleIDs(tool->identifiers);
    if (isThere) return {tool->name, tool->icon, true, true};
  }
  const SiblingTool* const sibling = toolOf(type);
  if (!sibling) return {};
  const bool hasOwnPage = !sibling->downloadPage.isEmpty() || !sibling->own.appStreamId.isEmpty();
  if (hasOwnPage) return {sibling->own.name, sibling->own.icon, false, true};
  for (const Tool* const tool : tools) {
    if (!tool->appStreamId.isEmpty()) return {tool->name, tool->icon, false, true};
  }
  return {sibling->own.name, sibling->own.icon, false, false};
}

QUrl SiblingTools::getAdvertisementURL(SiblingApp type) const {
  const SiblingTool* const sibling = toolOf(type);
  if (!sibling) return {};
  if (!sibling->downloadPage.isEmpty()) {
    QUrl page = sibling->downloadPage;
    QUrlQuery query(page);
    query.addQueryItem(QStringLiteral("utm_source"), QStringLiteral("Halvard"));
    query.addQueryItem(QStringLiteral("utm_medium"), QStringLiteral("from%20app"));
    query.addQueryItem(QStringLiteral("utm_campaign"), QStringLiteral("site"));
    page.setQuery(query);
    return page;
  }
  for (const Tool* const tool : candidates(type)) {
    if (!tool->appStreamId.isEmpty()) return QUrl(QStringLiteral("appstream:") + tool->appStreamId);
  }
  return {};
}

void SiblingTools::openOrGet(SiblingApp type) {
  for (const Tool* const tool : candidates(type)) {
    if (const auto running = findRunningAppForBundleIDs(*tool)) {
      running->activate();
      return;
    }
  }
  m_services.startScanning.prepareToAppLaunchingWithType(type);
  for (const Tool* const tool : candidates(type)) {
    const auto installed = findInstalledIdentifier(*tool);
    if (installed && m_services.workspace.launchApplication(*installed)) return;
    const auto shipped = m_services.shippedTools.findAppPathForBundleIDs(tool->identifiers);
    if (shipped && m_services.shippedTools.launch(*shipped)) return;
  }
  if (m_services.offered) m_services.offered(type);
  const QUrl page = getAdvertisementURL(type);
  if (!page.isEmpty()) m_services.workspace.openURL(page);
}

}  // namespace halvard
