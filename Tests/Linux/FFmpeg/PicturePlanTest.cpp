#include "Linux/FFmpeg/PicturePlan.h"

#include <gtest/gtest.h>

namespace pellaro::test {
namespace {

using enum PictureChange;
using enum PictureWay;

/// A screen at 30 pictures a second whose pictures go the way they are given.
class Plan : public testing::Test {
protected:
    PictureWay show(PictureChange change, bool isKeyFrameDue = false, bool isAtItsBest = true) {
        const MediaTime time(m_count++, 30);
        const PictureWay way = plan.next(change, isKeyFrameDue, time);
        plan.took(way, change, time, isAtItsBest);
        return way;
    }

    /// Pictures of a second in which nothing changes.
    void wait() {
        for (int i = 0; i < 30; ++i)
            (void)show(nothing);
    }

    PicturePlan plan;

private:
    int m_count = 0;
};

TEST_F(Plan, BeginsWithAKeyFrame) {
    EXPECT_EQ(show(nothing), keyFrame);
}

TEST_F(Plan, LetsTheEncoderMakeWhatChangesMuch) {
    (void)show(much);
    EXPECT_EQ(show(much), difference);
    EXPECT_EQ(show(much, true), keyFrame);
}

TEST_F(Plan, RepeatsWhatHasNotChanged) {
    (void)show(much);
    EXPECT_EQ(show(nothing), patch);
    EXPECT_EQ(show(nothing), patch);
}

TEST_F(Plan, LetsTheEncoderImproveAStillPictureFirst) {
    (void)show(much, false, false);
    EXPECT_EQ(show(nothing, false, false), difference);
    EXPECT_EQ(show(nothing, false, true), difference);
    EXPECT_EQ(show(nothing), patch);
}

TEST_F(Plan, GoesOnWithoutAKeyFrameAfterRepeats) {
    (void)show(much);
    (void)show(nothing);
    EXPECT_EQ(show(much), difference);
}

TEST_F(Plan, PatchesSmallChangesOnceTheScreenIsCalm) {
    (void)show(much);
    EXPECT_EQ(show(little), difference) << "something may go on";
    wait();
    EXPECT_EQ(show(little), patch);
    EXPECT_EQ(show(little), patch);
}

TEST_F(Plan, NeedsAKeyFrameWhenMuchChangesAfterPatches) {
    (void)show(much);
    wait();
    (void)show(little);
    EXPECT_EQ(show(nothing), patch);
    EXPECT_EQ(show(much), keyFrame);
    EXPECT_EQ(show(much), difference);
}

TEST_F(Plan, PaysForAtMostOneMoreKeyFrameASecond) {
    (void)show(much);
    int keyFrames = 0;
    for (int i = 0; i < 300; ++i)
        keyFrames += show(i % 2 ? much : little) == keyFrame ? 1 : 0;
    EXPECT_EQ(keyFrames, 0) << "small and large changes in turn";
    for (int i = 0; i < 300; ++i)
        keyFrames += show(i % 40 ? little : much) == keyFrame ? 1 : 0;
    EXPECT_LE(keyFrames, 10);
    EXPECT_GT(keyFrames, 0);
}

TEST_F(Plan, SendsTheSameKeyFrameAgainWhileNothingChanges) {
    (void)show(much);
    wait();
    EXPECT_EQ(show(nothing, true), repeatedKeyFrame);
    EXPECT_EQ(show(nothing), patch);
    EXPECT_EQ(show(nothing, true), repeatedKeyFrame);
    EXPECT_EQ(show(much), difference) << "the encoder refers to just that key frame";
}

TEST_F(Plan, NeverSendsTheSameKeyFrameTwiceInARow) {
    (void)show(much);
    EXPECT_EQ(show(nothing, true), keyFrame);
    (void)show(nothing);
    EXPECT_EQ(show(nothing, true), repeatedKeyFrame);
    EXPECT_EQ(show(nothing, true), keyFrame);
}

TEST_F(Plan, MakesANewKeyFrameOfWhatHasChanged) {
    (void)show(much);
    wait();
    (void)show(little);
    EXPECT_EQ(show(nothing, true), keyFrame);
    (void)show(nothing);
    EXPECT_EQ(show(little, true), keyFrame);
    (void)show(much);
    (void)show(nothing);
    EXPECT_EQ(show(nothing, true), keyFrame) << "the encoder has made something since";
}

TEST_F(Plan, MakesANewKeyFrameWhereTheLastCouldBeBetter) {
    (void)show(much, false, false);
    (void)show(nothing, false, false);
    EXPECT_EQ(show(nothing, true), keyFrame);
}

TEST_F(Plan, BeginsAnewAfterALostPicture) {
    (void)show(much);
    wait();
    plan.lost();
    EXPECT_EQ(show(nothing), keyFrame);
}

TEST_F(Plan, IsNeverCalmWithoutTimes) {
    plan.took(plan.next(much, false, MediaTime::invalid()), much, MediaTime::invalid(), true);
    for (int i = 0; i < 100; ++i) {
        const PictureWay way = plan.next(little, false, MediaTime::invalid());
        ASSERT_EQ(way, difference);
        plan.took(way, little, MediaTime::invalid(), true);
    }
}

} // namespace
} // namespace pellaro::test
