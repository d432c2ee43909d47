// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/scenario.h"

#include "emulator/service/accountjson.h"
#include "emulator/service/accountservice.h"
#include "emulator/service/jsonfields.h"

#include <QJsonDocument>

namespace KelEmulator {

namespace {

constexpr std::int64_t formatVersion = 1;

SimScenario simFrom(Fields fields)
{
    SimScenario sim{fields.text("mcc"), fields.text("mnc"), fields.text("msin"),
                    fields.text("imei")};
    fields.expectNoMore();
    return sim;
}

SimOrder simOrderFrom(QJsonObject object)
{
    const QString name = QStringLiteral("preAccount");
    const QJsonValue held = object.take(name);
    SimOrder order{simFrom(Fields(object)), std::nullopt};
    if (held.isUndefined())
        return order;
    if (!held.isObject())
        throw Refusal{"preAccount must be an object"};
    QJsonObject preAccount = held.toObject();
    preAccount.insert(QStringLiteral("msin"), QString::fromStdString(order.sim.msin));
    Fields fields(preAccount, "preAccount.");
    order.preAccount = preAccountFrom(fields);
    return order;
}

TagScenario tagsFrom(Fields tags)
{
    TagScenario scenario;
    scenario.tag = tags.text("tag");
    if (tags.has("refuse"))
        scenario.refuse = static_cast<unsigned>(tags.whole("refuse", 0, 0xFFFFFFFFLL, 0));
    scenario.hangs = tags.flag("hang", false);
    tags.expectNoMore();
    return scenario;
}

NetworkConditions networkFrom(Fields fields)
{
    NetworkConditions network;
    const auto take = [&fields](const char* name, auto read, auto problemOf, auto& value) {
        if (!fields.has(name))
            return;
        const std::string text = fields.text(name);
        if (!read(text, value))
            fields.refuse(name, problemOf(text));
    };
    take("latency", readDelay, delayProblem, network.latency);
    take("jitter", readDelay, delayProblem, network.jitter);
    take("bandwidth", readBandwidth, bandwidthProblem, network.bitsPerSecond);
    fields.expectNoMore();
    const std::string problem = conditionsProblem(network);
    if (!problem.empty())
        fields.refuse("jitter", "cannot be: " + problem);
    return network;
}

std::vector<Fault> faultsFrom(Fields& fields)
{
    std::vector<Fault> faults;
    const std::vector<std::string> texts = fields.texts("faults");
    for (size_t index = 0; index < texts.size(); ++index) {
        std::string why;
        if (!readFault(texts[index], faults, why))
            fields.refuse("faults", index, "cannot be ordered: " + why);
    }
    return faults;
}

std::vector<std::string> reservedFrom(Fields& fields)
{
    std::vector<std::string> names = fields.texts("reserved");
    for (size_t index = 0; index < names.size(); ++index) {
        if (!Accounts::isWellFormed(names[index]))
            fields.refuse("reserved", index, "is malformed");
    }
    return names;
}

Scenario scenarioFrom(const QJsonObject& object)
{
    Fields fields(object);
    if (!fields.has("scenario"))
        fields.refuse("scenario", "is missing; it is the number of the form, 1");
    fields.whole("scenario", formatVersion, formatVersion, formatVersion);
    Scenario scenario;
    scenario.title = fields.text("title");
    scenario.description = fields.text("description");
    for (Fields& account : fields.objects("accounts"))
        scenario.accounts.push_back(accountFrom(account));
    scenario.reserved = reservedFrom(fields);
    for (Fields& preAccount : fields.objects("preAccounts"))
        scenario.preAccounts.push_back(preAccountFrom(preAccount));
    if (fields.has("sim"))
        scenario.sim = simFrom(fields.object("sim"));
    if (fields.has("tags"))
        scenario.tags = tagsFrom(fields.object("tags"));
    scenario.faults = faultsFrom(fields);
    if (fields.has("network"))
        scenario.network = networkFrom(fields.object("network"));
    Fields clock = fields.object("clock");
    scenario.clockSkew = clock.whole("skew", -Clock::largestSkew, Clock::largestSkew, 0);
    scenario.clockSpeed = clock.number("speed", Clock::slowest, Clock::fastest, 1);
    clock.expectNoMore();
    fields.expectNoMore();
    return scenario;
}

void fill(Tables& tables, const Scenario& scenario)
{
    for (size_t index = 0; index < scenario.accounts.size(); ++index) {
        try {
            addAccount(tables.accounts, scenario.accounts[index]);
        } catch (const Refusal& refusal) {
            throw Refusal{"accounts[" + std::to_string(index) + "]: " + refusal.problem};
        }
    }
    for (const std::string& name : scenario.reserved)
        tables.accounts.reserve(name);
    for (const PreAccount& preAccount : scenario.preAccounts)
        tables.devices.savePreAccount(preAccount);
}

template <typename Work>
bool unlessRefused(std::string& problem, Work work)
{
    try {
        work();
        return true;
    } catch (const Refusal& refusal) {
        problem = refusal.problem;
        return false;
    }
}

QJsonArray arrayOf(const std::vector<std::string>& texts)
{
    QJsonArray array;
    for (const std::string& text : texts)
        array.append(QString::fromStdString(text));
    return array;
}

void addText(QJsonObject& object, const char* name, const std::string& text)
{
    if (!text.empty())
        object.insert(QLatin1String(name), QString::fromStdString(text));
}

QJsonObject simJson(const SimScenario& sim)
{
    QJsonObject object;
    addText(object, "mcc", sim.mcc);
    addText(object, "mnc", sim.mnc);
    addText(object, "msin", sim.msin);
    addText(object, "imei", sim.imei);
    return object;
}

QJsonObject tagsJson(const TagScenario& tags)
{
    QJsonObject object;
    addText(object, "tag", tags.tag);
    if (tags.refuse)
        object.insert(QStringLiteral("refuse"), static_cast<double>(*tags.refuse));
    if (tags.hangs)
        object.insert(QStringLiteral("hang"), true);
    return object;
}

QJsonObject conditionsJson(const NetworkConditions& conditions)
{
    QJsonObject object;
    if (conditions.latency)
        addText(object, "latency", delayText(*conditions.latency));
    if (conditions.jitter)
        addText(object, "jitter", delayText(*conditions.jitter));
    if (conditions.bitsPerSecond)
        addText(object, "bandwidth", bandwidthText(*conditions.bitsPerSecond));
    return object;
}

} // namespace

std::string SimScenario::text() const
{
    return mcc + '-' + mnc + '-' + msin + (imei.empty() ? "" : ',' + imei);
}

bool readScenario(const std::string& json, Scenario& scenario, std::string& problem)
{
    return unlessRefused(problem, [&] { scenario = scenarioFrom(readJsonObject(json)); });
}

bool readSimOrder(const std::string& json, SimOrder& order, std::string& problem)
{
    return unlessRefused(problem, [&] { order = simOrderFrom(readJsonObject(json)); });
}

bool readTags(const std::string& json, TagScenario& tags, std::string& problem)
{
    return unlessRefused(problem, [&] { tags = tagsFrom(Fields(readJsonObject(json))); });
}

bool readNetwork(const std::string& json, NetworkConditions& conditions, std::string& problem)
{
    return unlessRefused(problem, [&] { conditions = networkFrom(Fields(readJsonObject(json))); });
}

std::string networkJson(const NetworkConditions& conditions, const NetworkCounts& counts)
{
    QJsonObject object = conditionsJson(conditions);
    object.insert(QStringLiteral("connections"), qint64(counts.connections));
    object.insert(QStringLiteral("handshakes"), qint64(counts.handshakes));
    object.insert(QStringLiteral("resumptions"), qint64(counts.resumptions));
    object.insert(QStringLiteral("roundTrips"), qint64(counts.roundTrips));
    return QJsonDocument(object).toJson().toStdString();
}

bool fillTables(Store& store, const Scenario& scenario, std::string& problem)
{
    return unlessRefused(problem,
                         [&] { store.with([&](Tables& tables) { fill(tables, scenario); }); });
}

bool applyScenario(AccountService& service, const Scenario& scenario, std::string& problem)
{
    const bool filled = unlessRefused(problem, [&] {
        service.store().with([&](Tables& tables) {
            tables.clear();
            fill(tables, scenario);
        });
    });
    if (!filled)
        return false;
    service.clock().setSkew(scenario.clockSkew);
    service.clock().setSpeed(scenario.clockSpeed);
    service.faults().clear();
    service.faults().append(scenario.faults);
    return true;
}

std::string deviceJson(const Scenario& scenario)
{
    QJsonObject object;
    if (scenario.sim)
        object.insert(QStringLiteral("sim"), simJson(*scenario.sim));
    if (scenario.tags)
        object.insert(QStringLiteral("tags"), tagsJson(*scenario.tags));
    return QJsonDocument(object).toJson().toStdString();
}

std::string scenarioJson(AccountService& service, const Scenario& origin)
{
    QJsonObject object{{QStringLiteral("scenario"), static_cast<int>(formatVersion)}};
    addText(object, "title", origin.title);
    addText(object, "description", origin.description);
    service.store().with([&](Tables& tables) {
        QJsonArray accounts;
        for (const Account& account : tables.accounts.list())
            accounts.append(wholeAccountJson(account));
        QJsonArray preAccounts;
        for (const PreAccount& preAccount : tables.devices.preAccounts())
            preAccounts.append(preAccountJson(preAccount));
        object.insert(QStringLiteral("accounts"), accounts);
        object.insert(QStringLiteral("preAccounts"), preAccounts);
        object.insert(QStringLiteral("reserved"), arrayOf(tables.accounts.reservedNames()));
    });
    if (origin.sim)
        object.insert(QStringLiteral("sim"), simJson(*origin.sim));
    if (origin.tags)
        object.insert(QStringLiteral("tags"), tagsJson(*origin.tags));
    if (origin.network.isThere())
        object.insert(QStringLiteral("network"), conditionsJson(origin.network));
    std::vector<std::string> faults;
    for (const Fault& fault : service.faults().list())
        faults.push_back(faultText(fault));
    object.insert(QStringLiteral("faults"), arrayOf(faults));
    object.insert(QStringLiteral("clock"),
                  QJsonObject{{QStringLiteral("skew"), qint64(service.clock().skew())},
                              {QStringLiteral("speed"), service.clock().speed()}});
    return QJsonDocument(object).toJson().toStdString();
}

} // namespace KelEmulator
