#include "device/device_requests.h"

#include <algorithm>

#include "device/xml_record.h"
#include "platform/format.h"
#include "platform/log.h"

namespace qvt::device {

namespace {

// Sends `request`; the converted reply, the reply's summary in `summary` and what went
// wrong in `problem`.
std::optional<Record> sendAndSum(HttpClient& client, const DeviceRequest& request,
                                 std::string& summary, ReplyProblem* problem = nullptr) {
    const HttpReply reply = client.get(request.url, request.timeoutSeconds);
    std::optional<Record> record = recordFromXmlReply(reply.body);
    summary = replySummary(reply, record.has_value());
    if (problem) *problem = replyProblem(reply, record.has_value());
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

ReplyProblem replyProblem(const HttpReply& reply, bool understood) {
    using Failure = HttpReply::Failure;
    if (reply.failure == Failure::TooSlow) return ReplyProblem::TooSlow;
    if (reply.failure == Failure::TooLarge) return ReplyProblem::TooLarge;
    if (reply.status == 0) return ReplyProblem::NoAnswer;
    return understood ? ReplyProblem::None : ReplyProblem::NotUnderstood;
}

const char* replyProblemTextKey(ReplyProblem problem) {
    switch (problem) {
        case ReplyProblem::None:
        case ReplyProblem::NoAnswer:
            return "";
        case ReplyProblem::TooSlow:
            return "REPLY_TOO_SLOW_txt";
        case ReplyProblem::TooLarge:
            return "REPLY_TOO_LARGE_txt";
        case ReplyProblem::NotUnderstood:
            return "REPLY_NOT_UNDERSTOOD_txt";
    }
    return "";
}

std::optional<Record> sendAndConvert(HttpClient& client, const DeviceRequest& request, long* status,
                                     ReplyProblem* problem) {
    HttpReply reply = client.get(request.url, request.timeoutSeconds);
    if (status) *status = reply.status;
    std::optional<Record> record = recordFromXmlReply(reply.body);
    if (problem) *problem = replyProblem(reply, record.has_value());
    return record;
}

UsersReply requestUsers(HttpClient& client, const std::string& ipAddress) {
    const DeviceRequest request = usersRequest(ipAddress);
    UsersReply result;
    result.logForm = request.logForm;
    if (std::optional<Record> root =
            sendAndConvert(client, request, &result.status, &result.problem))
        result.users = root->values();
    // A well-formed reply without a single account tells nothing the wizard can use.
    if (result.users.empty() && result.problem == ReplyProblem::None)
        result.problem = ReplyProblem::NotUnderstood;
    return result;
}

LoginReply requestLogin(HttpClient& client, const std::string& ipAddress,
                        const std::string& userName, const std::string& password) {
    const DeviceRequest request = loginRequest(ipAddress, userName, password);
    LoginReply reply;
    reply.logForm = request.logForm;
    reply.record = sendAndSum(client, request, reply.summary, &reply.problem);
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
