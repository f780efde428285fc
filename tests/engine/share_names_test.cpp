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

TEST(VolumeNames, TheSecondComponentAfterTheMountFolderIsTheVolume) {
    EXPECT_EQ(volumeNameOfDestination("/home/u/.QVTransfer/Photos/2024", "/home/u/.QVTransfer"),
              "Photos");
    EXPECT_EQ(volumeNameOfDestination("/media/anna/Photos/2024", "/home/u/.QVTransfer"), "media");
}

TEST(VolumeNames, AnAttachedDestinationUnderVolumesGivesVolumes) {
    EXPECT_EQ(volumeNameOfDestination("/Volumes/Photos/2024", "/home/u/.QVTransfer"), "Volumes");
    EXPECT_EQ(volumeNameOfDestination("/", "/home/u/.QVTransfer"), "");
}

TEST(NewMounts, TheRestOfTheDestinationIsAppendedToTheNewMount) {
    EXPECT_EQ(destinationOnNewMount("/home/u/.QVTransfer/Public-1/Photos/2014",
                                    "/home/u/.QVTransfer", "/home/u/.QVTransfer/Public"),
              "/home/u/.QVTransfer/Public/Photos/2014");
}

TEST(NewMounts, ADestinationOutsideTheMountFolderLosesVolumes) {
    EXPECT_EQ(destinationOnNewMount("/Volumes/Share-2/dir", "/home/u/.QVTransfer",
                                    "/home/u/.QVTransfer/Share"),
              "/home/u/.QVTransfer/Share/dir");
}

TEST(NewMounts, TheShareItselfAsDestinationGivesTheNewMount) {
    EXPECT_EQ(destinationOnNewMount("/home/u/.QVTransfer/Public-1", "/home/u/.QVTransfer",
                                    "/home/u/.QVTransfer/Public"),
              "/home/u/.QVTransfer/Public");
    EXPECT_EQ(
        destinationOnNewMount("/home/u/.QVTransfer/Public-1/", "/home/u/.QVTransfer", "/mnt/x/"),
        "/mnt/x/");
}

// A saved destination that names the mount folder twice, the second time glued to "..": once
// the mount folder is taken out, ".." walks out of the new mount. It leads nowhere instead.
TEST(NewMounts, APathThatClimbsOnceTheMountFolderIsTakenOutLeadsNowhere) {
    EXPECT_EQ(destinationOnNewMount("/h/.Q/Pub//h/.Q../etc", "/h/.Q", "/h/.Q/Pub"), "");
    EXPECT_EQ(destinationOnNewMount("/h/.Q/Pub/a/./b", "/h/.Q", "/h/.Q/Pub"), "");
    // Dots inside names are names.
    EXPECT_EQ(destinationOnNewMount("/h/.Q/Pub/..a/b..", "/h/.Q", "/h/.Q/Pub"),
              "/h/.Q/Pub/..a/b..");
}

}  // namespace
}  // namespace qvt::engine
