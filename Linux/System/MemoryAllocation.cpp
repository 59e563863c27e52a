#include "Linux/System/MemoryAllocation.h"

#include <malloc.h>

namespace pellaro {

namespace {

/// Bytes; what the C library begins with. A batch of sound is below it, and so is nearly every picture between key frames.
constexpr int large = 128 * 1024;

} // namespace

void keepLargeMemoryApart() {
    // A value that is set is not adapted any more.
    (void)mallopt(M_MMAP_THRESHOLD, large);
}

} // namespace pellaro
