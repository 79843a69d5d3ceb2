#pragma once

#include <QCoreApplication>
#include <QString>
#include <QUrl>
#include <optional>
#include <vector>

namespace halvard {

class Workspace;
struct Branding;

/// One way to tell others about the program.
struct SharingService {
  enum class Kind { Twitter, Facebook, Email };
  Kind kind;
  QString title;
  /// What is opened: a share page on the web, or a mail to be written.
  QUrl address;
};

/// The sharing services that work here: their address is known and a program opens such addresses. Main thread.
class SharingServices {
  Q_DECLARE_TR_FUNCTIONS(SharingServices)

 public:
  /// `workspace` outlives this object.
  SharingServices(Workspace& workspace, const Branding& branding, const QString& displayName);

  /// Nothing: its button is to be hidden. Asked of the desktop each time.
  std::optional<SharingService> service(SharingService::Kind kind) const;
  /// Those that are there, in the order of their kinds.
  std::vector<SharingService> available() const;
  /// False when it is not there or nothing opened it.
  bool share(SharingService::Kind kind);

 private:
  Workspace& m_workspace;
  std::vector<SharingService> m_services;
};

}  // namespace halvard
