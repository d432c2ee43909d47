// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/run/privatefolder.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace KelEmulator {

namespace {

constexpr std::string_view folderName = "/kelaccount-emulator-XXXXXX";

/// When this process was killed, those who ended with it may still be writing into the folder.
void removeFolder(const std::string& path)
{
    constexpr auto pause = std::chrono::milliseconds(20);
    constexpr int attempts = 250;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        std::error_code failed;
        std::filesystem::remove_all(path, failed);
        if (!failed)
            return;
        std::this_thread::sleep_for(pause);
    }
}

/// The child: holds nothing open that others wait for the end of, and outlives a signal to the
/// terminal's whole group.
[[noreturn]] void sweep(const std::string& path, int lifeline)
{
    ::setsid();
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
        std::signal(number, SIG_IGN);
    const int nothing = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        ::dup2(nothing, standard);
    char byte = 0;
    while (::read(lifeline, &byte, 1) < 0 && errno == EINTR) {
    }
    removeFolder(path);
    ::_exit(0);
}

/// Where to make the folder. The session's sockets lie in it, and a socket's address has room for
/// few bytes: a place whose name is too long for them is only taken where there is no other.
std::vector<std::string> places()
{
    constexpr std::string_view inside = "/kelsession-XXXXXX/runtime/signond/socket";
    constexpr size_t room = sizeof(sockaddr_un::sun_path) - 1 - inside.size() - folderName.size();
    const char* const variable = std::getenv("TMPDIR");
    const std::string temporary = variable && *variable == '/' ? variable : "/tmp";
    if (temporary.size() <= room)
        return {temporary};
    return {"/tmp", temporary};
}

} // namespace

PrivateFolder::PrivateFolder(std::string path, Descriptor lifeline, pid_t sweeper)
    : mPath(std::move(path)), mLifeline(std::move(lifeline)), mSweeper(sweeper)
{
}

std::unique_ptr<PrivateFolder> PrivateFolder::make(std::string& problem)
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        problem = std::string("cannot make a pipe: ") + std::strerror(errno);
        return nullptr;
    }
    Descriptor reading(ends[0]);
    Descriptor writing(ends[1]);
    std::string path;
    bool made = false;
    for (const std::string& place : places()) {
        path = place + std::string(folderName);
        made = ::mkdtemp(path.data()) != nullptr;
        if (made)
            break;
    }
    if (!made) {
        problem = "cannot make a folder " + path + ": " + std::strerror(errno);
        return nullptr;
    }
    const pid_t child = ::fork();
    if (child == 0) {
        writing.reset();
        sweep(path, reading.number());
    }
    if (child < 0) {
        problem = std::string("cannot start a process: ") + std::strerror(errno);
        removeFolder(path);
        return nullptr;
    }
    return std::unique_ptr<PrivateFolder>(
        new PrivateFolder(std::move(path), std::move(writing), child));
}

PrivateFolder::~PrivateFolder()
{
    mLifeline.reset();
    while (::waitpid(mSweeper, nullptr, 0) < 0 && errno == EINTR) {
    }
    // In case somebody ended the child.
    removeFolder(mPath);
}

std::string PrivateFolder::write(const char* name, const std::string& content) const
{
    const std::string file = mPath + '/' + name;
    std::ofstream stream(file, std::ios::binary);
    stream << content;
    stream.close();
    return stream ? file : std::string();
}

} // namespace KelEmulator
