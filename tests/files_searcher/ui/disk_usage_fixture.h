#pragma once

#include <QTemporaryDir>

#include "branding/branding.h"
#include "files_searcher/ui/ad_based_on_spotlight_vc.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_defaults_store.h"
#include "platform/fake/fake_disk.h"
#include "platform/fake/fake_distributed_notification_center.h"
#include "platform/linux/files/linux_folder_reader.h"

namespace halvard {

/// Applications as told.
class FakeWorkspace : public Workspace {
 public:
  bool openURL(const QUrl& url) override {
    opened << url;
    return true;
  }
  bool canOpenURL(const QUrl&) override { return true; }
  std::optional<QString> pathOfApplication(const QString& identifier) override {
    if (!installed.contains(identifier)) return {};
    return identifier;
  }
  bool launchApplication(const QString& identifier) override {
    launched << identifier;
    return installed.contains(identifier);
  }
  QStringList installed;
  QStringList launched;
  QList<QUrl> opened;
};

/// Panels that a test answers.
class FakeGrantPanels : public GrantPanels {
 public:
  void chooseFolder(QWidget*, const QString& message, const QString& button, const QByteArray& folder,
                    Chosen done) override {
    asked << QStringLiteral("%1|%2|%3").arg(message, button, QString::fromUtf8(folder));
    answer = std::move(done);
  }
  void showAlert(QWidget*, const QString& message, const QString& information,
                 std::function<void()> dismissed) override {
    asked << QStringLiteral("%1|%2").arg(message, information);
    dismiss = std::move(dismissed);
  }
  void choose(const QByteArray& folder) { std::exchange(answer, nullptr)(std::vector<QByteArray>{folder}); }
  QStringList asked;
  Chosen answer;
  std::function<void()> dismiss;
};

/// The section with everything it stands on.
struct DiskUsage {
  void start() {
    section.emplace(AdBasedOnSpotlightVC::Services{searchers, access, tools, defaults, notifications, panels,
                                                   [this] { return review; }, [this] { ++removals; }},
                    nullptr);
    section->view()->show();
  }
  /// Gives the figures in the order junk, applications, large and old, duplicates; leaves the last out if asked.
  void answerAll(bool withDuplicates = true) {
    for (const auto step : {0, 200, 200, 200})
      clock.advance(std::chrono::milliseconds(step));
    const std::size_t first = queries.asked.size() - 3;
    queries.answer(first, {{"/u/Draw.app", 3'000'000'000}, {"/u/Write.app", 400'000'000}});
    queries.answer(first + 1, {{"/f", 25'000'000'000}});
    if (withDuplicates) queries.answer(first + 2, {{"/a", 900 << 20}, {"/b", 900 << 20}});
  }

  QTemporaryDir folder;
  FakeClock clock;
  FakeDefaultsStore store;
  LinuxFolderReader reader;
  FakeApplicationCatalog catalog;
  FakeLastUsedDates dates;
  FakeBackgroundPriority priority;
  FakeStandardFolders folders{folder.path().toUtf8()};
  PathsGenerator paths{folders};
  BundleExcludeList excludeList;
  FakeFileMetadataQueries queries;
  SearcherManager searchers{{clock, reader, catalog, dates, priority, paths, excludeList, queries}, store};
  FakeFolderAccess grants;
  DiskAccessRestoreManager access{store, grants, paths};
  Branding branding = Branding::load({});
  FakeWorkspace workspace;
  CopyApplicationsTask shipped{folder.path(), folder.path(), catalog};
  FakeDistributedNotificationCenter distributed;
  StartScanningInLaunchedAppManager startScanning{distributed, clock};
  QList<int> offered;
  SiblingTools tools{{branding, workspace, shipped, startScanning, {}, [this](SiblingApp type) {
                        offered << static_cast<int>(type);
                      }}};
  ShowcaseDefaults defaults{store, clock, QStringLiteral("1.0")};
  NotificationCenter notifications;
  FakeGrantPanels panels;
  bool review = false;
  int removals = 0;
  std::optional<AdBasedOnSpotlightVC> section;
};

}  // namespace halvard
