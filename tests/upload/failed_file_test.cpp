// A file that cannot be read is listed as failed with a readable reason, and the upload goes on
// with everything else. The unreadable file here is real: a Unix socket in the tree, which the
// copy finds (it exists and is no folder) but cannot open for reading, even as root.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/files.h"
#include "upload_fixture.h"

namespace qvt::uploadtest {
namespace {

// Leaves a socket file at `path` (bound, then closed: the file stays).
bool makeSocketFile(const std::string& path) {
    sockaddr_un addr{};
    addr.sun_family = AF_UNIX;
    if (path.size() >= sizeof(addr.sun_path)) return false;
    std::memcpy(addr.sun_path, path.c_str(), path.size() + 1);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    if (fd < 0) return false;
    const bool ok = ::bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof(addr)) == 0;
    ::close(fd);
    return ok;
}

class FailedFile : public ::testing::Test {
  protected:
    void TearDown() override { box.releaseMounts(); }
    mounttest::MountSandbox box;
};

TEST_F(FailedFile, UnreadableFileIsListedWithItsReasonAndTheUploadGoesOn) {
    Ext4Volume volume(box.root(), box.root() + "/Drive", 64);
    ASSERT_TRUE(volume.ok());
    test::TempDir sources;
    const std::string tree = makeMixedTree(sources.path(), 0);
    const Snapshot expected = snapshot(tree, true);
    const std::string socketPath = tree + "/nested/listening.sock";
    ASSERT_TRUE(makeSocketFile(socketPath));
    const std::string after = sources.path() + "/after.txt";
    test::writeFile(after, "after the failure\n");

    UploadSession s(dasDeviceFor(volume));
    ASSERT_TRUE(s.addSources({tree, after}));
    // The socket counts as a file of the upload.
    EXPECT_EQ(s.c().totalNumberOfSourceFiles.load(),
              static_cast<std::int64_t>(filesOf(expected).size() + 2));
    ASSERT_TRUE(s.toDestination(false));
    s.upload(volume.path());
    ASSERT_TRUE(s.waitCompleted());

    const auto failed = s.failures();
    ASSERT_EQ(failed.size(), 1u);
    EXPECT_EQ(failed[0].string("sourceFilePath"), socketPath);
    EXPECT_EQ(failed[0].string("destFilePath"),
              volume.path() + "/Mixed Tree/nested/listening.sock");
    // A socket is never opened: it is not a regular file.
    EXPECT_EQ(failed[0].string("localizedError"), "Not a regular file.");
    EXPECT_FALSE(failed[0].string("localizedError").empty());
    EXPECT_TRUE(s.c().isFileTransferFailed());
    EXPECT_TRUE(s.c().isFileTransferCompleted());
    // Everything else arrived, the failure's neighbours and the source after it.
    EXPECT_EQ(difference(expected, snapshot(volume.path() + "/Mixed Tree", false)), "");
    EXPECT_EQ(test::readFile(volume.path() + "/after.txt"), "after the failure\n");
    // Every file was counted, the failed one too.
    EXPECT_EQ(s.c().job().progressValue.load(), s.c().job().numberOfFilesCountForTransfer.load());
    EXPECT_TRUE(s.logged("QVTransfer: processFileTransferStatus of file/folder " + socketPath));
    // The state file keeps the failure for a later retry.
    const auto state = s.stateFile();
    ASSERT_TRUE(state && state->record(volume.uuid()));
    const Record* record = state->record(volume.uuid());
    EXPECT_TRUE(record->find("isFileTransferFailed")->toBool());
    const List* failedList = record->list("failedTransferArray");
    ASSERT_TRUE(failedList);
    ASSERT_EQ(failedList->size(), 1u);
    EXPECT_EQ(failedList->front().asRecord()->string("sourceFilePath"), socketPath);
}

}  // namespace
}  // namespace qvt::uploadtest
