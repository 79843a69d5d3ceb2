#pragma once

#include "platform/ports/standard_folders.h"

namespace halvard {

/// The XDG base folders and user folders of this process's environment.
class XdgStandardFolders : public StandardFolders {
 public:
  QByteArray findHomeDirectory() const override;
  QByteArray cache() const override;
  QByteArray downloads() const override;
  QByteArray trash() const override;
  QByteArray userApplications() const override;
  std::vector<QByteArray> localApplications() const override;
  std::optional<QByteArray> applicationSupport() const override;
};

}  // namespace halvard
