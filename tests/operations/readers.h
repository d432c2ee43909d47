// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/reply/servicesignals.h"

#include <QDomNode>
#include <QMap>
#include <QSize>

/// Says what is read out of a response element, one field per line; the form of the .expect files
/// in data/.
namespace readers {

using namespace KelRestHandler;

QString line(const char* field, const QString& value);
QString yesNo(bool value);
QString timeText(const QDateTime& time);

QStringList tokenLines(const TokenInfoData& token);
QStringList accountLines(const AccountInfoFields& account);
QStringList termsLines(const TermsInfoData& terms);
QStringList answerTermsLines(const TermsAcceptanceData& terms);
QStringList profileLines(const QString& userName, const ProfileInfoData& profile);
QStringList questionsLines(const QVariantMap& questions);
QStringList questionLines(const SecurityQuestionData& question);
QStringList serviceLines(const QVariantMap& service);
QStringList variantLines(const ConsentQueryVariant& variant);
QStringList preAccountLines(const PreAccountInfo& account);
QStringList captchaLines(const QString& captchaId, const QSize& picture);

QStringList readDownloadedProfile(const QDomNode& node);
QStringList readError(const QDomNode& node);

/// By the operation's folder in data/.
const QMap<QString, QStringList (*)(const QDomNode&)>& all();

} // namespace readers
