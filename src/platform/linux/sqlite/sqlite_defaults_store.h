#pragma once

#include <chrono>
#include <functional>
#include <mutex>

#include "platform/linux/sqlite/defaults_file.h"
#include "platform/ports/defaults_store.h"

namespace halvard {

/// "$XDG_CONFIG_HOME/<domain>/defaults.db", by default below "~/.config".
QString defaultsFilePath(const QString& domain);

/// The settings store in one SQLite file that all processes of the user share. Any thread.
///
/// Reading costs no disk access: the domain is kept in memory, and each read asks the shared memory of the log whether
/// another process has committed since. Writing happens in synchronize() alone, in one transaction; it returns true
/// when the data are on stable storage (a flush of the disk's cache included), so neither a killed process nor a power
/// failure loses them. What was set and never synchronised is written when the store is destroyed.
///
/// Trouble is reported in one line and again only after the file has worked in between:
///  - damaged file: renamed to "<file>.damaged-<n>"; a new file takes its place, at once with what this process had
///  read;
///  - file or folder that cannot be read or written, full disk: work goes on from memory (with the values of the file
///    where it can at least be read), synchronize() is false and tries again each time;
///  - file of a newer program: as before, but the file is not read either.
class SqliteDefaultsStore : public DefaultsStore {
 public:
  using Report = std::function<void(const QString& line)>;

  /// Reads the file when there is one; a missing file or folder (mode 0700) is made by the first synchronize() that has
  /// something to write. `report` gets the lines about trouble, on any thread; without it they go to stderr. `patience`
  /// is how long every call waits for the locks of another process; the destructor waits kUsualPatience in any case.
  SqliteDefaultsStore(const QString& path, const QString& domain, Report report = {},
                      std::chrono::milliseconds patience = kUsualPatience);
  ~SqliteDefaultsStore() override;

  std::optional<StoredValue> objectForKey(const QString& key) const override;
  void setObject(const QString& key, StoredValue value) override;
  void removeObject(const QString& key) override;
  QStringList keys() const override;
  bool synchronize() override;
  void removePersistentDomain() override;

 protected:
  /// From the next call on.
  void setPatience(std::chrono::milliseconds patience);
  /// `tell` is called when reading has set a damaged file aside and what was read could not be written anew: at once if
  /// that has happened, and each time it does, on any thread, while the file is locked.
  void tellOfUnwritten(std::function<void()> tell);

 private:
  std::optional<StoredValue> known(const QString& key) const;
  void refresh() const;
  void openForReading() const;
  void reload() const;
  DefaultsFileOutcome writeOut() const;
  void replaceDamaged(const QString& reason) const;
  void setAsideDamaged(const QString& reason) const;
  void reportUnusable(const DefaultsFileOutcome& outcome) const;
  void report(const QString& trouble) const;

  // Reading is constant for the caller and still follows the file. Lock order: the file, then the values.
  mutable std::mutex m_fileMutex;
  mutable DefaultsFile m_file;
  mutable std::optional<FileIdentity> m_failedIdentity;  // of the file that could not be opened last
  mutable QString m_reported;
  const Report m_report;
  std::function<void()> m_tellOfUnwritten;

  // Each hides what is before it. m_writing changes only while both locks are held.
  mutable std::mutex m_valuesMutex;
  mutable DefaultsValues m_committed;
  mutable DefaultsChanges m_writing;
  DefaultsChanges m_pending;
};

}  // namespace halvard
