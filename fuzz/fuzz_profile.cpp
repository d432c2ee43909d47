// SPDX-License-Identifier: LGPL-2.1-or-later
// A serialised profile, as another process may hand it over.
#include "fuzztarget.h"

#include "rest/records/profileinfo.h"

namespace KelFuzz::Profile {

namespace {

using namespace KelRestHandler;

void run(const uint8_t* data, size_t size)
{
    const QByteArray bytes = bytesOf(data, size);
    const ProfileInfoData profile(bytes);

    // Every service and every contact has taken four bytes at least.
    const int most = bytes.size() / 4;
    require(profile.services.size() <= most);
    require(profile.contacts.mobileContacts.size() + profile.contacts.emailContacts.size() <= most);
    require(profile.language >= 0 && profile.language <= QLocale::LastLanguage);
    require(profile.country >= 0 && profile.country <= QLocale::LastCountry);
    require(profile.dateOfBirth.isNull() || profile.dateOfBirth.isValid());

    // What was read is sound in itself.
    const QByteArray written = ProfileInfo(profile).serialize();
    require(ProfileInfo(written).serialize() == written);
}

} // namespace

} // namespace KelFuzz::Profile

KEL_FUZZ_TARGET(profile, KelFuzz::Profile::run)
