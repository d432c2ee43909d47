// SPDX-License-Identifier: LGPL-2.1-or-later
// Preloaded into the program of the matrix and what it starts: a resolver for the names of its
// cells, which fails as their faults say, and a clock that is as far ahead as the state says.
#include "matrix/faults.h"
#include "matrix/state.h"

#include <cstdarg>
#include <cstddef>
#include <cstring>
#include <ctime>
#include <dlfcn.h>
#include <netdb.h>
#include <string>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

using namespace Matrix;

namespace {

template <class Function>
Function original(const char* name)
{
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

using Resolve = int (*)(const char*, const char*, const addrinfo*, addrinfo**);

Slot* slotOf(const char* name)
{
    State* const state = sharedState();
    const char* const mark = name ? std::strstr(name, "-s") : nullptr;
    if (!state || !mark || !std::strstr(mark, domain))
        return nullptr;
    const int number = std::atoi(mark + 2);
    return number >= 0 && number < slotCount ? &state->places[number] : nullptr;
}

void pause(int milliseconds)
{
    const timespec time = {milliseconds / 1000, milliseconds % 1000 * 1000000L};
    ::nanosleep(&time, nullptr);
}

int addresses(const std::vector<std::string>& texts, const char* service, addrinfo** result)
{
    static const auto resolve = original<Resolve>("getaddrinfo");
    addrinfo hints = {};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICHOST;
    addrinfo** end = result;
    for (const std::string& text : texts) {
        const int error = resolve(text.c_str(), service, &hints, end);
        if (error != 0)
            return error;
        while (*end)
            end = &(*end)->ai_next;
    }
    return 0;
}

/// What the application does, not who serves it.
State* stateOfTheApplication()
{
    State* const state = sharedState();
    return state && state->application.load() == ::getpid() ? state : nullptr;
}

/// A word to the sign-on daemon bears its name.
void countTalk(const void* bytes, size_t size)
{
    static const char name[] = "AccountsSSO.SingleSignOn";
    State* const state = stateOfTheApplication();
    if (state && bytes && ::memmem(bytes, size, name, sizeof name - 1))
        ++state->talks;
}

void countOpening(const char* path)
{
    // The state itself is opened so.
    if (!path || !std::strstr(path, "/accounts.db"))
        return;
    if (State* const state = stateOfTheApplication())
        ++state->accountsOpened;
}

/// The mode is there only for some flags.
template <class Open>
int opened(const char* name, const char* path, int flags, va_list& rest)
{
    const auto open = original<Open>(name);
    countOpening(path);
    return (flags & (O_CREAT | O_TMPFILE)) != 0 ? open(path, flags, va_arg(rest, mode_t))
                                                : open(path, flags);
}

long long secondsAhead()
{
    const State* const state = sharedState();
    return state ? state->clockSeconds.load() : 0;
}

} // namespace

extern "C" int getaddrinfo(const char* name, const char* service, const addrinfo* hints,
                           addrinfo** result)
{
    static const auto resolve = original<Resolve>("getaddrinfo");
    if (name && std::strcmp(name, "proxy.invalid") == 0)
        return EAI_NONAME;
    Slot* const slot = slotOf(name);
    if (!slot)
        return resolve(name, service, hints, result);
    const int number = slot->fault.load();
    const Kind kind = faults()[static_cast<size_t>(number)].kind;
    // Who was asked to connect to what refuses or drops is seen nowhere else.
    if (kind >= Kind::NameUnknown && kind <= Kind::Dropped)
        ++slot->hits;
    const std::string good = "127.0.0.1";
    switch (kind) {
    case Kind::NameUnknown:
        return EAI_NONAME;
    case Kind::NameFails:
        return EAI_FAIL;
    case Kind::NameHangs:
        while (slot->fault.load() == number)
            pause(5);
        return EAI_AGAIN;
    case Kind::NameSlow:
        pause(200);
        return addresses({good}, service, result);
    case Kind::FirstRefuses:
        return addresses({"127.0.0.2", good}, service, result);
    case Kind::FirstDrops:
        return addresses({"127.0.0.3", good}, service, result);
    case Kind::ManyRefuse: {
        std::vector<std::string> all;
        for (int i = 0; i < 39; ++i)
            all.push_back("127.0.1." + std::to_string(i + 1));
        all.push_back(good);
        return addresses(all, service, result);
    }
    default:
        return addresses({good}, service, result);
    }
}

extern "C" ssize_t sendmsg(int socket, const msghdr* message, int flags)
{
    static const auto send = original<ssize_t (*)(int, const msghdr*, int)>("sendmsg");
    for (size_t i = 0; i < message->msg_iovlen; ++i)
        countTalk(message->msg_iov[i].iov_base, message->msg_iov[i].iov_len);
    return send(socket, message, flags);
}

extern "C" ssize_t send(int socket, const void* bytes, size_t size, int flags)
{
    static const auto send = original<ssize_t (*)(int, const void*, size_t, int)>("send");
    countTalk(bytes, size);
    return send(socket, bytes, size, flags);
}

extern "C" int connect(int socket, const sockaddr* address, socklen_t size)
{
    static const auto connect = original<int (*)(int, const sockaddr*, socklen_t)>("connect");
    static const char name[] = "kelaccount-test-";
    State* const state = stateOfTheApplication();
    const auto* const local = reinterpret_cast<const sockaddr_un*>(address);
    if (state && address && address->sa_family == AF_UNIX &&
        size > offsetof(sockaddr_un, sun_path) + sizeof name &&
        std::memcmp(local->sun_path + 1, name, sizeof name - 1) == 0)
        ++state->tagServerAsked;
    if (state && address && address->sa_family == AF_UNIX &&
        std::strstr(local->sun_path, silentBus))
        ++state->systemBusAsked;
    return connect(socket, address, size);
}

extern "C" int open(const char* path, int flags, ...)
{
    va_list rest;
    va_start(rest, flags);
    const int file = opened<int (*)(const char*, int, ...)>("open", path, flags, rest);
    va_end(rest);
    return file;
}

extern "C" int open64(const char* path, int flags, ...)
{
    va_list rest;
    va_start(rest, flags);
    const int file = opened<int (*)(const char*, int, ...)>("open64", path, flags, rest);
    va_end(rest);
    return file;
}

extern "C" int clock_gettime(clockid_t clock, timespec* time)
{
    static const auto get = original<int (*)(clockid_t, timespec*)>("clock_gettime");
    const int result = get(clock, time);
    if (clock == CLOCK_REALTIME && result == 0)
        time->tv_sec += secondsAhead();
    return result;
}

extern "C" int gettimeofday(timeval* time, void* zone) noexcept
{
    static const auto get = original<int (*)(timeval*, void*)>("gettimeofday");
    const int result = get(time, zone);
    if (result == 0)
        time->tv_sec += secondsAhead();
    return result;
}

extern "C" time_t time(time_t* result) noexcept
{
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    if (result)
        *result = now.tv_sec;
    return now.tv_sec;
}
