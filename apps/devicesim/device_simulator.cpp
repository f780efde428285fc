#include "device_simulator.h"

#include <algorithm>

#include "device_replies.h"
#include "raw_target_server.h"

namespace qvt::devicesim {

namespace {

std::size_t indexOf(Endpoint e) {
    return static_cast<std::size_t>(e);
}

const SimUser* findUser(const DeviceConfig& config, const std::string& name) {
    for (const SimUser& u : config.users)
        if (u.username == name) return &u;
    return nullptr;
}

// The password check of the login and shares endpoints: the account exists and the password
// is exactly the one configured (an account without password takes only the empty one).
bool credentialsValid(const DeviceConfig& config, const std::string& query, const char* userKey,
                      const char* passwordKey) {
    std::string user, password;
    if (!queryValue(query, userKey, user)) return false;
    queryValue(query, passwordKey, password);
    const SimUser* account = findUser(config, user);
    return account && account->password == password;
}

}  // namespace

DeviceSimulator::DeviceSimulator() = default;

DeviceSimulator::~DeviceSimulator() {
    stop();
}

int DeviceSimulator::start(const DeviceConfig& config, const std::string& host, int port) {
    stop();
    setConfig(config);
    auto server = std::make_unique<RawTargetServer>();
    // Held (silent) requests each keep a worker; leave room for a few of them.
    server->new_task_queue = [] { return new httplib::ThreadPool(16); };
    const std::pair<const char*, Endpoint> routes[] = {
        {R"(/api/1\.0/rest/users)", Endpoint::Users},
        {R"(/api/1\.0/rest/local_login)", Endpoint::LocalLogin},
        {R"(/api/1\.0/rest/shares)", Endpoint::Shares},
        {R"(/api/1\.0/rest/system_information)", Endpoint::SystemInformation},
    };
    for (const auto& [pattern, endpoint] : routes) {
        const Endpoint e = endpoint;
        server->Get(pattern, [this, e](const httplib::Request&, httplib::Response& res) {
            int status = 200;
            std::string body;
            handle(e, RawTargetServer::currentRawTarget(), status, body);
            res.status = status;
            if (!body.empty()) res.set_content(body, "application/xml");
        });
    }

    const int bound =
        port == 0 ? server->bind_to_any_port(host) : (server->bind_to_port(host, port) ? port : -1);
    if (bound <= 0) return -1;
    {
        std::lock_guard lock(mutex_);
        stopping_.store(false);
        host_ = host;
    }
    server_ = std::move(server);
    port_.store(bound);
    RawTargetServer* s = server_.get();
    auto finished = std::make_shared<std::atomic<bool>>(false);
    listener_ = std::thread([s, finished] {
        s->listen_after_bind();
        finished->store(true);
    });
    // The socket already listens, so clients may connect at once; stop() must not run before
    // the accept loop has started, or it would find nothing to stop.
    while (!s->is_running() && !finished->load()) std::this_thread::yield();
    running_.store(true);
    return bound;
}

void DeviceSimulator::stop() {
    if (!server_) return;
    {
        std::lock_guard lock(mutex_);
        stopping_.store(true);
    }
    changed_.notify_all();
    server_->setStopping(true);
    server_->stop();
    if (listener_.joinable()) listener_.join();
    server_.reset();
    running_.store(false);
    port_.store(-1);
}

std::string DeviceSimulator::address() const {
    std::lock_guard lock(mutex_);
    return host_ + ":" + std::to_string(port_.load());
}

void DeviceSimulator::setConfig(const DeviceConfig& config) {
    std::lock_guard lock(mutex_);
    config_ = config;
}

DeviceConfig DeviceSimulator::config() const {
    std::lock_guard lock(mutex_);
    return config_;
}

void DeviceSimulator::setFaults(const Faults& faults) {
    {
        std::lock_guard lock(mutex_);
        faults_ = faults;
    }
    changed_.notify_all();
}

Faults DeviceSimulator::faults() const {
    std::lock_guard lock(mutex_);
    return faults_;
}

void DeviceSimulator::setSilent(bool on) {
    {
        std::lock_guard lock(mutex_);
        faults_.silent = on;
    }
    changed_.notify_all();
}

void DeviceSimulator::setEmptyBody(bool on) {
    std::lock_guard lock(mutex_);
    faults_.emptyBody = on;
}

void DeviceSimulator::setStatus(int status) {
    std::lock_guard lock(mutex_);
    faults_.status = status;
}

void DeviceSimulator::setMalformed(bool on) {
    std::lock_guard lock(mutex_);
    faults_.malformed = on;
}

void DeviceSimulator::setSerialNumber(std::optional<std::string> serialNumber) {
    std::lock_guard lock(mutex_);
    faults_.serialNumber = std::move(serialNumber);
}

void DeviceSimulator::setPrettyPrinted(bool on) {
    std::lock_guard lock(mutex_);
    faults_.prettyPrinted = on;
}

void DeviceSimulator::clearFaults() {
    setFaults(Faults{});
}

std::size_t DeviceSimulator::requestCount(Endpoint endpoint) const {
    std::lock_guard lock(mutex_);
    return counts_[indexOf(endpoint)];
}

std::string DeviceSimulator::lastQuery(Endpoint endpoint) const {
    std::lock_guard lock(mutex_);
    return lastQueries_[indexOf(endpoint)];
}

void DeviceSimulator::resetCounters() {
    std::lock_guard lock(mutex_);
    counts_.fill(0);
    for (std::string& q : lastQueries_) q.clear();
}

bool DeviceSimulator::waitForRequests(Endpoint endpoint, std::size_t count,
                                      std::chrono::milliseconds timeout) const {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, timeout, [&] { return counts_[indexOf(endpoint)] >= count; });
}

bool DeviceSimulator::applies(const Faults& faults, Endpoint endpoint) {
    return faults.only.empty() ||
           std::find(faults.only.begin(), faults.only.end(), endpoint) != faults.only.end();
}

bool DeviceSimulator::holdWhileSilent(Endpoint endpoint) {
    std::unique_lock lock(mutex_);
    changed_.wait(
        lock, [&] { return stopping_.load() || !(faults_.silent && applies(faults_, endpoint)); });
    return !stopping_.load();
}

void DeviceSimulator::handle(Endpoint endpoint, const std::string& rawTarget, int& status,
                             std::string& body) {
    const std::string query = queryOf(rawTarget);
    {
        std::lock_guard lock(mutex_);
        ++counts_[indexOf(endpoint)];
        lastQueries_[indexOf(endpoint)] = query;
    }
    changed_.notify_all();

    if (!holdWhileSilent(endpoint)) {
        // Stopped while silent: the stream refuses to write once the server stops, so the
        // connection is dropped without an answer.
        status = 503;
        return;
    }

    DeviceConfig config;
    Faults faults;
    {
        std::lock_guard lock(mutex_);
        config = config_;
        faults = faults_;
    }
    Answer answer = normalAnswer(endpoint, query, config, faults);
    const bool faulty = applies(faults, endpoint);
    if (faulty && faults.status != 0) answer.status = faults.status;
    if (faulty && faults.malformed) answer.body = malformedXml(answer.body);
    if (faulty && faults.emptyBody) answer.body.clear();
    status = answer.status;
    body = std::move(answer.body);
}

DeviceSimulator::Answer DeviceSimulator::normalAnswer(Endpoint endpoint, const std::string& query,
                                                      const DeviceConfig& config,
                                                      const Faults& faults) const {
    const bool pretty = faults.prettyPrinted;
    switch (endpoint) {
        case Endpoint::Users:
            return {200, renderXml(usersReply(config), pretty)};
        case Endpoint::LocalLogin: {
            const bool ok = credentialsValid(config, query, "username", "password");
            std::string format;
            queryValue(query, "format", format);
            if (format != "xml")
                return {200, std::string("{\"local_login\":{\"status\":\"") +
                                 (ok ? "success" : "failure") + "\"}}"};
            return {200, renderXml(loginReply(ok), pretty)};
        }
        case Endpoint::Shares:
            if (!credentialsValid(config, query, "auth_username", "auth_password"))
                return {401, renderXml(errorReply(401, "Unauthorized"), pretty)};
            return {200, renderXml(sharesReply(config), pretty)};
        case Endpoint::SystemInformation:
            return {200, renderXml(systemInformationReply(
                                       config, faults.serialNumber.value_or(config.serialNumber)),
                                   pretty)};
    }
    return {404, {}};
}

}  // namespace qvt::devicesim
