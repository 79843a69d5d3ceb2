#include "login/login_item.h"

#include <QStringList>
#include <algorithm>

namespace halvard {
namespace {

const StoredValue* find(const JobDescription& job, const char* key) {
  const auto found = job.find(QString::fromLatin1(key));
  return found == job.end() ? nullptr : &found->second;
}

std::optional<QString> textIn(const JobDescription& job, const char* key) {
  const StoredValue* value = find(job, key);
  const QString* text = value ? value->as<QString>() : nullptr;
  return text ? std::optional(*text) : std::nullopt;
}

QString withoutLastThreeComponents(const QString& path) {
  const QStringList components = path.split(QLatin1Char('/'), Qt::SkipEmptyParts);
  const QString root = path.startsWith(QLatin1Char('/')) ? QStringLiteral("/") : QString();
  return root + components.mid(0, components.size() - std::min<qsizetype>(components.size(), 3)).join(QLatin1Char('/'));
}

}  // namespace

LoginItem LoginItem::itemFromServiceManagementDictionary(const JobDescription& job, const LoginItemService& service) {
  LoginItem item;
  item.setupWithServiceManagementDictionary(job, service);
  return item;
}

void LoginItem::setupWithServiceManagementDictionary(const JobDescription& job, const LoginItemService& service) {
  executablePath = textIn(job, "Program");
  std::optional<BundleInformation> bundle;
  if (executablePath) bundle = service.bundleAt(withoutLastThreeComponents(*executablePath), *executablePath);
  if (bundle && bundle->identifier) {
    bundleIdentifier = *bundle->identifier;
  } else {
    bundleIdentifier = textIn(job, "Label").value_or(QString());
    executablePath.reset();
  }
  applicationName = bundle ? bundle->name : std::nullopt;
}

bool LoginItem::jobIsSandboxed(const JobDescription& job) {
  if (!find(job, "PID") || find(job, "EnableTransactions") || !find(job, "ProgramArguments")) return true;
  const StoredValue* onDemand = find(job, "OnDemand");
  return onDemand && onDemand->toReal() == 0.0;
}

}  // namespace halvard
