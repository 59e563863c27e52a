#pragma once

namespace pellaro {

/// Keeps what is large in memory of its own, so that it goes back to the system as soon as it is let go, for as long as the process runs.
///
/// The C library does so with what is large, and takes as large what is larger than anything that it has taken back so far. So the first
/// key frame or picture that goes makes the next ones small, and they are put between samples of a hundredth of their size, where the holes
/// that they leave are never of use again: after an hour of a film, 5 minutes took a tenth more than at first.
///
/// To be called once, early, before there are other threads.
void keepLargeMemoryApart();

} // namespace pellaro
