#include "device/device_requests.h"

#include "device/xml_record.h"
#include "platform/format.h"
#include "platform/log.h"

namespace qvt::device {

std::optional<Record> sendAndConvert(HttpClient& client, const DeviceRequest& request,
                                     long* status) {
    HttpReply reply = client.get(request.url, request.timeoutSeconds);
    if (status) *status = reply.status;
    return recordFromXmlReply(reply.body);
}

UsersReply requestUsers(HttpClient& client, const std::string& ipAddress) {
    const DeviceRequest request = usersRequest(ipAddress);
    UsersReply result;
    result.logForm = request.logForm;
    if (std::optional<Record> root = sendAndConvert(client, request, &result.status))
        result.users = root->values();
    return result;
}

LoginReply requestLogin(HttpClient& client, const std::string& ipAddress,
                        const std::string& userName, const std::string& password) {
    const DeviceRequest request = loginRequest(ipAddress, userName, password);
    return {sendAndConvert(client, request), request.logForm};
}

bool loginSucceeded(const std::optional<Record>& record) {
    if (!record) return false;
    const Value* status = record->find("status");
    return status && status->asString() && *status->asString() == "success";
}

std::optional<List> getAllShares(HttpClient& client, const std::string& ipAddress,
                                 const std::string& userName, const std::string& password,
                                 platform::Log& log) {
    const DeviceRequest request = sharesRequest(ipAddress, userName, password);
    std::optional<List> shares;
    if (std::optional<Record> root = sendAndConvert(client, request)) shares = root->values();
    const std::string listText = shares ? Value(*shares).describe() : std::string("(null)");
    log.write(maskPassword(
        platform::format("QVTransfer: getAllShares: %@\n%@", request.logForm, listText), password));
    return shares;
}

SystemInformationReply requestSystemInformation(HttpClient& client, const std::string& ipAddress) {
    const DeviceRequest request = systemInformationRequest(ipAddress);
    SystemInformationReply result;
    result.logForm = request.logForm;
    if (std::optional<Record> root = sendAndConvert(client, request)) {
        if (const Value* serial = root->find("serial_number"); serial && serial->asString())
            result.serialNumber = *serial->asString();
    }
    return result;
}

}  // namespace qvt::device
