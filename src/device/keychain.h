// The keychain service behind the stored credentials: find, add and modify one generic-password
// item keyed by service and account. The shipped backend talks to the freedesktop Secret
// Service through libsecret; tests swap in a fake to inject failures.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "qvtransfer/Keychain.h"

namespace qvt::keychain {

// The service name of every item this library stores.
inline constexpr const char* kServiceName = "QVTransfer";

// The pair (user name, password) stored for the device, with the defaults "admin" and "".
std::pair<std::string, std::string> getCredentials(const std::string& serialNumber);

// Whether the keychain holds an item for the device; without one, the pair above is only the
// defaults.
bool hasCredentials(const std::string& serialNumber);

// Stores the pair for the device; the keychain's status, 0 on success.
int32_t setCredentials(const std::string& serialNumber, const std::string& userName,
                       const std::string& password);

inline constexpr int32_t kSuccess = QVTransferKeychainSuccess;
inline constexpr int32_t kParamError = QVTransferKeychainParamError;
inline constexpr int32_t kNotAvailable = QVTransferKeychainNotAvailable;
inline constexpr int32_t kAuthFailed = QVTransferKeychainAuthFailed;
inline constexpr int32_t kItemNotFound = QVTransferKeychainItemNotFound;
inline constexpr int32_t kInternalError = QVTransferKeychainInternalError;

// An item found by a backend; only that backend knows what it holds.
class KeychainItem {
  public:
    virtual ~KeychainItem() = default;
};

struct KeychainFindResult {
    int32_t status = kItemNotFound;      // kSuccess only when `item` and `data` are set
    std::string data;                    // the item's secret bytes
    std::shared_ptr<KeychainItem> item;  // handle for modifyGenericPassword
};

class KeychainService {
  public:
    virtual ~KeychainService() = default;
    // Looks up the item for (service, account). A locked store is unlocked on the way if it
    // can be; a refused or dismissed unlock or a denied access answers kAuthFailed, a missing
    // item kItemNotFound, an unreachable service kNotAvailable.
    virtual KeychainFindResult findGenericPassword(const std::string& service,
                                                   const std::string& account) = 0;
    // Adds a new item to the default store.
    virtual int32_t addGenericPassword(const std::string& service, const std::string& account,
                                       const std::string& data) = 0;
    // Replaces the data of an item found by this backend; its attributes stay as they are.
    virtual int32_t modifyGenericPassword(KeychainItem& item, const std::string& data) = 0;
};

// The Secret Service backend (libsecret). Items carry the attributes "service" and "account";
// they are searched without regard to the schema name, so an item written by another tool with
// the same two attributes is found too.
std::shared_ptr<KeychainService> makeSecretServiceKeychain();

// The backend used by getCredentials / setCredentials and the exported functions.
std::shared_ptr<KeychainService> backend();
// Replaces the backend and returns the previous one; nullptr restores the Secret Service.
std::shared_ptr<KeychainService> setBackend(std::shared_ptr<KeychainService> service);

// Installs a backend for the lifetime of the object (tests).
class ScopedBackend {
  public:
    explicit ScopedBackend(std::shared_ptr<KeychainService> service)
        : previous_(setBackend(std::move(service))) {}
    ~ScopedBackend() { setBackend(std::move(previous_)); }
    ScopedBackend(const ScopedBackend&) = delete;
    ScopedBackend& operator=(const ScopedBackend&) = delete;

  private:
    std::shared_ptr<KeychainService> previous_;
};

}  // namespace qvt::keychain
