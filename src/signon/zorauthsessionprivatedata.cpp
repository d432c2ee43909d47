// SPDX-License-Identifier: LGPL-2.1-or-later
#include "signon/zorauthsessionprivatedata.h"

#include <QDataStream>

namespace ZorKeLSignOn {

void ZorAuthSessionPrivateData::setRegistrationData(
    const KelRestHandler::RegistrationInfoData& registration)
{
    m_data.insert(QStringLiteral("RegistrationData"),
                  KelRestHandler::serializeRegistration(registration));
}

void ZorAuthSessionPrivateData::setUpdateSecurityQuestion(
    const KelRestHandler::SetSecurityQuestionInput& input)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::ReadWrite);
    stream << input.question << input.answer;
    m_data.insert(QStringLiteral("UpdateSecurityQuestion"), bytes);
}

KelRestHandler::ProfileInfoData ZorAuthSessionPrivateData::DownloadedProfile() const
{
    return KelRestHandler::ProfileInfoData(
        m_data.value(QStringLiteral("DownloadedProfile")).toByteArray());
}

} // namespace ZorKeLSignOn
