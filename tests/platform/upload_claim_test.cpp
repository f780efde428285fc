// The lock that tells a running upload from one that was interrupted.
#include "platform/upload_claim.h"

#include <gtest/gtest.h>

#include <string>

#include "lock_holder.h"
#include "support.h"

namespace qvt::platform {
namespace {

TEST(UploadClaim, AnotherProcessThatHoldsItIsNamedAndTheClaimIsRefused) {
    test::TempDir folder;
    const std::string path = folder.path() + "/" + kUploadClaimFileName;
    test::LockHolder other(path);
    ASSERT_TRUE(other.held());
    long holder = 0;
    EXPECT_EQ(claimUploads(path, &holder), nullptr);
    EXPECT_EQ(holder, other.pid());
    // The refused claim left the holder's number as it was.
    EXPECT_EQ(test::readFile(path), std::to_string(other.pid()) + "\n");

    // The lock goes with the process that held it, however it ended.
    other.release();
    holder = 0;
    const UploadClaim claim = claimUploads(path, &holder);
    ASSERT_NE(claim, nullptr);
    EXPECT_EQ(test::readFile(path), std::to_string(::getpid()) + "\n");
    EXPECT_FALSE(test::anotherProcessCouldLock(path));
}

TEST(UploadClaim, ClaimsInOneProcessShareOneHoldThatEndsWithTheLast) {
    test::TempDir folder;
    const std::string path = folder.path() + "/" + kUploadClaimFileName;
    UploadClaim first = claimUploads(path, nullptr);
    UploadClaim second = claimUploads(path, nullptr);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first, second);
    first.reset();
    EXPECT_FALSE(test::anotherProcessCouldLock(path));
    second.reset();
    EXPECT_TRUE(test::anotherProcessCouldLock(path));
}

TEST(UploadClaim, ALockFileThatCannotBeMadeRefusesNoOne) {
    test::TempDir folder;
    long holder = 0;
    EXPECT_NE(claimUploads(folder.path() + "/missing/" + kUploadClaimFileName, &holder), nullptr);
    EXPECT_EQ(holder, 0);
}

}  // namespace
}  // namespace qvt::platform
