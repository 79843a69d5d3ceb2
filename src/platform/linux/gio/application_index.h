#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QHash>
#include <QString>
#include <QStringList>
#include <memory>
#include <vector>

namespace halvard {

/// One desktop entry, as far as it tells about running programs.
struct InstalledApplication {
  /// "org.example.App", without ".desktop".
  QString id;
  /// Absolute path of the entry.
  QString file;
  /// In the user's language. Empty: the entry is marked as deleted and only hides later ones of its id.
  QString name;
  /// Name of a themed icon or path of an image; empty when it has none.
  QString icon;
  /// What its windows call themselves, where the entry says so.
  QString windowClass;
  /// The executable of its command line: as found in the search path, and with all links resolved.
  QByteArray program;
  QByteArray resolvedProgram;
  /// The other words of its command line, those for files and the like left out.
  QByteArrayList arguments;
  /// Not shown in menus.
  bool hidden = false;
  /// Runs inside a terminal: what shows its window is the terminal.
  bool inTerminal = false;
  /// Stands in an autostart folder only.
  bool autostartOnly = false;

  /// For applications that open windows for the user.
  bool isVisible() const { return !hidden && !autostartOnly; }
};

using InstalledApplicationPointer = std::shared_ptr<const InstalledApplication>;

/// Finds entries. Immutable once made; any thread.
class ApplicationIndex {
 public:
  ApplicationIndex() = default;
  /// Of several entries with one id the first counts.
  explicit ApplicationIndex(std::vector<InstalledApplication> entries);

  /// The first of `ids` that exists, else the first that exists in other letter case; null when none does.
  InstalledApplicationPointer byIds(const QStringList& ids) const;

  InstalledApplicationPointer byFile(const QString& file) const;

  /// For a window: by the id its toolkit gives, the class an entry claims, the halves of WM_CLASS as an id, or the last
  /// part of one ("Calculator" is "org.example.Calculator"). Null when none fits.
  InstalledApplicationPointer byWindow(const QString& applicationId, const QString& className,
                                       const QString& instance) const;

  /// The visible entry, not one for terminals, whose command line starts this program: its executable is `executable`,
  /// or the script that `arguments` (program name first) name second; and all its other words are among `arguments`.
  /// Of several the one with the most words, then the one called like the program. Null when none fits.
  InstalledApplicationPointer byProgram(const QByteArray& executable, const QByteArrayList& arguments) const;

 private:
  const std::vector<InstalledApplicationPointer>& startedBy(const QByteArray& program) const;

  QHash<QString, InstalledApplicationPointer> m_byId;
  QHash<QString, InstalledApplicationPointer> m_byFoldedId;
  QHash<QString, InstalledApplicationPointer> m_byFile;
  QHash<QString, InstalledApplicationPointer> m_byWindowClass;  // folded
  QHash<QString, InstalledApplicationPointer> m_byLastPart;     // folded; visible entries only
  QHash<QByteArray, std::vector<InstalledApplicationPointer>> m_byProgram;
};

/// The words of an Exec line that is parsed into `words`: an "env" with its assignments in front, field codes such as
/// "%U", and the marks "@@" of flatpak are left out.
QByteArrayList programAndArguments(const QByteArrayList& words);

}  // namespace halvard
