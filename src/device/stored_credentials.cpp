// The user name and password kept in the keychain for a network device, so that an upload can
// be taken up again after a restart or a reconnection without asking the user again.
#include <QStringDecoder>

#include <cstdlib>
#include <cstring>
#include <exception>
#include <optional>
#include <string>

#include "device/keychain.h"
#include "qvtransfer/Keychain.h"

namespace qvt::keychain {
namespace {

// Bytes that do not decode as UTF-8 give no string, just as an absent value.
std::optional<std::string> utf8String(const std::string& bytes) {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString decoded = decoder(QByteArrayView(bytes.data(), qsizetype(bytes.size())));
    if (decoder.hasError()) return std::nullopt;
    return bytes;
}

char* mallocCopy(const std::string& text) {
    char* copy = static_cast<char*>(std::malloc(text.size() + 1));
    if (copy) std::memcpy(copy, text.c_str(), text.size() + 1);
    return copy;
}

}  // namespace

std::pair<std::string, std::string> getCredentials(const std::string& serialNumber) {
    std::optional<std::string> userName;
    std::optional<std::string> password;
    KeychainFindResult found = backend()->findGenericPassword(kServiceName, serialNumber);
    if (found.status == kSuccess) {
        // Only the first colon separates: a password may hold colons, a user name may not.
        const std::string& data = found.data;
        const std::size_t colon = data.find(':');
        if (colon != std::string::npos) {
            if (colon > 0) userName = utf8String(data.substr(0, colon));
            if (colon + 1 < data.size()) password = utf8String(data.substr(colon + 1));
        }
    }
    // A missing item or an unreadable keychain quietly gives the device's default account.
    return {userName.value_or("admin"), password.value_or("")};
}

bool hasCredentials(const std::string& serialNumber) {
    return backend()->findGenericPassword(kServiceName, serialNumber).status == kSuccess;
}

int32_t setCredentials(const std::string& serialNumber, const std::string& userName,
                       const std::string& password) {
    std::shared_ptr<KeychainService> service = backend();
    KeychainFindResult found = service->findGenericPassword(kServiceName, serialNumber);
    // A keychain that refuses access is left alone; any other failure of the look-up is
    // taken as "no item yet".
    if (found.status == kAuthFailed) return kAuthFailed;
    const std::string data = userName + ":" + password;
    if (found.status == kSuccess && found.item) {
        return service->modifyGenericPassword(*found.item, data);
    }
    return service->addGenericPassword(kServiceName, serialNumber, data);
}

}  // namespace qvt::keychain

extern "C" {

void GetKeychainUsernameAndPasswordForNAS(const char* serialNumber, char** userName,
                                          char** password) {
    if (userName) *userName = nullptr;
    if (password) *password = nullptr;
    std::pair<std::string, std::string> credentials{"admin", ""};
    try {
        credentials = qvt::keychain::getCredentials(serialNumber ? serialNumber : "");
    } catch (const std::exception&) {
        // Failures never cross into the host: it gets the defaults.
    }
    if (userName) *userName = qvt::keychain::mallocCopy(credentials.first);
    if (password) *password = qvt::keychain::mallocCopy(credentials.second);
}

int32_t SetKeychainUsernameAndPasswordForNAS(const char* serialNumber, const char* userName,
                                             const char* password) {
    if (!serialNumber) return qvt::keychain::kParamError;
    try {
        return qvt::keychain::setCredentials(serialNumber, userName ? userName : "",
                                             password ? password : "");
    } catch (const std::exception&) {
        return qvt::keychain::kInternalError;
    }
}

void QVTransferFreeString(char* string) {
    std::free(string);
}

}  // extern "C"
