// The Secret Service backend of the keychain (libsecret), and the process-wide backend choice.
#include "device/keychain.h"

#include <libsecret/secret.h>

#include <cstring>
#include <mutex>
#include <string_view>

namespace qvt::keychain {
namespace {

// Items are matched on "service" and "account" only (SECRET_SCHEMA_DONT_MATCH_NAME), so the
// schema name is a label for other tools rather than part of the key.
const SecretSchema* itemSchema() {
    static const SecretSchema schema = [] {
        SecretSchema s{};
        s.name = "org.qvtransfer.GenericPassword";
        s.flags = SECRET_SCHEMA_DONT_MATCH_NAME;
        s.attributes[0].name = "service";
        s.attributes[0].type = SECRET_SCHEMA_ATTRIBUTE_STRING;
        s.attributes[1].name = "account";
        s.attributes[1].type = SECRET_SCHEMA_ATTRIBUTE_STRING;
        return s;
    }();
    return &schema;
}

struct ErrorFree {
    void operator()(GError* e) const { g_error_free(e); }
};
using ErrorPtr = std::unique_ptr<GError, ErrorFree>;

struct HashTableUnref {
    void operator()(GHashTable* t) const { g_hash_table_unref(t); }
};
using AttributesPtr = std::unique_ptr<GHashTable, HashTableUnref>;

struct ObjectUnref {
    void operator()(gpointer o) const { g_object_unref(o); }
};
using ServicePtr = std::unique_ptr<SecretService, ObjectUnref>;

struct ValueUnref {
    void operator()(SecretValue* v) const { secret_value_unref(v); }
};
using ValuePtr = std::unique_ptr<SecretValue, ValueUnref>;

AttributesPtr attributesFor(const std::string& service, const std::string& account) {
    return AttributesPtr(secret_attributes_build(itemSchema(), "service", service.c_str(),
                                                 "account", account.c_str(), nullptr));
}

int32_t statusOfRemoteName(std::string_view name) {
    if (name == "org.freedesktop.Secret.Error.IsLocked" ||
        name == "org.freedesktop.DBus.Error.AccessDenied" ||
        name == "org.freedesktop.DBus.Error.AuthFailed" ||
        name == "org.freedesktop.DBus.Error.InteractiveAuthorizationRequired") {
        return kAuthFailed;
    }
    if (name == "org.freedesktop.Secret.Error.NoSuchObject") return kItemNotFound;
    if (name == "org.freedesktop.DBus.Error.ServiceUnknown" ||
        name == "org.freedesktop.DBus.Error.NameHasNoOwner" ||
        name == "org.freedesktop.DBus.Error.NoServer" ||
        name.starts_with("org.freedesktop.DBus.Error.Spawn.")) {
        return kNotAvailable;
    }
    return kInternalError;
}

// Turns a libsecret / GDBus failure into the keychain status the callers tell apart: refused
// access, missing item, no service at all, anything else.
int32_t statusOf(const GError* error) {
    if (!error) return kInternalError;
    if (error->domain == SECRET_ERROR) {
        switch (error->code) {
            case SECRET_ERROR_IS_LOCKED:
                return kAuthFailed;
            case SECRET_ERROR_NO_SUCH_OBJECT:
                return kItemNotFound;
            default:
                return kInternalError;
        }
    }
    if (g_dbus_error_is_remote_error(error)) {
        gchar* name = g_dbus_error_get_remote_error(error);
        const int32_t status = name ? statusOfRemoteName(name) : kInternalError;
        g_free(name);
        return status;
    }
    if (error->domain == G_DBUS_ERROR) {
        switch (error->code) {
            case G_DBUS_ERROR_ACCESS_DENIED:
            case G_DBUS_ERROR_AUTH_FAILED:
                return kAuthFailed;
            case G_DBUS_ERROR_SERVICE_UNKNOWN:
            case G_DBUS_ERROR_NAME_HAS_NO_OWNER:
            case G_DBUS_ERROR_NO_SERVER:
            case G_DBUS_ERROR_DISCONNECTED:
            case G_DBUS_ERROR_FILE_NOT_FOUND:
            case G_DBUS_ERROR_SPAWN_EXEC_FAILED:
            case G_DBUS_ERROR_SPAWN_FORK_FAILED:
            case G_DBUS_ERROR_SPAWN_CHILD_EXITED:
            case G_DBUS_ERROR_SPAWN_CHILD_SIGNALED:
            case G_DBUS_ERROR_SPAWN_FAILED:
            case G_DBUS_ERROR_SPAWN_SERVICE_NOT_FOUND:
            case G_DBUS_ERROR_SPAWN_SERVICE_INVALID:
            case G_DBUS_ERROR_SPAWN_FILE_INVALID:
            case G_DBUS_ERROR_SPAWN_NO_MEMORY:
                return kNotAvailable;
            default:
                return kInternalError;
        }
    }
    // Errors of the I/O domain come from reaching the session bus itself (no bus address, a
    // dead socket, no way to autolaunch one).
    if (error->domain == G_IO_ERROR && error->code != G_IO_ERROR_CANCELLED) return kNotAvailable;
    return kInternalError;
}

class SecretServiceItem : public KeychainItem {
  public:
    explicit SecretServiceItem(SecretItem* item) : item_(SECRET_ITEM(g_object_ref(item))) {}
    ~SecretServiceItem() override { g_object_unref(item_); }
    SecretServiceItem(const SecretServiceItem&) = delete;
    SecretServiceItem& operator=(const SecretServiceItem&) = delete;
    SecretItem* get() const { return item_; }

  private:
    SecretItem* item_;
};

class SecretServiceKeychain : public KeychainService {
  public:
    KeychainFindResult findGenericPassword(const std::string& service,
                                           const std::string& account) override {
        std::lock_guard lock(mutex_);
        KeychainFindResult result;
        GError* raw = nullptr;
        ServicePtr secretService(open(&raw));
        ErrorPtr error(raw);
        if (!secretService) {
            result.status = statusOf(error.get());
            return result;
        }
        // SECRET_SEARCH_UNLOCK asks the service to unlock a locked collection through its
        // prompt; when the prompt is refused or cannot be shown the items stay locked and
        // loading the secret below fails with "locked".
        AttributesPtr attributes = attributesFor(service, account);
        GList* items = secret_service_search_sync(
            secretService.get(), itemSchema(), attributes.get(),
            static_cast<SecretSearchFlags>(SECRET_SEARCH_UNLOCK | SECRET_SEARCH_LOAD_SECRETS),
            nullptr, &raw);
        error.reset(raw);
        if (error) {
            g_list_free_full(items, g_object_unref);
            result.status = statusOf(error.get());
            return result;
        }
        if (!items) {
            result.status = kItemNotFound;
            return result;
        }
        auto item = std::make_shared<SecretServiceItem>(SECRET_ITEM(items->data));
        g_list_free_full(items, g_object_unref);

        ValuePtr value(secret_item_get_secret(item->get()));
        if (!value) {
            if (!secret_item_load_secret_sync(item->get(), nullptr, &raw)) {
                error.reset(raw);
                result.status = statusOf(error.get());
                return result;
            }
            value.reset(secret_item_get_secret(item->get()));
        }
        if (!value) {
            // The service answered without a secret for an item it reports as readable.
            result.status = kAuthFailed;
            return result;
        }
        gsize length = 0;
        const gchar* bytes = secret_value_get(value.get(), &length);
        result.data.assign(bytes ? bytes : "", bytes ? length : 0);
        result.item = std::move(item);
        result.status = kSuccess;
        return result;
    }

    int32_t addGenericPassword(const std::string& service, const std::string& account,
                               const std::string& data) override {
        std::lock_guard lock(mutex_);
        GError* raw = nullptr;
        ServicePtr secretService(open(&raw));
        ErrorPtr error(raw);
        if (!secretService) return statusOf(error.get());
        AttributesPtr attributes = attributesFor(service, account);
        ValuePtr value(
            secret_value_new(data.data(), static_cast<gssize>(data.size()), "text/plain"));
        const std::string label = service + " " + account;
        const gboolean stored = secret_service_store_sync(
            secretService.get(), itemSchema(), attributes.get(), SECRET_COLLECTION_DEFAULT,
            label.c_str(), value.get(), nullptr, &raw);
        error.reset(raw);
        return stored ? kSuccess : statusOf(error.get());
    }

    int32_t modifyGenericPassword(KeychainItem& item, const std::string& data) override {
        auto* secretItem = dynamic_cast<SecretServiceItem*>(&item);
        if (!secretItem) return kParamError;
        std::lock_guard lock(mutex_);
        ValuePtr value(
            secret_value_new(data.data(), static_cast<gssize>(data.size()), "text/plain"));
        GError* raw = nullptr;
        const gboolean replaced =
            secret_item_set_secret_sync(secretItem->get(), value.get(), nullptr, &raw);
        ErrorPtr error(raw);
        return replaced ? kSuccess : statusOf(error.get());
    }

  private:
    static SecretService* open(GError** error) {
        return secret_service_get_sync(SECRET_SERVICE_OPEN_SESSION, nullptr, error);
    }

    // libsecret's synchronous calls each run a private main loop; one call at a time keeps
    // the find-then-modify sequences of different threads from interleaving on the bus.
    std::mutex mutex_;
};

std::mutex backendMutex;
std::shared_ptr<KeychainService> installedBackend;

}  // namespace

std::shared_ptr<KeychainService> makeSecretServiceKeychain() {
    return std::make_shared<SecretServiceKeychain>();
}

std::shared_ptr<KeychainService> backend() {
    std::lock_guard lock(backendMutex);
    if (!installedBackend) installedBackend = makeSecretServiceKeychain();
    return installedBackend;
}

std::shared_ptr<KeychainService> setBackend(std::shared_ptr<KeychainService> service) {
    std::lock_guard lock(backendMutex);
    std::shared_ptr<KeychainService> previous = std::move(installedBackend);
    installedBackend = std::move(service);
    return previous;
}

}  // namespace qvt::keychain
