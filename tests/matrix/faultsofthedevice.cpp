// SPDX-License-Identifier: LGPL-2.1-or-later
// On the device itself.
#include "matrix/faultgroups.h"

namespace Matrix {

void addClocks(Rows& rows)
{
    const std::string group = "Clock";
    const struct
    {
        const char* name;
        const char* what;
        const char* time;
    } clocks[] = {
        {"1970", "the device is in 1970", "1970-01-02T00:00:00Z"},
        {"2038", "it becomes 2038-01-19 03:14:08", "2038-01-19T03:14:07Z"},
        {"9999", "the device is in 9999", "9999-12-30T00:00:00Z"},
        {"missing-hour", "the hour begins that Berlin leaves out", "2027-03-28T00:59:59Z"},
        {"twice", "the hour that Berlin has twice", "2026-10-25T00:59:59Z"}};
    for (const auto& clock : clocks)
        rows.push_back(
            {group, std::string("clock-") + clock.name, clock.what, Kind::Clock, clock.time});
    const struct
    {
        const char* name;
        const char* date;
    } dates[] = {{"1970", "Thu, 01 Jan 1970 00:00:00 GMT"},
                 {"9999", "Fri, 31 Dec 9999 23:59:59 GMT"},
                 {"missing-hour", "Sun, 28 Mar 2027 02:30:00 CET"},
                 {"garbage", "yesterday"},
                 {"empty", ""},
                 {"10000", "Sat, 01 Jan 10000 00:00:00 GMT"}};
    for (const auto& date : dates)
        rows.push_back({group, std::string("date-") + date.name,
                        std::string("the service says \"") + date.date + "\"", Kind::Answers,
                        ok + "Date: " + date.date + "\r\n" + lengthAndBody});
}

void addLocals(Rows& rows)
{
    const auto add = [&](const char* group, const char* name, const char* what, int holds = 0) {
        Fault fault{group, name, what, Kind::Here, name, End::Keeps, holds};
        fault.alone = true;
        rows.push_back(fault);
    };
    const char* const processes = "Daemon, plugin and bus";
    add(processes, "daemon-absent", "the daemon is not installed");
    add(processes, "daemon-killed", "the daemon is killed before");
    add(processes, "daemon-ended", "the daemon ends before");
    add(processes, "daemon-stopped", "the daemon stands still for a second");
    add(processes, "daemon-killed-asking", "the daemon is killed while the service is asked", 2);
    add(processes, "daemon-ended-asking", "the daemon ends while the service is asked", 2);
    add(processes, "daemon-stopped-asking", "the daemon stands still while the service is asked",
        1);
    add(processes, "plugin-absent", "the plugin is not installed");
    add(processes, "plugin-nonsense", "the plugin is no module");
    add(processes, "plugin-killed", "the plugin is killed before");
    add(processes, "plugin-stopped", "the plugin stands still for a second");
    add(processes, "plugin-killed-asking", "the plugin is killed while the service is asked", 2);
    add(processes, "plugin-ended-asking", "the plugin ends while the service is asked", 2);
    add(processes, "plugin-stopped-asking", "the plugin stands still while the service is asked",
        1);
    add(processes, "bus-stopped", "the bus stands still for a second");
    add(processes, "bus-stopped-asking", "the bus stands still while the service is asked", 1);
    add(processes, "daemon-start-hangs", "the daemon is started and never comes");
    add(processes, "plugin-start-hangs", "the plugin is started and never comes");
    // Nobody in a process gets a second session bus.
    const auto addForGood = [&](const char* name, const char* what, int holds = 0) {
        add(processes, name, what, holds);
        rows.back().isForGood = true;
    };
    addForGood("bus-killed", "the session bus is killed before");
    addForGood("bus-ended", "the session bus ends before");
    addForGood("bus-killed-asking", "the session bus is killed while the service is asked", 2);
    addForGood("bus-ended-asking", "the session bus ends while the service is asked", 2);

    const char* const databases = "Accounts and secrets databases";
    add(databases, "accounts-absent", "there is no accounts database");
    add(databases, "accounts-unreadable", "the accounts database cannot be opened");
    add(databases, "accounts-nonsense", "the accounts database is none");
    add(databases, "accounts-locked", "the accounts database is locked for a second");
    add(databases, "accounts-read-only", "the accounts database cannot be written to");
    add(databases, "accounts-full", "its disk is full");
    add(databases, "identities-nonsense", "the daemon's database of identities is none");
    add(databases, "identities-locked", "it is locked for a second");
    add(databases, "secrets-nonsense", "the daemon's database of secrets is none");
    add(databases, "secrets-locked", "it is locked for a second");
    add(databases, "secrets-read-only", "neither of the two can be written to");
    add(databases, "secrets-full", "their disk is full");

    const char* const tags = "Tag server";
    add(tags, "tags-absent", "there is none");
    add(tags, "tags-hang", "it hangs");
    add(tags, "tags-close", "it hangs up");
    add(tags, "tags-refuse", "it refuses");
    add(tags, "tags-half", "it says half of an answer");
    add(tags, "tags-garbage", "it says garbage");
    add(tags, "tags-long", "it says 100,000 bytes");

    const char* const modem = "Modem";
    add(modem, "modem-hangs", "its service hangs");
    add(modem, "modem-fails", "its service fails");
    add(modem, "modem-lies", "its service answers something else");
    add(modem, "system-bus-absent", "there is no system bus");
    add(modem, "system-bus-hangs", "the system bus says nothing");

    const char* const others = "Two applications at once";
    add(others, "removed-meanwhile", "the settings remove the account while the service is asked",
        1);
    // There is no account for a next call.
    rows.back().isForGood = true;
    add(others, "made-meanwhile", "another sets an account up while the service is asked", 1);
    add(others, "process-asks", "another process asks the service all the while");
    add(others, "process-signs-in", "another process signs in while the service is asked", 1);
    add(others, "process-killed", "another process was killed in the middle of its sign-in", 1);
    add(others, "process-removes", "another process removes the account while the service is asked",
        1);
    rows.back().isForGood = true;
}

} // namespace Matrix
