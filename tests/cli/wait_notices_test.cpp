#include "wait_notices.h"

#include <gtest/gtest.h>

namespace qvt::cli {
namespace {

using Changes = std::vector<WaitChange>;

TEST(WaitNotices, AWaitForTheDeviceEndsWhenItIsBack) {
    WaitNotices waits;
    waits.began(Wait::Device);
    EXPECT_EQ(waits.update({.missing = true}), Changes{});
    EXPECT_EQ(waits.update({}), (Changes{{false, Wait::Device}}));
    EXPECT_EQ(waits.update({}), Changes{});
    EXPECT_EQ(waits.current(), Wait::Nothing);
}

TEST(WaitNotices, AFullDeviceAgainIsToldOnceAndEndsWhenThereIsRoom) {
    WaitNotices waits;
    EXPECT_EQ(waits.update({.fullAgain = true}), (Changes{{true, Wait::SpaceAgain}}));
    EXPECT_EQ(waits.update({.fullAgain = true}), Changes{});
    EXPECT_EQ(waits.update({}), (Changes{{false, Wait::SpaceAgain}}));
    EXPECT_EQ(waits.update({}), Changes{});
}

// The status is looked at now and then: the first wait for room may have ended and the device
// be full again by the next look. Both are told, the end first.
TEST(WaitNotices, TheEndOfTheFirstWaitForRoomAndTheNextFullDeviceSeenAtOnceAreBothTold) {
    WaitNotices waits;
    waits.began(Wait::Space);
    EXPECT_EQ(waits.update({.full = true}), Changes{});
    EXPECT_EQ(waits.update({.fullAgain = true}),
              (Changes{{false, Wait::Space}, {true, Wait::SpaceAgain}}));
    EXPECT_EQ(waits.update({}), (Changes{{false, Wait::SpaceAgain}}));
}

TEST(WaitNotices, AWaitForgottenByAStopIsNotToldAsEnded) {
    WaitNotices waits;
    waits.began(Wait::Space);
    waits.forget();
    EXPECT_EQ(waits.update({}), Changes{});
}

}  // namespace
}  // namespace qvt::cli
