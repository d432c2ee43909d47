// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <memory>
#include <string>

/// What the program itself breaks on the device: the daemon, the plugin, the bus, the databases,
/// tag server and modem.
namespace Matrix {

class Breakage
{
public:
    Breakage() = default;
    Breakage(const Breakage&) = delete;
    Breakage& operator=(const Breakage&) = delete;
    virtual ~Breakage() = default;

    /// By its name in the table of faults; null when there is none.
    static std::unique_ptr<Breakage> make(const std::string& name);

    /// Before the operation is called. False when the world cannot be broken so.
    virtual bool begin() = 0;
    /// As soon as the service has been asked; and again and again until it is answered.
    virtual void onAsked() {}
    /// Whether what was to happen then has; until it has, the service holds its answers back.
    virtual bool hasHappened() { return true; }
    /// The world is well again. False when it is not.
    virtual bool end() { return true; }
    /// How often the operation has touched what is broken.
    virtual int met() const = 0;
};

/// Once, before the session is started: room for file systems of the run's own.
bool prepareToBreak();

/// The tag server that works.
bool startTagServer();
void endTagServer();

} // namespace Matrix
