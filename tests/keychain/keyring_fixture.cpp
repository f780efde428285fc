#include "keyring_fixture.h"

#include <libsecret/secret.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QProcess>
#include <QProcessEnvironment>
#include <atomic>
#include <cstdlib>
#include <filesystem>

namespace qvt::test {
namespace {

const SecretSchema* attributeSchema() {
    static const SecretSchema schema = [] {
        SecretSchema s{};
        s.name = "org.freedesktop.Secret.Generic";
        s.flags = SECRET_SCHEMA_DONT_MATCH_NAME;
        s.attributes[0].name = "service";
        s.attributes[0].type = SECRET_SCHEMA_ATTRIBUTE_STRING;
        s.attributes[1].name = "account";
        s.attributes[1].type = SECRET_SCHEMA_ATTRIBUTE_STRING;
        return s;
    }();
    return &schema;
}

std::string errorText(GError* error) {
    std::string text = error ? error->message : "(no error)";
    if (error) g_error_free(error);
    return text;
}

SecretService* service() {
    GError* error = nullptr;
    SecretService* s = secret_service_get_sync(SECRET_SERVICE_OPEN_SESSION, nullptr, &error);
    if (!s) ADD_FAILURE() << "no Secret Service: " << errorText(error);
    return s;
}

SecretCollection* defaultCollection(SecretService* s) {
    GError* error = nullptr;
    SecretCollection* c = secret_collection_for_alias_sync(s, SECRET_COLLECTION_DEFAULT,
                                                           SECRET_COLLECTION_NONE, nullptr, &error);
    if (!c) ADD_FAILURE() << "no default collection: " << errorText(error);
    return c;
}

// All items for ("QVTransfer", account), locked ones too, secrets not loaded.
GList* findItems(const std::string& serviceName, const std::string& account) {
    SecretService* s = service();
    if (!s) return nullptr;
    GHashTable* attributes = secret_attributes_build(
        attributeSchema(), "service", serviceName.c_str(), "account", account.c_str(), nullptr);
    GError* error = nullptr;
    GList* items = secret_service_search_sync(s, attributeSchema(), attributes, SECRET_SEARCH_ALL,
                                              nullptr, &error);
    g_hash_table_unref(attributes);
    g_object_unref(s);
    if (error) ADD_FAILURE() << "search failed: " << errorText(error);
    return items;
}

}  // namespace

void requireTestKeyring() {
    const char* marker = std::getenv("QVT_TEST_KEYRING");
    ASSERT_TRUE(marker && std::string(marker) == "1")
        << "The keychain tests need the private test keyring: run them as "
           "scripts/with-keyring.sh <test command> (they never touch a user's own keyring).";
    ASSERT_NE(std::getenv("DBUS_SESSION_BUS_ADDRESS"), nullptr)
        << "no session bus: run under scripts/with-keyring.sh";
    SecretService* s = service();
    ASSERT_NE(s, nullptr);
    SecretCollection* c = defaultCollection(s);
    g_object_unref(s);
    ASSERT_NE(c, nullptr);
    const bool locked = secret_collection_get_locked(c);
    g_object_unref(c);
    ASSERT_FALSE(locked) << "the test keyring's default collection is locked";
}

std::string uniqueSerial(const std::string& tag) {
    static std::atomic<int> counter{0};
    return "QVT-TEST-" + tag + "-" + std::to_string(::getpid()) + "-" +
           std::to_string(counter.fetch_add(1));
}

int countItems(const std::string& serviceName, const std::string& account) {
    GList* items = findItems(serviceName, account);
    const int count = static_cast<int>(g_list_length(items));
    g_list_free_full(items, g_object_unref);
    return count;
}

bool seedItem(const std::string& account, const std::string& data, const std::string& label) {
    SecretService* s = service();
    if (!s) return false;
    GHashTable* attributes = secret_attributes_build(attributeSchema(), "service", "QVTransfer",
                                                     "account", account.c_str(), nullptr);
    SecretValue* value =
        secret_value_new(data.data(), static_cast<gssize>(data.size()), "text/plain");
    GError* error = nullptr;
    const gboolean stored =
        secret_service_store_sync(s, attributeSchema(), attributes, SECRET_COLLECTION_DEFAULT,
                                  label.c_str(), value, nullptr, &error);
    secret_value_unref(value);
    g_hash_table_unref(attributes);
    g_object_unref(s);
    if (!stored) ADD_FAILURE() << "seeding failed: " << errorText(error);
    return stored;
}

std::string readSecret(const std::string& account) {
    GList* items = findItems("QVTransfer", account);
    std::string data;
    if (items) {
        SecretItem* item = SECRET_ITEM(items->data);
        GError* error = nullptr;
        if (secret_item_load_secret_sync(item, nullptr, &error)) {
            if (SecretValue* value = secret_item_get_secret(item)) {
                gsize length = 0;
                const gchar* bytes = secret_value_get(value, &length);
                data.assign(bytes, length);
                secret_value_unref(value);
            }
        } else {
            ADD_FAILURE() << "reading the secret failed: " << errorText(error);
        }
    }
    g_list_free_full(items, g_object_unref);
    return data;
}

std::string readLabel(const std::string& account) {
    GList* items = findItems("QVTransfer", account);
    std::string label;
    if (items) {
        gchar* text = secret_item_get_label(SECRET_ITEM(items->data));
        label = text ? text : "";
        g_free(text);
    }
    g_list_free_full(items, g_object_unref);
    return label;
}

bool lockDefaultCollection() {
    SecretService* s = service();
    if (!s) return false;
    SecretCollection* c = defaultCollection(s);
    if (!c) {
        g_object_unref(s);
        return false;
    }
    GList* objects = g_list_append(nullptr, c);
    GError* error = nullptr;
    const gint locked = secret_service_lock_sync(s, objects, nullptr, nullptr, &error);
    g_list_free(objects);
    g_object_unref(c);
    g_object_unref(s);
    if (locked != 1) ADD_FAILURE() << "locking failed: " << errorText(error);
    return locked == 1;
}

bool defaultCollectionLocked() {
    SecretService* s = service();
    if (!s) return false;
    SecretCollection* c = defaultCollection(s);
    g_object_unref(s);
    if (!c) return false;
    // A fresh proxy: the cached property of an older one may lag behind the daemon.
    const bool locked = secret_collection_get_locked(c);
    g_object_unref(c);
    return locked;
}

int runChild(const std::string& filter, const std::string& childVariable, bool withKeyring,
             std::string* output) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QString::fromStdString(childVariable), "1");
    // No display: an unlock prompt cannot be shown and is dismissed at once.
    environment.remove("DISPLAY");
    environment.remove("WAYLAND_DISPLAY");
    const QString self = QCoreApplication::applicationFilePath();
    const QStringList testArguments{QString::fromStdString("--gtest_filter=" + filter)};
    QProcess child;
    child.setProcessChannelMode(QProcess::MergedChannels);
    if (withKeyring) {
        const std::filesystem::path script =
            std::filesystem::path(__FILE__).parent_path() / "../../scripts/with-keyring.sh";
        environment.remove("QVT_TEST_KEYRING");
        child.setProcessEnvironment(environment);
        child.start(QString::fromStdString(script.lexically_normal().string()),
                    QStringList{self} + testArguments);
    } else {
        // A bus address that leads nowhere, so no bus can be found or autolaunched.
        environment.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/qvt-no-bus");
        child.setProcessEnvironment(environment);
        child.start(self, testArguments);
    }
    if (!child.waitForStarted(10000)) {
        *output = "could not start the child: " + child.errorString().toStdString();
        return -1;
    }
    const bool finished = child.waitForFinished(120000);
    *output = child.readAll().toStdString();
    if (!finished) {
        child.kill();
        child.waitForFinished(10000);
        return -1;
    }
    return child.exitStatus() == QProcess::NormalExit ? child.exitCode() : -1;
}

}  // namespace qvt::test
