// The device simulator's SMB side: a private smbd on loopback serving the simulated device's
// shares, with its own users, that can be stopped and started again on demand (a lost device).
//
// Everything smbd needs lives in one work folder: the generated smb.conf, the password database,
// the lock, state, cache and pid folders and the log. Runs as root (smbd needs it).
#pragma once

#include <sys/types.h>
#include <cstdint>
#include <string>
#include <vector>

namespace qvt::devicesim {

struct SambaShare {
    std::string name;              // the share name as clients see it; may hold blanks
    std::string path;              // backing folder; "" = a folder of its own in the work folder
    std::uint64_t tmpfsBytes = 0;  // > 0: a tmpfs of this size is mounted on the backing folder
    bool guestOk = false;          // public: reachable without credentials
    std::vector<std::string> validUsers;  // empty = any user the server knows
    std::vector<std::string> options{};   // further "key = value" lines of the share's section
};

struct SambaUser {
    std::string name;      // a system user of that name is created when missing
    std::string password;  // "" = a user without password
    // Other login names of this user, which may hold blanks (system user names cannot).
    std::vector<std::string> aliases;
};

struct SambaConfig {
    int port = 0;         // 0 = a free loopback port, chosen once and kept across restarts
    std::string workDir;  // "" = a new folder under /tmp, removed by the destructor
    std::vector<SambaShare> shares;
    std::vector<SambaUser> users;
    // Extra "name = value" lines for the [global] section (for example a username map).
    std::vector<std::string> extraGlobal;
};

class SambaServer {
  public:
    explicit SambaServer(SambaConfig config);
    // Stops the server, unmounts the tmpfs backings and removes a work folder it created.
    ~SambaServer();
    SambaServer(const SambaServer&) = delete;
    SambaServer& operator=(const SambaServer&) = delete;

    // Writes the configuration, adds the users and starts smbd; returns once the port accepts
    // connections. On failure returns false with a reason in `error` (smbd's log is kept).
    bool start(std::string* error = nullptr);
    // Stops smbd and waits until it has exited. Shares and their files stay.
    void stop();
    bool restart(std::string* error = nullptr);
    bool running() const { return pid_ > 0; }

    int port() const { return port_; }
    const std::string& workDir() const { return workDir_; }
    std::string configPath() const { return workDir_ + "/smb.conf"; }
    // The backing folder of a share ("" for an unknown share).
    std::string sharePath(const std::string& shareName) const;
    // The last lines of smbd's log, for test failure messages.
    std::string logTail() const;

  private:
    bool prepare(std::string* error);
    bool writeConfig(std::string* error);
    bool addUsers(std::string* error);
    enum class Listening { Ours, Taken, Not };
    // Waits until the port accepts connections, and tells whether the listener is this smbd or
    // another process that took the port between its choice and smbd's start.
    Listening waitUntilListening(double seconds) const;
    // Forks and execs smbd.
    bool spawn(std::string* error);

    SambaConfig config_;
    std::string workDir_;
    bool ownWorkDir_ = false;
    bool prepared_ = false;
    int port_ = 0;
    pid_t pid_ = -1;
    // A port is chosen again only before the first start: clients of a restarted server expect
    // the port it had.
    bool started_ = false;
    std::vector<std::string> tmpfsMounts_;
};

// A loopback TCP port that nothing listens on right now.
int freeLoopbackPort();

}  // namespace qvt::devicesim
