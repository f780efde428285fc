// The system log. Every line starts with "QVTransfer: "; there are no levels.
#pragma once

#include <mutex>
#include <string>
#include <vector>

namespace qvt::platform {

class Log {
  public:
    virtual ~Log() = default;
    // Writes one line. A message that does not already start with "QVTransfer: " gets that
    // prefix, so every line the product writes can be found by it. A line longer than 4 KB is
    // cut there, with a note of its whole length.
    void write(const std::string& message);

  protected:
    // Writes one finished line. (Not called "emit": Qt defines that word as a macro.)
    virtual void writeLine(const std::string& line) = 0;
};

// syslog(3) with the user facility.
class SysLog : public Log {
  protected:
    void writeLine(const std::string& line) override;
};

// Replaces every occurrence of `secret` in `text` with "***" (an empty secret changes nothing).
// The secret is also found when any of its bytes were percent-escaped ("%41" or "%4a" for a
// byte) or its blanks written as "+", so a request URL carrying it is redacted as well.
std::string redact(std::string text, const std::string& secret);
// The same for several secrets.
std::string redactAll(std::string text, const std::vector<std::string>& secrets);

}  // namespace qvt::platform
