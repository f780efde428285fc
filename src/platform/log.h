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
    // prefix, so every line the product writes can be found by it.
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

// Keeps every line in memory (tests), and optionally forwards to another log.
class CaptureLog : public Log {
  public:
    explicit CaptureLog(Log* forward = nullptr) : forward_(forward) {}
    std::vector<std::string> lines() const;
    // Whether any line contains `fragment`.
    bool contains(const std::string& fragment) const;
    // How many lines contain `fragment`.
    std::size_t count(const std::string& fragment) const;
    void clear();

  protected:
    void writeLine(const std::string& line) override;

  private:
    Log* forward_;
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
};

// Replaces every occurrence of `secret` in `text` with "***" (an empty secret changes nothing).
// The secret is also found when any of its bytes were percent-escaped ("%41" or "%4a" for a
// byte) or its blanks written as "+", so a request URL carrying it is redacted as well.
std::string redact(std::string text, const std::string& secret);
// The same for several secrets.
std::string redactAll(std::string text, const std::vector<std::string>& secrets);

}  // namespace qvt::platform
