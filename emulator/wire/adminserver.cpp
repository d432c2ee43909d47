// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/wire/adminserver.h"

#include "emulator/service/accountservice.h"
#include "emulator/service/administration.h"
#include "emulator/wire/proxy.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <utility>

namespace KelEmulator {

namespace {

// As many from start to end: what a thread has started ends with it.
constexpr size_t threadCount = 4;
constexpr const char* plainText = "text/plain; charset=UTF-8";
constexpr const char* json = "application/json";

void say(httplib::Response& response, int status, const std::string& text)
{
    response.status = status;
    response.set_content(text + '\n', plainText);
}

} // namespace

AdminServer::AdminServer(AccountService& service, Proxy& proxy, Scenario scenario,
                         DeviceControl device, const std::string& consoleFolder)
    : mService(service), mProxy(proxy), mScenario(std::move(scenario)), mDevice(std::move(device))
{
    mServer.new_task_queue = [] { return new httplib::ThreadPool(threadCount); };
    // A connection that is kept would hold up the end.
    mServer.set_keep_alive_max_count(1);
    mServer.set_keep_alive_timeout(1);
    mServer.set_read_timeout(2);
    mServer.set_tcp_nodelay(true);
    // Left alone, the library shares the port with whoever else wants to, another emulator for one.
    mServer.set_socket_options([](int socket) {
        const int on = 1;
        ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    });
    mServer.set_pre_routing_handler(
        [this](const httplib::Request& request, httplib::Response& response) {
            if (isForUs(request))
                return httplib::Server::HandlerResponse::Unhandled;
            say(response, 403, "ask this address by its own name, and not from a web page");
            return httplib::Server::HandlerResponse::Handled;
        });
    mServer.Get("/health", [](const httplib::Request&, httplib::Response& response) {
        say(response, 200, "ok");
    });
    addConsoleRoutes(consoleFolder);
    addFaultRoutes();
    addClockRoutes();
    addScenarioRoutes();
    addDeviceRoutes();
    addNetworkRoutes();
    addSingleAccountRoutes();
    addProxyRoutes();
    addAccountRoutes();
    addRequestRoutes();
}

AdminServer::~AdminServer()
{
    stop();
}

// A web page in the user's browser can have a name of its own lead to this address, and then read
// every answer; but the browser says that name. It says, too, where an order comes from that a page
// sends here under the right name.
bool AdminServer::isForUs(const httplib::Request& request) const
{
    if (request.get_header_value_count("Host") != 1 || request.get_header_value_count("Origin") > 1)
        return false;
    const std::string host = request.get_header_value("Host");
    const std::string port = ':' + std::to_string(mPort);
    for (const char* const loopback : {"127.0.0.1", "localhost"}) {
        const std::string name = loopback;
        if (host != name && host != name + port)
            continue;
        // The console's own orders come from here.
        const bool isOwn = request.get_header_value("Origin") == "http://" + name + port;
        const std::string site = request.get_header_value("Sec-Fetch-Site");
        return (isOwn || !request.has_header("Origin")) &&
               (site.empty() || site == "same-origin" || site == "none");
    }
    return false;
}

void AdminServer::addFaultRoutes()
{
    mServer.Post("/faults", [this](const httplib::Request& request, httplib::Response& response) {
        std::vector<Fault> faults;
        std::string problem;
        for (const std::string& line : linesOf(request.body)) {
            if (!readFault(line, faults, problem))
                return say(response, 400, problem);
        }
        if (faults.empty())
            return say(response, 400, "send faults, one a line");
        mService.faults().append(faults);
        say(response, 200, std::to_string(faults.size()) + " ordered");
    });
    mServer.Get("/faults/known", [](const httplib::Request&, httplib::Response& response) {
        response.set_content(knownFaultsJson(), json);
    });
    mServer.Get("/faults", [this](const httplib::Request&, httplib::Response& response) {
        std::string text;
        for (const Fault& fault : mService.faults().list())
            text += faultText(fault) + '\n';
        response.set_content(text, plainText);
    });
    mServer.Delete("/faults", [this](const httplib::Request&, httplib::Response& response) {
        mService.faults().clear();
        say(response, 200, "none ordered");
    });
}

void AdminServer::addClockRoutes()
{
    mServer.Get("/clock", [this](const httplib::Request&, httplib::Response& response) {
        response.set_content(clockJson(mService.clock()), json);
    });
    mServer.Post("/clock", [this](const httplib::Request& request, httplib::Response& response) {
        std::string problem;
        if (!setClock(mService.clock(), request.body, problem))
            return say(response, 400, problem);
        response.set_content(clockJson(mService.clock()), json);
    });
}

/// The console: files that are read at each request, so that one can work on them.
void AdminServer::addConsoleRoutes(const std::string& folder)
{
    static constexpr struct
    {
        const char* path;
        const char* file;
        const char* type;
    } pages[] = {{"/", "/index.html", "text/html; charset=UTF-8"},
                 {"/console.css", "/console.css", "text/css; charset=UTF-8"},
                 {"/console.js", "/console.js", "text/javascript; charset=UTF-8"}};
    for (const auto& page : pages) {
        mServer.Get(page.path,
                    [page, folder](const httplib::Request&, httplib::Response& response) {
                        std::ifstream stream(folder + page.file, std::ios::binary);
                        std::ostringstream text;
                        text << stream.rdbuf();
                        if (folder.empty() || !stream.is_open())
                            return say(response, 404, "the console is not installed");
                        response.set_content(text.str(), page.type);
                    });
    }
    // Nothing from elsewhere is loaded or run, whatever a text holds, and no page frames this one.
    mServer.set_default_headers(
        {{"Content-Security-Policy",
          "default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; "
          "base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
         {"X-Content-Type-Options", "nosniff"},
         {"Referrer-Policy", "no-referrer"},
         {"Cross-Origin-Resource-Policy", "same-origin"},
         {"Cache-Control", "no-store"}});
}

void AdminServer::addScenarioRoutes()
{
    mServer.Get("/scenario", [this](const httplib::Request&, httplib::Response& response) {
        const std::lock_guard<std::mutex> lock(mScenarioMutex);
        response.set_content(scenarioJson(mService, mScenario), json);
    });
    mServer.Post("/scenario", [this](const httplib::Request& request, httplib::Response& response) {
        const std::lock_guard<std::mutex> lock(mScenarioMutex);
        Scenario scenario;
        std::string problem;
        if (!readScenario(request.body, scenario, problem) ||
            !applyScenario(mService, scenario, problem))
            return say(response, 400, problem);
        const auto sim = std::exchange(scenario.sim, mScenario.sim);
        const auto tags = std::exchange(scenario.tags, mScenario.tags);
        mScenario = std::move(scenario);
        mProxy.network().setConditions(mScenario.network);
        const bool good = mDevice.setSim(mScenario.sim, sim, problem) &&
                          mDevice.setTags(mScenario.tags, tags, problem);
        say(response, 200, good ? "loaded" : "loaded all but the device: " + problem);
    });
}

bool AdminServer::setSim(const SimOrder& order, std::string& problem)
{
    if (!mDevice.setSim(mScenario.sim, order.sim, problem))
        return false;
    if (order.preAccount && !mService.store().with([&](Tables& tables) {
            return tables.devices.savePreAccount(*order.preAccount);
        })) {
        problem = "the pre-account cannot be written";
        return false;
    }
    return true;
}

void AdminServer::addDeviceRoutes()
{
    mServer.Get("/device", [this](const httplib::Request&, httplib::Response& response) {
        const std::lock_guard<std::mutex> lock(mScenarioMutex);
        response.set_content(deviceJson(mScenario), json);
    });
    mServer.Post("/sim", [this](const httplib::Request& request, httplib::Response& response) {
        const std::lock_guard<std::mutex> lock(mScenarioMutex);
        SimOrder order;
        std::string problem;
        const bool good = readSimOrder(request.body, order, problem) && setSim(order, problem);
        say(response, good ? 200 : 400, good ? "the SIM is in" : problem);
    });
    mServer.Delete("/sim", [this](const httplib::Request&, httplib::Response& response) {
        const std::lock_guard<std::mutex> lock(mScenarioMutex);
        std::string problem;
        const bool good = mDevice.setSim(mScenario.sim, std::nullopt, problem);
        say(response, good ? 200 : 400, good ? "there is no SIM" : problem);
    });
    mServer.Post("/tags", [this](const httplib::Request& request, httplib::Response& response) {
        const std::lock_guard<std::mutex> lock(mScenarioMutex);
        TagScenario tags;
        std::string problem;
        const bool good =
            readTags(request.body, tags, problem) && mDevice.setTags(mScenario.tags, tags, problem);
        say(response, good ? 200 : 400, good ? "the tag server is there" : problem);
    });
    mServer.Delete("/tags", [this](const httplib::Request&, httplib::Response& response) {
        const std::lock_guard<std::mutex> lock(mScenarioMutex);
        std::string problem;
        const bool good = mDevice.setTags(mScenario.tags, std::nullopt, problem);
        say(response, good ? 200 : 400, good ? "there is no tag server" : problem);
    });
}

void AdminServer::addNetworkRoutes()
{
    mServer.Get("/network", [this](const httplib::Request&, httplib::Response& response) {
        const Network& network = mProxy.network();
        response.set_content(networkJson(network.conditions(), network.counts()), json);
    });
    mServer.Post("/network", [this](const httplib::Request& request, httplib::Response& response) {
        const std::lock_guard<std::mutex> lock(mScenarioMutex);
        NetworkConditions conditions;
        std::string problem;
        if (!readNetwork(request.body, conditions, problem))
            return say(response, 400, problem);
        mScenario.network = conditions;
        mProxy.network().setConditions(conditions);
        say(response, 200, "the network is so for connections from now on");
    });
}

void AdminServer::addSingleAccountRoutes()
{
    constexpr const char* path = R"(/accounts/([^/]+))";
    mServer.Get(path, [this](const httplib::Request& request, httplib::Response& response) {
        const std::string text = accountText(mService.store(), request.matches[1]);
        if (text.empty())
            return say(response, 404, "there is no such account");
        response.set_content(text, json);
    });
    mServer.Patch(path, [this](const httplib::Request& request, httplib::Response& response) {
        std::string problem;
        const bool good =
            changeAccount(mService.store(), request.matches[1], request.body, problem);
        say(response, good ? 200 : 400, good ? "account changed" : problem);
    });
    mServer.Delete(path, [this](const httplib::Request& request, httplib::Response& response) {
        std::string problem;
        const bool good = deleteAccount(mService.store(), request.matches[1], problem);
        say(response, good ? 200 : 400, good ? "account deleted" : problem);
    });
}

void AdminServer::addProxyRoutes()
{
    // With a content reader that is not used: "curl -X POST" sends neither body nor length, and the
    // library would wait for the body.
    mServer.Post("/refuse", [this](const httplib::Request&, httplib::Response& response,
                                   const httplib::ContentReader&) {
        const bool good = mProxy.refuse();
        say(response, good ? 200 : 500, good ? "refusing connections" : "cannot keep the port");
    });
    mServer.Post("/accept", [this](const httplib::Request&, httplib::Response& response,
                                   const httplib::ContentReader&) {
        const bool good = mProxy.accept();
        say(response, good ? 200 : 500, good ? "accepting connections" : "cannot listen");
    });
}

void AdminServer::addAccountRoutes()
{
    mServer.Post("/accounts", [this](const httplib::Request& request, httplib::Response& response) {
        std::string problem;
        if (!addAccounts(mService.store(), request.body, problem))
            return say(response, 400, problem);
        say(response, 200, "accounts there");
    });
    mServer.Get("/accounts", [this](const httplib::Request&, httplib::Response& response) {
        response.set_content(accountsJson(mService.store()), json);
    });
    mServer.Post("/pre-accounts",
                 [this](const httplib::Request& request, httplib::Response& response) {
                     std::string problem;
                     if (!addPreAccounts(mService.store(), request.body, problem))
                         return say(response, 400, problem);
                     say(response, 200, "pre-accounts there");
                 });
    mServer.Post("/tokens/expire", [this](const httplib::Request&, httplib::Response& response,
                                          const httplib::ContentReader&) {
        const std::int64_t now = mService.clock().now();
        mService.store().with([now](Tables& tables) { tables.tokens.expireAll(now); });
        say(response, 200, "no token is valid any more");
    });
    mServer.Get("/inbox", [this](const httplib::Request& request, httplib::Response& response) {
        response.set_content(inboxJson(mService.store(), request.get_param_value("name")), json);
    });
    mServer.Get("/captchas", [this](const httplib::Request&, httplib::Response& response) {
        response.set_content(captchasJson(mService.store(), mService.clock().now()), json);
    });
    mServer.Get(R"(/captchas/([0-9a-f]+))", [this](const httplib::Request& request,
                                                   httplib::Response& response) {
        const std::string id = request.matches[1];
        const std::int64_t now = mService.clock().now();
        const auto text =
            mService.store().with([&](Tables& tables) { return tables.captchas.text(id, now); });
        say(response, text ? 200 : 404, text.value_or("there is no such captcha"));
    });
}

void AdminServer::addRequestRoutes()
{
    mServer.Get("/operations", [](const httplib::Request&, httplib::Response& response) {
        response.set_content(operationsJson(), json);
    });
    mServer.Get("/requests", [this](const httplib::Request& request, httplib::Response& response) {
        const std::string after = request.get_param_value("after");
        response.set_content(mService.requests().json(std::strtoull(after.c_str(), nullptr, 10)),
                             json);
    });
    mServer.Get(R"(/requests/([0-9]{1,18}))",
                [this](const httplib::Request& request, httplib::Response& response) {
                    const std::string number = request.matches[1];
                    const std::string text =
                        mService.requests().detailJson(std::strtoull(number.c_str(), nullptr, 10));
                    if (text.empty())
                        return say(response, 404, "of the latest 200 requests alone");
                    response.set_content(text, json);
                });
    mServer.Delete("/requests", [this](const httplib::Request&, httplib::Response& response) {
        mService.requests().clear();
        say(response, 200, "none kept");
    });
}

bool AdminServer::start(int port, std::string& problem)
{
    constexpr const char* loopback = "127.0.0.1";
    if (port == 0)
        mPort = mServer.bind_to_any_port(loopback);
    else
        mPort = mServer.bind_to_port(loopback, port) ? port : -1;
    if (mPort <= 0) {
        problem = "cannot open port " + std::to_string(port) +
                  " on 127.0.0.1 for the administrative endpoint";
        return false;
    }
    mThread = std::thread([this] { mServer.listen_after_bind(); });
    // stop() does nothing to a server that is not running yet.
    while (!mServer.is_running())
        std::this_thread::yield();
    return true;
}

void AdminServer::stop()
{
    if (!mThread.joinable())
        return;
    mServer.stop();
    mThread.join();
}

void AdminServer::tellNoTags()
{
    const std::lock_guard<std::mutex> lock(mScenarioMutex);
    mScenario.tags.reset();
}

std::string AdminServer::address() const
{
    return "http://127.0.0.1:" + std::to_string(mPort);
}

} // namespace KelEmulator
