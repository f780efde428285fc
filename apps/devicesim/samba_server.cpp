#include "samba_server.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <pwd.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

namespace qvt::devicesim {

namespace {

namespace fs = std::filesystem;

void setError(std::string* error, const std::string& text) {
    if (error) *error = text;
}

// Runs a tool with `input` on its standard input and its output sent to `logPath` (or
// discarded); returns its exit status, or -1 when it could not be run.
int runTool(const std::vector<std::string>& argv, const std::string& input,
            const std::string& logPath = "") {
    int in[2];
    if (pipe2(in, O_CLOEXEC) != 0) return -1;
    std::vector<char*> args;
    for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    const pid_t pid = fork();
    if (pid < 0) {
        close(in[0]);
        close(in[1]);
        return -1;
    }
    if (pid == 0) {
        dup2(in[0], 0);
        const int out = open(logPath.empty() ? "/dev/null" : logPath.c_str(),
                             O_WRONLY | O_CREAT | O_APPEND, 0600);
        if (out >= 0) {
            dup2(out, 1);
            dup2(out, 2);
        }
        execvp(args[0], args.data());
        _exit(127);
    }
    close(in[0]);
    std::size_t done = 0;
    while (done < input.size()) {
        const ssize_t n = write(in[1], input.data() + done, input.size() - done);
        if (n <= 0) break;
        done += static_cast<std::size_t>(n);
    }
    close(in[1]);
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool ensureSystemUser(const std::string& name) {
    if (getpwnam(name.c_str())) return true;
    runTool({"useradd", "-M", "-N", "-g", "nogroup", "-s", "/usr/sbin/nologin", name}, "");
    return getpwnam(name.c_str()) != nullptr;
}

// smb.conf values are taken to the end of the line; a share name may hold blanks but no
// brackets.
std::string confValue(const std::string& v) {
    std::string out;
    for (char c : v)
        if (c != '\n' && c != '\r') out += c;
    return out;
}

}  // namespace

int freeLoopbackPort() {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return 0;
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    addr.sin_port = 0;
    int port = 0;
    socklen_t len = sizeof addr;
    if (bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0 &&
        getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len) == 0)
        port = ntohs(addr.sin_port);
    close(fd);
    return port;
}

SambaServer::SambaServer(SambaConfig config) : config_(std::move(config)) {}

SambaServer::~SambaServer() {
    stop();
    for (auto it = tmpfsMounts_.rbegin(); it != tmpfsMounts_.rend(); ++it)
        umount2(it->c_str(), MNT_DETACH);
    if (ownWorkDir_ && !workDir_.empty()) {
        std::error_code ec;
        fs::remove_all(workDir_, ec);
    }
}

std::string SambaServer::sharePath(const std::string& shareName) const {
    for (const auto& s : config_.shares)
        if (s.name == shareName) return s.path;
    return "";
}

std::string SambaServer::logTail() const {
    std::ifstream in(workDir_ + "/log/smbd.log");
    std::stringstream ss;
    ss << in.rdbuf();
    std::string all = ss.str();
    if (all.size() > 4000) all = all.substr(all.size() - 4000);
    return all;
}

bool SambaServer::prepare(std::string* error) {
    if (prepared_) return true;
    if (config_.workDir.empty()) {
        std::string tmpl = "/tmp/qvt-smbd-XXXXXX";
        if (!mkdtemp(tmpl.data())) {
            setError(error, "cannot create the work folder");
            return false;
        }
        workDir_ = tmpl;
        ownWorkDir_ = true;
    } else {
        workDir_ = config_.workDir;
    }
    std::error_code ec;
    for (const char* sub : {"private", "lock", "state", "cache", "pid", "log", "ncalrpc"})
        fs::create_directories(workDir_ + "/" + sub, ec);
    chmod((workDir_ + "/private").c_str(), 0700);
    for (std::size_t i = 0; i < config_.shares.size(); ++i) {
        auto& share = config_.shares[i];
        if (share.path.empty()) share.path = workDir_ + "/share" + std::to_string(i);
        fs::create_directories(share.path, ec);
        if (share.tmpfsBytes > 0) {
            const std::string opts = "size=" + std::to_string(share.tmpfsBytes) + ",mode=0777";
            if (mount("tmpfs", share.path.c_str(), "tmpfs", 0, opts.c_str()) != 0) {
                setError(error,
                         "cannot mount a tmpfs on " + share.path + ": " + std::strerror(errno));
                return false;
            }
            tmpfsMounts_.push_back(share.path);
        }
        chmod(share.path.c_str(), 0777);
    }
    if (port_ == 0) port_ = config_.port > 0 ? config_.port : freeLoopbackPort();
    if (port_ == 0) {
        setError(error, "no free port");
        return false;
    }
    if (!writeConfig(error) || !addUsers(error)) return false;
    prepared_ = true;
    return true;
}

bool SambaServer::writeConfig(std::string* error) {
    const std::string& w = workDir_;
    std::ofstream conf(configPath(), std::ios::trunc);
    conf << "[global]\n"
         << "  workgroup = WORKGROUP\n"
         << "  server role = standalone server\n"
         << "  smb ports = " << port_ << "\n"
         << "  interfaces = 127.0.0.1\n"
         << "  bind interfaces only = yes\n"
         << "  disable netbios = yes\n"
         << "  private dir = " << w << "/private\n"
         << "  lock directory = " << w << "/lock\n"
         << "  state directory = " << w << "/state\n"
         << "  cache directory = " << w << "/cache\n"
         << "  pid directory = " << w << "/pid\n"
         << "  ncalrpc dir = " << w << "/ncalrpc\n"
         << "  log file = " << w << "/log/smbd.log\n"
         << "  max log size = 1000\n"
         << "  log level = 1\n"
         << "  passdb backend = tdbsam:" << w << "/private/passdb.tdb\n"
         << "  map to guest = Bad User\n"
         << "  guest account = nobody\n"
         << "  null passwords = yes\n"
         << "  load printers = no\n"
         << "  printing = bsd\n"
         << "  printcap name = /dev/null\n"
         << "  disable spoolss = yes\n"
         << "  usershare path =\n";
    std::string aliases;
    for (const auto& user : config_.users) {
        if (user.aliases.empty()) continue;
        aliases += confValue(user.name) + " =";
        for (const auto& a : user.aliases) aliases += " \"" + confValue(a) + "\"";
        aliases += "\n";
    }
    if (!aliases.empty()) {
        std::ofstream map(w + "/usermap", std::ios::trunc);
        map << aliases;
        conf << "  username map = " << w << "/usermap\n";
    }
    for (const auto& line : config_.extraGlobal) conf << "  " << confValue(line) << "\n";
    for (const auto& share : config_.shares) {
        conf << "\n[" << confValue(share.name) << "]\n"
             << "  path = " << confValue(share.path) << "\n"
             << "  read only = no\n"
             << "  browseable = yes\n"
             // One owner for every file, so that the backing folder is readable by the test
             // whichever account wrote through the share.
             << "  force user = root\n"
             << "  create mask = 0644\n"
             << "  directory mask = 0755\n"
             << "  guest ok = " << (share.guestOk ? "yes" : "no") << "\n";
        if (!share.validUsers.empty()) {
            conf << "  valid users =";
            for (const auto& u : share.validUsers) conf << " \"" << confValue(u) << "\"";
            if (share.guestOk) conf << " nobody";
            conf << "\n";
        }
        for (const auto& line : share.options) conf << "  " << confValue(line) << "\n";
    }
    conf.close();
    if (!conf) {
        setError(error, "cannot write " + configPath());
        return false;
    }
    return true;
}

bool SambaServer::addUsers(std::string* error) {
    for (const auto& user : config_.users) {
        if (!ensureSystemUser(user.name)) {
            setError(error, "cannot create the system user " + user.name);
            return false;
        }
        int rc;
        if (user.password.empty())
            rc = runTool({"smbpasswd", "-c", configPath(), "-s", "-a", "-n", user.name}, "");
        else
            rc = runTool({"smbpasswd", "-c", configPath(), "-s", "-a", user.name},
                         user.password + "\n" + user.password + "\n");
        if (rc != 0) {
            setError(error, "smbpasswd failed for " + user.name);
            return false;
        }
    }
    return true;
}

// Whether process `pid` holds the socket that listens on loopback port `port`: the listening
// sockets of /proc/net/tcp with that port, against the sockets among its descriptors.
bool listenerBelongsTo(pid_t pid, int port) {
    std::ifstream table("/proc/net/tcp");
    std::string line;
    std::getline(table, line);  // the heading
    std::vector<std::string> inodes;
    while (std::getline(table, line)) {
        std::istringstream fields(line);
        std::string slot, local, remote, state, queues, timer, retransmits, uid, timeout, inode;
        fields >> slot >> local >> remote >> state >> queues >> timer >> retransmits >> uid >>
            timeout >> inode;
        const auto colon = local.find(':');
        if (state != "0A" || colon == std::string::npos) continue;
        if (std::strtol(local.c_str() + colon + 1, nullptr, 16) == port)
            inodes.push_back("socket:[" + inode + "]");
    }
    std::error_code ec;
    const std::string fds = "/proc/" + std::to_string(pid) + "/fd";
    for (const auto& entry : std::filesystem::directory_iterator(fds, ec)) {
        const auto target = std::filesystem::read_symlink(entry.path(), ec);
        if (ec) continue;
        for (const std::string& inode : inodes)
            if (target.string() == inode) return true;
    }
    return false;
}

SambaServer::Listening SambaServer::waitUntilListening(double seconds) const {
    const auto deadline = std::chrono::steady_clock::now() +
                          std::chrono::milliseconds(static_cast<long>(seconds * 1000));
    while (std::chrono::steady_clock::now() < deadline) {
        int status = 0;
        const bool died = pid_ > 0 && waitpid(pid_, &status, WNOHANG) == pid_;
        const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in addr{};
        addr.sin_family = AF_INET;
        addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        addr.sin_port = htons(static_cast<std::uint16_t>(port_));
        const bool answers = connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0;
        close(fd);
        // A server that answers may be another process's that took the port after it was
        // chosen; smbd then cannot listen and ends.
        if (died) return answers ? Listening::Taken : Listening::Not;
        // Between its fork and its exec the child still holds this process's descriptors: a
        // listener that this process holds too is not the server's own.
        if (answers)
            return listenerBelongsTo(pid_, port_) && !listenerBelongsTo(getpid(), port_)
                       ? Listening::Ours
                       : Listening::Taken;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return Listening::Not;
}

bool SambaServer::start(std::string* error) {
    if (running()) return true;
    if (!prepare(error)) return false;
    for (int attempt = 1;; ++attempt) {
        if (!spawn(error)) return false;
        const Listening listening = waitUntilListening(15.0);
        if (listening == Listening::Ours) {
            started_ = true;
            return true;
        }
        stop();
        // Two test programs starting at once may both be given the same free port; the one
        // whose server came second takes another.
        if (listening == Listening::Taken && !started_ && config_.port == 0 && attempt < 5) {
            port_ = freeLoopbackPort();
            if (port_ == 0 || !writeConfig(error)) return false;
            continue;
        }
        setError(error,
                 "smbd did not start listening on port " + std::to_string(port_) +
                     (listening == Listening::Taken ? " (another process listens there)" : "") +
                     "\n" + logTail());
        return false;
    }
}

bool SambaServer::spawn(std::string* error) {
    const std::string conf = configPath();
    const std::string logPath = workDir_ + "/log/smbd.stdout";
    // A server started from the process's main thread dies with the process, so a crashed test
    // leaves no smbd behind. (The parent-death signal follows the forking thread, so it is only
    // asked for on the main thread.)
    const bool onMainThread = syscall(SYS_gettid) == getpid();
    const pid_t parent = getpid();
    const pid_t pid = fork();
    if (pid < 0) {
        setError(error, "fork failed");
        return false;
    }
    if (pid == 0) {
        // A server started again from a thread that blocks signals must still stop on SIGTERM.
        sigset_t none;
        sigemptyset(&none);
        sigprocmask(SIG_SETMASK, &none, nullptr);
        if (onMainThread) {
            prctl(PR_SET_PDEATHSIG, SIGTERM);
            if (getppid() != parent) _exit(1);
        }
        setsid();
        const int out = open(logPath.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
        if (out >= 0) {
            dup2(out, 1);
            dup2(out, 2);
        }
        const int devnull = open("/dev/null", O_RDONLY);
        if (devnull >= 0) dup2(devnull, 0);
        execlp("smbd", "smbd", "-s", conf.c_str(), "-F", "--no-process-group", "--debug-stdout",
               static_cast<char*>(nullptr));
        _exit(127);
    }
    pid_ = pid;
    return true;
}

void SambaServer::stop() {
    if (pid_ <= 0) return;
    // smbd forks one child per connection; they leave when the parent's pipe closes, but are
    // signalled too so a stop is immediate and complete.
    kill(pid_, SIGTERM);
    int status = 0;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (true) {
        const pid_t r = waitpid(pid_, &status, WNOHANG);
        if (r == pid_ || (r < 0 && errno == ECHILD)) break;
        if (std::chrono::steady_clock::now() >= deadline) {
            kill(pid_, SIGKILL);
            waitpid(pid_, &status, 0);
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    // Children of the server are in its session (setsid above): end any that outlived it.
    kill(-pid_, SIGKILL);
    pid_ = -1;
}

bool SambaServer::restart(std::string* error) {
    stop();
    return start(error);
}

}  // namespace qvt::devicesim
