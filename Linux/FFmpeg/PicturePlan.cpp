#include "Linux/FFmpeg/PicturePlan.h"

namespace pellaro {

namespace {

const MediaTime calmAfter(1, 1);

} // namespace

PictureWay PicturePlan::next(PictureChange change, bool isKeyFrameDue, const MediaTime &time) const {
    if (!m_hasPicture)
        return PictureWay::keyFrame;
    if (isKeyFrameDue) {
        // Two key frames in a row would have to be told apart by a number in them.
        const bool isTheSame = change == PictureChange::nothing && m_showsKeyFrame && m_isAtItsBest && m_hasFollowers;
        return isTheSame ? PictureWay::repeatedKeyFrame : PictureWay::keyFrame;
    }
    if (m_isAtItsBest && change == PictureChange::nothing)
        return PictureWay::patch;
    if (m_isAtItsBest && change == PictureChange::little && (!m_isInStep || isCalm(time)))
        return PictureWay::patch;
    return m_isInStep ? PictureWay::difference : PictureWay::keyFrame;
}

void PicturePlan::took(PictureWay way, PictureChange change, const MediaTime &time, bool isAtItsBest) {
    const bool isFirst = !m_hasPicture;
    switch (way) {
    case PictureWay::keyFrame:
    case PictureWay::difference:
        m_hasPicture = true;
        m_isInStep = true;
        m_isAtItsBest = isAtItsBest;
        m_showsKeyFrame = way == PictureWay::keyFrame;
        break;
    case PictureWay::patch:
        if (change != PictureChange::nothing) {
            m_isInStep = false;
            m_showsKeyFrame = false;
        }
        break;
    case PictureWay::repeatedKeyFrame:
        break;
    }
    m_hasFollowers = way == PictureWay::difference || way == PictureWay::patch;
    if (isFirst || change == PictureChange::much)
        m_muchChanged = time;
}

void PicturePlan::lost() {
    *this = PicturePlan();
}

bool PicturePlan::isCalm(const MediaTime &time) const {
    return time.isValid() && m_muchChanged.isValid() && time - m_muchChanged >= calmAfter;
}

} // namespace pellaro
