// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "account/calls.h"
#include "account/sentrequests.h"
#include "account/settings.h"
#include "device/obcmgrwrapper.h"
#include "rest/restrequesthandler.h"

#include <QByteArray>
#include <QString>

#include <memory>

namespace KelAccount {

/// The road of the calls that need no credentials: each becomes one request to the service, or is
/// refused. They may be under way beside each other.
class ServiceRoad
{
public:
    using Rest = KelRestHandler::RESTRequestHandler;
    using Signer = KelRestHandler::ISignatureProvider;

    /// What the service is asked, besides the arguments.
    struct Question
    {
        OpenCall call;
        bool argumentsAreGood;
        const char* failure;     ///< the line in the log when it cannot be sent
        QString tagPurpose = {}; ///< what the service tag is loaded for, if one is
    };

    /// All of these outlive this object.
    ServiceRoad(Rest& handler, Signer& signer, const Settings& settings, RefuseCall refuse);

    /// Sends the request by that operation, which is given signer, arguments, key and address, and
    /// perhaps a place for the request; or refuses the call. Without an operation it cannot be
    /// sent.
    template <class... Taken, class... Given>
    void ask(const Question& question, int (Rest::*send)(Signer&, Taken...),
             const Given&... arguments)
    {
        if (!isAskable(question))
            return;
        const auto sendWith = [&](auto... place) {
            return (mHandler.*send)(mSigner, arguments..., mSettings.consumerKey(),
                                    mSettings.serverUrl(), place...);
        };
        KelRestHandler::OAuthRequest* handedOut = nullptr;
        int result = -1;
        if constexpr (sizeof...(Taken) > sizeof...(Given) + 2)
            result = sendWith(&handedOut);
        else if (send)
            result = sendWith();
        note(question, result, handedOut);
    }

    /// What the request is answered with that is being answered, or that one; it is over with
    /// that. The details are all but the status.
    Answer answer(int status);
    Answer answer(int requestId, int status);
    /// A request of the call's that is under way is taken back.
    void abandon(CallId call);

    /// False, with the call refused, when this thread was told not to wait for the tag.
    bool loadServiceTag(OpenCall call, const QString& purpose);
    /// That was loaded last.
    const QByteArray& serviceTag() const { return mServiceTag; }
    /// Whether there are service tags on this device.
    bool hasServiceTags();

private:
    bool isAskable(const Question& question);
    void note(const Question& question, int result, KelRestHandler::OAuthRequest* handedOut);
    KelRestHandler::ObcMgrWrapper& serviceTags();

    Rest& mHandler;
    Signer& mSigner;
    const Settings& mSettings;
    RefuseCall mRefuse;
    SentRequests mRequests;
    KelRestHandler::ObcMgrWrapper mObcMgrWrapper;
    QByteArray mServiceTag; // loaded for the request at hand
};

} // namespace KelAccount
