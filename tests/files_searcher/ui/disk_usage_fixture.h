#pragma once

#include "branding/branding.h"
#include "files_searcher/disk_parts.h"
#include "files_searcher/ui/ad_based_on_spotlight_vc.h"
#include "platform/fake/fake_distributed_notification_center.h"
#include "platform/fake/fake_workspace.h"
#include "support/texts.h"

namespace halvard {

/// Panels that a test answers.
class FakeGrantPanels : public GrantPanels {
 public:
  void chooseFolder(QWidget*, const QString& message, const QString& button, const QByteArray& folder,
                    Chosen done) override {
    asked << text("%1|%2|%3").arg(message, button, QString::fromUtf8(folder));
    answer = std::move(done);
  }
  void showAlert(QWidget*, const QString& message, const QString& information,
                 std::function<void()> dismissed) override {
    asked << text("%1|%2").arg(message, information);
    dismiss = std::move(dismissed);
  }
  void choose(const QByteArray& folder) { std::exchange(answer, nullptr)(std::vector<QByteArray>{folder}); }
  QStringList asked;
  Chosen answer;
  std::function<void()> dismiss;
};

/// What any section for the disk stands on.
struct DiskUsageParts : DiskParts {
  FakeFolderAccess grants;
  Branding branding = Branding::load({});
  FakeWorkspace workspace;
  FakeDistributedNotificationCenter distributed;
  NotificationCenter notifications;
  ShowcaseDefaults defaults{store, clock, text("1.0")};
};

/// The section itself.
struct DiskUsage : DiskUsageParts {
  void start() {
    section.emplace(AdBasedOnSpotlightVC::Services{searchers, access, tools, defaults, notifications, panels,
                                                   [this] { return review; }, [this] { ++removals; }},
                    nullptr);
    section->view()->show();
  }
  /// Gives the figures of all but the duplicates.
  void answerAllButDuplicates() {
    startJunk();
    queries.answer(0, {{"/u/Draw.app", 3'000'000'000}, {"/u/Write.app", 400'000'000}});
    queries.answer(1, {{"/f", 25'000'000'000}});
  }
  void answerDuplicates() { queries.answer(2, {{"/a", 900 << 20}, {"/b", 900 << 20}}); }

  SearcherManager searchers{services, store};
  DiskAccessRestoreManager access{store, grants, paths};
  QString home = QString::fromUtf8(tree.path());
  CopyApplicationsTask shipped{home, home, catalog};
  StartScanningInLaunchedAppManager startScanning{distributed, clock};
  QList<SiblingApp> offered;
  SiblingTools tools{{branding, workspace, shipped, startScanning, {}, [this](SiblingApp type) { offered << type; }}};
  FakeGrantPanels panels;
  bool review = false;
  int removals = 0;
  std::optional<AdBasedOnSpotlightVC> section;
};

}  // namespace halvard
