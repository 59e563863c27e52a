#pragma once

#include <string>

namespace pellaro {

/// Merges the folder `source` into the folder `target`, with modes, times and links: what both have becomes the source's, what only
/// the target has stays. A target that does not exist becomes a copy of the source, in one step.
///
/// Everything is copied before anything is changed, into a hidden folder inside the target (beside it, when there is none); a disk that
/// is full, or a file that cannot be read, leaves the target as it was. Then each file takes its place in one step, those of inner
/// folders first, so that a description of the whole that lies at the top is the last to change. A process that is killed leaves whole
/// files everywhere, and the hidden folder, which the next merge removes.
///
/// Throws `PlatformError` in `posixErrorDomain`, EINVAL when one folder lies in the other. Any thread.
/// @param unique string of this process, see `ProcessInfo`.
void mergeTree(const std::string &source, const std::string &target, const std::string &unique);

} // namespace pellaro
