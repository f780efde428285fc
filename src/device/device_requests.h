// The four requests the wizard sends to a network device, each built, sent and converted the
// same way, returning what its caller reads.
#pragma once

#include <optional>
#include <string>

#include "device/rest_client.h"
#include "qvtransfer/Value.h"

namespace qvt::platform {
class Log;
}

namespace qvt::device {

// What went wrong with a request, as the user is told: no answer at all, an answer too late,
// too large to read, or not understood.
enum class ReplyProblem { None, NoAnswer, TooSlow, TooLarge, NotUnderstood };
ReplyProblem replyProblem(const HttpReply& reply, bool understood);
// The string-table key of the sentence for an answer that came but could not be used ("" for
// no problem and for no answer at all, which the lost-connection text tells).
const char* replyProblemTextKey(ReplyProblem problem);

// Sends `request` and converts the reply; nothing for an empty reply or one that gives no
// XML document. The HTTP status and what went wrong are handed back when asked for.
std::optional<Record> sendAndConvert(HttpClient& client, const DeviceRequest& request,
                                     long* status = nullptr, ReplyProblem* problem = nullptr);

struct UsersReply {
    // The values of the root record, one per user element, in the reply's order; empty when
    // there was no reply, no XML or no user.
    List users;
    long status = 0;
    std::string logForm;  // the request as it may be logged
    ReplyProblem problem = ReplyProblem::None;
};
UsersReply requestUsers(HttpClient& client, const std::string& ipAddress);

// What a reply was, without its content: for the log of a request that carried a password,
// where nothing the device said back is written ("HTTP 200, 57 bytes", "no answer in time",
// "HTTP 400, 310 bytes, not understood").
std::string replySummary(const HttpReply& reply, bool understood);

struct LoginReply {
    std::optional<Record> record;  // the root record itself; nothing means no reply
    std::string logForm;           // the request with the password masked
    // The reply summed up (replySummary), with whether the login was accepted.
    std::string summary;
    ReplyProblem problem = ReplyProblem::None;
};
LoginReply requestLogin(HttpClient& client, const std::string& ipAddress,
                        const std::string& userName, const std::string& password);

// Whether a login record says the password was accepted ("status" exactly "success").
bool loginSucceeded(const std::optional<Record>& record);

// The device's shares: the values of the root record of the shares reply, nothing when there
// was no reply or no XML. Writes "QVTransfer: getAllShares: <request>\n<summary>" to `log`:
// the request with the password masked, and the reply summed up with the number of shares,
// never its content.
std::optional<List> getAllShares(HttpClient& client, const std::string& ipAddress,
                                 const std::string& userName, const std::string& password,
                                 platform::Log& log);

struct SystemInformationReply {
    // The root record's "serial_number"; nothing when the reply, the document or the key is
    // missing.
    std::optional<std::string> serialNumber;
    std::string logForm;
};
SystemInformationReply requestSystemInformation(HttpClient& client, const std::string& ipAddress);

}  // namespace qvt::device
