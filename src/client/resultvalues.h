// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "account/callid.h"

#include <kelaccount/preaccountinfo.h>
#include <kelaccount/registrationinfo.h>
#include <kelaccount/results.h>

#include <QStringList>
#include <QVariantMap>

#include <memory>

namespace KelAccount {

class ProfileInfo;

// The results of calls, from what the facade answers with.

std::shared_ptr<const Availability> availability(bool available, const QStringList& suggestions);
std::shared_ptr<const SetUp> setUp(const QVariantMap& accountData);
std::shared_ptr<const PreAccount> preAccount(const PreAccountInfo& info);
std::shared_ptr<const Terms> terms(const QVariantMap& answer);
std::shared_ptr<const MarketingConsent> marketingConsent(ConsentQueryVariant variant);
std::shared_ptr<const RecoveryQuestion> recoveryQuestion(const QVariantMap& question);
std::shared_ptr<const Country> country(const QString& code);
/// Deletes the record.
std::shared_ptr<const Profile> profile(ProfileInfo* info);
/// In the service's order, which a map does not keep.
std::shared_ptr<const SecurityQuestions> securityQuestions(const QVariantMap& questions,
                                                           const AnswerDetails& details);
std::shared_ptr<const Captcha> captcha(const QString& id, const AnswerDetails& details);

/// Of an answer whose signal always says 0.
int trueStatus(int told, const AnswerDetails& details);

// And what the facade wants to be asked with.
void fill(RegistrationInfo& info, const Registration& registration);

} // namespace KelAccount
