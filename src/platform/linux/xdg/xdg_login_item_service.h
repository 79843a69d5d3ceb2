#pragma once

#include <QMap>
#include <QStringList>

#include "platform/linux/xdg/autostart_directories.h"
#include "platform/linux/xdg/desktop_entry.h"
#include "platform/ports/login_item_service.h"

namespace halvard {

/// A program of ours that may start at login.
struct LoginJob {
  /// Also the name of its autostart entry, without ".desktop".
  QString identifier;
  /// Shown in the session settings of the desktop.
  QString name;
  /// What the session starts, by absolute path, then its arguments.
  QStringList command;
  /// The program that runs then, where the command starts another one first.
  QString program = {};
};

/// Start at login through the autostart folders of the desktop. A job is the entry "<identifier>.desktop"; it counts
/// when this desktop starts it: not hidden, not switched off in the session settings, its program there.
/// Files are replaced as a whole, so a crash leaves the entry before or after a change.
class XdgLoginItemService : public LoginItemService {
 public:
  /// `jobs` are those that can be enabled. `procRoot` shows what runs.
  XdgLoginItemService(AutostartDirectories directories, QStringList currentDesktops, std::vector<LoginJob> jobs,
                      QString procRoot = QStringLiteral("/proc"));

  /// Has the user's own entries start the jobs of these programs where what they would start is no longer there, or is
  /// the image `movedFrom` that this program was copied from. For the program's start.
  void adoptEntries(const QString& movedFrom = {});

  /// Disabling removes the user's entry, and masks that of the system where there is one.
  bool setEnabled(const QString& jobIdentifier, bool enabled) override;
  /// In order of the labels.
  std::vector<JobDescription> copyAllJobDictionaries() const override;
  bool isJobRunning(const QString& jobIdentifier) const override;
  /// An AppDir: a folder with a program "AppRun" and one desktop entry, whose name is the identifier.
  std::optional<BundleInformation> bundleAt(const QString& folder, const QString& executable) const override;
  /// Every entry that starts; the reference is its identifier.
  std::vector<SessionLoginItem> sessionLoginItems() const override;
  bool removeSessionLoginItem(const QString& reference) override;
  /// Under the identifier of the job with this program, else under the program's name. A program has no say here in
  /// whether it shows a window: `hidden` has no effect.
  bool appendSessionLoginItem(const QString& location, bool hidden) override;

 private:
  struct Startable {
    DesktopEntry entry;
    QString program;
  };

  QMap<QString, Startable> startableEntries() const;
  std::optional<QString> systemEntry(const QString& identifier) const;
  QString userEntry(const QString& identifier) const;
  bool write(const QString& identifier, const QByteArray& content) const;
  bool disable(const QString& identifier);
  const LoginJob* jobWith(const QString& identifier) const;

  const AutostartDirectories m_directories;
  const QStringList m_currentDesktops;
  const std::vector<LoginJob> m_jobs;
  const QString m_procRoot;
};

}  // namespace halvard
