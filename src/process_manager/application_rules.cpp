#include "process_manager/application_rules.h"

#include <QStringList>
#include <algorithm>
#include <array>

namespace halvard {

namespace {

struct NamedHelper {
  QLatin1String helper;
  QLatin1String app;
};
constexpr std::array kNamedHelpers{
    NamedHelper{QLatin1String("Safari Web Content"), QLatin1String("Safari")},
    NamedHelper{QLatin1String("Mail Web Content"), QLatin1String("Mail")},
    NamedHelper{QLatin1String("App Store Web Content"), QLatin1String("App Store")},
    NamedHelper{QLatin1String("Dropbox Finder Integration"), QLatin1String("Dropbox")},
};

bool isHelperOfItsMaker(const QString& name) {
  return name.startsWith(QLatin1String("Google")) || name.startsWith(QLatin1String("Safari")) ||
         name == QLatin1String("Dropbox Finder Integration");
}

// The components of "/usr/share" are "/", "usr" and "share".
bool liesInAUsersPlace(const std::optional<QUrl>& url) {
  if (!url) return false;
  const QStringList folders = url->path().split(QLatin1Char('/'), Qt::SkipEmptyParts);
  return !folders.isEmpty() && folders.first() != QLatin1String("System");
}

}  // namespace

Placement placementOf(const ApplicationEntry& entry) {
  switch (entry.app->activationPolicy()) {
    case ActivationPolicy::Regular:
      return Placement::Apps;
    case ActivationPolicy::Prohibited:
      return Placement::Helpers;
    case ActivationPolicy::Accessory:
      break;
  }
  const auto name = entry.name ? entry.name : entry.app->localizedName();
  if (isHelperOfItsMaker(name.value_or(QString()))) return Placement::Helpers;
  const bool hasIcon = entry.icon || entry.app->icon();
  return hasIcon && liesInAUsersPlace(entry.url ? entry.url : entry.app->bundleURL()) ? Placement::Apps
                                                                                      : Placement::Dropped;
}

bool isHelperByName(const std::optional<QString>& helper, const std::optional<QString>& app) {
  if (!helper || !app) return false;
  return std::ranges::any_of(kNamedHelpers,
                             [&](const NamedHelper& pair) { return *helper == pair.helper && *app == pair.app; });
}

}  // namespace halvard
