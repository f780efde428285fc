#include "device/device_requests.h"

#include <algorithm>

#include "device/xml_record.h"
#include "platform/format.h"
#include "platform/log.h"

namespace qvt::device {

namespace {

// Sends `request`; the converted reply, and the reply's summary in `summary`.
std::optional<Record> sendAndSum(HttpClient& client, const DeviceRequest& request,
                                 std::string& summary) {
    const HttpReply reply = client.get(request.url, request.timeoutSeconds);
    std::optional<Record> record = recordFromXmlReply(reply.body);
    summary = replySummary(reply, record.has_value());
    return record;
}

}  // namespace

std::string replySummary(const HttpReply& reply, bool understood) {
    using Failure = HttpReply::Failure;
    if (reply.failure == Failure::TooSlow) return "no answer in time";
    if (reply.status == 0) return "no answer";
    const std::size_t bytes = std::max(reply.bytes, reply.body.size());
    std::string text = platform::format("HTTP %ld, %@ bytes", reply.status, std::to_string(bytes));
    if (reply.failure == Failure::TooLarge)
        text += ", too large (dropped)";
    else if (reply.failure == Failure::NoAnswer)
        text += ", cut off";
    else if (!understood)
        text += ", not understood";
    return text;
}

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
    LoginReply reply;
    reply.logForm = request.logForm;
    reply.record = sendAndSum(client, request, reply.summary);
    if (reply.record) reply.summary += loginSucceeded(reply.record) ? ", accepted" : ", refused";
    return reply;
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
    std::string summary;
    if (std::optional<Record> root = sendAndSum(client, request, summary)) shares = root->values();
    if (shares) summary += platform::format(", %@ shares", std::to_string(shares->size()));
    log.write(maskPassword(
        platform::format("QVTransfer: getAllShares: %@\n%@", request.logForm, summary), password));
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
