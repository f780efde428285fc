// The stored credentials against a real gnome-keyring (Secret Service) on a private bus.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "device/keychain.h"
#include "keyring_fixture.h"
#include "qvtransfer/Keychain.h"

namespace qvt::test {
namespace {

using keychain::getCredentials;
using keychain::setCredentials;
using Pair = std::pair<std::string, std::string>;

using SecretServiceCredentials = RealKeyringTest;

TEST_F(SecretServiceCredentials, DataWithLeadingColonGivesAdminAndThePassword) {
    const std::string serial = uniqueSerial("leading-colon");
    ASSERT_TRUE(seedItem(serial, ":secret", "seeded"));
    EXPECT_EQ(getCredentials(serial), Pair("admin", "secret"));
}

TEST_F(SecretServiceCredentials, DataWithTrailingColonGivesTheUserAndEmptyPassword) {
    const std::string serial = uniqueSerial("trailing-colon");
    ASSERT_TRUE(seedItem(serial, "bob:", "seeded"));
    EXPECT_EQ(getCredentials(serial), Pair("bob", ""));
}

TEST_F(SecretServiceCredentials, DataWithoutColonGivesTheDefaults) {
    const std::string serial = uniqueSerial("no-colon");
    ASSERT_TRUE(seedItem(serial, "bob", "seeded"));
    EXPECT_EQ(getCredentials(serial), Pair("admin", ""));
}

TEST_F(SecretServiceCredentials, MissingItemGivesTheDefaults) {
    const std::string serial = uniqueSerial("missing");
    ASSERT_EQ(countItems("QVTransfer", serial), 0);
    EXPECT_EQ(getCredentials(serial), Pair("admin", ""));
    // The service's own answer for it is "no such item", not a refusal.
    EXPECT_EQ(
        keychain::makeSecretServiceKeychain()->findGenericPassword("QVTransfer", serial).status,
        keychain::kItemNotFound);
}

TEST_F(SecretServiceCredentials, PasswordHoldingColonsRoundTrips) {
    const std::string serial = uniqueSerial("colons");
    ASSERT_EQ(setCredentials(serial, "carol", "a:b::c:"), keychain::kSuccess);
    EXPECT_EQ(getCredentials(serial), Pair("carol", "a:b::c:"));
    // Stored as "user:password" exactly, with no terminating zero.
    EXPECT_EQ(readSecret(serial), std::string("carol:a:b::c:"));
}

TEST_F(SecretServiceCredentials, FirstSetAddsOneItemWithBothAttributes) {
    const std::string serial = uniqueSerial("add");
    ASSERT_EQ(countItems("QVTransfer", serial), 0);
    EXPECT_EQ(setCredentials(serial, "dave", "pw"), keychain::kSuccess);
    EXPECT_EQ(countItems("QVTransfer", serial), 1);
    EXPECT_EQ(countItems("QVTransfer", uniqueSerial("other")), 0);
    EXPECT_EQ(readSecret(serial), "dave:pw");
}

TEST_F(SecretServiceCredentials, SecondSetReplacesTheDataOfTheOneItem) {
    const std::string serial = uniqueSerial("replace");
    ASSERT_EQ(setCredentials(serial, "erin", "first"), keychain::kSuccess);
    ASSERT_EQ(setCredentials(serial, "frank", "second"), keychain::kSuccess);
    EXPECT_EQ(countItems("QVTransfer", serial), 1);
    EXPECT_EQ(getCredentials(serial), Pair("frank", "second"));
}

TEST_F(SecretServiceCredentials, SetOverAnItemOfAnotherProgramKeepsItsAttributes) {
    const std::string serial = uniqueSerial("foreign");
    ASSERT_TRUE(seedItem(serial, "old:old", "stored elsewhere"));
    ASSERT_EQ(setCredentials(serial, "gina", "new"), keychain::kSuccess);
    EXPECT_EQ(countItems("QVTransfer", serial), 1);
    EXPECT_EQ(readLabel(serial), "stored elsewhere");
    EXPECT_EQ(readSecret(serial), "gina:new");
}

TEST_F(SecretServiceCredentials, ExportedFunctionsStoreAndReadBack) {
    const std::string serial = uniqueSerial("exported");
    EXPECT_EQ(SetKeychainUsernameAndPasswordForNAS(serial.c_str(), "hal", "p:w"), 0);
    char* user = nullptr;
    char* password = nullptr;
    GetKeychainUsernameAndPasswordForNAS(serial.c_str(), &user, &password);
    ASSERT_NE(user, nullptr);
    ASSERT_NE(password, nullptr);
    EXPECT_STREQ(user, "hal");
    EXPECT_STREQ(password, "p:w");
    QVTransferFreeString(user);
    QVTransferFreeString(password);
    EXPECT_EQ(countItems("QVTransfer", serial), 1);
}

// The collection is locked through the Secret Service's Lock method and the unlock prompt
// cannot be answered (no display, so the daemon's prompter fails and the prompt is dismissed).
// This runs in a nested private keyring of its own, so the lock never reaches the keyring
// that other tests (possibly in parallel) are using.
TEST(SecretServiceLockedKeyring, RefusedUnlockGivesAuthFailureAndWritesNothing) {
    if (!std::getenv("QVT_KEYCHAIN_LOCKED_CHILD")) {
        requireTestKeyring();
        if (HasFatalFailure()) return;
        std::string output;
        const int code =
            runChild("SecretServiceLockedKeyring.RefusedUnlockGivesAuthFailureAndWritesNothing",
                     "QVT_KEYCHAIN_LOCKED_CHILD", true, &output);
        EXPECT_EQ(code, 0) << output;
        EXPECT_NE(output.find("[  PASSED  ] 1 test"), std::string::npos) << output;
        return;
    }
    requireTestKeyring();
    if (HasFatalFailure()) return;
    const std::string stored = uniqueSerial("locked-stored");
    const std::string fresh = uniqueSerial("locked-fresh");
    ASSERT_EQ(setCredentials(stored, "ivan", "before"), keychain::kSuccess);
    ASSERT_TRUE(lockDefaultCollection());
    ASSERT_TRUE(defaultCollectionLocked());

    auto backend = keychain::makeSecretServiceKeychain();
    EXPECT_EQ(backend->findGenericPassword("QVTransfer", stored).status, keychain::kAuthFailed);
    EXPECT_EQ(setCredentials(stored, "judy", "after"), keychain::kAuthFailed);
    EXPECT_EQ(setCredentials(fresh, "judy", "after"), keychain::kAuthFailed);
    EXPECT_EQ(SetKeychainUsernameAndPasswordForNAS(fresh.c_str(), "judy", "after"), -25293);
    EXPECT_EQ(getCredentials(stored), Pair("admin", ""));
    // Nothing was written: no new item, and the old one is still the only one.
    EXPECT_EQ(countItems("QVTransfer", fresh), 0);
    EXPECT_EQ(countItems("QVTransfer", stored), 1);
    // The refused prompt left the collection locked.
    EXPECT_TRUE(defaultCollectionLocked());
}

// With no session bus at all there is no secret service: a failure of its own, neither a
// refusal nor a missing item. Runs in a child whose bus address leads nowhere.
TEST(SecretServiceUnavailable, NoBusIsReportedAsNotAvailable) {
    if (!std::getenv("QVT_KEYCHAIN_NO_BUS_CHILD")) {
        std::string output;
        const int code = runChild("SecretServiceUnavailable.NoBusIsReportedAsNotAvailable",
                                  "QVT_KEYCHAIN_NO_BUS_CHILD", false, &output);
        EXPECT_EQ(code, 0) << output;
        EXPECT_NE(output.find("[  PASSED  ] 1 test"), std::string::npos) << output;
        return;
    }
    auto backend = keychain::makeSecretServiceKeychain();
    EXPECT_EQ(backend->findGenericPassword("QVTransfer", "SN-NO-BUS").status,
              keychain::kNotAvailable);
    EXPECT_EQ(backend->addGenericPassword("QVTransfer", "SN-NO-BUS", "a:b"),
              keychain::kNotAvailable);
    EXPECT_EQ(setCredentials("SN-NO-BUS", "a", "b"), keychain::kNotAvailable);
    EXPECT_EQ(getCredentials("SN-NO-BUS"), Pair("admin", ""));
}

}  // namespace
}  // namespace qvt::test
