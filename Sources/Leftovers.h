#pragma once

#include <string_view>

namespace pellaro {

/// What an installation or update has under way, and what is left of it when the program is killed in the middle. Each name ends with
/// a unique string of its process, so that nothing is touched that is in use.
namespace UnfinishedName {
inline constexpr std::string_view update = "PellaroUpdate_";          ///< in the temporary folder
inline constexpr std::string_view merge = ".ditto-";                  ///< in the bundle, made by the helper of that name
inline constexpr std::string_view newCopy = ".Pellaro.app-new-";      ///< in the Applications folder
inline constexpr std::string_view oldCopy = ".Pellaro.app-old-";      ///< in the Applications folder
inline constexpr std::string_view staged = "PellaroUpdate_ready.app"; ///< in the temporary folder
} // namespace UnfinishedName

/// The folder that programs are installed in, and the program's place there.
inline constexpr std::string_view applicationsFolder = "/Applications";
inline constexpr std::string_view installedBundle = "/Applications/Pellaro.app";

/// Removes what killed runs have left behind, and puts an installed copy back that was moved out of the way for one that never came.
/// What cannot be removed stays. At launch, before anything of this run can be under way. Any thread.
void removeLeftovers();

} // namespace pellaro
