// What programs write to the system log, caught by a test: a datagram socket where syslog(3)
// sends its lines. When the machine has no /dev/log the sink binds that path itself (and
// removes it again); when a log daemon owns it, a program is started in a mount namespace of
// its own with the sink's socket bound over /dev/log (see command()).
#pragma once

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace qvt::clitest {

class SyslogSink {
  public:
    SyslogSink() {
        struct stat st {};
        ownsDevLog_ = ::stat("/dev/log", &st) != 0;
        char folder[] = "/tmp/qvt-syslog-XXXXXX";
        if (!mkdtemp(folder)) return;
        folder_ = folder;
        path_ = ownsDevLog_ ? std::string("/dev/log") : folder_ + "/log";
        fd_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path_.copy(address.sun_path, sizeof address.sun_path - 1);
        if (fd_ < 0 || bind(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
            if (fd_ >= 0) close(fd_);
            fd_ = -1;
            return;
        }
        // Read as the lines come: a full socket queue would block the program that logs.
        reader_ = std::thread([this] {
            std::vector<char> buffer(1 << 16);
            while (!stopping_) {
                const ssize_t n = recv(fd_, buffer.data(), buffer.size(), 0);
                if (n <= 0) continue;
                std::lock_guard lock(mutex_);
                lines_.emplace_back(buffer.data(), static_cast<std::size_t>(n));
            }
        });
    }
    ~SyslogSink() {
        if (fd_ >= 0) {
            stopping_ = true;
            // A last datagram wakes the reader.
            const int waker = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
            sockaddr_un address{};
            address.sun_family = AF_UNIX;
            path_.copy(address.sun_path, sizeof address.sun_path - 1);
            sendto(waker, "", 0, 0, reinterpret_cast<sockaddr*>(&address), sizeof address);
            close(waker);
            reader_.join();
            close(fd_);
            unlink(path_.c_str());
        }
        if (!folder_.empty()) rmdir(folder_.c_str());
    }
    SyslogSink(const SyslogSink&) = delete;
    SyslogSink& operator=(const SyslogSink&) = delete;

    bool ok() const { return fd_ >= 0; }

    // The program and arguments to start so that its syslog(3) lines reach the sink.
    std::pair<std::string, std::vector<std::string>> command(
        const std::string& program, const std::vector<std::string>& arguments) const {
        if (ownsDevLog_) return {program, arguments};
        std::vector<std::string> wrapped = {
            "--mount", "--propagation",
            "private", "sh",
            "-c",      "mount --bind \"$0\" /dev/log && exec \"$@\"",
            path_,     program};
        wrapped.insert(wrapped.end(), arguments.begin(), arguments.end());
        return {"/usr/bin/unshare", wrapped};
    }

    std::vector<std::string> lines() const {
        std::lock_guard lock(mutex_);
        return lines_;
    }

  private:
    bool ownsDevLog_ = false;
    std::string folder_, path_;
    int fd_ = -1;
    std::atomic<bool> stopping_{false};
    std::thread reader_;
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
};

}  // namespace qvt::clitest
