// The stored-credentials rules over an in-memory keychain with injected failures.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "device/keychain.h"
#include "keychain_fake.h"
#include "qvtransfer/Keychain.h"

namespace qvt::keychain {
namespace {

using Pair = std::pair<std::string, std::string>;

class FakeCredentials : public ::testing::Test {
  protected:
    std::shared_ptr<FakeKeychain> fake = std::make_shared<FakeKeychain>();
    ScopedBackend scoped{fake};
};

TEST_F(FakeCredentials, DataIsSplitAtTheFirstColon) {
    const std::pair<std::string, Pair> cases[] = {
        {":secret", {"admin", "secret"}},
        {"bob:", {"bob", ""}},
        {"bob", {"admin", ""}},
        {"", {"admin", ""}},
        {":", {"admin", ""}},
        {"bob:a:b:", {"bob", "a:b:"}},
        {"b:\xC3\xA9t\xC3\xA9", {"b", "\xC3\xA9t\xC3\xA9"}}};
    int n = 0;
    for (const auto& [data, expected] : cases) {
        const std::string serial = "SN" + std::to_string(n++);
        fake->seed("QVTransfer", serial, data);
        EXPECT_EQ(getCredentials(serial), expected) << "data '" << data << "'";
    }
}

TEST_F(FakeCredentials, LookupIsKeyedByServiceAndSerial) {
    fake->seed("Other", "SN1", "x:y");
    fake->seed("QVTransfer", "SN2", "x:y");
    EXPECT_EQ(getCredentials("SN1"), Pair("admin", ""));
    EXPECT_EQ(getCredentials("SN2"), Pair("x", "y"));
}

TEST_F(FakeCredentials, BytesThatAreNotUtf8CountAsAbsent) {
    fake->seed("QVTransfer", "SN", "\xFF\xFE:\xC3");
    EXPECT_EQ(getCredentials("SN"), Pair("admin", ""));
}

TEST_F(FakeCredentials, AnyLookupFailureGivesTheDefaults) {
    fake->seed("QVTransfer", "SN", "bob:pw");
    for (int32_t status : {kAuthFailed, kNotAvailable, kInternalError, kItemNotFound}) {
        fake->failFind(status);
        EXPECT_EQ(getCredentials("SN"), Pair("admin", "")) << status;
    }
}

TEST_F(FakeCredentials, SetAddsWhenThereIsNoItemAndReplacesWhenThereIsOne) {
    EXPECT_EQ(setCredentials("SN", "bob", "one"), kSuccess);
    EXPECT_EQ(setCredentials("SN", "bob", "two:three"), kSuccess);
    const auto items = fake->items();
    ASSERT_EQ(items.size(), 1u);
    EXPECT_EQ(items[0].service, "QVTransfer");
    EXPECT_EQ(items[0].account, "SN");
    EXPECT_EQ(items[0].data, "bob:two:three");
    EXPECT_EQ(fake->addCalls(), 1);
    EXPECT_EQ(fake->modifyCalls(), 1);
}

TEST_F(FakeCredentials, AuthorisationFailureOfTheLookupIsReturnedAndNothingIsWritten) {
    fake->seed("QVTransfer", "SN", "old:old");
    fake->failFind(kAuthFailed);
    EXPECT_EQ(setCredentials("SN", "bob", "pw"), -25293);
    EXPECT_EQ(setCredentials("NEW", "bob", "pw"), -25293);
    EXPECT_EQ(fake->addCalls(), 0);
    EXPECT_EQ(fake->modifyCalls(), 0);
    ASSERT_EQ(fake->items().size(), 1u);
    EXPECT_EQ(fake->items()[0].data, "old:old");
}

TEST_F(FakeCredentials, OtherLookupFailuresMeanThereIsNoItem) {
    for (int32_t status : {kNotAvailable, kInternalError, kParamError}) {
        auto fresh = std::make_shared<FakeKeychain>();
        ScopedBackend inner(fresh);
        fresh->failFind(status);
        EXPECT_EQ(setCredentials("SN", "bob", "pw"), kSuccess) << status;
        EXPECT_EQ(fresh->addCalls(), 1) << status;
        EXPECT_EQ(fresh->modifyCalls(), 0) << status;
    }
}

TEST_F(FakeCredentials, StatusOfTheAddOrModifyIsReturned) {
    fake->failAdd(kNotAvailable);
    EXPECT_EQ(setCredentials("SN", "bob", "pw"), kNotAvailable);
    EXPECT_TRUE(fake->items().empty());
    fake->failAdd(std::nullopt);
    ASSERT_EQ(setCredentials("SN", "bob", "pw"), kSuccess);
    fake->failModify(kInternalError);
    EXPECT_EQ(setCredentials("SN", "bob", "changed"), kInternalError);
    EXPECT_EQ(fake->items().at(0).data, "bob:pw");
}

TEST_F(FakeCredentials, ExportedGetAllocatesBothStrings) {
    fake->seed("QVTransfer", "SN", "bob:pw");
    char* user = reinterpret_cast<char*>(1);
    char* password = reinterpret_cast<char*>(1);
    GetKeychainUsernameAndPasswordForNAS("SN", &user, &password);
    ASSERT_NE(user, nullptr);
    ASSERT_NE(password, nullptr);
    EXPECT_STREQ(user, "bob");
    EXPECT_STREQ(password, "pw");
    QVTransferFreeString(user);
    QVTransferFreeString(password);

    GetKeychainUsernameAndPasswordForNAS("MISSING", &user, &password);
    EXPECT_STREQ(user, "admin");
    EXPECT_STREQ(password, "");
    QVTransferFreeString(user);
    QVTransferFreeString(password);
    QVTransferFreeString(nullptr);
}

TEST_F(FakeCredentials, ExportedFunctionsTolerateNullArguments) {
    char* user = nullptr;
    GetKeychainUsernameAndPasswordForNAS(nullptr, &user, nullptr);
    EXPECT_STREQ(user, "admin");
    QVTransferFreeString(user);
    EXPECT_EQ(SetKeychainUsernameAndPasswordForNAS(nullptr, "a", "b"), kParamError);
    EXPECT_EQ(fake->addCalls(), 0);
    EXPECT_EQ(SetKeychainUsernameAndPasswordForNAS("SN", nullptr, nullptr), kSuccess);
    EXPECT_EQ(fake->items().at(0).data, ":");
}

TEST(KeychainBackend, ScopedBackendRestoresThePreviousOne) {
    auto before = backend();
    ASSERT_NE(before, nullptr);
    {
        auto fake = std::make_shared<FakeKeychain>();
        ScopedBackend scoped(fake);
        EXPECT_EQ(backend(), fake);
    }
    EXPECT_EQ(backend(), before);
    auto previous = setBackend(nullptr);
    EXPECT_EQ(previous, before);
    EXPECT_NE(backend(), nullptr);
}

TEST(KeychainExports, FunctionsAreFoundByTheirPlainNames) {
    // A host finds them in the shared library by name, as a C caller would.
    const char* build = std::getenv("QVT_BUILD_DIR");
    ASSERT_NE(build, nullptr);
    const std::string library = std::string(build) + "/libqvtransfer.so.1";
    void* handle = dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(handle, nullptr) << dlerror();
    for (const char* name : {"GetKeychainUsernameAndPasswordForNAS",
                             "SetKeychainUsernameAndPasswordForNAS", "QVTransferFreeString"}) {
        EXPECT_NE(dlsym(handle, name), nullptr) << name;
    }
    // Internal functions stay inside the library.
    EXPECT_EQ(dlsym(handle,
                    "_ZN3qvt8keychain14getCredentialsERKNSt7__cxx1112basic_stringIcSt11char_"
                    "traitsIcESaIcEEE"),
              nullptr);
    dlclose(handle);
}

}  // namespace
}  // namespace qvt::keychain
