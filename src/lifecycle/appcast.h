#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>
#include <QVersionNumber>
#include <optional>
#include <vector>

#include "core/result.h"

namespace halvard {

class UpdateKey;

/// One version that a feed announces.
struct AppcastEntry {
  QVersionNumber version;
  /// As it stands in the feed: what is signed.
  QByteArray versionText;
  QByteArray pageText;
  /// Where the version is to be had; https.
  QUrl page;
  /// The raw signature; empty where there is none.
  QByteArray signature;

  /// What the maker signs: "halvard-update", the version and the page's address, each with a line feed after it.
  QByteArray signedText() const;
};

/// The entries of a feed (docs/updates.md), in its order; those that announce no version or no https page are left out.
/// The error is one line.
Result<std::vector<AppcastEntry>> parseAppcast(const QByteArray& bytes);

/// The highest version above `current` that `key` has signed; nothing when none is above it. An error when there are
/// some and none is signed by the key, or when the feed cannot be read.
Result<std::optional<AppcastEntry>> newestUpdate(const QByteArray& feed, const UpdateKey& key,
                                                 const QVersionNumber& current);

}  // namespace halvard
