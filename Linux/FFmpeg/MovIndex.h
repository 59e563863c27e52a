#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace pellaro {

/// Adds `distance` to every position of media in `index` (a whole `moov` atom): the media has been moved by that many bytes.
///
/// False when a position no longer fits its 32 bits, or the atoms do not nest properly; the index is then unusable.
[[nodiscard]] bool moveChunkOffsets(std::span<std::byte> index, std::uint64_t distance);

/// Takes the user data atom out of `index` (a whole `moov` atom): libavformat writes one even when there is no metadata to hold.
void removeUserData(std::vector<std::byte> &index);

} // namespace pellaro
