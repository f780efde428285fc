// Which share a destination lies on, as the recovery and the resume find it.
#include <gtest/gtest.h>

#include "engine/share_names.h"

namespace qvt::engine {
namespace {

TEST(ShareNames, AMountPointWithANumberGivesItsShare) {
    EXPECT_EQ(shareNameOfDestination("/home/u/.QVTransfer/Public-1/Photos", "/home/u/.QVTransfer"),
              "Public");
    EXPECT_EQ(shareNameOfDestination("/home/u/.QVTransfer/Public", "/home/u/.QVTransfer"),
              "Public");
}

TEST(ShareNames, AShareNameWithoutADashIsUsedWhole) {
    EXPECT_EQ(shareNameOfDestination("/home/u/.QVTransfer/Family Photos/2024/June",
                                     "/home/u/.QVTransfer"),
              "Family Photos");
}

TEST(ShareNames, AShareWhoseOwnNameHoldsADashIsCutToo) {
    EXPECT_EQ(shareNameOfDestination("/home/u/.QVTransfer/my-share/x", "/home/u/.QVTransfer"),
              "my");
}

TEST(ShareNames, ADestinationOutsideTheMountFolderLosesVolumes) {
    EXPECT_EQ(shareNameOfDestination("/Volumes/Share-2/dir", "/home/u/.QVTransfer"), "Share");
    EXPECT_EQ(shareNameOfDestination("/media/anna/Photos/2024", "/home/u/.QVTransfer"), "media");
}

TEST(ShareNames, NothingToFindGivesNothing) {
    EXPECT_EQ(shareNameOfDestination("", "/home/u/.QVTransfer"), "");
    EXPECT_EQ(shareNameOfDestination("/home/u/.QVTransfer", "/home/u/.QVTransfer"), "");
    EXPECT_EQ(shareNameOfDestination("/", ""), "");
}

}  // namespace
}  // namespace qvt::engine
