#pragma once

namespace pellaro::test {

/// How many errors X servers have sent to this process so far, on whichever connection. Any thread.
[[nodiscard]] int x11ErrorCount();

} // namespace pellaro::test
