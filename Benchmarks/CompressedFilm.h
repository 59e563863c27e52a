#pragma once

#include "Tests/Linux/FFmpeg/MediaFixtures.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace pellaro::bench {

/// Two seconds of a moving text on a still screen: one key frame and the 59 pictures that go by it.
inline std::vector<MediaSampleRef> compressedStretch() {
    constexpr PixelRect moving{480, 270, 960, 540};
    const auto session = test::preparedSession(1920, 1080);
    test::Outputs outputs;
    for (int i = 0; i < 60; ++i) {
        test::Canvas canvas(1920, 1080);
        canvas.scribble({0, 0, 1920, 250}, 1);
        canvas.scribble(moving, static_cast<unsigned>(i / 6));
        session->encodeFrame(canvas.picture(static_cast<std::uint64_t>(i), {moving}), MediaTime(i, 30), MediaTime::invalid(), std::nullopt,
                             outputs.handler());
    }
    session->completeFrames(MediaTime::positiveInfinity());
    session->invalidate();
    return outputs.samples();
}

} // namespace pellaro::bench
