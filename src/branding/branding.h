#pragma once

#include <QString>
#include <QStringList>
#include <QUrl>
#include <map>
#include <vector>

#include "branding/sibling_app.h"

namespace halvard {

/// A program that can be opened when it is installed, or offered when it is not.
struct Tool {
  /// Desktop entry ids without ".desktop", one an edition, the preferred one first. Empty: never installed.
  QStringList identifiers;
  /// Shown to the user.
  QString name;
  /// Name of a themed icon, or the absolute path of an image; empty when there is none.
  QString icon;
  /// What `appstream:` links take; empty when no software centre knows it.
  QString appStreamId;

  bool operator==(const Tool&) const = default;
};

/// The maker's own tool for a role, and others that do the same job.
struct SiblingTool {
  Tool own;
  /// Where the maker offers it; empty when nowhere.
  QUrl downloadPage;
  /// Well-known free tools, the best first.
  std::vector<Tool> alternatives;
};

/// Every address and identity the maker owns. An empty value keeps the feature behind it quiet: nothing is fetched,
/// nothing is sent, no dead link is shown. Addresses that are not http or https read as empty.
/// An immutable value; any thread.
struct Branding {
  /// The product's home page, and its page in a store, where ratings are given.
  QUrl productPage;
  QUrl storePage;
  /// The folder that holds the content feeds; ends in "/" unless empty.
  QUrl feedFolder;
  /// Where feedback and crash reports are mailed to: a bare address.
  QString supportAddress;
  /// The edition that is sold as part of a suite ("ZPP_KEY_Suite"): others care for where it is installed.
  bool isSuite = false;
  /// For shared messages, each with its "#", separated by blanks.
  QString twitterHashtags;

  /// The feed of program versions, and the base64 Ed25519 key that signs them. Without both there are no updates.
  QUrl updateFeed;
  QString updatePublicKey;

  /// Where usage events go: https and ending in "/collect", otherwise it reads as empty; and the property they count
  /// for. Without both none are sent.
  QUrl analyticsEndpoint;
  QString analyticsTrackingId;

  /// One entry for each of kSiblingApps.
  std::map<SiblingApp, SiblingTool> siblings;

  /// What is compiled in, each value replaced by that of the first "halvard/branding.ini" below
  /// `configDirectories` that has it. Files that are missing or unreadable count as empty.
  static Branding load(const QStringList& configDirectories);

  /// The directories of $XDG_CONFIG_DIRS, the most important first; "/etc/xdg" when it is unset.
  static QStringList systemConfigDirectories();
};

}  // namespace halvard
