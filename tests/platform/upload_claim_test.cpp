// The lock that tells a running upload from one that was interrupted.
#include "platform/upload_claim.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <optional>
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
    EXPECT_EQ(uploadsClaimedElsewhere(path), std::optional<long>(other.pid()));
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
    // This process's own hold is nobody else's.
    EXPECT_EQ(uploadsClaimedElsewhere(path), std::nullopt);
}

TEST(UploadClaim, NothingHoldsALockFileThatIsMissingOrFree) {
    test::TempDir folder;
    const std::string path = folder.path() + "/" + kUploadClaimFileName;
    EXPECT_EQ(uploadsClaimedElsewhere(path), std::nullopt);
    test::writeFile(path, "12345\n");
    EXPECT_EQ(uploadsClaimedElsewhere(path), std::nullopt);
}

TEST(UploadClaim, ClaimsInOneProcessShareOneHoldThatEndsWithTheLast) {
    test::TempDir folder;
    const std::string path = folder.path() + "/" + kUploadClaimFileName;
    UploadClaim first = claimUploads(path, nullptr);
    // Another path to the same file is the same lock.
    UploadClaim second = claimUploads(folder.path() + "/./" + kUploadClaimFileName, nullptr);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first, second);
    first.reset();
    EXPECT_FALSE(test::anotherProcessCouldLock(path));
    second.reset();
    EXPECT_TRUE(test::anotherProcessCouldLock(path));
}

// The lock held under this process's number by a descriptor that is no hold of it (a child
// forked at the wrong moment keeps one until it execs): the claim waits a moment, then gives
// up rather than wait for good.
TEST(UploadClaim, ALockUnderThisProcesssNumberThatIsNeverLetGoIsNotWaitedForForGood) {
    test::TempDir folder;
    const std::string path = folder.path() + "/" + kUploadClaimFileName;
    const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(::flock(fd, LOCK_EX | LOCK_NB), 0);
    const std::string pid = std::to_string(::getpid()) + "\n";
    ASSERT_EQ(::write(fd, pid.data(), pid.size()), static_cast<ssize_t>(pid.size()));
    long holder = 0;
    EXPECT_EQ(claimUploads(path, &holder), nullptr);
    EXPECT_EQ(holder, static_cast<long>(::getpid()));
    ::close(fd);
    // Let go, the lock is this process's to take.
    EXPECT_NE(claimUploads(path, &holder), nullptr);
}

TEST(UploadClaim, ALockFileThatCannotBeMadeRefusesNoOne) {
    test::TempDir folder;
    long holder = 0;
    EXPECT_NE(claimUploads(folder.path() + "/missing/" + kUploadClaimFileName, &holder), nullptr);
    EXPECT_EQ(holder, 0);
}

}  // namespace
}  // namespace qvt::platform
