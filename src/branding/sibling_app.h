#pragma once

#include <array>
#include <cstdint>

namespace halvard {

/// The tools that the disk figures lead to, by role. The numbers are part of stored and exchanged formats.
enum class SiblingApp : std::int32_t {
  None = 0,
  JunkCleaner = 1,
  Uninstaller = 2,
  DiskAnalyzer = 3,
  DuplicatesTool = 4,
};

/// Every role but None, in the order of their numbers.
inline constexpr std::array kSiblingApps{SiblingApp::JunkCleaner, SiblingApp::Uninstaller, SiblingApp::DiskAnalyzer,
                                         SiblingApp::DuplicatesTool};

}  // namespace halvard
