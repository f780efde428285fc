#include "device_config.h"

#include <filesystem>

#include "platform/plist_io.h"

namespace qvt::devicesim {

namespace {

// "true"/"false" as text, or a property-list boolean.
bool flagOf(const Value* v) {
    if (!v) return false;
    if (const std::string* s = v->asString()) return *s == "true";
    return v->toBool(false);
}

std::vector<std::string> stringsOf(const Value* v) {
    std::vector<std::string> out;
    if (!v) return out;
    if (const List* list = v->asList()) {
        for (const Value& item : *list) out.push_back(item.toString());
    } else if (v->isString()) {
        out.push_back(v->toString());
    }
    return out;
}

}  // namespace

std::optional<DeviceConfig> deviceConfigFromValue(const Value& value,
                                                  const std::string& baseFolder) {
    const Record* root = value.asRecord();
    if (!root) return std::nullopt;
    DeviceConfig config;
    config.serialNumber = root->string("serialNumber");
    config.productName = root->string("productName");
    if (const List* users = root->list("users")) {
        for (const Value& u : *users) {
            const Record* r = u.asRecord();
            if (!r) continue;
            config.users.push_back({r->string("username"), r->string("password")});
        }
    }
    if (const List* shares = root->list("shares")) {
        for (const Value& s : *shares) {
            const Record* r = s.asRecord();
            if (!r) continue;
            SimShare share;
            share.shareName = r->string("share_name");
            share.publicAccess = flagOf(r->find("public_access"));
            share.shareAccess = stringsOf(r->find("share_access"));
            share.path = r->string("path");
            if (!share.path.empty() && !baseFolder.empty() &&
                std::filesystem::path(share.path).is_relative())
                share.path = (std::filesystem::path(baseFolder) / share.path).string();
            config.shares.push_back(std::move(share));
        }
    }
    if (const Record* samba = root->record("samba")) config.samba = *samba;
    return config;
}

std::optional<DeviceConfig> loadDeviceConfig(const std::string& path) {
    std::optional<Value> value = platform::readPropertyList(path);
    if (!value) return std::nullopt;
    const std::string folder =
        std::filesystem::absolute(std::filesystem::path(path)).parent_path().string();
    return deviceConfigFromValue(*value, folder);
}

}  // namespace qvt::devicesim
