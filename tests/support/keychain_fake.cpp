#include "keychain_fake.h"

#include <algorithm>

namespace qvt::keychain {
namespace {

struct FakeItemHandle : KeychainItem {
    explicit FakeItemHandle(int itemId) : id(itemId) {}
    int id;
};

}  // namespace

KeychainFindResult FakeKeychain::findGenericPassword(const std::string& service,
                                                     const std::string& account) {
    std::lock_guard lock(mutex_);
    ++findCalls_;
    KeychainFindResult result;
    if (findFailure_) {
        result.status = *findFailure_;
        return result;
    }
    auto it = std::find_if(items_.begin(), items_.end(), [&](const Item& item) {
        return item.service == service && item.account == account;
    });
    if (it == items_.end()) {
        result.status = kItemNotFound;
        return result;
    }
    result.status = kSuccess;
    result.data = it->data;
    result.item = std::make_shared<FakeItemHandle>(it->id);
    return result;
}

int32_t FakeKeychain::addGenericPassword(const std::string& service, const std::string& account,
                                         const std::string& data) {
    std::lock_guard lock(mutex_);
    ++addCalls_;
    if (addFailure_) return *addFailure_;
    items_.push_back({nextId_++, service, account, data});
    return kSuccess;
}

int32_t FakeKeychain::modifyGenericPassword(KeychainItem& item, const std::string& data) {
    std::lock_guard lock(mutex_);
    ++modifyCalls_;
    if (modifyFailure_) return *modifyFailure_;
    auto* handle = dynamic_cast<FakeItemHandle*>(&item);
    if (!handle) return kParamError;
    auto it = std::find_if(items_.begin(), items_.end(),
                           [&](const Item& stored) { return stored.id == handle->id; });
    if (it == items_.end()) return kItemNotFound;
    it->data = data;
    return kSuccess;
}

void FakeKeychain::failFind(std::optional<int32_t> status) {
    std::lock_guard lock(mutex_);
    findFailure_ = status;
}

void FakeKeychain::failAdd(std::optional<int32_t> status) {
    std::lock_guard lock(mutex_);
    addFailure_ = status;
}

void FakeKeychain::failModify(std::optional<int32_t> status) {
    std::lock_guard lock(mutex_);
    modifyFailure_ = status;
}

void FakeKeychain::seed(const std::string& service, const std::string& account,
                        const std::string& data) {
    std::lock_guard lock(mutex_);
    items_.push_back({nextId_++, service, account, data});
}

std::vector<FakeKeychain::Item> FakeKeychain::items() const {
    std::lock_guard lock(mutex_);
    return items_;
}

int FakeKeychain::findCalls() const {
    std::lock_guard lock(mutex_);
    return findCalls_;
}

int FakeKeychain::addCalls() const {
    std::lock_guard lock(mutex_);
    return addCalls_;
}

int FakeKeychain::modifyCalls() const {
    std::lock_guard lock(mutex_);
    return modifyCalls_;
}

}  // namespace qvt::keychain
