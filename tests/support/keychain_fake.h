// An in-memory keychain for tests: holds items like the real one and can be told to fail any
// of its three operations with a given status.
#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "device/keychain.h"

namespace qvt::keychain {

class FakeKeychain : public KeychainService {
  public:
    struct Item {
        int id = 0;
        std::string service;
        std::string account;
        std::string data;
    };

    KeychainFindResult findGenericPassword(const std::string& service,
                                           const std::string& account) override;
    int32_t addGenericPassword(const std::string& service, const std::string& account,
                               const std::string& data) override;
    int32_t modifyGenericPassword(KeychainItem& item, const std::string& data) override;

    // Every later call of the operation answers `status` without touching the items
    // (std::nullopt: behave normally again).
    void failFind(std::optional<int32_t> status);
    void failAdd(std::optional<int32_t> status);
    void failModify(std::optional<int32_t> status);

    // Puts an item in place directly, as if another program had stored it.
    void seed(const std::string& service, const std::string& account, const std::string& data);
    std::vector<Item> items() const;
    int findCalls() const;
    int addCalls() const;
    int modifyCalls() const;

  private:
    mutable std::mutex mutex_;
    std::vector<Item> items_;
    int nextId_ = 1;
    std::optional<int32_t> findFailure_, addFailure_, modifyFailure_;
    int findCalls_ = 0, addCalls_ = 0, modifyCalls_ = 0;
};

}  // namespace qvt::keychain
