#pragma once

#include "Tests/Linux/FFmpeg/MediaFixtures.h"

extern "C" {
#include <libavutil/frame.h>
}

#include <optional>
#include <string>
#include <vector>

namespace pellaro::test {

/// Collects what libav would have printed while it lives. One at a time.
class LibavComplaints {
public:
    LibavComplaints();
    ~LibavComplaints();
    LibavComplaints(const LibavComplaints &) = delete;
    LibavComplaints &operator=(const LibavComplaints &) = delete;

    [[nodiscard]] std::string text() const;
};

[[nodiscard]] Yuv copiedFrame(const AVFrame &frame);

/// A file as a player plays it.
struct DecodedFile {
    struct Picture {
        double time = 0; ///< seconds
        bool isKeyFrame = false;
        Yuv image;
    };

    explicit DecodedFile(const std::string &path);

    bool hasVideo = false;
    bool hasAudio = false;
    std::vector<Picture> pictures;
    std::vector<std::int64_t> videoTicks; ///< packets' presentation times
    int videoTimescale = 0;
    double videoDuration = 0; ///< seconds, as the track says
    double audioDuration = 0;
    int audioRate = 0;
    int audioChannels = 0;
    std::vector<float> left; ///< sound from time 0 on
    std::vector<float> right;
    std::string complaints;
};

/// One atom of a file, its place and its name with those around it, e.g. "moov/trak/mdia".
struct AtomInfo {
    std::string path;
    std::int64_t position = 0;
    std::int64_t size = 0;
};

/// All atoms of a file in the order of their places. Fails the test when they do not nest.
[[nodiscard]] std::vector<AtomInfo> atoms(const std::string &file);
[[nodiscard]] std::optional<AtomInfo> findAtom(const std::vector<AtomInfo> &all, const std::string &path);

} // namespace pellaro::test
