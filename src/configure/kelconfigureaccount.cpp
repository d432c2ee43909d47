// SPDX-License-Identifier: LGPL-2.1-or-later
#include "configure/kelconfigureaccount.h"

#include "configure/servicedomain.h"

#include <Accounts/Account>
#include <Accounts/Service>

#include <QVariant>

namespace KelAccount {

namespace {

struct Setting
{
    const char* key;
    QVariant value;
};

} // namespace

KelConfigureAccount::KelConfigureAccount(Accounts::Account* newAccount,
                                         AccountsUI::SetupType setupType,
                                         const QString& displayName, unsigned int credentialsId,
                                         QObject* parent)
    : AbstractAccountSetupContext(newAccount, setupType, parent)
{
    chooseServices();
    newAccount->selectService();
    newAccount->setDisplayName(displayName);
    writeSettings(credentialsId);
    newAccount->setEnabled(true);
    Q_EMIT stored();
    newAccount->sync();
}

bool KelConfigureAccount::enableService(const Accounts::Service* service) const
{
    if (!service || !service->isValid())
        return false;
    return service->serviceType() != QLatin1String("Sync") ||
           service->name() != QLatin1String(KELACCOUNT_SERVICE_DOMAIN);
}

void KelConfigureAccount::chooseServices()
{
    const Accounts::ServiceList services = account()->services();
    for (const Accounts::Service& service : services) {
        account()->selectService(service);
        account()->setEnabled(enableService(&service));
    }
}

void KelConfigureAccount::writeSettings(unsigned int credentialsId)
{
    // The scheduler comes switched off, with a peak from 09:00 to 17:00 on five days for when the
    // user switches it on. It reads "off_peak" in one key and "offpeak" in another.
    const Setting settings[] = {
        {"CredentialsId", static_cast<int>(credentialsId)},
        {"scheduler/schedule_peak", 60},
        {"scheduler/schedule_peak_days", 31},
        {"scheduler/schedule_peak_start_time", 540},
        {"scheduler/schedule_peak_end_time", 1020},
        {"scheduler/schedule_off_peak", -1},
        {"scheduler/schedule_peak_enabled", true},
        {"scheduler/schedule_enabled", false},
        {"scheduler/schedule_offpeak_enabled", false},
        {"SyncTarget", QStringLiteral("Zor")},
    };
    for (const Setting& setting : settings)
        account()->setValue(QLatin1String(setting.key), setting.value);
}

QGraphicsItem* KelConfigureAccount::widget(QGraphicsItem* /*parent*/)
{
    return nullptr;
}

} // namespace KelAccount
