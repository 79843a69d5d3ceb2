#include "branding/branding.h"

#include <QSettings>
#include <memory>

namespace halvard {
namespace {

/// The files in order of precedence, the compiled-in one last.
class Values {
 public:
  explicit Values(const QStringList& files) {
    for (const QString& file : files)
      m_files.push_back(std::make_unique<QSettings>(file, QSettings::IniFormat));
  }

  /// A bare comma makes QSettings read a list; the entries come back without blanks around them.
  QStringList list(const QString& key) const {
    QStringList result = value(key).toStringList();
    for (QString& entry : result)
      entry = entry.trimmed();
    result.removeAll(QString());
    return result;
  }

  QString text(const QString& key) const { return value(key).toStringList().join(QLatin1Char(',')).trimmed(); }

  QUrl webAddress(const QString& key) const {
    const QUrl url(text(key), QUrl::StrictMode);
    const bool web = url.scheme() == QLatin1String("https") || url.scheme() == QLatin1String("http");
    return url.isValid() && web && !url.host().isEmpty() ? url : QUrl();
  }

 private:
  QVariant value(const QString& key) const {
    for (const auto& file : m_files) {
      if (file->contains(key)) return file->value(key);
    }
    return {};
  }

  std::vector<std::unique_ptr<QSettings>> m_files;
};

QUrl folder(QUrl url) {
  if (!url.isEmpty() && !url.path().endsWith(QLatin1Char('/'))) url.setPath(url.path() + QLatin1Char('/'));
  return url;
}

QUrl collectionEndpoint(const QUrl& url) {
  const bool fits = url.scheme() == QLatin1String("https") && url.path().endsWith(QLatin1String("/collect"));
  return fits && !url.hasQuery() && !url.hasFragment() ? url : QUrl();
}

QString sectionOf(SiblingApp role) {
  switch (role) {
    case SiblingApp::JunkCleaner:
      return QStringLiteral("JunkCleaner/");
    case SiblingApp::Uninstaller:
      return QStringLiteral("Uninstaller/");
    case SiblingApp::DiskAnalyzer:
      return QStringLiteral("DiskAnalyzer/");
    case SiblingApp::DuplicatesTool:
      return QStringLiteral("DuplicatesTool/");
    case SiblingApp::None:
      break;
  }
  return {};
}

Tool readTool(const Values& values, const QString& section) {
  return {.identifiers = values.list(section + QStringLiteral("Identifiers")),
          .name = values.text(section + QStringLiteral("Name")),
          .icon = values.text(section + QStringLiteral("Icon")),
          .appStreamId = values.text(section + QStringLiteral("AppStreamId"))};
}

SiblingTool readSibling(const Values& values, const QString& section) {
  SiblingTool sibling{.own = readTool(values, section),
                      .downloadPage = values.webAddress(section + QStringLiteral("DownloadPage")),
                      .alternatives = {}};
  for (const QString& name : values.list(section + QStringLiteral("Alternatives"))) {
    sibling.alternatives.push_back(readTool(values, name + QLatin1Char('/')));
  }
  return sibling;
}

}  // namespace

Branding Branding::load(const QStringList& configDirectories) {
  QStringList files;
  for (const QString& directory : configDirectories)
    files << directory + QStringLiteral("/halvard/branding.ini");
  files << QStringLiteral(":/halvard/branding.ini");
  const Values values(files);

  Branding result;
  result.productPage = values.webAddress(QStringLiteral("Maker/ProductPage"));
  result.storePage = values.webAddress(QStringLiteral("Maker/StorePage"));
  result.feedFolder = folder(values.webAddress(QStringLiteral("Maker/FeedFolder")));
  result.supportAddress = values.text(QStringLiteral("Maker/SupportAddress"));
  result.twitterHashtags = values.text(QStringLiteral("Maker/TwitterHashtags"));
  result.isSuite = QVariant(values.text(QStringLiteral("Maker/ZPP_KEY_Suite"))).toBool();
  result.updateFeed = values.webAddress(QStringLiteral("Update/Feed"));
  result.updatePublicKey = values.text(QStringLiteral("Update/PublicKey"));
  result.analyticsEndpoint = collectionEndpoint(values.webAddress(QStringLiteral("Analytics/Endpoint")));
  result.analyticsTrackingId = values.text(QStringLiteral("Analytics/TrackingId"));
  for (const SiblingApp role : kSiblingApps)
    result.siblings[role] = readSibling(values, sectionOf(role));
  return result;
}

QStringList Branding::systemConfigDirectories() {
  const QString directories = qEnvironmentVariable("XDG_CONFIG_DIRS");
  if (directories.isEmpty()) return {QStringLiteral("/etc/xdg")};
  return directories.split(QLatin1Char(':'), Qt::SkipEmptyParts);
}

}  // namespace halvard
