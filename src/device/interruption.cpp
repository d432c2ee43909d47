// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/interruption.h"

#include <QDeadlineTimer>

#include <cerrno>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace KelRestHandler {

namespace {

thread_local const Interruption* ofThisThread = nullptr;

} // namespace

Interruption::Interruption() : mDescriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
}

Interruption::~Interruption()
{
    if (mDescriptor != -1)
        ::close(mDescriptor);
}

void Interruption::request()
{
    eventfd_write(mDescriptor, 1);
}

void Interruption::clear()
{
    eventfd_t count = 0;
    eventfd_read(mDescriptor, &count);
}

Interruption::Scope::Scope(const Interruption& interruption) : mBefore(ofThisThread)
{
    ofThisThread = &interruption;
}

Interruption::Scope::~Scope()
{
    ofThisThread = mBefore;
}

int Interruption::descriptor()
{
    return ofThisThread ? ofThisThread->mDescriptor : -1;
}

bool Interruption::isRequested()
{
    return pause(0);
}

bool Interruption::pause(int milliseconds)
{
    const QDeadlineTimer deadline(milliseconds);
    pollfd readable = {descriptor(), POLLIN, 0};
    int ready = 0;
    // poll() passes over a descriptor of -1, and waits.
    do {
        ready = poll(&readable, 1, static_cast<int>(deadline.remainingTime()));
    } while (ready == -1 && errno == EINTR);
    return ready == 1;
}

} // namespace KelRestHandler
