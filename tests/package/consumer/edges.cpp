// SPDX-License-Identifier: LGPL-2.1-or-later
// Uses the library through its headers in the types' names, and says what it found.
#include <kelaccount/ErrorStatus>
#include <kelaccount/PreAccountInfo>
#include <kelaccount/RegistrationInfo>
#include <kelaccount/ResultKey>
#include <kelaccount/StatusText>

#include <QLocale>
#include <QMetaProperty>
#include <QTextStream>
#include <QVariantMap>

using namespace KelAccount;

int main()
{
    QTextStream out(stdout);
    out.setCodec("UTF-8");
    PreAccountInfo info;
    const QMetaObject& meta = PreAccountInfo::staticMetaObject;
    for (int i = 0; i < meta.propertyCount(); ++i)
        out << meta.property(i).name() << ' ';
    meta.property(meta.indexOfProperty("username"))
        .writeOnGadget(&info, QStringLiteral("prepared"));
    out << info.username << '\n';

    RegistrationInfo registration;
    registration.setProperty("securityAnswer", QStringLiteral("Rex"));
    out << registration.securityAnswer() << '\n';

    const QVariantMap result = {{QStringLiteral("IdentityId"), 17U}};
    out << result.value(ResultKey::identityId).toUInt() << '\n';

    for (const char* language : {"en", "de", "fr", "fi"})
        out << statusText(ErrorAccountLocked, QLocale(QLatin1String(language))) << '\n';
    out << statusName(512) << ' ' << statusField(512) << ' ' << isRetryable(ErrorTimeout) << '\n';
    return 0;
}
