#pragma once

#include "Platform/Media/MediaTime.h"

namespace pellaro {

/// How much of a picture differs from the one before.
enum class PictureChange {
    nothing,
    little, ///< so little that it may be sent uncompressed
    much,
};

/// How a picture becomes a sample.
enum class PictureWay {
    keyFrame,         ///< compressed for itself
    difference,       ///< compressed against the last one that was compressed
    patch,            ///< written without the encoder: as before, but for what has changed
    repeatedKeyFrame, ///< the last key frame once more
};

/// Chooses the way of each picture: the encoder where much changes, and where little or nothing does, as on a screen most of the time,
/// a patch, which costs next to nothing.
///
/// The encoder does not learn of patches. While they only repeat the last picture that does not matter, since what it refers to is
/// what the screen shows. After one that has changed something the encoder is out of step, and can go on with a key frame only. A key frame
/// costs as much as ten differences, so that patches with a content come only where nothing much has changed for a second.
class PicturePlan {
public:
    [[nodiscard]] PictureWay next(PictureChange change, bool isKeyFrameDue, const MediaTime &time) const;

    /// A picture went the way that `next` gave.
    /// @param isAtItsBest whether the encoder would not make it better if it got the same picture again; for the encoder's ways only.
    void took(PictureWay way, PictureChange change, const MediaTime &time, bool isAtItsBest);
    /// A picture went no way at all: what the next one differs from is not known.
    void lost();

private:
    [[nodiscard]] bool isCalm(const MediaTime &time) const;

    bool m_hasPicture = false;    // the encoder has made one, and everything since is known
    bool m_isInStep = false;      // what the encoder refers to is what is shown
    bool m_isAtItsBest = false;   // the encoder would not make better what is shown
    bool m_showsKeyFrame = false; // nothing has changed since the last key frame, and the encoder has made nothing since
    bool m_hasFollowers = false;  // the last key frame is not the last picture
    MediaTime m_muchChanged;      // when much changed last; the first picture counts
};

} // namespace pellaro
