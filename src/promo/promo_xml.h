#pragma once

#include <QString>

/// The vocabulary of the notifications feed. It is reserved: nothing reads that feed.
namespace halvard::promo_xml {

inline const QString kList = QStringLiteral("notifications_list");
inline const QString kItem = QStringLiteral("notification");
inline const QString kId = QStringLiteral("id");
inline const QString kTitle = QStringLiteral("title");
inline const QString kSubtitle = QStringLiteral("subtitle");
inline const QString kText = QStringLiteral("text");
inline const QString kOkButtonName = QStringLiteral("ok_button_name");
inline const QString kOkButtonLink = QStringLiteral("ok_button_link");
inline const QString kCancelButtonName = QStringLiteral("cancel_button_name");
inline const QString kBundleId = QStringLiteral("bundleid");
inline const QString kOpenBundleButtonName = QStringLiteral("open_bundle_button_name");

}  // namespace halvard::promo_xml

/// What a click on a posted notification does: keys of its user information.
namespace halvard::promo_notifications {

/// A web address to open.
inline const QString kNeedOpenLink = QStringLiteral("need_open_link");
/// The identifier of an application to launch.
inline const QString kNeedOpenBundle = QStringLiteral("need_open_bundle");
/// true: bring up the disk section of the panel.
inline const QString kNeedOpenDiskUsage = QStringLiteral("need_open_disk_usage");

}  // namespace halvard::promo_notifications
