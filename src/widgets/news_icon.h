#pragma once

#include <QIcon>

namespace halvard {

/// The picture beside the news in a menu. "rss": waves that spread from a dot. "rss_1": the same in orange, for news
/// that nobody has read.
QIcon newsIcon(bool fresh);

}  // namespace halvard
